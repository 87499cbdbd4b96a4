#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <map>
#include <numeric>
#include <set>
#include <string_view>

#include "host/scan/Lanes.h"
#include "host/types/Registry.h"

namespace qzmtraw::host {
namespace {

constexpr std::array<std::int32_t, 3> kWritingRows = {127, 130, 140};

class LanesTest : public ::testing::Test {
 protected:
  std::vector<std::int32_t> AllRows() const {
    std::vector<std::int32_t> rows(catalogue.size());
    std::iota(rows.begin(), rows.end(), 0);
    return rows;
  }

  const TypeCatalogue catalogue = ReadTypeCatalogue(OpenRegistry());
};

TEST_F(LanesTest, EveryRowIsReportedOnceAndInOrder) {
  for (const std::size_t count : {1U, 2U, 3U, 8U, 1000U}) {
    const std::vector<Lane> lanes = DealRows(AllRows(), catalogue, count);
    EXPECT_LE(lanes.size(), count);
    std::vector<std::int32_t> reported;
    for (const Lane& lane : lanes) {
      EXPECT_TRUE(std::ranges::is_sorted(lane, {}, &LaneRow::row));
      const auto before = reported.size();
      for (const LaneRow& each : lane) {
        if (!each.isSilent) reported.push_back(each.row);
      }
      EXPECT_GT(reported.size(), before);
    }
    std::ranges::sort(reported);
    EXPECT_EQ(reported, AllRows());
  }
}

TEST_F(LanesTest, GroupsStayTogether) {
  const std::vector<Lane> lanes = DealRows(AllRows(), catalogue, 8);
  EXPECT_EQ(lanes.size(), 8U);
  std::map<std::string, std::set<const Lane*>> lanesOfGroup;
  for (const Lane& lane : lanes) {
    for (const LaneRow& each : lane) lanesOfGroup[catalogue[static_cast<std::size_t>(each.row)].group].insert(&lane);
  }
  EXPECT_EQ(lanesOfGroup.size(), 11U);
  for (const auto& [group, itsLanes] : lanesOfGroup) {
    EXPECT_TRUE(group.empty() || itsLanes.size() == 1) << group;
  }
}

TEST_F(LanesTest, RowsThatWriteAreInEveryLane) {
  for (const Lane& lane : DealRows(AllRows(), catalogue, 8)) {
    for (const std::int32_t row : kWritingRows) EXPECT_EQ(std::ranges::count(lane, row, &LaneRow::row), 1);
    for (const LaneRow& each : lane) {
      EXPECT_TRUE(!each.isSilent || WritesIntoBlocks(each.row)) << each.row;
    }
  }
  const std::vector<std::int32_t> few = {49, 130};
  EXPECT_EQ(DealRows(few, catalogue, 8), (std::vector<Lane>{{{49}, {130, true}}, {{130}}}));
}

TEST_F(LanesTest, HeadsInWhichRowsWriteAreSeenAtEverySector) {
  std::vector<std::uint8_t> block(64 * 16);
  EXPECT_FALSE(MayBeWrittenInto(block, 16));
  EXPECT_FALSE(MayBeWrittenInto({}, 16));
  for (const std::string_view start :
       {std::string_view("FORM"), std::string_view("FOR4"), std::string_view("\0\0\x27\x0A", 4)}) {
    for (const std::size_t sector : {0U, 1U, 63U}) {
      std::vector<std::uint8_t> written = block;
      std::copy_n(start.data(), 4, written.begin() + static_cast<std::ptrdiff_t>(sector * 16));
      EXPECT_TRUE(MayBeWrittenInto(written, 16)) << sector;
      EXPECT_TRUE(MayBeWrittenInto(written, 1)) << sector;
      EXPECT_EQ(MayBeWrittenInto(written, 20), sector == 0) << sector;
    }
  }
  const std::vector<std::uint8_t> end = {0, 0, 'F', 'O', 'R', '4'};
  EXPECT_TRUE(MayBeWrittenInto(end, 1));
  EXPECT_FALSE(MayBeWrittenInto(std::span(end).first(5), 1));
}

TEST_F(LanesTest, OneRowMakesOneLane) {
  const std::vector<std::int32_t> rows = {144};
  EXPECT_EQ(DealRows(rows, catalogue, 8), (std::vector<Lane>{{{144}}}));
}

}  // namespace
}  // namespace qzmtraw::host
