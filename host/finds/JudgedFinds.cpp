#include "host/finds/JudgedFinds.h"

#include <algorithm>

namespace qzmtraw::host {

JudgedFinds::JudgedFinds(const FindStore& finds, const FindJudge& judge, Listing listing) : judge_(judge) {
  if (listing == Listing::kAll) {
    planned_ = std::make_unique<PlannedFinds>(finds, judge.Planner());
    return;
  }
  listed_ = std::make_unique<Selection>(finds, judge);
  following_ = listed_->Next();
  ahead_ = std::make_unique<Selection>(finds, judge);
  aheadFind_ = ahead_->Next();
}

std::optional<FindRecord> JudgedFinds::Next() {
  if (planned_ != nullptr) {
    const std::optional<PlannedFind> planned = planned_->Next();
    if (!planned) return std::nullopt;
    return judge_.Record(planned->find, planned->plan);
  }
  if (!following_) return std::nullopt;
  const Listed listed = *following_;
  following_ = listed_->Next();
  FindRecord record = judge_.Record(listed.find, PlanFor(listed));
  record.embeddedIn = listed.embeddedIn;
  return record;
}

CarvePlan JudgedFinds::PlanFor(const Listed& listed) {
  const CarvePlanner& planner = judge_.Planner();
  const bool isDoubtful = judge_.IsSizeDoubtful(listed.find);
  if (listed.find.size != 0 && !isDoubtful) return planner.Plan(listed.find).plan;
  std::optional<std::uint64_t> nextSector;
  if (listed.embeddedIn) {
    if (following_) nextSector = following_->find.startSector;
  } else {
    while (aheadFind_ && (aheadFind_->embeddedIn || aheadFind_->find.startSector <= listed.find.startSector)) {
      aheadFind_ = ahead_->Next();
    }
    if (aheadFind_) nextSector = aheadFind_->find.startSector;
  }
  CarvePlan plan = isDoubtful ? planner.PlanUpTo(listed.find, nextSector) : planner.Plan(listed.find, nextSector).plan;
  if (listed.embeddedIn) plan.length = std::min(plan.length, judge_.ExtentOf(*listed.embeddedIn).end - plan.offset);
  return plan;
}

std::optional<JudgedFinds::Listed> JudgedFinds::Selection::Next() {
  if (!next_) return std::nullopt;
  Find best = *next_;
  while ((next_ = cursor_.Next()) && next_->startSector == best.startSector) {
    if (judge_.IsBetter(*next_, best)) best = *next_;
  }
  return Listed{best, tracker_.Add(best)};
}

}  // namespace qzmtraw::host
