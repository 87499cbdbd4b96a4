#include <gtest/gtest.h>

#include <array>
#include <limits>

#include "frame/Block.h"

namespace qzmtraw {
namespace {

class SectorReads : public ::testing::Test {
 protected:
  Sector At(std::int32_t index) const { return Block(&raw_)[index]; }

  std::array<std::uint8_t, 12> memory_ = {0x11, 0x22, 0x33, 0x44, 0x55, 0x66, 0x77, 0x88, 0x99, 0xAA, 0xBB, 0xCC};
  RawSectorBlock raw_{100, memory_.data(), 3, 4, nullptr};
};

TEST_F(SectorReads, KnowTheirNumberAndBytes) {
  EXPECT_EQ(At(2).Number(), 102U);
  EXPECT_EQ(At(2).Size(), 4);
  EXPECT_EQ(At(2).Bytes().front(), 0x99);
  EXPECT_EQ(At(2).Bytes().size(), 4U);
}

TEST_F(SectorReads, NameTheByteOrder) {
  EXPECT_EQ(At(0).U8(1), 0x22);
  EXPECT_EQ(At(0).U16(1), 0x3322);
  EXPECT_EQ(At(0).BigU16(1), 0x2233);
  EXPECT_EQ(At(0).U32(1), 0x55443322U);
  EXPECT_EQ(At(0).BigU32(1), 0x22334455U);
  EXPECT_EQ(At(0).U64(1), 0x9988776655443322U);
  EXPECT_EQ(At(0).BigU64(1), 0x2233445566778899U);
}

TEST_F(SectorReads, GoOnIntoTheNextSector) { EXPECT_EQ(At(0).U16(3), 0x5544); }
TEST_F(SectorReads, GoBackIntoTheSectorBefore) { EXPECT_EQ(At(1).U16(-2), 0x4433); }
TEST_F(SectorReads, ReachTheBlocksLastByte) { EXPECT_EQ(At(2).U16(2), 0xCCBB); }
TEST_F(SectorReads, ReachTheBlocksFirstByte) { EXPECT_EQ(At(2).U8(-8), 0x11); }

TEST_F(SectorReads, BehindTheBlockGive0) {
  EXPECT_EQ(At(2).U16(3), 0);
  EXPECT_EQ(At(2).U8(4), 0);
  EXPECT_EQ(At(2).U32(std::numeric_limits<std::int64_t>::max()), 0U);
}

TEST_F(SectorReads, InFrontOfTheBlockGive0) {
  EXPECT_EQ(At(0).U16(-1), 0);
  EXPECT_EQ(At(0).U8(-1), 0);
  EXPECT_EQ(At(2).U32(std::numeric_limits<std::int64_t>::min()), 0U);
}

TEST_F(SectorReads, GiveTheBytesThatTheBlockHolds) {
  const auto count = [&](std::int32_t index, std::int64_t offset) { return At(index).BytesAt(offset, 5).size(); };
  EXPECT_EQ(At(0).BytesAt(1, 5).front(), 0x22);
  EXPECT_EQ(At(2).BytesAt(-8, 5).front(), 0x11);
  EXPECT_EQ(count(0, 7), 5U);
  EXPECT_EQ(count(0, 8), 4U);
  EXPECT_EQ(count(2, 3), 1U);
  EXPECT_EQ(count(2, 4), 0U);
  EXPECT_EQ(count(2, 5), 0U);
  EXPECT_EQ(count(2, -9), 0U);
  EXPECT_EQ(count(1, std::numeric_limits<std::int64_t>::min()), 0U);
}

TEST_F(SectorReads, FindAStringOnlyWhereItIsWhole) {
  EXPECT_TRUE(At(2).Has(2, Bytes("\xBB\xCC")));
  EXPECT_FALSE(At(2).Has(3, Bytes("\xCC\xDD")));
  EXPECT_TRUE(At(0).Has(2, Bytes("\x33\x44\x55")));
  EXPECT_FALSE(At(0).Has(-1, Bytes("\x00\x11")));
}

TEST_F(SectorReads, FindNoBytesEverywhere) {
  EXPECT_TRUE(At(2).Has(4, ByteView()));
  EXPECT_TRUE(At(2).Has(1000, ByteView()));
}

TEST(Block, OfMoreBytesThan32BitsCanCountKnowsItsSize) {
  std::uint8_t byte = 0;
  const RawSectorBlock raw{0, &byte, std::numeric_limits<std::int32_t>::max(), std::numeric_limits<std::int32_t>::max(),
                           nullptr};
  EXPECT_EQ(Block(&raw).ByteCount(), 4611686014132420609);
}

TEST(Block, ThatIsUnusableHasNoSectors) {
  std::uint8_t byte = 0;
  const RawSectorBlock unusable[] = {{1, nullptr, 1, 1, nullptr},
                                     {1, &byte, 0, 1, nullptr},
                                     {1, &byte, -1, 1, nullptr},
                                     {1, &byte, 1, 0, nullptr},
                                     {1, &byte, 1, -1, nullptr}};
  for (const RawSectorBlock& raw : unusable) EXPECT_EQ(Block(&raw).SectorCount(), 0);
  EXPECT_EQ(Block(nullptr).SectorCount(), 0);
}

}  // namespace
}  // namespace qzmtraw
