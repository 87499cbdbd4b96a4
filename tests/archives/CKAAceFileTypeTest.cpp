#include <gtest/gtest.h>

#include "tests/support/Scanning.h"

namespace qzmtraw::test {
namespace {

constexpr std::uint64_t kFirst = Device::kFirstSector;

TEST(CKAAceFileType, IsAStartAtEveryHead) {
  Device device(5);
  device.Put(kFirst, 7, "**ACE**").Put(kFirst + 3, 7, "**ACE**").Put(kFirst + 4, 7, "**ACE**");
  EXPECT_EQ(ScanAnyCut("CKAAceFileType", device), (Hits{{kFirst, 0}, {kFirst + 3, 0}, {kFirst + 4, 0}}));
}

TEST(CKAAceFileType, NeedsItsMarkAtOffset7) {
  Device device(5);
  device.Put(kFirst, 6, "**ACE**")
      .Put(kFirst + 1, 8, "**ACE**")
      .Put(kFirst + 2, 7, "**ACE*")
      .Put(kFirst + 3, 7, "*ACE**");
  EXPECT_EQ(ScanAnyCut("CKAAceFileType", device), Hits{});
}

TEST(CKAAceFileType, IsFoundAtSector0) {
  EXPECT_EQ(ScanAnyCut("CKAAceFileType", Device(1, 512, 0).Put(0, 7, "**ACE**")), (Hits{{0, 0}}));
}

TEST(CKAAceFileType, HasNoFloor) {
  EXPECT_EQ(Scan(*CreateDetector("CKAAceFileType"), Device(14, 1).Put(kFirst, 7, "**ACE**")), (Hits{{kFirst, 0}}));
}

TEST(CKAAceFileType, IgnoresALimit) {
  const Detector detector = CreateDetector("CKAAceFileType");
  detector->SetMaxFileSize(1);
  EXPECT_EQ(Scan(*detector, Device(1).Put(kFirst, 7, "**ACE**")), (Hits{{kFirst, 0}}));
}

}  // namespace
}  // namespace qzmtraw::test
