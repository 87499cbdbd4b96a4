#include <gtest/gtest.h>

#include <limits>
#include <vector>

#include "host/finds/CarvePlan.h"

namespace qzmtraw::host {
namespace {

constexpr std::int32_t kHinted = 0;
constexpr std::int32_t kPlain = 1;
constexpr std::uint64_t kGreatest = 10000;
constexpr std::uint64_t kDeviceSize = 1000000;

/// Plans finds on a device of a million bytes with sectors of 512.
std::vector<CarvePlan> Plan(const std::vector<Find>& finds, std::uint64_t deviceSize = kDeviceSize) {
  TypeCatalogue catalogue(2);
  catalogue[kHinted].hints = SizeHints{256, kGreatest};
  FindStore store(1U << 20U);
  for (const Find& find : finds) store.Add(find);
  store.Sort();
  PlannedFinds plannedFinds(store, CarvePlanner(catalogue, deviceSize, 512));
  std::vector<CarvePlan> plans;
  while (const auto planned = plannedFinds.Next()) plans.push_back(planned->plan);
  return plans;
}

TEST(CarvePlanTest, AKnownSizeIsTaken) {
  const CarvePlan plan = Plan({{10, 777, kHinted}}).at(0);
  EXPECT_EQ(plan.offset, 5120U);
  EXPECT_EQ(plan.length, 777U);
  EXPECT_FALSE(plan.isEstimated);
  EXPECT_FALSE(plan.isTruncated);
}

TEST(CarvePlanTest, AKnownSizeMayReachIntoTheNextFind) {
  EXPECT_EQ(Plan({{10, 5000, kPlain}, {11, 300, kPlain}}).at(0).length, 5000U);
}

TEST(CarvePlanTest, NothingReachesBeyondTheDevice) {
  const std::uint64_t start = 1953;  // The last sector, of which 64 bytes exist.
  const CarvePlan fits = Plan({{start, 64, kPlain}}).at(0);
  EXPECT_EQ(fits.length, 64U);
  EXPECT_FALSE(fits.isTruncated);
  const CarvePlan exceeds = Plan({{start, 65, kPlain}}).at(0);
  EXPECT_EQ(exceeds.length, 64U);
  EXPECT_TRUE(exceeds.isTruncated);
  EXPECT_EQ(Plan({{start, std::numeric_limits<std::uint64_t>::max(), kPlain}}).at(0).length, 64U);
  EXPECT_EQ(Plan({{start, 0, kHinted}}).at(0).length, 64U);
  EXPECT_EQ(Plan({{std::numeric_limits<std::uint64_t>::max(), 5, kPlain}}).at(0).length, 0U);
}

TEST(CarvePlanTest, AnUnknownSizeEndsAtTheNextFind) {
  const auto plans = Plan({{10, 0, kHinted}, {15, 0, kHinted}, {16, 300, kPlain}});
  EXPECT_EQ(plans.at(0).length, 5U * 512);
  EXPECT_TRUE(plans.at(0).isEstimated);
  EXPECT_EQ(plans.at(1).length, 512U);
}

TEST(CarvePlanTest, FindsAtTheSamePlaceDoNotEndOneAnother) {
  const auto plans = Plan({{10, 0, kHinted}, {10, 0, kHinted}, {10, 300, kPlain}, {12, 300, kPlain}});
  EXPECT_EQ(plans.at(0).length, 1024U);
  EXPECT_EQ(plans.at(1).length, 1024U);
  EXPECT_EQ(plans.at(2).length, 300U);
}

TEST(CarvePlanTest, AnUnknownSizeEndsAtTheGreatestHint) {
  EXPECT_EQ(Plan({{10, 0, kHinted}}).at(0).length, kGreatest);
  EXPECT_EQ(Plan({{10, 0, kHinted}, {1000, 300, kPlain}}).at(0).length, kGreatest);
}

TEST(CarvePlanTest, WithoutHintsTheNextFindDecides) {
  EXPECT_EQ(Plan({{10, 0, kPlain}, {1000, 300, kPlain}}).at(0).length, 990U * 512);
}

TEST(CarvePlanTest, WithoutAnyKnowledgeThereIsAConstant) {
  EXPECT_EQ(Plan({{10, 0, kPlain}}).at(0).length, kDeviceSize - 5120) << "the device ends first";
  EXPECT_FALSE(Plan({{10, 0, kPlain}}).at(0).isTruncated);
  EXPECT_EQ(Plan({{10, 0, kPlain}}, std::uint64_t{1} << 40U).at(0).length, 33554432U);
}

}  // namespace
}  // namespace qzmtraw::host
