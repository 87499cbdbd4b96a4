#ifndef QZMTRAW_HOST_SCAN_FIND_SINK_H
#define QZMTRAW_HOST_SCAN_FIND_SINK_H

#include <vector>

#include "host/finds/Find.h"
#include "qzmtraw/RawFileType.h"

namespace qzmtraw::host {

/// Keeps what detectors report, in the order in which they do.
class FindSink final : public IRawHitSink {
 public:
  /// States whose reports the following ones are.
  void SetRow(std::int32_t row) { row_ = row; }

  /// What was reported. Who has dealt with it clears it.
  [[nodiscard]] std::vector<Find>& Finds() { return finds_; }

  std::uint32_t ReservedOperation1() override { return 0; }
  std::uint32_t ReportHit(const RawFileHit* hit) override;

 private:
  std::int32_t row_ = 0;
  std::vector<Find> finds_;
};

}  // namespace qzmtraw::host

#endif  // QZMTRAW_HOST_SCAN_FIND_SINK_H
