#include "host/finds/JudgedFinds.h"

#include <algorithm>
#include <limits>

#include "host/finds/Shortfall.h"

namespace qzmtraw::host {

JudgedFinds::JudgedFinds(const FindStore& finds, const FindJudge& judge, Listing listing) : judge_(judge) {
  if (listing == Listing::kAll) {
    planned_ = std::make_unique<PlannedFinds>(finds, judge.Planner());
    return;
  }
  listed_ = std::make_unique<Selection>(finds, judge);
  following_ = listed_->Next();
  for (auto* ahead : {&aheadOfAny_, &aheadOfSure_}) {
    *ahead = std::make_unique<Ahead>(Ahead{Selection(finds, judge), {}});
    (*ahead)->find = (*ahead)->selection.Next();
  }
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
  if (listed.find.size != 0 && record.plan.length > listed.find.size) record.notes.emplace_back(kNoteShortfall);
  return record;
}

CarvePlan JudgedFinds::PlanFor(const Listed& listed) {
  const CarvePlanner& planner = judge_.Planner();
  const bool isDoubtful = judge_.IsSizeDoubtful(listed.find);
  if (listed.find.size != 0 && !isDoubtful) {
    CarvePlan plan = planner.Plan(listed.find).plan;
    Find whole = listed.find;
    whole.size += std::min(ShortfallOf(whole.row), std::numeric_limits<std::uint64_t>::max() - whole.size);
    plan.length = planner.Plan(whole).plan.length;
    return plan;
  }
  std::optional<std::uint64_t> nextSector;
  if (listed.embeddedIn) {
    if (following_) nextSector = following_->find.startSector;
  } else {
    nextSector = NextStart(listed.find);
  }
  CarvePlan plan = isDoubtful ? planner.PlanUpTo(listed.find, nextSector) : planner.Plan(listed.find, nextSector).plan;
  if (listed.embeddedIn) plan.length = std::min(plan.length, judge_.ExtentOf(*listed.embeddedIn).end - plan.offset);
  return plan;
}

/// Where the next find starts that ends this one, which isn't embedded.
std::optional<std::uint64_t> JudgedFinds::NextStart(const Find& find) {
  const Standing least = std::min(judge_.TypeOf(find).facts.standing, Standing::kKeyword);
  Ahead& ahead = least == Standing::kKeyword ? *aheadOfSure_ : *aheadOfAny_;
  const auto ends = [&](const Listed& other) {
    return !other.embeddedIn && other.find.startSector > find.startSector &&
           (least < Standing::kKeyword || judge_.TypeOf(other.find).facts.standing >= least);
  };
  while (ahead.find && !ends(*ahead.find)) ahead.find = ahead.selection.Next();
  if (!ahead.find) return std::nullopt;
  return ahead.find->find.startSector;
}

std::optional<JudgedFinds::Listed> JudgedFinds::Selection::Next() {
  if (!next_) return std::nullopt;
  Find best = *next_;
  std::optional<Find> text;
  for (; next_ && next_->startSector == best.startSector; next_ = cursor_.Next()) {
    if (judge_.IsBetter(*next_, best)) best = *next_;
    if (judge_.IsWholeText(*next_) && (!text || judge_.IsBetter(*next_, *text))) text = next_;
  }
  if (text) best = judge_.EndedByText(best, *text);
  return Listed{best, tracker_.Add(best)};
}

}  // namespace qzmtraw::host
