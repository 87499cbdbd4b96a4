#include <gtest/gtest.h>

#include "tests/support/LiteralTailWalk.h"
#include "tests/support/Scanning.h"

namespace qzmtraw::test {
namespace {

constexpr std::uint64_t kFirst = Device::kFirstSector;

Hits ScanBackups(const Device& device) { return ScanAnyCut("CKABkfFileType", device); }

TEST(CKABkfFileType, EndsWithABlockOf1024BytesAtTheThirdMark) {
  Device device(9);
  device.Put(kFirst + 1, "TAPE").Put(kFirst + 2, 9, "SFMB").Put(kFirst + 4, 0, "SFMB").Put(kFirst + 6, 300, "SFMB");
  EXPECT_EQ(ScanBackups(device), (Hits{{kFirst + 1, 5 * 512 + 1024}}));
}

TEST(CKABkfFileType, ThreeMarksMayStandInOneSector) {
  Device device(2);
  device.Put(kFirst, "TAPE").Put(kFirst, 50, "SFMB").Put(kFirst, 54, "SFMB").Put(kFirst, 100, "SFMB");
  EXPECT_EQ(ScanBackups(device), (Hits{{kFirst, 1024}}));
}

TEST(CKABkfFileType, ThirdMarkAcrossTwoSectorsLeavesOutWhatStoodInTheFirst) {
  for (std::size_t inFirst = 1; inFirst <= 4; ++inFirst) {
    Device device(5);
    device.Put(kFirst, "TAPE").Put(kFirst, 50, "SFMB").Put(kFirst, 60, "SFMB").Put(kFirst + 1, 512 - inFirst, "SFMB");
    EXPECT_EQ(ScanBackups(device), (Hits{{kFirst, 1024 + 1024 - inFirst}})) << inFirst;
  }
}

TEST(CKABkfFileType, FirstAndSecondMarkAcrossTwoSectorsCount) {
  Device device(6);
  device.Put(kFirst, "TAPE").Put(kFirst, 510, "SFMB").Put(kFirst + 2, 509, "SFMB").Put(kFirst + 4, 7, "SFMB");
  EXPECT_EQ(ScanBackups(device), (Hits{{kFirst, 4 * 512 + 1024}}));
}

TEST(CKABkfFileType, SearchGoesOnInTheSectorBehindAMarkCarriedOver) {
  Device device(4);
  device.Put(kFirst, "TAPE").Put(kFirst, 510, "SFMB").Put(kFirst + 1, 2, "SFMB").Put(kFirst + 1, 6, "SFMB");
  EXPECT_EQ(ScanBackups(device), (Hits{{kFirst, 512 + 1024}}));
}

TEST(CKABkfFileType, NothingBehindTheThirdMarkIsLookedAt) {
  Device device(5);
  device.Put(kFirst, "TAPE").Put(kFirst, 50, "SFMB").Put(kFirst, 60, "SFMB").Put(kFirst, 70, "SFMB");
  device.Put(kFirst, 510, "SF").Put(kFirst + 1, "TAPE").Put(kFirst + 2, "MB");
  device.Put(kFirst + 3, 0, "SFMBSFMB").Put(kFirst + 4, 0, "SFMB");
  EXPECT_EQ(ScanBackups(device), (Hits{{kFirst, 1024}, {kFirst + 1, 3 * 512 + 1024}}));
}

TEST(CKABkfFileType, NewHeadReportsTheFileBeforeAndForgetsItsMarks) {
  Device device(9);
  device.Put(kFirst, "TAPE").Put(kFirst, 50, "SFMB").Put(kFirst, 60, "SFMB");
  device.Put(kFirst + 2, "TAPE").Put(kFirst + 3, "SFMBSFMB");
  EXPECT_EQ(ScanBackups(device), (Hits{{kFirst, 1024}}));
  device.Put(kFirst + 5, "SFMB");
  EXPECT_EQ(ScanBackups(device), (Hits{{kFirst, 1024}, {kFirst + 2, 3 * 512 + 1024}}));
}

TEST(CKABkfFileType, FileAtSector0IsNotFollowed) {
  EXPECT_EQ(ScanBackups(Device(3, 512, 0).Put(0, "TAPE").Put(1, "SFMBSFMBSFMB")), Hits{});
}

/// Feeds a file of sectors of 1 MiB whose first holds `marks` marks, and returns what is found in each.
std::vector<Hits> FeedToTheLimit(IRawFileType& detector, const std::string& marks) {
  std::vector<Hits> found;
  for (std::uint64_t i = 0; i < 321; ++i) {
    Device device(1, 1 << 20, kFirst + i, 'x');
    if (i == 0) device.Put(kFirst, "TAPE").Put(kFirst, 100, marks);
    found.push_back(Scan(detector, device));
  }
  return found;
}

TEST(CKABkfFileType, TwoMarksAndNoThirdRunToTheLimit) {
  const Detector detector = CreateDetector("CKABkfFileType");
  std::vector<Hits> expected(321);
  expected[319] = {{kFirst, 0x14000000}};
  EXPECT_EQ(FeedToTheLimit(*detector, "SFMBSFMB"), expected);
}

TEST(CKABkfFileType, LimitForgetsTheMarks) {
  const Detector detector = CreateDetector("CKABkfFileType");
  FeedToTheLimit(*detector, "SFMBSFMB");
  Device device(3, 512, 9000);
  device.Put(9000, "TAPE").Put(9001, "SFMB").Put(9002, "SFMB");
  EXPECT_EQ(Scan(*detector, device), Hits{});
}

TEST(CKABkfFileType, ResetForgetsTheFileAndItsMarks) {
  const Detector detector = CreateDetector("CKABkfFileType");
  Scan(*detector, Device(1).Put(kFirst, "TAPE").Put(kFirst, 50, "SFMBSFMB"));
  detector->Reset();
  EXPECT_EQ(Scan(*detector, Device(2, 512, kFirst + 1).Put(kFirst + 1, 50, "SFMB")), Hits{});
  EXPECT_EQ(Scan(*detector, Device(1, 512, kFirst + 9).Put(kFirst + 9, "TAPESFMB")), Hits{});
}

TEST(CKABkfFileType, LimitOfTheHostIsIgnored) {
  const Detector detector = CreateDetector("CKABkfFileType");
  detector->SetMaxFileSize(10);
  EXPECT_EQ(Scan(*detector, Device(1).Put(kFirst, "TAPESFMBSFMBSFMB")), (Hits{{kFirst, 1024}}));
}

TEST(CKABkfFileType, AgreesWithTheRulesTakenByteByByte) {
  LiteralTailWalk rules{{"TAPE"},
                        "SFMB",
                        [](std::size_t /*offset*/) { return 1024; },
                        [](std::size_t matched) { return 1024 - matched; },
                        0x14000000,
                        0x14000000};
  rules.headAsksFileStart = true;
  rules.tailsToEnd = 3;
  rules.stopsAtTail = true;
  std::size_t found = 0;
  for (std::uint32_t seed = 0; seed < 3000; ++seed) {
    const Device device = DeviceOfPieces(seed, rules.heads, rules.tail);
    const Hits expected = rules.Scan(device);
    ASSERT_EQ(Scan(*CreateDetector("CKABkfFileType"), device), expected) << "seed " << seed;
    found += expected.size();
  }
  EXPECT_GT(found, 1000U);
}

}  // namespace
}  // namespace qzmtraw::test
