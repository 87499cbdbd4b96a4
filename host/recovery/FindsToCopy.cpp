#include "host/recovery/FindsToCopy.h"

#include <utility>

#include "host/recovery/ends/Ends.h"

namespace qzmtraw::host {

std::optional<FindRecord> FindsToCopy::Next() {
  std::optional<FindRecord> record = finds_.Next();
  if (!record) return std::nullopt;
  FindRecord next = std::move(*record);
  const EndWalk walk = next.plan.isEstimated ? EndWalkFor(next.find.row) : nullptr;
  if (walk == nullptr || next.plan.offset >= device_.RangeEnd()) return next;
  ByteReader file(device_, next.find.startSector, device_.RangeEnd() - next.plan.offset, kWalkPieceSize,
                  kMostWalkPieces);
  if (const std::optional<std::uint64_t> end = walk(file)) {
    next.find.size = *end;
    next.plan = judge_.Planner().Plan(next.find).plan;
    next.confidence = Confidence::kFromHeader;
    next.notes.clear();
  }
  return next;
}

}  // namespace qzmtraw::host
