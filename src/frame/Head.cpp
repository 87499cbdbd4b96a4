#include "frame/Head.h"

namespace qzmtraw::detail {
namespace {

/// The first of `count` places, `stride` bytes apart, of which `holds` is true, or `count`. Places are taken by eights
/// to save the loop's own work. A stride known to the compiler keeps the addresses out of registers.
template <class Holds>
std::int32_t FirstPlace(const std::uint8_t* place, std::ptrdiff_t stride, std::int32_t count, Holds holds) {
  constexpr std::int32_t kGroup = 8;
  std::int32_t passed = 0;
  for (; passed <= count - kGroup; passed += kGroup, place += kGroup * stride) {
    if (holds(place) || holds(place + stride) || holds(place + 2 * stride) || holds(place + 3 * stride) ||
        holds(place + 4 * stride) || holds(place + 5 * stride) || holds(place + 6 * stride) ||
        holds(place + 7 * stride)) {
      break;
    }
  }
  for (; passed < count; ++passed, place += stride) {
    if (holds(place)) break;
  }
  return passed;
}

std::int32_t FirstPlace(const std::uint8_t* place, std::int32_t stride, std::int32_t count, const Probe& probe) {
  if (stride != kUsualSectorSize) {
    return FirstPlace(place, stride, count, [mask = probe.mask, value = probe.value](const std::uint8_t* word) {
      return (LoadLittle<std::uint32_t>(word) & mask) == value;
    });
  }
  return probe.mask == kAllBits ? FirstWord(place, count, probe.value)
                                : FirstMaskedWord(place, count, probe.mask, probe.value);
}

std::int32_t Reach(std::span<const Probe> probes) {
  std::int32_t reach = 0;
  for (const Probe& probe : probes) reach = std::max(reach, probe.Reach());
  return reach;
}

}  // namespace

std::int32_t FirstWord(const std::uint8_t* place, std::int32_t count, std::uint32_t value) {
  return FirstPlace(place, kUsualSectorSize, count,
                    [value](const std::uint8_t* word) { return LoadLittle<std::uint32_t>(word) == value; });
}

std::int32_t FirstMaskedWord(const std::uint8_t* place, std::int32_t count, std::uint32_t mask, std::uint32_t value) {
  return FirstPlace(place, kUsualSectorSize, count, [mask, value](const std::uint8_t* word) {
    return (LoadLittle<std::uint32_t>(word) & mask) == value;
  });
}

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
      const std::uint8_t* place = block.Data() + std::int64_t{index} * stride + probe.offset;
      candidate = index + FirstPlace(place, stride, candidate - index, probe);
    }
    if (candidate < stepEnd) return candidate;
    index = stepEnd;
  }
  return index;
}

}  // namespace qzmtraw::detail
