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
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <type_traits>
#include <utility>

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

  bool HoldsAt(const std::uint8_t* sector) const {
    return (LoadLittle<std::uint32_t>(sector + offset) & mask) == value;
  }

  constexpr bool operator==(const Probe&) const = default;
};

/// Probes of which at least one holds wherever a head stands.
struct ProbeSet {
  std::array<Probe, 16> probes{};
  std::size_t count = 0;

  constexpr void Add(const Probe& probe) {
    for (std::size_t i = 0; i < count; ++i) {
      if (probes[i] == probe) return;
    }
    probes[count++] = probe;
  }

  /// Bytes from a sector's start that the probes look at.
  constexpr std::int32_t Reach() const {
    std::int32_t reach = 0;
    for (std::size_t i = 0; i < count; ++i) {
      reach = std::max(reach, probes[i].Reach());
    }
    return reach;
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

/// Both expressions hold. The left one's probes stand for both.
template <class Left, class Right>
struct Both : HeadExpression {
  Left left;
  Right right;

  bool Matches(const Sector& sector) const { return left.Matches(sector) && right.Matches(sector); }
  constexpr ProbeSet Probes() const { return left.Probes(); }
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

/// The probes of a head expression, compiled into the loop.
template <class Detector>
struct ExpressionProbes {
  static constexpr ProbeSet kSet = Detector::kHead.Probes();

  static constexpr std::int32_t Reach() { return kSet.Reach(); }
  bool operator()(const std::uint8_t* sector) const { return Any(sector, std::make_index_sequence<kSet.count>()); }
  template <std::size_t... kIndex>
  static bool Any(const std::uint8_t* sector, std::index_sequence<kIndex...> /*indexes*/) {
    return (kSet.probes[kIndex].HoldsAt(sector) || ...);
  }
};

/// The one probe of a detector that makes its own.
struct OwnProbe {
  Probe probe;

  std::int32_t Reach() const { return probe.Reach(); }
  bool operator()(const std::uint8_t* sector) const { return probe.HoldsAt(sector); }
};

/// For detectors without probes: every sector may be a head.
struct NoProbe {};

template <class Detector>
auto ProbesOf(const Detector& detector) {
  if constexpr (requires { Detector::kHead; }) {
    return ExpressionProbes<Detector>{};
  } else if constexpr (requires { detector.HeadProbe(); }) {
    return OwnProbe{detector.HeadProbe()};
  } else {
    return NoProbe{};
  }
}

/// The first sector from `index` on, below `end`, at which a probe holds, or `end`. Sectors are taken by eights to
/// save the loop's own work. A stride known to the compiler keeps the addresses out of registers.
template <std::ptrdiff_t kStride, class Probes>
std::int32_t NextCandidate(const Probes& holds, const std::uint8_t* data, std::int32_t index, std::int32_t end,
                           std::ptrdiff_t anyStride) {
  const std::ptrdiff_t stride = kStride != 0 ? kStride : anyStride;
  const std::uint8_t* sector = data + index * stride;
  constexpr std::int32_t kGroup = 8;
  const std::int32_t lastGroup = end - kGroup;
  for (; index <= lastGroup; index += kGroup, sector += kGroup * stride) {
    if (holds(sector) || holds(sector + stride) || holds(sector + 2 * stride) || holds(sector + 3 * stride) ||
        holds(sector + 4 * stride) || holds(sector + 5 * stride) || holds(sector + 6 * stride) ||
        holds(sector + 7 * stride)) {
      break;
    }
  }
  for (; index < end; ++index, sector += stride) {
    if (holds(sector)) break;
  }
  return index;
}

/// NextCandidate for any sector size. Where a probe would reach beyond the block's last byte, every sector is a
/// candidate.
template <class Probes>
std::int32_t NextCandidateIn(const Block& block, const Probes& probes, std::int32_t index) {
  std::int32_t end = block.SectorCount();
  if (block.SectorSize() < probes.Reach()) {
    const std::int64_t room = block.ByteCount() - probes.Reach();
    end = room < 0 ? 0 : static_cast<std::int32_t>(std::min<std::int64_t>(end, room / block.SectorSize() + 1));
  }
  if (index >= end) return index;
  return block.SectorSize() == 512 ? NextCandidate<512>(probes, block.Data(), index, end, 512)
                                   : NextCandidate<0>(probes, block.Data(), index, end, block.SectorSize());
}
template <>
inline std::int32_t NextCandidateIn(const Block& /*block*/, const NoProbe& /*probes*/, std::int32_t index) {
  return index;
}

}  // namespace detail

/// The index of the block's first sector from `index` on at which a head of the detector's kind stands, or the number
/// of sectors.
template <class Detector>
std::int32_t NextHead(Detector&& detector, const Block& block, std::int32_t index) {
  if (block.SectorSize() < std::remove_reference_t<Detector>::kFloor) return block.SectorCount();
  const auto probes = detail::ProbesOf(detector);
  for (; index < block.SectorCount(); ++index) {
    index = detail::NextCandidateIn(block, probes, index);
    if (index == block.SectorCount() || IsHeadAt(detector, block[index])) break;
  }
  return index;
}

/// Calls `onHead(sector)` for every sector of the block at which a head of the detector's kind stands, in order.
template <class Detector, class OnHead>
void ForEachHead(const Detector& detector, const Block& block, OnHead onHead) {
  for (std::int32_t i = NextHead(detector, block, 0); i < block.SectorCount(); i = NextHead(detector, block, i + 1)) {
    onHead(block[i]);
  }
}

}  // namespace qzmtraw

#endif  // QZMTRAW_FRAME_HEAD_H
