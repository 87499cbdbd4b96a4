#include <gtest/gtest.h>

#include "host/base/Error.h"
#include "host/base/MemoryBudget.h"

namespace qzmtraw::host {
namespace {

constexpr std::uint64_t kMiB = 1U << 20U;

TEST(MemoryBudgetTest, ThePartsFitIntoTheWhole) {
  for (const std::uint64_t memory : {kLeastMemory, kDefaultMemory, kGreatestMemory}) {
    for (const std::uint32_t sectorSize : {1U, 512U, 700U, 4096U}) {
      const MemoryBudget budget = DivideMemory(memory, sectorSize, 8);
      EXPECT_EQ(budget.laneCount, 8U);
      EXPECT_GE(budget.scan.pieceCount, 2U) << "one is read while another is used";
      const std::uint64_t pieces = budget.scan.pieceCount * PieceSectors(sectorSize) * sectorSize;
      const std::uint64_t copies = budget.laneCount * kSectorsPerBlock * sectorSize;
      EXPECT_LE(pieces + copies + budget.scan.mostFinds * sizeof(Find) + budget.storeMemory, memory);
      EXPECT_GT(budget.scan.mostFinds, 1000U);
      EXPECT_GT(budget.storeMemory, kMiB);
    }
  }
}

TEST(MemoryBudgetTest, LargeSectorsTakeLanesAway) {
  const MemoryBudget budget = DivideMemory(kDefaultMemory, kMiB, 8);
  EXPECT_EQ(budget.laneCount, 1U);
  EXPECT_EQ(budget.scan.pieceCount, 1U);
  EXPECT_EQ(DivideMemory(1024 * kMiB, kMiB, 8).laneCount, 5U);
}

TEST(MemoryBudgetTest, TooLittleIsToldWithWhatWouldDo) {
  try {
    DivideMemory(kLeastMemory, kMiB, 8);
    FAIL() << "a block takes 64 MiB";
  } catch (const UsageError& error) {
    EXPECT_STREQ(error.what(), "--memory: sectors of 1048576 bytes need at least 153MiB");
  }
  EXPECT_EQ(DivideMemory(153 * kMiB, kMiB, 8).laneCount, 1U);
}

}  // namespace
}  // namespace qzmtraw::host
