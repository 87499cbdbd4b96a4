#ifndef QZMTRAW_FRAME_PROBE_H
#define QZMTRAW_FRAME_PROBE_H

/// \file
/// Probes: words of up to four bytes that tell most sectors from heads, and the loop over the sectors of a device that
/// compares them.

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <span>

#include "frame/Block.h"
#include "frame/Bytes.h"

namespace qzmtraw {

/// A test of up to four bytes: those at `offset`, read least significant byte first and masked, are `value`.
struct Probe {
  std::int32_t offset = 0;
  std::uint32_t mask = 0;
  std::uint32_t value = 0;

  /// The probe of a byte string's first four bytes.
  static constexpr Probe Of(std::int32_t offset, ByteView string) {
    Probe probe{offset, 0, 0};
    for (std::size_t i = 0; i < string.size() && i < 4; ++i) {
      probe.mask |= std::uint32_t{0xFF} << 8 * i;
      probe.value |= std::uint32_t{string[i]} << 8 * i;
    }
    return probe;
  }

  /// Bytes from a sector's start that the probe looks at.
  constexpr std::int32_t Reach() const { return offset + 4; }

  /// 4 for each byte that is looked at, and 16 unless all of them are zero.
  constexpr int Selectivity() const { return std::popcount(mask) / 2 + (value != 0 ? 16 : 0); }

  /// The probe that holds wherever this one or another one at the same offset does: of what both look at, it looks at
  /// the bits in which they agree.
  constexpr Probe Common(const Probe& other) const {
    const std::uint32_t agreed = mask & other.mask & ~(value ^ other.value);
    return {offset, agreed, value & agreed};
  }

  constexpr bool operator==(const Probe&) const = default;
};

/// Probes of which at least one holds wherever a head stands.
struct ProbeSet {
  std::array<Probe, 16> probes{};
  std::size_t count = 0;

  /// Probes that agree in much become one.
  constexpr void Add(const Probe& probe) {
    constexpr int kEnoughBits = 15;
    for (std::size_t i = 0; i < count; ++i) {
      if (probes[i] == probe) return;
      const Probe common = probes[i].Common(probe);
      if (probes[i].offset != probe.offset || common.value == 0 || std::popcount(common.mask) < kEnoughBits) continue;
      probes[i] = common;
      return;
    }
    probes[count++] = probe;
  }

  /// Whether the probes are many, and each asks for a certain first byte. Looking that up in a table is quicker then.
  constexpr bool ByFirstByte() const {
    constexpr std::size_t kMany = 4;
    return count >= kMany && std::all_of(probes.begin(), probes.begin() + count, [](const Probe& probe) {
             return probe.offset == 0 && (probe.mask & 0xFF) == 0xFF;
           });
  }

  /// The bytes that the probes ask for, where each asks for one.
  constexpr std::array<bool, 256> FirstBytes() const {
    std::array<bool, 256> bytes{};
    for (std::size_t i = 0; i < count; ++i) bytes[probes[i].value & 0xFF] = true;
    return bytes;
  }

  /// How well the probes tell heads from other sectors, by what sectors hold on real devices: the more bytes the
  /// better, zeros are everywhere, and each further probe costs.
  constexpr int Selectivity() const {
    int least = std::numeric_limits<int>::max();
    for (std::size_t i = 0; i < count; ++i) least = std::min(least, probes[i].Selectivity());
    return least - static_cast<int>(count);
  }
};

inline constexpr std::int32_t kUsualSectorSize = 512;

namespace detail {

/// The first of `count` places, `stride` bytes apart, of which `holds` is true, or `count`. Places are taken by
/// sixteens to save the loop's own work. A stride known to the compiler keeps the addresses out of registers.
template <class Holds>
std::int32_t FirstPlace(const std::uint8_t* place, std::ptrdiff_t stride, std::int32_t count, Holds holds) {
  constexpr std::int32_t kGroup = 16;
  std::int32_t passed = 0;
  for (; passed <= count - kGroup; passed += kGroup, place += kGroup * stride) {
    if (holds(place) || holds(place + stride) || holds(place + 2 * stride) || holds(place + 3 * stride) ||
        holds(place + 4 * stride) || holds(place + 5 * stride) || holds(place + 6 * stride) ||
        holds(place + 7 * stride) || holds(place + 8 * stride) || holds(place + 9 * stride) ||
        holds(place + 10 * stride) || holds(place + 11 * stride) || holds(place + 12 * stride) ||
        holds(place + 13 * stride) || holds(place + 14 * stride) || holds(place + 15 * stride)) {
      break;
    }
  }
  for (; passed < count; ++passed, place += stride) {
    if (holds(place)) break;
  }
  return passed;
}

}  // namespace detail

/// The first of `count` sectors of 512 bytes at which the probe holds, or `count`. This is the program's inner loop.
inline std::int32_t FirstWord(const std::uint8_t* sectors, std::int32_t count, const Probe& probe) {
  const std::uint8_t* const place = sectors + probe.offset;
  if (probe.mask == 0xFFFFFFFF) {
    return detail::FirstPlace(place, kUsualSectorSize, count, [value = probe.value](const std::uint8_t* word) {
      return LoadLittle<std::uint32_t>(word) == value;
    });
  }
  return detail::FirstPlace(place, kUsualSectorSize, count,
                            [mask = probe.mask, value = probe.value](const std::uint8_t* word) {
                              return (LoadLittle<std::uint32_t>(word) & mask) == value;
                            });
}

/// The index of the block's first sector from `index` on at which one of the probes holds, or the number of sectors.
/// Sectors at which a probe would reach beyond the block's last byte count as if it held.
std::int32_t NextCandidate(const Block& block, std::span<const Probe> probes, std::int32_t index);

}  // namespace qzmtraw

#endif  // QZMTRAW_FRAME_PROBE_H
