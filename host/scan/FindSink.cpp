#include "host/scan/FindSink.h"

namespace qzmtraw::host {

std::uint32_t FindSink::ReportHit(const RawFileHit* hit) {
  finds_.push_back({hit->startSector, hit->size, row_});
  return 0;
}

}  // namespace qzmtraw::host
