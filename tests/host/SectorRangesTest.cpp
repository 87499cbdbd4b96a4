#include <gtest/gtest.h>

#include "host/SectorRanges.h"

namespace qzmtraw::host {
namespace {

using Map = std::map<std::uint64_t, std::uint64_t>;

SectorRanges RangesOf(std::initializer_list<std::uint64_t> sectors) {
  SectorRanges ranges;
  for (const std::uint64_t sector : sectors) ranges.Add(sector);
  return ranges;
}

TEST(SectorRangesTest, NeighboursMerge) {
  EXPECT_EQ(RangesOf({5, 6, 4}).Ranges(), (Map{{4, 7}}));
  EXPECT_EQ(RangesOf({4, 6, 5}).Ranges(), (Map{{4, 7}}));
  EXPECT_EQ(RangesOf({9, 4, 6}).Ranges(), (Map{{4, 5}, {6, 7}, {9, 10}}));
}

TEST(SectorRangesTest, ASectorCountsOnce) {
  const SectorRanges ranges = RangesOf({5, 6, 5, 6, 8});
  EXPECT_EQ(ranges.SectorCount(), 3U);
  EXPECT_EQ(ranges.Ranges(), (Map{{5, 7}, {8, 9}}));
}

TEST(SectorRangesTest, FindsOverlaps) {
  const SectorRanges ranges = RangesOf({5, 6, 10});
  EXPECT_FALSE(ranges.Overlaps(0, 5));
  EXPECT_TRUE(ranges.Overlaps(0, 6));
  EXPECT_TRUE(ranges.Overlaps(6, 1));
  EXPECT_FALSE(ranges.Overlaps(7, 3));
  EXPECT_TRUE(ranges.Overlaps(7, 4));
  EXPECT_FALSE(ranges.Overlaps(11, 100));
  EXPECT_FALSE(ranges.Overlaps(6, 0)) << "no sectors, though a range lies around the place";
  EXPECT_FALSE(SectorRanges().Overlaps(0, 100));
}

}  // namespace
}  // namespace qzmtraw::host
