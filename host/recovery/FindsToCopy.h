#ifndef QZMTRAW_HOST_RECOVERY_FINDS_TO_COPY_H
#define QZMTRAW_HOST_RECOVERY_FINDS_TO_COPY_H

#include <optional>
#include <string>
#include <vector>

#include "host/finds/CarvePlan.h"
#include "host/finds/FindJudge.h"
#include "host/finds/FindStore.h"
#include "host/finds/JudgedFinds.h"
#include "host/outputs/Report.h"
#include "host/sources/Device.h"

namespace qzmtraw::host {

/// A find, what to take for it, and whether to take it.
struct FindToCopy {
  Find find;
  CarvePlan plan;
  /// The find that this one lies wholly inside of.
  std::optional<Find> embeddedIn{};
  Confidence confidence = Confidence::kStartOnly;
  std::vector<std::string> notes{};
  /// Its detector doesn't tell the size, but a walk through the file does.
  bool isWalked = false;
};

/// Goes through the finds as JudgedFinds does. The ends of files whose detectors don't tell them are looked for
/// on the device where their formats allow it.
class FindsToCopy {
 public:
  /// \param finds    Sorted; lives as long as this, as does the device.
  FindsToCopy(const FindStore& finds, const FindJudge& judge, JudgedFinds::Listing listing, Device& device)
      : judge_(judge), finds_(finds, judge, listing), device_(device) {}

  /// The next one, or none behind the last.
  std::optional<FindToCopy> Next();

 private:
  FindJudge judge_;
  JudgedFinds finds_;
  Device& device_;
};

}  // namespace qzmtraw::host

#endif  // QZMTRAW_HOST_RECOVERY_FINDS_TO_COPY_H
