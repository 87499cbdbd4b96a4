#ifndef QZMTRAW_HOST_SOURCES_SOURCE_OPTIONS_H
#define QZMTRAW_HOST_SOURCES_SOURCE_OPTIONS_H

#include <cstdint>
#include <optional>
#include <string>

namespace qzmtraw::host {

inline constexpr std::uint32_t kDefaultSectorSize = 512;
inline constexpr std::uint32_t kMaxSectorSize = 1U << 20U;

/// What to read.
struct SourceOptions {
  /// A disk image or a block device.
  std::string image;
  /// In bytes, from 1 to kMaxSectorSize. None: the source's own, or kDefaultSectorSize.
  std::optional<std::uint32_t> sectorSize{};
};

}  // namespace qzmtraw::host

#endif  // QZMTRAW_HOST_SOURCES_SOURCE_OPTIONS_H
