#include "host/CarvePlan.h"

#include <algorithm>
#include <optional>

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

std::vector<CarvePlan> PlanCarving(std::span<const Find> finds, const TypeCatalogue& catalogue,
                                   std::uint64_t deviceSize, std::uint32_t sectorSize) {
  const auto offsetOf = [&](std::uint64_t sector) {
    return sector <= deviceSize / sectorSize ? sector * sectorSize : deviceSize;
  };
  std::vector<CarvePlan> plans(finds.size());
  std::optional<std::uint64_t> nextOffset;
  for (std::size_t i = finds.size(); i-- > 0;) {
    const Find& find = finds[i];
    const bool isLast = i + 1 == finds.size();
    if (!isLast && finds[i + 1].startSector > find.startSector) nextOffset = offsetOf(finds[i + 1].startSector);

    CarvePlan& plan = plans[i];
    plan.offset = offsetOf(find.startSector);
    const std::uint64_t present = deviceSize - plan.offset;
    if (find.size == 0) {
      const TypeInfo& type = catalogue.at(static_cast<std::size_t>(find.row));
      plan.isEstimated = true;
      plan.length = std::min(present, EstimatedSize(plan.offset, nextOffset, type.hints));
    } else {
      plan.isTruncated = find.size > present;
      plan.length = std::min(present, find.size);
    }
  }
  return plans;
}

}  // namespace qzmtraw::host
