#include "host/recovery/FindsToCopy.h"

#include <utility>

namespace qzmtraw::host {

std::optional<FindRecord> FindsToCopy::Next() {
  std::optional<FindRecord> record = finds_.Next();
  if (!record) return std::nullopt;
  FindRecord next = std::move(*record);
  const EndWalk walk = next.plan.isEstimated ? EndWalkFor(next.find.row) : nullptr;
  if (walk == nullptr || next.plan.offset >= device_.RangeEnd()) return next;
  if (const std::optional<std::uint64_t> end = EndOf(next, walk)) {
    next.find.size = *end;
    next.plan = judge_.Planner().Plan(next.find).plan;
    next.confidence = Confidence::kFromHeader;
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
