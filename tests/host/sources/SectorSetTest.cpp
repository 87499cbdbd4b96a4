#include <gtest/gtest.h>

#include <algorithm>
#include <initializer_list>
#include <random>

#include "host/sources/SectorSet.h"
#include "tests/host/support/Sectors.h"

namespace qzmtraw::host {
namespace {

using Ranges = std::vector<SectorRange>;

/// Bits are kept in pages for so many sectors.
constexpr std::uint64_t kPage = 32768;

void AddAll(SectorSet& set, std::initializer_list<SectorRange> ranges) {
  for (const SectorRange& range : ranges) set.Add(range);
}

TEST(SectorSetTest, NeighboursMerge) {
  SectorSet set;
  AddAll(set, {{9, 1}, {4, 1}, {6, 1}, {5, 1}, {20, 0}});
  EXPECT_EQ(RangesOf(set), (Ranges{{4, 3}, {9, 1}}));
}

TEST(SectorSetTest, ASectorCountsOnce) {
  SectorSet set;
  AddAll(set, {{5, 2}, {6, 3}, {5, 1}, {8, 1}});
  EXPECT_EQ(set.Count(), 4U);
  EXPECT_EQ(RangesOf(set), (Ranges{{5, 4}}));
}

TEST(SectorSetTest, FindsOverlaps) {
  SectorSet set;
  AddAll(set, {{5, 2}, {10, 1}});
  EXPECT_FALSE(set.Overlaps({0, 5}));
  EXPECT_TRUE(set.Overlaps({0, 6}));
  EXPECT_TRUE(set.Overlaps({6, 1}));
  EXPECT_FALSE(set.Overlaps({7, 3}));
  EXPECT_TRUE(set.Overlaps({7, 4}));
  EXPECT_TRUE(set.Overlaps({0, 1000000}));
  EXPECT_FALSE(set.Overlaps({11, 1000000}));
  EXPECT_FALSE(SectorSet().Overlaps({0, 100}));
  EXPECT_TRUE(RangesOf(SectorSet()).empty());
}

TEST(SectorSetTest, RangesGoAcrossPagesAndHoles) {
  SectorSet set;
  constexpr std::uint64_t kFar = 1000 * kPage * kPage;
  AddAll(set, {{kFar - 1, 2}, {kPage - 2, 2 * kPage + 3}, {5 * kPage, kPage}, {kFar + 9, 1}});
  EXPECT_EQ(RangesOf(set), (Ranges{{kPage - 2, 2 * kPage + 3}, {5 * kPage, kPage}, {kFar - 1, 2}, {kFar + 9, 1}}));
  EXPECT_TRUE(set.Overlaps({2 * kPage, 1}));
  EXPECT_FALSE(set.Overlaps({3 * kPage + 1, 2 * kPage - 1}));
  EXPECT_TRUE(set.Overlaps({3 * kPage + 1, 2 * kPage}));
  EXPECT_FALSE(set.Overlaps({10 * kPage, 90 * kPage}));
}

TEST(SectorSetTest, TellsRuns) {
  SectorSet set;
  constexpr std::uint64_t kFar = 9 * kPage;
  AddAll(set, {{5, 2}, {kPage - 1, 2}, {kFar, 1}});
  const auto expectRun = [&](std::uint64_t sector, std::uint64_t most, bool isIn, std::uint64_t count) {
    const SectorSet::Run run = set.RunAt(sector, most);
    EXPECT_EQ(run.isIn, isIn) << sector;
    EXPECT_EQ(run.count, count) << sector;
  };
  expectRun(0, 100, false, 5);
  expectRun(0, 3, false, 3);
  expectRun(5, 100, true, 2);
  expectRun(6, 100, true, 1);
  expectRun(5, 1, true, 1);
  expectRun(7, 20, false, 20);
  expectRun(7, 2 * kPage, false, kPage - 8);
  expectRun(kPage - 1, 100, true, 2);
  expectRun(kPage + 1, 100 * kPage, false, kFar - kPage - 1);
  expectRun(kFar + 1, 7, false, 7);
  const SectorSet empty;
  EXPECT_EQ(empty.RunAt(3, 8).count, 8U);
}

TEST(SectorSetTest, AgreesWithAListOfMarks) {
  constexpr std::uint64_t kSectors = 3 * kPage;
  std::mt19937_64 random(1);
  std::vector<bool> marks(kSectors);
  SectorSet set;
  for (int i = 0; i < 3000; ++i) {
    const std::uint64_t first = random() % kSectors;
    const std::uint64_t count = std::min(random() % 40, kSectors - first);
    EXPECT_EQ(set.Overlaps({first, count}),
              std::any_of(marks.begin() + static_cast<std::ptrdiff_t>(first),
                          marks.begin() + static_cast<std::ptrdiff_t>(first + count), [](bool mark) { return mark; }));
    if (i % 2 == 0) continue;
    set.Add({first, count});
    std::fill_n(marks.begin() + static_cast<std::ptrdiff_t>(first), count, true);
  }
  Ranges expected;
  std::uint64_t total = 0;
  for (std::uint64_t sector = 0; sector < kSectors; ++sector) {
    if (!marks[sector]) continue;
    ++total;
    if (expected.empty() || expected.back().first + expected.back().count != sector) expected.push_back({sector, 0});
    ++expected.back().count;
  }
  EXPECT_EQ(RangesOf(set), expected);
  EXPECT_EQ(set.Count(), total);
}

}  // namespace
}  // namespace qzmtraw::host
