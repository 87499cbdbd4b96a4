#ifndef QZMTRAW_HOST_OUTPUTS_FIND_FIELDS_H
#define QZMTRAW_HOST_OUTPUTS_FIND_FIELDS_H

#include <cstdint>
#include <optional>

#include "host/outputs/Report.h"

namespace qzmtraw::host {

/// The sizes of a find as lists give them.
struct FindSizes {
  /// Known, or, where the find was recovered, estimated. In bytes, as all of these.
  std::optional<std::uint64_t> size{};
  bool isEstimated = false;
  /// What its type allows where the size isn't known.
  std::optional<std::uint64_t> least{};
  std::optional<std::uint64_t> greatest{};
  /// Set where the find was to be recovered.
  std::optional<std::uint64_t> written{};
};

FindSizes SizesOf(const FindRecord& record);

}  // namespace qzmtraw::host

#endif  // QZMTRAW_HOST_OUTPUTS_FIND_FIELDS_H
