#include "host/finds/CarvePlan.h"

#include <algorithm>

namespace qzmtraw::host {
namespace {

std::uint64_t EstimatedSize(std::uint64_t offset, std::optional<std::uint64_t> nextOffset,
                            const std::optional<SizeHints>& hints) {
  if (!nextOffset && !hints) return kBlindSize;
  std::uint64_t size = hints ? hints->greatest : *nextOffset - offset;
  if (nextOffset) size = std::min(size, *nextOffset - offset);
  return size;
}

}  // namespace

PlannedFind CarvePlanner::Plan(const Find& find, std::optional<std::uint64_t> nextSector) const {
  PlannedFind planned{find, {}};
  CarvePlan& plan = planned.plan;
  plan.offset = OffsetOf(find.startSector);
  const std::uint64_t present = deviceSize_ - plan.offset;
  if (find.size == 0) {
    const std::optional<SizeHints>& hints = catalogue_.at(static_cast<std::size_t>(find.row)).hints;
    const std::optional<std::uint64_t> nextOffset =
        nextSector ? std::optional(OffsetOf(*nextSector)) : std::optional<std::uint64_t>();
    plan.isEstimated = true;
    plan.length = std::min(present, EstimatedSize(plan.offset, nextOffset, hints));
  } else {
    plan.isTruncated = find.size > present;
    plan.length = std::min(present, find.size);
  }
  return planned;
}

CarvePlan CarvePlanner::PlanUpTo(const Find& find, std::optional<std::uint64_t> nextSector) const {
  CarvePlan plan{.offset = OffsetOf(find.startSector), .isEstimated = true};
  plan.length = std::min(find.size, (nextSector ? OffsetOf(*nextSector) : deviceSize_) - plan.offset);
  return plan;
}

std::uint64_t CarvePlanner::OffsetOf(std::uint64_t sector) const {
  return sector <= deviceSize_ / sectorSize_ ? sector * sectorSize_ : deviceSize_;
}

PlannedFinds::PlannedFinds(const FindStore& finds, const CarvePlanner& planner)
    : planner_(planner), finds_(finds), ahead_(finds), aheadFind_(ahead_.Next()) {}

std::optional<PlannedFind> PlannedFinds::Next() {
  const std::optional<Find> find = finds_.Next();
  if (!find) return std::nullopt;
  while (aheadFind_ && aheadFind_->startSector <= find->startSector) aheadFind_ = ahead_.Next();
  if (!aheadFind_) return planner_.Plan(*find);
  return planner_.Plan(*find, aheadFind_->startSector);
}

}  // namespace qzmtraw::host
