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
  if (listed.isOverrun) {
    record.confidence = Confidence::kStartOnly;
    record.notes.insert(record.notes.begin(), kNoteNoEnd);
  }
  if (listed.find.size != 0 && record.plan.length > listed.find.size) record.notes.emplace_back(kNoteShortfall);
  return record;
}

CarvePlan JudgedFinds::PlanFor(const Listed& listed) {
  const CarvePlanner& planner = judge_.Planner();
  const bool isDoubtful = listed.isOverrun || judge_.IsSizeDoubtful(listed.find);
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

std::optional<Find> JudgedFinds::BestFinds::Next() {
  if (!next_) return std::nullopt;
  Find best = *next_;
  std::optional<Find> text;
  for (; next_ && next_->startSector == best.startSector; next_ = cursor_.Next()) {
    if (judge_.IsBetter(*next_, best)) best = *next_;
    if (judge_.IsWholeText(*next_) && (!text || judge_.IsBetter(*next_, *text))) text = next_;
  }
  return text ? judge_.EndedByText(best, *text) : best;
}

std::optional<JudgedFinds::Listed> JudgedFinds::Selection::Next() {
  const std::optional<Find> find = finds_.Next();
  if (!find) return std::nullopt;
  Listed listed{.find = *find, .isOverrun = IsOverrun(*find)};
  Find known = *find;
  if (listed.isOverrun) known.size = 0;
  listed.embeddedIn = tracker_.Add(known);
  return listed;
}

/// Whether a file surely starts inside of a find of which no part is a file. Takes the finds in ascending order.
bool JudgedFinds::Selection::IsOverrun(const Find& find) {
  if (judge_.TypeOf(find).facts.reach != Reach::kOverruns) return false;
  const auto isSure = [this](const Find& other) {
    const TypeFacts& facts = judge_.TypeOf(other).facts;
    return facts.standing == Standing::kSignature && facts.reach != Reach::kOverruns && judge_.StrengthOf(other) == 2;
  };
  while (sure_ && (sure_->startSector <= find.startSector || !isSure(*sure_))) sure_ = ahead_.Next();
  return sure_ && judge_.ExtentOf(*sure_).start < judge_.ExtentOf(find).end;
}

}  // namespace qzmtraw::host
