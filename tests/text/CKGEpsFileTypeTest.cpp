#include <gtest/gtest.h>

#include "tests/support/LiteralTailWalk.h"
#include "tests/support/Scanning.h"

namespace qzmtraw::test {
namespace {

constexpr std::uint64_t kFirst = Device::kFirstSector;
constexpr std::uint64_t kLimit = 0x4000000;
const std::string kTail = Literal("\x0B\x80\x03\x00\x01\x00\x00\x00\x2C\x01");

Hits ScanEps(const Device& device) { return ScanAnyCut("CKGEpsFileType", device); }

/// A head with its PostScript part at this offset.
std::string Head(std::uint32_t offset = 30) {
  std::string head = "\xC5\xD0\xD3\xC6" + LittleU32(offset);
  head.resize(30);
  return head + "%!PS-Adobe-3.0";
}

TEST(CKGEpsFileType, EndsSixBytesBehindItsTail) {
  EXPECT_EQ(ScanEps(Device(9).Put(kFirst + 1, Head()).Put(kFirst + 4, 99, kTail)),
            (Hits{{kFirst + 1, 3 * 512 + 99 + 16}}));
}

TEST(CKGEpsFileType, TailAcrossTwoSectorsIsSeenWhereverItIsCut) {
  for (std::size_t inFirst = 1; inFirst <= 10; ++inFirst) {
    EXPECT_EQ(ScanEps(Device(9).Put(kFirst, Head()).Put(kFirst + 1, 512 - inFirst, kTail)),
              (Hits{{kFirst, 1024 + 16 - inFirst}}))
        << inFirst;
  }
  EXPECT_EQ(ScanEps(Device(9).Put(kFirst, Head()).Put(kFirst + 1, 512 - 11, kTail)), (Hits{{kFirst, 512 + 501 + 16}}));
}

TEST(CKGEpsFileType, NeedsItsMarkAndItsPostScript) {
  const auto scan = [](const std::string& head) {
    return ScanEps(Device(9).Put(kFirst, head).Put(kFirst + 2, 9, kTail)).size();
  };
  EXPECT_EQ(scan(Head()), 1U);
  for (const std::size_t i : {0U, 1U, 2U, 3U, 30U, 35U, 40U}) {
    std::string head = Head();
    head[i] = 'y';
    EXPECT_EQ(scan(head), 0U) << i;
  }
  EXPECT_EQ(scan(Head(31)), 0U);
  EXPECT_EQ(scan(Head(0xFFFFFFFF)), 0U);
  EXPECT_EQ(scan(Head(0x80000000)), 0U);
}

TEST(CKGEpsFileType, PostScriptMayStandInALaterSectorOfTheBlock) {
  Device device(9);
  device.Put(kFirst, Head(3 * 512 + 7)).Put(kFirst, 30, "yyyyyy").Put(kFirst + 3, 7, "%!PS-Adobe-");
  device.Put(kFirst + 5, 9, kTail);
  const Hits found{{kFirst, 5 * 512 + 25}};
  EXPECT_EQ(Scan(*CreateDetector("CKGEpsFileType"), device), found);
  EXPECT_EQ(Scan(*CreateDetector("CKGEpsFileType"), device, {4}), found);
  EXPECT_EQ(Scan(*CreateDetector("CKGEpsFileType"), device, {3}), Hits{});
  // Also where it ends with the block.
  Device atEnd(2);
  atEnd.Put(kFirst, Head(1024 - 11)).Put(kFirst + 1, 512 - 11, "%!PS-Adobe-").Put(kFirst, 99, kTail);
  EXPECT_EQ(Scan(*CreateDetector("CKGEpsFileType"), atEnd), (Hits{{kFirst, 115}}));
}

TEST(CKGEpsFileType, NeedsSectorsOf51Bytes) {
  for (const int size : {50, 51}) {
    Device device(20, size);
    device.Put(kFirst, Head()).Put(kFirst + 9, 3, kTail);
    EXPECT_EQ(ScanEps(device), size == 51 ? (Hits{{kFirst, 9 * 51 + 19}}) : Hits{});
  }
}

TEST(CKGEpsFileType, NewHeadReportsTheFileBeforeAsItStands) {
  Device device(9);
  device.Put(kFirst, Head()).Put(kFirst + 1, Head()).Put(kFirst + 2, 3, kTail);
  EXPECT_EQ(ScanEps(device), (Hits{{kFirst, 512}, {kFirst + 1, 512 + 19}}));
}

TEST(CKGEpsFileType, NothingBehindTheTailIsLookedAt) {
  Device device(9);
  device.Put(kFirst, Head()).Put(kFirst, 99, kTail).Put(kFirst, 507, kTail);
  device.Put(kFirst + 1, Head()).Put(kFirst + 3, 3, kTail);
  EXPECT_EQ(ScanEps(device), (Hits{{kFirst, 115}, {kFirst + 1, 1024 + 19}}));
}

TEST(CKGEpsFileType, FileAtSector0IsNotFollowed) {
  EXPECT_EQ(ScanEps(Device(9, 512, 0).Put(0, Head()).Put(2, 9, kTail)), Hits{});
}

TEST(CKGEpsFileType, FileWithoutTailIsGivenUpAtTheLimit) {
  constexpr int kSize = 1 << 20;
  const Detector detector = CreateDetector("CKGEpsFileType");
  detector->SetMaxFileSize(10);
  Scan(*detector, Device(1, kSize).Put(kFirst, Head()));
  for (std::uint64_t i = 1; i + 1 < kLimit / kSize; ++i)
    ASSERT_EQ(Scan(*detector, Device(1, kSize, kFirst + i)), Hits{});
  // A tail that ends the last sector is forgotten.
  EXPECT_EQ(Scan(*detector, Device(1, kSize, kFirst + 63).Put(kFirst + 63, kSize - 10, kTail)),
            (Hits{{kFirst, kLimit}}));
  EXPECT_EQ(Scan(*detector, Device(1, 512, kFirst + 64).Put(kFirst + 64, Head())), Hits{});
  EXPECT_EQ(Scan(*detector, Device(1, 512, kFirst + 65).Put(kFirst + 65, 7, kTail)), (Hits{{kFirst + 64, 512 + 23}}));
}

TEST(CKGEpsFileType, ResetForgetsTheFile) {
  const Detector detector = CreateDetector("CKGEpsFileType");
  Scan(*detector, Device(1).Put(kFirst, Head()));
  detector->Reset();
  EXPECT_EQ(Scan(*detector, Device(1, 512, kFirst + 1).Put(kFirst + 1, 7, kTail)), Hits{});
}

TEST(CKGEpsFileType, AgreesWithTheRulesTakenByteByByte) {
  // The pieces, in sectors that are large enough for a head.
  LiteralTailWalk rules{
      {Head(8).substr(0, 8) + "%!PS-Adobe-"},           kTail,  [](std::size_t offset) { return offset + 16; },
      [](std::size_t matched) { return 16 - matched; }, kLimit, kLimit};
  rules.headAsksFileStart = true;
  rules.stopsAtTail = true;
  std::size_t found = 0;
  for (std::uint32_t seed = 0; seed < 3000; ++seed) {
    const Device pieces = DeviceOfPieces(seed, rules.heads, kTail);
    const int sectorSize = 51 + static_cast<int>(seed % 40);
    const int sectorCount = static_cast<int>(pieces.Bytes().size()) / sectorSize;
    if (sectorCount == 0) continue;
    Device device(sectorCount, sectorSize);
    std::string bytes(pieces.Bytes().begin(), pieces.Bytes().end());
    bytes.resize(static_cast<std::size_t>(sectorCount) * static_cast<std::size_t>(sectorSize));
    device.Put(kFirst, bytes);
    // Most sectors begin with a head or amid a tail.
    for (int i = 0; i < sectorCount; i += 1 + static_cast<int>((seed + static_cast<std::uint32_t>(i)) % 5)) {
      device.Put(kFirst + static_cast<std::uint64_t>(i), rules.heads[0]);
      if (i > 0)
        device.Put(kFirst + static_cast<std::uint64_t>(i) - 1, static_cast<std::size_t>(sectorSize) - 10 + seed % 10,
                   kTail.substr(0, 10 - seed % 10));
    }
    const Hits expected = rules.Scan(device);
    ASSERT_EQ(Scan(*CreateDetector("CKGEpsFileType"), device), expected) << "seed " << seed;
    found += expected.size();
  }
  EXPECT_GT(found, 1000U);
}

}  // namespace
}  // namespace qzmtraw::test
