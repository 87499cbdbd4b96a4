#include <gtest/gtest.h>

#include "tests/support/Programs.h"
#include "tests/support/Scanning.h"

namespace qzmtraw::test {
namespace {

constexpr std::uint64_t kFirst = Device::kFirstSector;

/// A start header with the next header's offset and size.
std::string Head(std::uint64_t nextHeaderOffset, std::uint64_t nextHeaderSize) {
  return Literal("7z\xBC\xAF\x27\x1C\0\x04") + LittleU32(0xC4C4C4C4) + LittleU64(nextHeaderOffset) +
         LittleU64(nextHeaderSize) + LittleU32(0xC5C5C5C5);
}

Hits ScanHead(std::uint64_t nextHeaderOffset, std::uint64_t nextHeaderSize) {
  return ScanAnyCut("K7ZipFileType", Device(3).Put(kFirst + 1, Head(nextHeaderOffset, nextHeaderSize)));
}

TEST(K7ZipFileType, AddsTheStartHeaderAndTheNextHeader) { EXPECT_EQ(ScanHead(5000, 300), (Hits{{kFirst + 1, 5332}})); }

TEST(K7ZipFileType, IsReportedFrom256BytesOn) {
  EXPECT_EQ(ScanHead(223, 0), Hits{});
  EXPECT_EQ(ScanHead(224, 0), (Hits{{kFirst + 1, 256}}));
}

TEST(K7ZipFileType, IsClippedTo0x2000000) {
  EXPECT_EQ(ScanHead(0x2000000 - 32, 0), (Hits{{kFirst + 1, 0x2000000}}));
  EXPECT_EQ(ScanHead(0x2000000 - 31, 0), (Hits{{kFirst + 1, 0x2000000}}));
  EXPECT_EQ(ScanHead(0x3000000, 0), (Hits{{kFirst + 1, 0x2000000}}));
}

TEST(K7ZipFileType, SizeFrom0x80000000OnIsNegativeAndNoHit) {
  EXPECT_EQ(ScanHead(0x7FFFFFFF - 32, 0), (Hits{{kFirst + 1, 0x2000000}}));
  EXPECT_EQ(ScanHead(0x80000000 - 32, 0), Hits{});
  EXPECT_EQ(ScanHead(0xFFFFFFFF, 0), Hits{});
}

TEST(K7ZipFileType, SumWrapsAt32Bits) { EXPECT_EQ(ScanHead(0xFFFFFFFF, 1000), (Hits{{kFirst + 1, 1031}})); }

TEST(K7ZipFileType, UpperHalvesOfTheFieldsAreNotRead) {
  EXPECT_EQ(ScanHead(0x500000000 + 5000, 0x600000000 + 300), (Hits{{kFirst + 1, 5332}}));
}

TEST(K7ZipFileType, LimitOfTheHostClips) {
  const Detector detector = CreateDetector("K7ZipFileType");
  const Device device = Device(1).Put(kFirst, Head(5000, 300));
  detector->SetMaxFileSize(5332);
  EXPECT_EQ(Scan(*detector, device), (Hits{{kFirst, 5332}}));
  detector->SetMaxFileSize(5331);
  EXPECT_EQ(Scan(*detector, device), (Hits{{kFirst, 5331}}));
  detector->Reset();
  EXPECT_EQ(Scan(*detector, device), (Hits{{kFirst, 5332}}));
}

TEST(K7ZipFileType, LimitComparesAsSigned) {
  const Detector detector = CreateDetector("K7ZipFileType");
  detector->SetMaxFileSize(0xFFFFFFFFFFFFFFFF);
  EXPECT_EQ(Scan(*detector, Device(1).Put(kFirst, Head(5000, 300))), (Hits{{kFirst, 0xFFFFFFFFFFFFFFFF}}));
}

TEST(K7ZipFileType, NothingStaysOpenBetweenHeads) {
  Device device(9);
  device.Put(kFirst, Head(100, 0)).Put(kFirst + 4, Head(1000, 0)).Put(kFirst + 8, Head(2000, 0));
  EXPECT_EQ(ScanAnyCut("K7ZipFileType", device), (Hits{{kFirst + 4, 1032}, {kFirst + 8, 2032}}));
}

TEST(K7ZipFileType, NeedsItsSixBytes) {
  for (std::size_t i = 0; i < 6; ++i) {
    std::string head = Head(5000, 300);
    head[i] = static_cast<char>(head[i] ^ 1);
    EXPECT_EQ(ScanAnyCut("K7ZipFileType", Device(1).Put(kFirst, head)), Hits{}) << i;
  }
}

TEST(K7ZipFileType, NeedsSectorsOf17Bytes) {
  EXPECT_EQ(Scan(*CreateDetector("K7ZipFileType"), Device(4, 16).Put(kFirst, Head(5000, 300))), Hits{});
  EXPECT_EQ(Scan(*CreateDetector("K7ZipFileType"), Device(4, 17).Put(kFirst, Head(5000, 300))), (Hits{{kFirst, 5332}}));
}

TEST(K7ZipFileType, FieldBehindTheBlockReads0) {
  EXPECT_EQ(Scan(*CreateDetector("K7ZipFileType"), Device(1, 20).Put(kFirst, Head(5000, 300).substr(0, 20))),
            (Hits{{kFirst, 5032}}));
}

TEST(K7ZipFileType, SizesAnArchiveOf7z) {
  const TemporaryFolder folder;
  folder.Write("text", SampleText(5000));
  ASSERT_TRUE(folder.Run("7z a archive.7z text > log")) << "7z is needed";
  const std::string archive = folder.Read("archive.7z");
  EXPECT_EQ(ScanAnyCut("K7ZipFileType", Device(40).Put(kFirst + 3, archive)), (Hits{{kFirst + 3, archive.size()}}));
}

}  // namespace
}  // namespace qzmtraw::test
