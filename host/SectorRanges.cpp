#include "host/SectorRanges.h"

#include <iterator>

namespace qzmtraw::host {

void SectorRanges::Add(std::uint64_t sector) {
  if (Overlaps(sector, 1)) return;
  ++sectorCount_;
  std::uint64_t first = sector;
  std::uint64_t end = sector + 1;
  const auto next = ranges_.upper_bound(sector);
  if (next != ranges_.begin() && std::prev(next)->second == sector) first = std::prev(next)->first;
  if (next != ranges_.end() && next->first == end) {
    end = next->second;
    ranges_.erase(next);
  }
  ranges_[first] = end;
}

bool SectorRanges::Overlaps(std::uint64_t start, std::uint64_t count) const {
  if (count == 0) return false;
  const auto behind = ranges_.lower_bound(start + count);
  return behind != ranges_.begin() && std::prev(behind)->second > start;
}

}  // namespace qzmtraw::host
