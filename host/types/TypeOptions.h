#ifndef QZMTRAW_HOST_TYPES_TYPE_OPTIONS_H
#define QZMTRAW_HOST_TYPES_TYPE_OPTIONS_H

#include <optional>
#include <string>

namespace qzmtraw::host {

/// Which kinds of file to look for.
struct TypeOptions {
  /// As SelectTypes takes it. None: all.
  std::optional<std::string> types{};
};

}  // namespace qzmtraw::host

#endif  // QZMTRAW_HOST_TYPES_TYPE_OPTIONS_H
