#include "frame/Head.h"

namespace qzmtraw::detail {
namespace {

/// The first of `count` places, `stride` bytes apart, at which the four bytes, masked, are the probe's, or `count`.
/// Places are taken by eights to save the loop's own work.
template <bool kMasked>
std::int32_t FirstPlace(const std::uint8_t* place, std::ptrdiff_t stride, std::int32_t count, const Probe& probe) {
  const std::uint32_t value = probe.value;
  const std::uint32_t mask = probe.mask;
  const auto holds = [&](std::ptrdiff_t index) {
    const auto word = LoadLittle<std::uint32_t>(place + index * stride);
    return (kMasked ? word & mask : word) == value;
  };
  constexpr std::int32_t kGroup = 8;
  std::int32_t passed = 0;
  for (; passed <= count - kGroup; passed += kGroup, place += kGroup * stride) {
    if (holds(0) || holds(1) || holds(2) || holds(3) || holds(4) || holds(5) || holds(6) || holds(7)) break;
  }
  for (; passed < count; ++passed, place += stride) {
    if (holds(0)) break;
  }
  return passed;
}

/// FirstPlace with the stride of most devices known to the compiler.
std::int32_t FirstPlace(const std::uint8_t* place, std::int32_t stride, std::int32_t count, const Probe& probe) {
  constexpr std::uint32_t kAllBytes = 0xFFFFFFFF;
  if (stride != 512) return FirstPlace<true>(place, stride, count, probe);
  return probe.mask == kAllBytes ? FirstPlace<false>(place, 512, count, probe)
                                 : FirstPlace<true>(place, 512, count, probe);
}

}  // namespace

std::int32_t NextCandidate(const Block& block, std::span<const Probe> probes, std::int32_t reach, std::int32_t index) {
  const std::int32_t stride = block.SectorSize();
  std::int32_t end = block.SectorCount();
  if (stride < reach) {
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
      const std::uint8_t* place = block.Data() + std::int64_t{index} * stride + probe.offset;
      candidate = index + FirstPlace(place, stride, candidate - index, probe);
    }
    if (candidate < stepEnd) return candidate;
    index = stepEnd;
  }
  return index;
}

}  // namespace qzmtraw::detail
