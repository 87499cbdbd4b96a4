#include <gtest/gtest.h>

#include <functional>
#include <optional>

#include "frame/ChainWalk.h"
#include "frame/StartOnly.h"
#include "tests/support/Scanning.h"

namespace qzmtraw {
namespace {

using test::Hits;

constexpr std::uint64_t kFirst = test::Device::kFirstSector;

/// A chain whose links are given by a function, at any sector that begins with an "h".
class Chain final : public ChainWalk<StartOnly<Chain>> {
 public:
  static constexpr auto kHead = At(0, "h");
  using Next = std::function<std::optional<std::uint64_t>(std::uint64_t)>;

  explicit Chain(Next next) : next_(std::move(next)) {}

  std::uint64_t SizeAt(const Sector& sector) {
    return FollowChain(sector, 10, [&](KFileSimulator& file, std::uint64_t place) {
      EXPECT_EQ(file.GetPos(), place);
      ++steps;
      return next_(place);
    });
  }

  std::uint64_t steps = 0;

 private:
  Next next_;
};

/// Scans one head. \return The place at which the chain ends.
std::uint64_t EndOf(Chain& chain, std::uint64_t sector = kFirst) {
  const Hits hits = test::Scan(chain, test::Device(1, 512, sector, 0).Put(sector, "h"));
  return hits.size() == 1 && hits.front().startSector == sector ? hits.front().size : ~std::uint64_t{0};
}

TEST(ChainWalk, EndsBehindTheLastRecord) {
  for (const std::uint64_t last : {10U, 11U, 12U, 13U, 500U}) {
    Chain chain([&](std::uint64_t place) { return place < last ? std::optional(place + 1) : std::nullopt; });
    EXPECT_EQ(EndOf(chain), last);
    EXPECT_EQ(chain.steps, last - 9);
  }
}

TEST(ChainWalk, EndsWhereItFirstComesBackToARecord) {
  for (std::uint64_t last = 10; last < 60; ++last) {
    for (std::uint64_t target = 10; target <= last; ++target) {
      Chain chain([&](std::uint64_t place) { return std::optional(place < last ? place + 1 : target); });
      EXPECT_EQ(EndOf(chain), target);
      EXPECT_LT(chain.steps, 10 * (last - 8));
    }
  }
}

/// Steps that a chain of steps of this length makes before its end.
std::uint64_t StepsOf(Chain& chain, std::uint64_t sector = kFirst) {
  chain.steps = 0;
  EndOf(chain, sector);
  return chain.steps;
}

TEST(ChainWalk, EndlessChainsAreCutAndFarStepsCostMore) {
  constexpr std::uint64_t kFarSteps = 1U << 18U;
  Chain far([](std::uint64_t place) { return std::optional(place + 32768); });
  EXPECT_EQ(StepsOf(far), kFarSteps + 1);
  Chain back([](std::uint64_t place) { return std::optional(place - 1); });
  EXPECT_EQ(StepsOf(back), kFarSteps + 1);
  Chain almostFar([](std::uint64_t place) { return std::optional(place + 32767); });
  EXPECT_EQ(StepsOf(almostFar), kFarSteps + 1);
  Chain halfAsFar([](std::uint64_t place) { return std::optional(place + 16383); });
  EXPECT_EQ(StepsOf(halfAsFar), 2 * kFarSteps + 1);
  // 101 each.
  Chain nearAtFirst([](std::uint64_t place) { return std::optional(place + (place < 12800000 ? 12800 : 32768)); });
  EXPECT_EQ(StepsOf(nearAtFirst), 1000 + (kFarSteps * 256 - 101000) / 256 + 1);
}

TEST(ChainWalk, AllowanceIsEarnedBySectors) {
  Chain chain([](std::uint64_t place) { return std::optional(place + 32768); });
  EXPECT_EQ(StepsOf(chain, kFirst), (1U << 18U) + 1);
  EXPECT_EQ(StepsOf(chain, kFirst), 1U);
  EXPECT_EQ(StepsOf(chain, kFirst + 1), 2U);
  EXPECT_EQ(StepsOf(chain, kFirst + 8), 8U);
  EXPECT_EQ(StepsOf(chain, kFirst + 8), 1U);
  EXPECT_EQ(StepsOf(chain, kFirst + 10000000), (1U << 18U) + 1);
  EXPECT_EQ(StepsOf(chain, 1), (1U << 18U) + 1);
}

TEST(ChainWalk, ResetGivesTheWholeAllowanceBack) {
  Chain chain([](std::uint64_t place) { return std::optional(place + 32768); });
  StepsOf(chain);
  EXPECT_EQ(chain.Reset(), 1);
  EXPECT_EQ(StepsOf(chain), (1U << 18U) + 1);
}

TEST(ChainWalk, LoopThatTheAllowanceMeetsButDoesNotFollowToItsFirstRecordEndsWhereItIsSpent) {
  // Two near steps, then far ones: 100000 into a loop of 50000.
  const auto placeAfter = [](std::uint64_t steps) { return 12 + 32768 * (steps - 2); };
  Chain chain([&](std::uint64_t place) {
    if (place < 12) return std::optional(place + 1);
    return std::optional(place == placeAfter(149999) ? placeAfter(100000) : place + 32768);
  });
  // The loop is seen when the mark set after 131071 steps is met again, 50000 steps on. Half of the 262144 far steps
  // and some are left by then; 50000 lead ahead, and each pass from there takes two, the first two of them a near one.
  constexpr std::uint64_t kPasses = 2 + (262144 - (131071 + 50000 - 2) - (50000 - 2) - 2 - 1) / 2;
  EXPECT_EQ(EndOf(chain), placeAfter(50000 + kPasses));
}

TEST(ChainWalk, PlacesThatChangeUnderTheWalkDoNotHoldIt) {
  std::uint64_t calls = 0;
  Chain chain([&](std::uint64_t /*place*/) { return std::optional((++calls * 2654435761U) % 7); });
  EndOf(chain);
  EXPECT_LT(chain.steps, std::uint64_t{1} << 27U);
}

}  // namespace
}  // namespace qzmtraw
