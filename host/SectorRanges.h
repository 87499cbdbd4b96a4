#ifndef QZMTRAW_HOST_SECTOR_RANGES_H
#define QZMTRAW_HOST_SECTOR_RANGES_H

#include <cstdint>
#include <map>

namespace qzmtraw::host {

/// A set of sectors, kept as ranges that neither touch nor overlap.
class SectorRanges {
 public:
  /// Adds one sector; one that is in the set already changes nothing.
  void Add(std::uint64_t sector);

  /// Whether any of the `count` sectors from `start` on is in the set. The range must not wrap around.
  [[nodiscard]] bool Overlaps(std::uint64_t start, std::uint64_t count) const;

  /// Number of sectors in the set.
  [[nodiscard]] std::uint64_t SectorCount() const { return sectorCount_; }

  /// The ranges in order: from the first sector to the one behind the last.
  [[nodiscard]] const std::map<std::uint64_t, std::uint64_t>& Ranges() const { return ranges_; }

 private:
  std::map<std::uint64_t, std::uint64_t> ranges_;
  std::uint64_t sectorCount_ = 0;
};

}  // namespace qzmtraw::host

#endif  // QZMTRAW_HOST_SECTOR_RANGES_H
