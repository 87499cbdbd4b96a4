#ifndef QZMTRAW_TESTS_HOST_SUPPORT_SECTORS_H
#define QZMTRAW_TESTS_HOST_SUPPORT_SECTORS_H

#include <ostream>
#include <vector>

#include "host/sources/SectorSet.h"

namespace qzmtraw::host {

inline std::ostream& operator<<(std::ostream& out, const SectorRange& range) {
  return out << range.first << '+' << range.count;
}

/// All ranges of the set, in order.
inline std::vector<SectorRange> RangesOf(const SectorSet& set) {
  std::vector<SectorRange> ranges;
  SectorSet::Cursor cursor(set);
  while (const auto range = cursor.Next()) ranges.push_back(*range);
  return ranges;
}

}  // namespace qzmtraw::host

#endif  // QZMTRAW_TESTS_HOST_SUPPORT_SECTORS_H
