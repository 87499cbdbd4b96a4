#include "host/finds/FindJudge.h"

#include <algorithm>
#include <tuple>

namespace qzmtraw::host {

bool FindJudge::IsBetter(const Find& a, const Find& b) const {
  const auto worth = [this](const Find& find) {
    const TypeFacts& facts = TypeOf(find).facts;
    return std::tuple(facts.standing, facts.rank, find.size != 0, -find.row, find.size);
  };
  return worth(a) > worth(b);
}

Confidence FindJudge::ConfidenceOf(const Find& find) const {
  if (find.size == 0 || IsSizeDoubtful(find)) return Confidence::kStartOnly;
  switch (TypeOf(find).facts.size) {
    case SizeSource::kHeader:
      return Confidence::kFromHeader;
    case SizeSource::kWalk:
    case SizeSource::kTail:
    case SizeSource::kSectors:
      return Confidence::kCheckedEnd;
    default:
      return Confidence::kStartOnly;
  }
}

bool FindJudge::IsSizeDoubtful(const Find& find) const {
  const TypeInfo& type = TypeOf(find);
  if (find.size == 0) return false;
  return type.facts.reach == Reach::kFarOn || find.size == type.greatestSize ||
         (type.facts.size == SizeSource::kTail && find.size % sectorSize_ == 0);
}

bool FindJudge::IsWholeText(const Find& find) const {
  const TypeInfo& type = TypeOf(find);
  return type.facts.standing == Standing::kText && find.size != 0 && find.size != type.greatestSize;
}

Find FindJudge::EndedByText(const Find& find, const Find& text) const {
  // Detectors count up to two bytes behind a mark, whatever stands there.
  constexpr std::uint64_t kMostBehindMark = 2;
  const TypeFacts& facts = TypeOf(find).facts;
  if (facts.standing != Standing::kKeyword || facts.size != SizeSource::kTail || find.size == 0) return find;
  if ((find.size - 1) / sectorSize_ != (text.size - 1) / sectorSize_) return find;
  const bool isMarkSeen = find.size % sectorSize_ != 0;
  if (isMarkSeen && text.size < find.size && find.size - text.size > kMostBehindMark) return find;
  return {.startSector = find.startSector, .size = text.size, .row = find.row};
}

unsigned FindJudge::StrengthOf(const Find& find) const {
  const Confidence confidence = ConfidenceOf(find);
  if (confidence < Confidence::kFromHeader || planner_.Plan(find).plan.isTruncated) return 0;
  return confidence == Confidence::kCheckedEnd || TypeOf(find).facts.holdsFiles ? 2 : 1;
}

FindJudge::Extent FindJudge::ExtentOf(const Find& find) const {
  const std::uint64_t start = planner_.Plan(find).plan.offset;
  if (StrengthOf(find) == 0) return {start, start};
  const std::uint64_t excess = std::min(TypeOf(find).facts.excess, find.size - 1);
  return {start, start + (find.size - excess)};
}

FindRecord FindJudge::Record(const Find& find, const CarvePlan& plan) const {
  const TypeInfo& type = TypeOf(find);
  FindRecord record{.find = find, .type = &type, .plan = plan, .confidence = ConfidenceOf(find)};
  if (IsSizeDoubtful(find)) {
    if (find.size == type.greatestSize) {
      record.notes.emplace_back(kNoteClipped);
    } else {
      record.notes.emplace_back(type.facts.reach == Reach::kFarOn ? kNoteFarOn : kNoteNoEnd);
    }
  }
  if (plan.isEstimated) record.notes.emplace_back(kNoteEstimated);
  if (plan.isTruncated) record.notes.emplace_back(kNoteTruncated);
  return record;
}

std::optional<Find> EmbeddingTracker::Add(const Find& find) {
  const auto standing = static_cast<std::size_t>(judge_.TypeOf(find).facts.standing);
  const std::size_t strength = judge_.StrengthOf(find);
  const auto [start, end] = judge_.ExtentOf(find);
  const Reach* outer = nullptr;
  for (std::size_t i = standing; i < kStandingCount; ++i) {
    for (std::size_t j = std::max<std::size_t>(1, strength); j <= kStrengths; ++j) {
      const std::optional<Reach>& reach = furthest_.at(i).at(j - 1);
      if (!reach || reach->end <= start || reach->end < end) continue;
      if (outer == nullptr || reach->end > outer->end ||
          (reach->end == outer->end && reach->find.startSector < outer->find.startSector)) {
        outer = &*reach;
      }
    }
  }
  const std::optional<Find> result = outer == nullptr ? std::nullopt : std::optional(outer->find);
  if (strength != 0) {
    std::optional<Reach>& reach = furthest_.at(standing).at(strength - 1);
    if (!reach || end > reach->end) reach = Reach{find, end};
  }
  return result;
}

}  // namespace qzmtraw::host
