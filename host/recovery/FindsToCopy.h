#ifndef QZMTRAW_HOST_RECOVERY_FINDS_TO_COPY_H
#define QZMTRAW_HOST_RECOVERY_FINDS_TO_COPY_H

#include <optional>

#include "host/finds/FindJudge.h"
#include "host/finds/FindStore.h"
#include "host/finds/JudgedFinds.h"
#include "host/outputs/Report.h"
#include "host/sources/Device.h"

namespace qzmtraw::host {

/// Goes through the finds as JudgedFinds does. The ends of files whose detectors don't tell them are looked for on the
/// device where their formats allow it.
class FindsToCopy {
 public:
  /// \param finds  Sorted; lives as long as this, as do the device and what the judge knows of types.
  FindsToCopy(const FindStore& finds, const FindJudge& judge, JudgedFinds::Listing listing, Device& device)
      : judge_(judge), finds_(finds, judge, listing), device_(device) {}

  /// The next one, or none behind the last.
  std::optional<FindRecord> Next();

 private:
  FindJudge judge_;
  JudgedFinds finds_;
  Device& device_;
};

}  // namespace qzmtraw::host

#endif  // QZMTRAW_HOST_RECOVERY_FINDS_TO_COPY_H
