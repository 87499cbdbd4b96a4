#include <gtest/gtest.h>

#include <algorithm>
#include <numeric>
#include <set>
#include <string>

#include "host/base/Error.h"
#include "host/scan/Shard.h"
#include "host/types/Registry.h"

namespace qzmtraw::host {
namespace {

class ShardTest : public ::testing::Test {
 protected:
  ShardTest() : rows(catalogue.size()) { std::iota(rows.begin(), rows.end(), 0); }

  const TypeCatalogue catalogue = ReadTypeCatalogue(OpenRegistry());
  std::vector<std::int32_t> rows;
};

TEST(ShardTextTest, OnlySharesAreRead) {
  EXPECT_EQ(ParseShard("2/3"), (Shard{2, 3}));
  EXPECT_EQ(ParseShard("1/1"), Shard{});
  EXPECT_EQ(ShardText({2, 3}), "2/3");
  for (const char* text : {"", "/", "1", "1/", "/2", "0/2", "3/2", "1/0", "-1/2", "1/2/3", " 1/2", "1/2 ",
                           "1/4294967296", "+1/2", "a/b", "1.0/2"}) {
    EXPECT_THROW(ParseShard(text), UsageError) << text;
  }
}

TEST_F(ShardTest, EveryRowIsInOneShardAndGroupsStayTogether) {
  for (const std::uint32_t count : {1U, 2U, 3U, 5U, 8U}) {
    std::vector<std::int32_t> reported;
    std::set<std::string> groups;
    for (std::uint32_t number = 1; number <= count; ++number) {
      std::set<std::string> groupsHere;
      for (const auto& [row, isSilent] : RowsOfShard(rows, catalogue, {number, count})) {
        if (isSilent) continue;
        reported.push_back(row);
        const std::string& group = catalogue[static_cast<std::size_t>(row)].group;
        if (!group.empty()) groupsHere.insert(group);
      }
      for (const std::string& group : groupsHere) EXPECT_TRUE(groups.insert(group).second) << group;
    }
    std::ranges::sort(reported);
    EXPECT_EQ(reported, rows) << count;
  }
}

TEST_F(ShardTest, RowsThatWriteAreInEveryShardAndInEveryLaneOfIt) {
  for (std::uint32_t number = 1; number <= 5; ++number) {
    const Lane shard = RowsOfShard(rows, catalogue, {number, 5});
    EXPECT_TRUE(std::ranges::is_sorted(shard, {}, &LaneRow::row));
    for (const Lane& lane : DealRows(std::span<const LaneRow>(shard), catalogue, 3)) {
      for (const std::int32_t row : {127, 130, 140}) {
        EXPECT_EQ(std::ranges::count(lane, row, &LaneRow::row), 1) << row;
        if (std::ranges::find(shard, LaneRow{row, true}) == shard.end()) continue;
        EXPECT_EQ(std::ranges::count(lane, LaneRow{row, true}), 1) << row;
      }
    }
  }
}

TEST_F(ShardTest, RowsThatWriteAreOnlyThereIfTheyWereChosen) {
  const std::vector<std::int32_t> few = {49, 130, 144};
  EXPECT_EQ(RowsOfShard(few, catalogue, {1, 3}), (Lane{{49}, {130, true}}));
  EXPECT_EQ(RowsOfShard(few, catalogue, {2, 3}), (Lane{{130}}));
  EXPECT_EQ(RowsOfShard(few, catalogue, {3, 3}), (Lane{{130, true}, {144}}));
}

TEST_F(ShardTest, MoreShardsThanThereIsWorkForAreRefused) {
  const std::vector<std::int32_t> few = {49, 144};
  EXPECT_THROW(RowsOfShard(few, catalogue, {1, 3}), UsageError);
  EXPECT_THROW(RowsOfShard(rows, catalogue, {1, 1000}), UsageError);
}

}  // namespace
}  // namespace qzmtraw::host
