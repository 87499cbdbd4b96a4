#include "host/recovery/FindsToCopy.h"

#include <algorithm>
#include <utility>

namespace qzmtraw::host {
namespace {

/// Whether a find's size isn't known, or may be another than was told.
bool IsSizeOpen(const FindRecord& record, JudgedFinds::Listing listing) {
  const TypeFacts& facts = record.type->facts;
  if (listing == JudgedFinds::Listing::kAll) return record.plan.isEstimated;
  // Those inside of others are rarely copied.
  return record.plan.isEstimated || (!record.embeddedIn && (facts.size == SizeSource::kPadding || facts.excess != 0));
}

/// Whether a walk's end may stand in a size's place.
bool IsPlausible(const FindRecord& record, std::uint64_t end) {
  // Of a compound document streams are counted twice, but no further than its table goes, which ends in whole sectors.
  constexpr std::uint64_t kMostExcess = 1U << 16U;
  if (record.plan.isEstimated || record.type->facts.excess == 0) return true;
  return end >= record.find.size || record.find.size - end <= kMostExcess;
}

}  // namespace

std::optional<FindRecord> FindsToCopy::Next() {
  std::optional<FindRecord> record = finds_.Next();
  if (!record) return std::nullopt;
  FindRecord next = std::move(*record);
  const EndWalk walk = IsSizeOpen(next, listing_) ? EndWalkFor(next.find.row) : nullptr;
  if (walk == nullptr || next.plan.offset >= device_.RangeEnd()) return next;
  const std::optional<std::uint64_t> end = EndOf(next, walk);
  if (end && IsPlausible(next, *end)) {
    next.find.size = *end;
    next.plan = judge_.Planner().Plan(next.find).plan;
    next.confidence = std::max(next.confidence, Confidence::kFromHeader);
    next.notes.clear();
  }
  return next;
}

std::optional<std::uint64_t> FindsToCopy::EndOf(const FindRecord& record, EndWalk walk) {
  const std::size_t number = walkCount_++;
  if (number >= ends_.size()) {
    ByteReader file(device_, record.find.startSector, device_.RangeEnd() - record.plan.offset, kWalkPieceSize,
                    kMostWalkPieces);
    const std::optional<std::uint64_t> end = walk(file);
    if (number < kMostWalkedEnds) ends_.push_back(end.value_or(0));
    return end;
  }
  return ends_[number] == 0 ? std::nullopt : std::optional(ends_[number]);
}

}  // namespace qzmtraw::host
