#include "host/recovery/FindsToCopy.h"

#include "host/recovery/ends/Ends.h"

namespace qzmtraw::host {

std::optional<FindRecord> FindsToCopy::Next() {
  const std::optional<PlannedFind> planned = finds_.Next();
  if (!planned) return std::nullopt;
  FindRecord next{.find = planned->find,
                  .type = &catalogue_.at(static_cast<std::size_t>(planned->find.row)),
                  .plan = planned->plan};
  const EndWalk walk = next.plan.isEstimated ? EndWalkFor(next.find.row) : nullptr;
  if (walk == nullptr || next.plan.offset >= device_.Size()) return next;
  ByteReader file(device_, next.find.startSector, device_.Size() - next.plan.offset, kWalkPieceSize, kMostWalkPieces);
  if (const std::optional<std::uint64_t> end = walk(file)) {
    next.find.size = *end;
    next.plan = planner_.Plan(next.find).plan;
    next.confidence = Confidence::kFromHeader;
  }
  return next;
}

}  // namespace qzmtraw::host
