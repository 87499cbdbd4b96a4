#ifndef QZMTRAW_HOST_TYPES_TYPE_OPTIONS_H
#define QZMTRAW_HOST_TYPES_TYPE_OPTIONS_H

#include <optional>
#include <string>
#include <vector>

namespace qzmtraw::host {

/// Which kinds of file to look for, and up to which size. The texts are lists as TypeSelection.h describes them.
struct TypeOptions {
  /// Kinds to look for. Neither these nor categories: all.
  std::optional<std::string> types{};
  /// Categories to look for.
  std::optional<std::string> categories{};
  /// Kinds not to look for.
  std::optional<std::string> exclude{};
  /// Such as "png=64MiB".
  std::vector<std::string> greatestSizes{};
  /// Name or path of a profile, whose choice comes first.
  std::optional<std::string> profile{};
};

}  // namespace qzmtraw::host

#endif  // QZMTRAW_HOST_TYPES_TYPE_OPTIONS_H
