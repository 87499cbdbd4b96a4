#include "host/FindSink.h"

#include <utility>

namespace qzmtraw::host {

std::vector<Find> FindSink::Take() { return std::exchange(finds_, {}); }

std::uint32_t FindSink::ReportHit(const RawFileHit* hit) {
  finds_.push_back({hit->startSector, hit->size, row_});
  return 0;
}

}  // namespace qzmtraw::host
