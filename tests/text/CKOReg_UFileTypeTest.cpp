#include <gtest/gtest.h>

#include "tests/support/Scanning.h"

namespace qzmtraw::test {
namespace {

constexpr std::uint64_t kFirst = Device::kFirstSector;
const std::string kEnd = Literal("\0\0");

std::string Utf16(const std::string& text) {
  std::string bytes;
  for (const char character : text) bytes += {character, '\0'};
  return bytes;
}

const std::string kHead = "\xFF\xFE" + Utf16("Windows Registry");

/// A device of bytes that are no zeros.
Device Letters(int sectorCount, int sectorSize = 512, std::uint64_t first = kFirst) {
  return Device(sectorCount, sectorSize, first, 'x');
}

Hits ScanExports(const Device& device) { return ScanAnyCut("CKOReg_UFileType", device); }

TEST(CKOReg_UFileType, EndsBehindTheFirstOfTwoZeros) {
  EXPECT_EQ(ScanExports(Letters(3).Put(kFirst + 1, kHead).Put(kFirst + 1, 100, kEnd)), (Hits{{kFirst + 1, 101}}));
  EXPECT_EQ(ScanExports(Letters(4).Put(kFirst + 1, kHead).Put(kFirst + 2, 101, kEnd)), (Hits{{kFirst + 1, 512 + 102}}));
  EXPECT_EQ(ScanExports(Letters(4).Put(kFirst + 1, kHead).Put(kFirst + 2, 0, kEnd)), (Hits{{kFirst + 1, 512 + 1}}));
}

TEST(CKOReg_UFileType, ExportOfARealShapeHasItsTrueSize) {
  const std::string file = kHead + Utf16(" Editor Version 5.00\r\n\r\n[HKEY_CURRENT_USER\\A]\r\n\"b\"=dword:1\r\n");
  EXPECT_EQ(ScanExports(Device(2, 512, kFirst, 0).Put(kFirst, file)), (Hits{{kFirst, file.size()}}));
}

TEST(CKOReg_UFileType, NeedsTheWholeHead) {
  EXPECT_EQ(ScanExports(Letters(1).Put(kFirst, kHead.substr(0, 33) + "x").Put(kFirst, 100, kEnd)), Hits{});
  EXPECT_EQ(ScanExports(Letters(1).Put(kFirst, "\xFE\xFF" + kHead.substr(2)).Put(kFirst, 100, kEnd)), Hits{});
}

TEST(CKOReg_UFileType, HeadMayReachIntoTheNextSectorOfItsBlock) {
  // Sectors of 7 bytes, none of which ends with a zero byte but the second.
  const Device device = Letters(10, 7).Put(kFirst, kHead).Put(kFirst + 6, 2, kEnd);
  EXPECT_EQ(Scan(*CreateDetector("CKOReg_UFileType"), device), (Hits{{kFirst, 45}}));
  EXPECT_EQ(Scan(*CreateDetector("CKOReg_UFileType"), device, {2}), Hits{});
}

TEST(CKOReg_UFileType, TwoZerosMayEndTheSector) {
  EXPECT_EQ(ScanExports(Letters(3).Put(kFirst, kHead).Put(kFirst + 1, 510, kEnd)), (Hits{{kFirst, 1023}}));
}

TEST(CKOReg_UFileType, TwoZerosAcrossSectorsAddNothingFromTheNext) {
  EXPECT_EQ(ScanExports(Letters(4).Put(kFirst, kHead).Put(kFirst + 1, 511, kEnd)), (Hits{{kFirst, 1024}}));
}

TEST(CKOReg_UFileType, NothingIsLookedForBehindTheEnd) {
  // The zeros behind the end start nothing, and the sector's last one isn't remembered.
  Device device = Letters(4).Put(kFirst, kHead).Put(kFirst, 100, kEnd).Put(kFirst, 511, Literal("\0"));
  device.Put(kFirst + 1, kHead).Put(kFirst + 2, Literal("\0")).Put(kFirst + 3, 7, kEnd);
  EXPECT_EQ(ScanExports(device), (Hits{{kFirst, 101}, {kFirst + 1, 1024 + 8}}));
}

TEST(CKOReg_UFileType, LastZeroIsForgottenWhenNoOtherFollows) {
  Device device = Letters(4).Put(kFirst, kHead).Put(kFirst, 511, Literal("\0"));
  device.Put(kFirst + 2, Literal("\0")).Put(kFirst + 3, 7, kEnd);
  EXPECT_EQ(ScanExports(device), (Hits{{kFirst, 3 * 512 + 8}}));
}

TEST(CKOReg_UFileType, NewHeadReportsTheFileBefore) {
  EXPECT_EQ(ScanExports(Letters(4).Put(kFirst, kHead).Put(kFirst + 2, kHead).Put(kFirst + 2, 100, kEnd)),
            (Hits{{kFirst, 1024}, {kFirst + 2, 101}}));
}

TEST(CKOReg_UFileType, LastZeroBeforeANewHeadIsForgotten) {
  Device device = Letters(4).Put(kFirst, kHead).Put(kFirst, 511, Literal("\0"));
  device.Put(kFirst + 1, kHead).Put(kFirst + 2, Literal("\0")).Put(kFirst + 2, 9, kEnd);
  EXPECT_EQ(ScanExports(device), (Hits{{kFirst, 512}, {kFirst + 1, 512 + 10}}));
}

TEST(CKOReg_UFileType, FileAtTheDevicesFirstSectorIsNotSeen) {
  EXPECT_EQ(ScanExports(Letters(2, 512, 0).Put(0, kHead).Put(0, 100, kEnd)), Hits{});
  EXPECT_EQ(ScanExports(Letters(2, 512, 0).Put(0, kHead).Put(1, kHead).Put(1, 100, kEnd)), (Hits{{1, 101}}));
}

TEST(CKOReg_UFileType, FileWithoutAnEndIsCutAbove32MiB) {
  // Sectors of 1 MiB: 32 of them are the limit, which is not above it.
  constexpr int kMebibyte = 1 << 20;
  const Detector detector = CreateDetector("CKOReg_UFileType");
  detector->SetMaxFileSize(10);
  const auto sector = [&](std::uint64_t number) { return Letters(1, kMebibyte, number); };
  EXPECT_EQ(Scan(*detector, sector(kFirst).Put(kFirst, kHead)), Hits{});
  for (std::uint64_t i = 1; i < 32; ++i) ASSERT_EQ(Scan(*detector, sector(kFirst + i)), Hits{});
  // The zero that ends the last sector is forgotten with the rest.
  EXPECT_EQ(Scan(*detector, sector(kFirst + 32).Put(kFirst + 32, kMebibyte - 1, Literal("\0"))),
            (Hits{{kFirst, 0x2000000}}));
  EXPECT_EQ(Scan(*detector, sector(kFirst + 33).Put(kFirst + 33, 5, kEnd)), Hits{});
}

TEST(CKOReg_UFileType, AtTheLimitItGoesOn) {
  constexpr int kSectorSize = 0x1000000;
  const Detector detector = CreateDetector("CKOReg_UFileType");
  EXPECT_EQ(Scan(*detector, Letters(1, kSectorSize).Put(kFirst, kHead)), Hits{});
  EXPECT_EQ(Scan(*detector, Letters(1, kSectorSize, kFirst + 1)), Hits{});
  EXPECT_EQ(Scan(*detector, Letters(1, 512, kFirst + 2).Put(kFirst + 2, 9, kEnd)), (Hits{{kFirst, 0x2000000 + 10}}));
}

TEST(CKOReg_UFileType, ResetForgetsTheFileAndItsLastZero) {
  const Detector detector = CreateDetector("CKOReg_UFileType");
  Scan(*detector, Letters(1).Put(kFirst, kHead).Put(kFirst, 511, Literal("\0")));
  detector->Reset();
  EXPECT_EQ(Scan(*detector, Letters(1, 512, kFirst + 1).Put(kFirst + 1, kEnd)), Hits{});
  EXPECT_EQ(Scan(*detector, Letters(1, 512, kFirst + 2).Put(kFirst + 2, kHead).Put(kFirst + 2, 50, kEnd)),
            (Hits{{kFirst + 2, 51}}));
}

TEST(CKOReg_UFileType, FileOpenAtTheEndIsNotReported) { EXPECT_EQ(ScanExports(Letters(3).Put(kFirst, kHead)), Hits{}); }

TEST(CKOReg_UFileType, SectorsOfOneByteEndByTheirLastZero) {
  const std::string bytes = kHead + "x" + kEnd;
  Device device(static_cast<int>(bytes.size()), 1);
  device.Put(kFirst, bytes);
  // The head needs its block whole; its own zeros stand between letters.
  EXPECT_EQ(Scan(*CreateDetector("CKOReg_UFileType"), device), (Hits{{kFirst, 36}}));
}

}  // namespace
}  // namespace qzmtraw::test
