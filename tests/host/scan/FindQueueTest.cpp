#include <gtest/gtest.h>

#include <thread>
#include <vector>

#include "host/scan/FindQueue.h"

namespace qzmtraw::host {
namespace {

constexpr std::chrono::milliseconds kPatience{20};

class FindQueueTest : public ::testing::Test {
 protected:
  static std::vector<Find> FindsOf(const FindQueue::Batch& batch) { return {batch.finds.begin(), batch.finds.end()}; }

  static void End(FindQueue& queue, std::size_t lane, std::uint64_t block, std::vector<Find> finds) {
    EXPECT_TRUE(queue.Begin(block));
    queue.End(lane, block, finds);
    EXPECT_TRUE(finds.empty());
  }
};

TEST_F(FindQueueTest, OrdersByBlockThenRowThenReport) {
  FindQueue queue(2, 100);
  End(queue, 1, 0, {{9, 0, 2}, {5, 0, 2}, {7, 0, 8}});
  End(queue, 1, 1, {{1, 0, 2}});
  End(queue, 0, 0, {{8, 0, 1}, {3, 0, 5}});
  End(queue, 0, 1, {{2, 0, 5}});
  const FindQueue::Batch batch = queue.Take(kPatience);
  const std::vector<Find> expected = {{8, 0, 1}, {9, 0, 2}, {5, 0, 2}, {3, 0, 5}, {7, 0, 8}, {1, 0, 2}, {2, 0, 5}};
  EXPECT_EQ(FindsOf(batch), expected);
  EXPECT_EQ(batch.finds[4].block, 0U);
  EXPECT_EQ(batch.finds[5].block, 1U);
  EXPECT_EQ(batch.blocksDone, 2U);
  EXPECT_FALSE(batch.isLast);
}

TEST_F(FindQueueTest, WhatNotAllLanesHaveDoneWaits) {
  FindQueue queue(2, 100);
  End(queue, 0, 0, {{1, 0, 1}});
  End(queue, 0, 1, {{2, 0, 1}});
  EXPECT_TRUE(queue.Take(kPatience).finds.empty());
  End(queue, 1, 0, {});
  const FindQueue::Batch batch = queue.Take(kPatience);
  EXPECT_EQ(FindsOf(batch), (std::vector<Find>{{1, 0, 1}}));
  EXPECT_EQ(batch.blocksDone, 1U);
  queue.Leave();
  queue.Leave();
  const FindQueue::Batch last = queue.Take(kPatience);
  EXPECT_TRUE(last.finds.empty()) << "a lane has left before that block";
  EXPECT_TRUE(last.isLast);
}

TEST_F(FindQueueTest, AnyNumberOfFindsOfABlockIsTakenInOrder) {
  FindQueue queue(1, 1);
  std::vector<Find> finds;
  for (std::uint64_t i = 0; i < 10000; ++i) finds.push_back({i, 0, 1});
  End(queue, 0, 0, finds);
  queue.Leave();
  std::vector<Find> taken;
  FindQueue::Batch batch;
  while (!batch.isLast) {
    EXPECT_EQ(batch.blocksDone, 0U);
    batch = queue.Take(kPatience);
    taken.insert(taken.end(), batch.finds.begin(), batch.finds.end());
  }
  EXPECT_EQ(taken, finds);
  EXPECT_EQ(batch.blocksDone, 1U);
}

TEST_F(FindQueueTest, ALaneThatIsAheadWaits) {
  constexpr std::uint64_t kBlocks = 2000;
  constexpr std::size_t kMost = 10;
  FindQueue queue(2, kMost);
  std::atomic<std::uint64_t> slowBlock = 0;
  std::uint64_t greatestLead = 0;
  const std::jthread fast([&] {
    for (std::uint64_t block = 0; block < kBlocks; ++block) {
      EXPECT_TRUE(queue.Begin(block));
      greatestLead = std::max(greatestLead, block - std::min<std::uint64_t>(block, slowBlock));
      std::vector<Find> finds = {{block, 0, 1}};
      queue.End(0, block, finds);
    }
    queue.Leave();
  });
  const std::jthread slow([&] {
    for (std::uint64_t block = 0; block < kBlocks; ++block) {
      EXPECT_TRUE(queue.Begin(block));
      if (block % 100 == 0) std::this_thread::sleep_for(std::chrono::milliseconds(1));
      std::vector<Find> finds = {{block, 0, 2}};
      queue.End(1, block, finds);
      slowBlock = block + 1;
    }
    queue.Leave();
  });
  std::uint64_t count = 0;
  FindQueue::Batch batch;
  while (!batch.isLast) {
    batch = queue.Take(kPatience);
    for (const Find& find : batch.finds) EXPECT_EQ(find.startSector, count++ / 2);
  }
  EXPECT_EQ(count, 2 * kBlocks);
  EXPECT_LE(greatestLead, kMost + 1);
}

TEST_F(FindQueueTest, StopFreesWhoWaits) {
  FindQueue queue(2, 1);
  End(queue, 0, 0, {{1, 0, 1}});
  const std::jthread waiting([&] { EXPECT_FALSE(queue.Begin(1)); });
  queue.Stop();
  EXPECT_FALSE(queue.Begin(0));
}

}  // namespace
}  // namespace qzmtraw::host
