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
  /// Take the image's own bytes, whatever format they have.
  bool isRaw = false;
  /// Where to begin and how much to scan, as ParseSize takes them; empty: at the start, and all.
  std::string offset{};
  std::string length{};
  /// Number of the only partition to scan.
  std::optional<std::uint32_t> partition{};
  /// Leave out what belongs to files.
  bool isUnallocatedOnly = false;
  /// A rescue map that tells what there is of the source; empty: all.
  std::string map{};
  /// Where to write such a map; empty: nowhere.
  std::string mapToWrite{};
};

}  // namespace qzmtraw::host

#endif  // QZMTRAW_HOST_SOURCES_SOURCE_OPTIONS_H
