#ifndef QZMTRAW_HOST_RECOVERY_FINDS_TO_COPY_H
#define QZMTRAW_HOST_RECOVERY_FINDS_TO_COPY_H

#include <cstdint>
#include <optional>
#include <vector>

#include "host/finds/FindJudge.h"
#include "host/finds/FindStore.h"
#include "host/finds/JudgedFinds.h"
#include "host/outputs/Report.h"
#include "host/recovery/ends/Ends.h"
#include "host/sources/Device.h"

namespace qzmtraw::host {

/// What walks to the ends of files said, in the order of the finds; 0: the end can't be told.
using WalkedEnds = std::vector<std::uint64_t>;

/// So many are kept at most.
inline constexpr std::size_t kMostWalkedEnds = 1U << 17U;

/// Goes through the finds as JudgedFinds does. The ends of files whose detectors don't tell them, or tell them roughly,
/// are looked for on the device where their formats allow it; but what is to be listed as it was told stays so.
class FindsToCopy {
 public:
  /// \param finds  Sorted; lives as long as this, as do the device and what the judge knows of types.
  /// \param ends   Empty, or left by another one that went through the same finds, so that it needn't be walked again.
  ///               Lives as long as this.
  FindsToCopy(const FindStore& finds, const FindJudge& judge, JudgedFinds::Listing listing, Device& device,
              WalkedEnds& ends)
      : judge_(judge), listing_(listing), finds_(finds, judge, listing), device_(device), ends_(ends) {}

  /// The next one, or none behind the last.
  std::optional<FindRecord> Next();

 private:
  [[nodiscard]] std::optional<std::uint64_t> EndOf(const FindRecord& record, EndWalk walk);

  FindJudge judge_;
  JudgedFinds::Listing listing_;
  JudgedFinds finds_;
  Device& device_;
  WalkedEnds& ends_;
  std::size_t walkCount_ = 0;
};

}  // namespace qzmtraw::host

#endif  // QZMTRAW_HOST_RECOVERY_FINDS_TO_COPY_H
