#ifndef QZMTRAW_HOST_RECOVERY_FINDS_TO_COPY_H
#define QZMTRAW_HOST_RECOVERY_FINDS_TO_COPY_H

#include <optional>

#include "host/finds/CarvePlan.h"
#include "host/finds/FindStore.h"
#include "host/outputs/Report.h"
#include "host/sources/Device.h"

namespace qzmtraw::host {

/// Goes through the finds in the order of ComesBefore. The ends of files whose detectors don't tell them are looked for
/// on the device where their formats allow it.
class FindsToCopy {
 public:
  /// \param finds  Sorted; lives as long as this, as do the catalogue and the device.
  FindsToCopy(const FindStore& finds, const CarvePlanner& planner, const TypeCatalogue& catalogue, Device& device)
      : planner_(planner), finds_(finds, planner), catalogue_(catalogue), device_(device) {}

  /// The next one, or none behind the last.
  std::optional<FindRecord> Next();

 private:
  CarvePlanner planner_;
  PlannedFinds finds_;
  const TypeCatalogue& catalogue_;
  Device& device_;
};

}  // namespace qzmtraw::host

#endif  // QZMTRAW_HOST_RECOVERY_FINDS_TO_COPY_H
