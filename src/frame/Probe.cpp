#include "frame/Probe.h"

namespace qzmtraw {

namespace {

std::int32_t Reach(std::span<const Probe> probes) {
  std::int32_t reach = 0;
  for (const Probe& probe : probes) reach = std::max(reach, probe.Reach());
  return reach;
}

/// The first of `count` sectors from `index` on at which the probe holds, or `count`.
std::int32_t FirstHolding(const Block& block, std::int32_t index, std::int32_t count, const Probe& probe) {
  const std::int32_t stride = block.SectorSize();
  const std::uint8_t* const sectors = block.Data() + std::int64_t{index} * stride;
  if (stride == kUsualSectorSize) return FirstWord(sectors, count, probe);
  return detail::FirstPlace(sectors + probe.offset, stride, count, [&probe](const std::uint8_t* word) {
    return (LoadLittle<std::uint32_t>(word) & probe.mask) == probe.value;
  });
}

}  // namespace

std::int32_t NextCandidate(const Block& block, std::span<const Probe> probes, std::int32_t index) {
  const std::int32_t stride = block.SectorSize();
  std::int32_t end = block.SectorCount();
  if (const std::int32_t reach = Reach(probes); stride < reach) {
    const std::int64_t room = block.ByteCount() - reach;
    end = room < 0 ? 0 : static_cast<std::int32_t>(std::min<std::int64_t>(end, room / stride + 1));
  }
  // Once a candidate has been found, the next one is likely to be near, and no probe need run far ahead of the others.
  constexpr std::int32_t kStep = 16;
  const std::int32_t step = index == 0 ? end : kStep;
  while (index < end) {
    const std::int32_t stepEnd = index + std::min(step, end - index);
    std::int32_t candidate = stepEnd;
    for (const Probe& probe : probes) {
      candidate = index + FirstHolding(block, index, candidate - index, probe);
    }
    if (candidate < stepEnd) return candidate;
    index = stepEnd;
  }
  return index;
}

}  // namespace qzmtraw
