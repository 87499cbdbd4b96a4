#ifndef QZMTRAW_FRAME_HEAD_H
#define QZMTRAW_FRAME_HEAD_H

/// \file
/// How a detector says what the head of a file looks like, and the loop that finds heads. A detector states one
/// expression of byte strings at offsets,
///
///     static constexpr auto kHead = At(0, "RIFF") && At(8, "WAVE");
///
/// and, for what bytes alone can't say, a function `bool IsHead(const Sector&)`, which is asked when the expression
/// holds. A detector without an expression may state a `Probe kHeadProbe` in its place. From the expression come the
/// probes by which heads are looked for, see Probe.h. Where no four bytes tell, it may state instead
///
///     kGlance                                  a number of bytes
///     bool MayBeHead(const std::uint8_t*)      whether so many bytes may be the beginning of a head: a quick test that
///                                              sorts out almost all sectors

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
#include "frame/Probe.h"

namespace qzmtraw {

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

template <class Detector>
inline constexpr ProbeSet kProbesOf = Detector::kHead.Probes();

}  // namespace detail

/// The probes of a kind's heads. Without any, its heads are looked for in another way.
template <class Detector>
constexpr std::span<const Probe> ProbesOf() {
  if constexpr (requires { Detector::kHead; }) {
    if (detail::kProbesOf<Detector>.ByFirstByte()) return {};
    return {detail::kProbesOf<Detector>.probes.data(), detail::kProbesOf<Detector>.count};
  } else if constexpr (requires { Detector::kHeadProbe; }) {
    return {&Detector::kHeadProbe, 1};
  } else {
    return {};
  }
}

namespace detail {

template <class Detector>
inline constexpr std::array<bool, 256> kFirstBytesOf = kProbesOf<Detector>.FirstBytes();

/// The index of the first sector from `index` on whose first bytes, `size` of them, pass a test. Where sectors have
/// fewer, all do.
template <class Test>
std::int32_t NextPassing(const Block& block, std::int32_t index, std::int32_t size, Test test) {
  const std::int32_t stride = block.SectorSize();
  if (stride < size) return index;
  const std::uint8_t* bytes = block.Data() + std::int64_t{index} * stride;
  for (; index < block.SectorCount(); ++index, bytes += stride) {
    if (test(bytes)) break;
  }
  return index;
}

/// The index of the first sector from `index` on at which a head of the kind may stand, by what is quickly tested.
template <class Detector>
std::int32_t NextCandidateOf(const Block& block, std::int32_t index) {
  constexpr std::span<const Probe> kProbes = ProbesOf<Detector>();
  if constexpr (!kProbes.empty()) {
    return NextCandidate(block, kProbes, index);
  } else if constexpr (requires { Detector::kHead; }) {
    return NextPassing(block, index, 1, [](const std::uint8_t* bytes) { return kFirstBytesOf<Detector>[*bytes]; });
  } else if constexpr (requires { Detector::kGlance; }) {
    return NextPassing(block, index, Detector::kGlance, &Detector::MayBeHead);
  } else {
    return index;
  }
}

}  // namespace detail

/// The index of the block's first sector from `index` on at which a head of the detector's kind stands, or the number
/// of sectors.
template <class Detector>
std::int32_t NextHead(Detector&& detector, const Block& block, std::int32_t index) {
  using Kind = std::remove_cvref_t<Detector>;
  if (block.SectorSize() < Kind::kFloor) return block.SectorCount();
  for (; index < block.SectorCount(); ++index) {
    index = detail::NextCandidateOf<Kind>(block, index);
    if (index == block.SectorCount() || IsHeadAt(detector, block[index])) break;
  }
  return index;
}

/// Calls `onHead(sector)` for every sector of the block at which a head of the detector's kind stands, in order.
template <class Detector, class OnHead>
void ForEachHead(const Detector& detector, const Block& block, const OnHead& onHead) {
  for (std::int32_t i = NextHead(detector, block, 0); i < block.SectorCount(); i = NextHead(detector, block, i + 1)) {
    onHead(block[i]);
  }
}

}  // namespace qzmtraw

#endif  // QZMTRAW_FRAME_HEAD_H
