#include <gtest/gtest.h>

#include <random>
#include <vector>

#include "frame/Head.h"

namespace qzmtraw {
namespace {

struct OneString {
  static constexpr std::int32_t kFloor = 0;
  static constexpr auto kHead = At(3, "ab");
};
struct LongString {
  static constexpr std::int32_t kFloor = 0;
  static constexpr auto kHead = At(0, "aabab");
};
struct SeveralStrings {
  static constexpr std::int32_t kFloor = 0;
  static constexpr auto kHead = (At(0, "ab") && At(3, "ba")) || At(1, "aaa") || At(6, "b");
};
struct StringAndTest {
  static constexpr std::int32_t kFloor = 0;
  static constexpr auto kHead = At(0, "a");
  static bool IsHead(const Sector& sector) { return sector.U8(2) == sector.U8(4); }
};
struct TestAlone {
  static constexpr std::int32_t kFloor = 0;
  static bool IsHead(const Sector& sector) { return sector.U16(1) == 0x6261; }
};
struct ProbeAndTest {
  static constexpr std::int32_t kFloor = 0;
  static Probe HeadProbe() { return {1, 0xFFFF, 0x6261}; }
  static bool IsHead(const Sector& sector) { return sector.Has(1, Bytes("ab")); }
};

struct WithFloor {
  static constexpr std::int32_t kFloor = 8;
  static constexpr auto kHead = At(0, "ab");
};

/// The indexes of the sectors at which a head stands, by asking each of them.
template <class Detector>
std::vector<std::int32_t> HeadsByAskingEach(const Block& block) {
  std::vector<std::int32_t> heads;
  for (std::int32_t i = 0; i < block.SectorCount(); ++i) {
    if (IsHeadAt(Detector{}, block[i])) heads.push_back(i);
  }
  return heads;
}

template <class Detector>
std::vector<std::int32_t> HeadsByProbes(const Block& block) {
  std::vector<std::int32_t> heads;
  ForEachHead(Detector{}, block, [&](const Sector& sector) {
    heads.push_back(static_cast<std::int32_t>(sector.Number() - block.StartSector()));
  });
  return heads;
}

template <class Detector>
class NextHeadOf : public ::testing::Test {};
using Detectors = ::testing::Types<OneString, LongString, SeveralStrings, StringAndTest, TestAlone, ProbeAndTest>;
TYPED_TEST_SUITE(NextHeadOf, Detectors);

// Blocks end exactly where their memory does, so that a probe behind it shows under the address sanitizer.
TYPED_TEST(NextHeadOf, AgreesWithAskingEachSector) {
  std::mt19937 random(1);
  std::size_t found = 0;
  for (int round = 0; round < 4000; ++round) {
    const int sectorSize = round % 50 == 0 ? 512 : 1 + static_cast<int>(random() % 12);
    const int sectorCount = 1 + static_cast<int>(random() % 40);
    std::vector<std::uint8_t> memory(static_cast<std::size_t>(sectorSize * sectorCount));
    for (std::uint8_t& byte : memory) byte = random() % 4 == 0 ? 'b' : 'a';
    const RawSectorBlock raw{10, memory.data(), sectorCount, sectorSize, nullptr};
    const Block block(&raw);
    const std::vector<std::int32_t> heads = HeadsByAskingEach<TypeParam>(block);
    ASSERT_EQ(HeadsByProbes<TypeParam>(block), heads) << sectorCount << " sectors of " << sectorSize << " bytes";
    found += heads.size();
  }
  EXPECT_GT(found, 1000U);
}

TEST(HeadExpression, BothMeansBoth) {
  const std::string memory = "RIFF....WAVE";
  std::vector<std::uint8_t> bytes(memory.begin(), memory.end());
  const RawSectorBlock raw{0, bytes.data(), 1, static_cast<std::int32_t>(bytes.size()), nullptr};
  const Sector sector = Block(&raw)[0];
  constexpr auto kWave = At(0, "RIFF") && At(8, "WAVE");
  constexpr auto kAvi = At(0, "RIFF") && At(8, "AVI ");
  constexpr auto kEither = At(0, "RIFX") || At(0, "RIFF");
  EXPECT_TRUE(kWave.Matches(sector));
  EXPECT_FALSE(kAvi.Matches(sector));
  EXPECT_TRUE(kEither.Matches(sector));
}

TEST(Probes, OfStringsWithOneBeginningAreOne) {
  constexpr auto kHead = At(0, "070707") || At(0, "070702") || At(0, "070701");
  EXPECT_EQ(kHead.Probes().count, 1U);
}

TEST(Probes, OfShortStringsAreMasked) {
  EXPECT_EQ(Probe::Of(2, Bytes("MZ")), (Probe{2, 0xFFFF, 0x5A4D}));
  EXPECT_EQ(Probe::Of(0, Bytes("abcdef")), (Probe{0, 0xFFFFFFFF, 0x64636261}));
}

TEST(Floor, HidesHeadsInSmallerSectors) {
  std::vector<std::uint8_t> bytes = {'a', 'b', 0, 0, 0, 0, 0, 0};
  const RawSectorBlock eight{0, bytes.data(), 1, 8, nullptr};
  const RawSectorBlock seven{0, bytes.data(), 1, 7, nullptr};
  EXPECT_EQ(NextHead(WithFloor{}, Block(&eight), 0), 0);
  EXPECT_EQ(NextHead(WithFloor{}, Block(&seven), 0), 1);
  EXPECT_FALSE(IsHeadAt(WithFloor{}, Block(&seven)[0]));
}

}  // namespace
}  // namespace qzmtraw
