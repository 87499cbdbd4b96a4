#ifndef QZMTRAW_FRAME_HEAD_H
#define QZMTRAW_FRAME_HEAD_H

/// \file
/// How a detector says what the head of a file looks like, and the loop that finds heads. A detector states one
/// expression of byte strings at offsets,
///
///     static constexpr auto kHead = At(0, "RIFF") && At(8, "WAVE");
///
/// and, for what bytes alone can't say, a function `bool IsHead(const Sector&)`, which is asked when the expression
/// holds. A detector without an expression may state `Probe HeadProbe()` in its place. The loop runs over every sector
/// of a device once for each kind, so it is the program's inner loop: from the expression it takes the fewest words of
/// four bytes that tell most sectors apart and looks at nothing else.

#include <algorithm>
#include <array>
#include <bit>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <span>
#include <type_traits>

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

  /// How well the probes tell heads from other sectors, by what sectors hold on real devices: the more bytes the
  /// better, zeros are everywhere, and each further probe costs.
  constexpr int Selectivity() const {
    int least = std::numeric_limits<int>::max();
    for (std::size_t i = 0; i < count; ++i) least = std::min(least, probes[i].Selectivity());
    return least - static_cast<int>(count);
  }
};

/// The head expressions. Made with At, && and ||.
struct HeadExpression {};

/// A byte string at an offset of the sector.
template <std::size_t kLength>
struct StringAt : HeadExpression {
  std::int32_t offset = 0;
  ByteString<kLength> string;

  bool Matches(const Sector& sector) const { return sector.Has(offset, string); }

  constexpr ProbeSet Probes() const {
    ProbeSet set;
    set.Add(Probe::Of(offset, string));
    return set;
  }
};

/// Both expressions hold. The probes of the one that tells more sectors apart stand for both.
template <class Left, class Right>
struct Both : HeadExpression {
  Left left;
  Right right;

  bool Matches(const Sector& sector) const { return left.Matches(sector) && right.Matches(sector); }
  constexpr ProbeSet Probes() const {
    const ProbeSet ofLeft = left.Probes();
    const ProbeSet ofRight = right.Probes();
    return ofRight.Selectivity() > ofLeft.Selectivity() ? ofRight : ofLeft;
  }
};

/// At least one of the expressions holds.
template <class Left, class Right>
struct Either : HeadExpression {
  Left left;
  Right right;

  bool Matches(const Sector& sector) const { return left.Matches(sector) || right.Matches(sector); }
  constexpr ProbeSet Probes() const {
    ProbeSet set = left.Probes();
    const ProbeSet more = right.Probes();
    for (std::size_t i = 0; i < more.count; ++i) set.Add(more.probes[i]);
    return set;
  }
};

/// The bytes of `literal`, without the zero that the compiler adds, at `offset` of the sector.
template <std::size_t kLength>
consteval StringAt<kLength - 1> At(std::int32_t offset, const char (&literal)[kLength]) {
  return {{}, offset, Bytes(literal)};
}

/// A byte string at `offset` of the sector.
template <std::size_t kLength>
consteval StringAt<kLength> At(std::int32_t offset, const ByteString<kLength>& string) {
  return {{}, offset, string};
}

template <std::derived_from<HeadExpression> Left, std::derived_from<HeadExpression> Right>
constexpr Both<Left, Right> operator&&(Left left, Right right) {
  return {{}, left, right};
}

template <std::derived_from<HeadExpression> Left, std::derived_from<HeadExpression> Right>
constexpr Either<Left, Right> operator||(Left left, Right right) {
  return {{}, left, right};
}

/// Whether a head of the detector's kind stands at the sector. A sector of less than `kFloor` bytes has no head. A
/// detector may keep what its IsHead learns.
template <class Detector>
bool IsHeadAt(Detector&& detector, const Sector& sector) {
  using Kind = std::remove_reference_t<Detector>;
  if (sector.Size() < Kind::kFloor) return false;
  if constexpr (requires { Kind::kHead; }) {
    if (!Kind::kHead.Matches(sector)) return false;
  }
  if constexpr (requires { detector.IsHead(sector); }) return detector.IsHead(sector);
  return true;
}

namespace detail {

constexpr std::int32_t kUsualSectorSize = 512;
constexpr std::uint32_t kAllBits = 0xFFFFFFFF;

/// The first of `count` places, 512 bytes apart, at which the four bytes are `value`, or `count`. One small function
/// for all kinds stays in the processor's nearest caches while the kinds' own code comes and goes.
std::int32_t FirstWord(const std::uint8_t* place, std::int32_t count, std::uint32_t value);
/// The same for a probe that looks at some of the bits.
std::int32_t FirstMaskedWord(const std::uint8_t* place, std::int32_t count, std::uint32_t mask, std::uint32_t value);

/// The index of the block's first sector from `index` on at which one of the probes holds, or the number of sectors.
/// Sectors at which a probe would reach beyond the block's last byte count as if it held.
std::int32_t NextCandidate(const Block& block, std::span<const Probe> probes, std::int32_t index);

template <class Detector>
inline constexpr ProbeSet kProbesOf = Detector::kHead.Probes();

/// The same by what the detector states. Without probes, every sector is a candidate.
template <class Detector>
std::int32_t NextCandidateOf(const Detector& detector, const Block& block, std::int32_t index) {
  if constexpr (requires { Detector::kHead; }) {
    return NextCandidate(block, {kProbesOf<Detector>.probes.data(), kProbesOf<Detector>.count}, index);
  } else if constexpr (requires { detector.HeadProbe(); }) {
    const Probe probe = detector.HeadProbe();
    return NextCandidate(block, {&probe, 1}, index);
  } else {
    return index;
  }
}

/// NextCandidateOf for a whole block, the first thing that is asked of it and the last for most. It is short for kinds
/// with one probe and blocks of the usual sectors.
template <class Detector>
std::int32_t FirstCandidateOf(const Detector& detector, const Block& block) {
  if constexpr (requires { Detector::kHead; }) {
    constexpr Probe kProbe = kProbesOf<Detector>.probes[0];
    if constexpr (kProbesOf<Detector>.count == 1 && kProbe.Reach() <= kUsualSectorSize) {
      if (block.SectorSize() == kUsualSectorSize) {
        const std::uint8_t* const place = block.Data() + kProbe.offset;
        if constexpr (kProbe.mask == kAllBits) return FirstWord(place, block.SectorCount(), kProbe.value);
        return FirstMaskedWord(place, block.SectorCount(), kProbe.mask, kProbe.value);
      }
    }
  }
  return NextCandidateOf(detector, block, 0);
}

}  // namespace detail

/// The index of the block's first sector from `index` on at which a head of the detector's kind stands, or the number
/// of sectors.
template <class Detector>
std::int32_t NextHead(Detector&& detector, const Block& block, std::int32_t index) {
  if (block.SectorSize() < std::remove_reference_t<Detector>::kFloor) return block.SectorCount();
  for (; index < block.SectorCount(); ++index) {
    index = detail::NextCandidateOf(detector, block, index);
    if (index == block.SectorCount() || IsHeadAt(detector, block[index])) break;
  }
  return index;
}

/// Whether the block holds no head of the detector's kind for sure, which is quickly told of most.
template <class Detector>
bool HoldsNoHead(const Detector& detector, const Block& block) {
  return block.SectorCount() == 0 || block.SectorSize() < Detector::kFloor ||
         detail::FirstCandidateOf(detector, block) == block.SectorCount();
}

namespace detail {

template <class Detector, class OnHead>
[[gnu::noinline]] void ForEachHeadOf(const Detector& detector, const Block& block, const OnHead& onHead) {
  for (std::int32_t i = NextHead(detector, block, 0); i < block.SectorCount(); i = NextHead(detector, block, i + 1)) {
    onHead(block[i]);
  }
}

}  // namespace detail

/// Calls `onHead(sector)` for every sector of the block at which a head of the detector's kind stands, in order.
template <class Detector, class OnHead>
void ForEachHead(const Detector& detector, const Block& block, const OnHead& onHead) {
  if (!HoldsNoHead(detector, block)) detail::ForEachHeadOf(detector, block, onHead);
}

}  // namespace qzmtraw

#endif  // QZMTRAW_FRAME_HEAD_H
