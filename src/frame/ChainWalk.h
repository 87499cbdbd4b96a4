#ifndef QZMTRAW_FRAME_CHAIN_WALK_H
#define QZMTRAW_FRAME_CHAIN_WALK_H

#include <algorithm>
#include <cstdint>
#include <limits>
#include <optional>

#include "frame/Block.h"
#include "frame/KFileSimulator.h"

namespace qzmtraw {

/// The work that a detector may put into following chains. Every record costs, and the farther it is from the last one
/// the more, because the host has to read it; and every sector that the scan passes earns. A chain of any real file
/// takes a small part of what there is at the start. But a device on which each sector heads a chain through all the
/// others would take a time that grows with the square of its size; here it grows with the size alone.
class WalkAllowance {
 public:
  /// \param number  The sector at which a chain begins.
  void EarnUpTo(std::uint64_t number) {
    // A scan that starts anew begins at a lower number, which counts as a long way. So does a block without sectors,
    // whose number is 0, after any other: what the classifiers of a process have spent is given back by it.
    const std::uint64_t passed = number - lastSector_;
    lastSector_ = number;
    left_ = passed >= kMost / kPerSector ? kMost : std::min(kMost, left_ + passed * kPerSector);
  }

  /// Pays for the step between two records. A step to what a file simulator may have read already costs its share of
  /// that reading. \return Whether there was enough left.
  bool PayStep(std::uint64_t from, std::uint64_t to) {
    constexpr std::uint64_t kBytesForPrice = KFileSimulator::kCacheSize / kPriceOfReading;
    const std::uint64_t distance = to - from;
    return Pay(distance < KFileSimulator::kCacheSize ? 1 + distance / kBytesForPrice : kPriceOfReading);
  }

  /// Pays for reading as much at once as a file simulator keeps. \return Whether there was enough left.
  bool PayReading() { return Pay(kPriceOfReading); }

  /// Pays for reading so many bytes at once. \return Whether there was enough left.
  bool PayReading(std::uint64_t bytes) { return Pay(kPriceOfReading * (1 + bytes / KFileSimulator::kCacheSize)); }

 private:
  static constexpr std::uint64_t kMost = std::uint64_t{1} << 26;
  static constexpr std::uint64_t kPerSector = 256;
  static constexpr std::uint64_t kPriceOfReading = 256;

  bool Pay(std::uint64_t price) {
    if (left_ < price) return false;
    left_ -= price;
    return true;
  }

  std::uint64_t left_ = kMost;
  std::uint64_t lastSector_ = 0;
};

/// For kinds whose records lead from one to the next through the whole file, which may reach far beyond the block. It
/// goes on top of a pattern: `ChainWalk<StartOnly<Self>>` or `ChainWalk<SizedByHead<Self>>`, whose SizeAt calls
/// FollowChain.
template <class Pattern>
class ChainWalk : public Pattern {
 public:
  std::int32_t Reset() override {
    allowance_ = {};
    return Pattern::Reset();
  }

 protected:
  /// Follows a chain of records from the one at `first`. A chain ends at the latest where it comes back to a record, or
  /// where the detector's allowance is spent.
  /// \param next  `std::optional<std::uint64_t>(KFileSimulator& file, std::uint64_t place)` with the file positioned at
  ///              a record: the place of the next record, or nothing where there is no further one.
  /// \tparam Position  The type that places are cut to when they are looked up in the file.
  /// \return The place at which the chain ended.
  template <class Position = std::uint64_t, class Next>
  std::uint64_t FollowChain(const Sector& head, std::uint64_t first, Next next) {
    KFileSimulator file(head.RawBlock(), head.Number(), std::numeric_limits<std::int32_t>::max());
    allowance_.EarnUpTo(head.Number());
    const auto step = [&](std::uint64_t place) {
      file.SetPos(static_cast<Position>(place));
      std::optional<std::uint64_t> following = next(file, place);
      if (following && !allowance_.PayStep(place, *following)) following.reset();
      return following;
    };

    // A mark that is set anew at doubling distances is met again when the chain has run into a loop (R. P. Brent, "An
    // improved Monte Carlo factorization algorithm", BIT 20, 1980).
    std::uint64_t place = first;
    std::uint64_t mark = first;
    std::uint64_t sinceMark = 0;
    std::uint64_t untilNextMark = 1;
    while (const std::optional<std::uint64_t> following = step(place)) {
      place = *following;
      ++sinceMark;
      if (static_cast<Position>(place) == static_cast<Position>(mark)) {
        return FirstReturn<Position>(first, sinceMark, step);
      }
      if (sinceMark == untilNextMark) {
        mark = place;
        untilNextMark *= 2;
        sinceMark = 0;
      }
    }
    return place;
  }

 private:
  /// Where a chain that runs into a loop of `length` records first comes to a record that it has met before.
  template <class Position, class Step>
  static std::uint64_t FirstReturn(std::uint64_t first, std::uint64_t length, Step step) {
    std::uint64_t ahead = first;
    for (std::uint64_t i = 0; i < length; ++i) ahead = step(ahead).value_or(ahead);
    std::uint64_t behind = first;
    while (static_cast<Position>(ahead) != static_cast<Position>(behind)) {
      const std::optional<std::uint64_t> following = step(ahead);
      const std::optional<std::uint64_t> followingBehind = step(behind);
      if (!following || !followingBehind) break;
      ahead = *following;
      behind = *followingBehind;
    }
    return ahead;
  }

  WalkAllowance allowance_;
};

}  // namespace qzmtraw

#endif  // QZMTRAW_FRAME_CHAIN_WALK_H
