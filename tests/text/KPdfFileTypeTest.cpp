#include <gtest/gtest.h>

#include "tests/support/Scanning.h"

namespace qzmtraw::test {
namespace {

constexpr std::uint64_t kFirst = Device::kFirstSector;
constexpr std::uint64_t kLimit = 0xA00000;

Hits ScanPdf(const Device& device) { return ScanAnyCut("KPdfFileType", device); }

/// What a linearized file with this length says at its start.
std::string Linearized(const std::string& length) { return "%PDF-1.4\n1 0 obj\n<< /L " + length + " >>"; }

TEST(KPdfFileType, EndsOneByteBehindItsMark) {
  EXPECT_EQ(ScanPdf(Device(9).Put(kFirst + 1, "%PDF-1.4").Put(kFirst + 4, 100, "%%EOF\n")),
            (Hits{{kFirst + 1, 3 * 512 + 106}}));
}

TEST(KPdfFileType, FirstMarkEndsTheFile) {
  EXPECT_EQ(ScanPdf(Device(9).Put(kFirst, "%PDF-1.4").Put(kFirst + 4, 100, "%%EOF\n").Put(kFirst + 6, "%%EOF\n")),
            (Hits{{kFirst, 4 * 512 + 106}}));
}

TEST(KPdfFileType, VersionIsADigitAPointAndADigit) {
  const auto scan = [](const std::string& head) {
    return ScanPdf(Device(9).Put(kFirst, head).Put(kFirst + 4, 100, "%%EOF\n")).size();
  };
  for (const char* head : {"%PDF-1.0", "%PDF-0.9", "%PDF-9.0"}) EXPECT_EQ(scan(head), 1U) << head;
  for (const char* head : {"%PDF-/.0", "%PDF-:.0", "%PDF-1 0", "%PDF-1./", "%PDF-1.:", "%pdf-1.0", "%PDF 1.0"}) {
    EXPECT_EQ(scan(head), 0U) << head;
  }
}

TEST(KPdfFileType, NeedsSectorsOf9Bytes) {
  for (const int size : {8, 9}) {
    Device device(100, size);
    device.Put(kFirst, "%PDF-1.4").Put(kFirst + 80, 1, "%%EOF");
    EXPECT_EQ(ScanPdf(device), size == 9 ? (Hits{{kFirst, 80 * 9 + 7}}) : Hits{});
  }
}

TEST(KPdfFileType, MarkInTheSectorsLastFiveBytesIsNotSeen) {
  Device device(9);
  device.Put(kFirst, "%PDF-1.4").Put(kFirst + 2, 512 - 6, "%%EOF");
  EXPECT_EQ(ScanPdf(device), (Hits{{kFirst, 3 * 512}}));
  for (std::size_t inFirst = 1; inFirst <= 5; ++inFirst) {
    Device later(9);
    later.Put(kFirst, "%PDF-1.4").Put(kFirst + 2, 512 - inFirst, "%%EOF").Put(kFirst + 5, 9, "%%EOF");
    EXPECT_EQ(ScanPdf(later), (Hits{{kFirst, 5 * 512 + 15}})) << inFirst;
  }
}

TEST(KPdfFileType, FileBelow512BytesIsDropped) {
  const auto scan = [](std::size_t mark) {
    return ScanPdf(Device(20, 100).Put(kFirst, "%PDF-1.4").Put(kFirst + 5, mark, "%%EOF"));
  };
  EXPECT_EQ(scan(5), Hits{});
  EXPECT_EQ(scan(6), (Hits{{kFirst, 512}}));
}

TEST(KPdfFileType, DroppedFileIsClosed) {
  EXPECT_EQ(ScanPdf(Device(9).Put(kFirst, "%PDF-1.4").Put(kFirst, 99, "%%EOF").Put(kFirst + 3, 9, "%%EOF")), Hits{});
}

TEST(KPdfFileType, NewHeadReportsTheFileBeforeFrom512BytesOn) {
  Device device(40, 128);
  device.Put(kFirst, "%PDF-1.4").Put(kFirst + 3, "%PDF-1.4").Put(kFirst + 7, "%PDF-1.4");
  EXPECT_EQ(ScanPdf(device), (Hits{{kFirst + 3, 512}}));
}

TEST(KPdfFileType, FileWithoutMarkIsGivenUpAboveTheLimit) {
  constexpr int kSize = 0x8000;
  const auto sectors = static_cast<int>(kLimit / kSize);
  const Detector detector = CreateDetector("KPdfFileType");
  EXPECT_EQ(Scan(*detector, Device(sectors, kSize).Put(kFirst, "%PDF-1.4")), Hits{});
  EXPECT_EQ(Scan(*detector, Device(1, kSize, kFirst + 320)), (Hits{{kFirst, kLimit}}));
  EXPECT_EQ(Scan(*detector, Device(1, kSize, kFirst + 321).Put(kFirst + 321, 600, "%%EOF")), Hits{});
}

TEST(KPdfFileType, LinearizedFileIsReportedAtOnce) {
  EXPECT_EQ(ScanPdf(Device(9).Put(kFirst, Linearized("70000")).Put(kFirst + 2, 9, "%%EOF")), (Hits{{kFirst, 70000}}));
}

TEST(KPdfFileType, LengthBelow512IsDroppedWithItsFile) {
  for (const char* length : {"300", "511", "1", "-70000", "4294967295"}) {
    EXPECT_EQ(ScanPdf(Device(9).Put(kFirst, Linearized(length)).Put(kFirst + 2, 9, "%%EOF")), Hits{}) << length;
  }
  EXPECT_EQ(ScanPdf(Device(9).Put(kFirst, Linearized("512"))), (Hits{{kFirst, 512}}));
}

TEST(KPdfFileType, NoLengthIsSearchedFor) {
  for (const char* length : {"0", "x", "", "4294967296", "- 5", "+-5"}) {
    EXPECT_EQ(ScanPdf(Device(9).Put(kFirst, Linearized(length)).Put(kFirst + 2, 9, "%%EOF")), (Hits{{kFirst, 1039}}))
        << length;
  }
}

TEST(KPdfFileType, LengthIsReadLikeANumberOfC) {
  for (const char* length : {"\t\n\v\f\r 70000", "+70000", "00070000", "70000.9", "4295037296"}) {
    EXPECT_EQ(ScanPdf(Device(9).Put(kFirst, Linearized(length))), (Hits{{kFirst, 70000}})) << length;
  }
}

TEST(KPdfFileType, LengthIsClipped) {
  EXPECT_EQ(ScanPdf(Device(9).Put(kFirst, Linearized("10485760"))), (Hits{{kFirst, kLimit}}));
  EXPECT_EQ(ScanPdf(Device(9).Put(kFirst, Linearized("10485761"))), (Hits{{kFirst, kLimit}}));
  const Detector detector = CreateDetector("KPdfFileType");
  detector->SetMaxFileSize(69999);
  EXPECT_EQ(Scan(*detector, Device(9).Put(kFirst, Linearized("70000"))), (Hits{{kFirst, 69999}}));
}

TEST(KPdfFileType, LengthsKeyLiesWithinTheFirst48Bytes) {
  const auto scan = [](std::size_t key) {
    Device device(9);
    return ScanPdf(device.Put(kFirst, "%PDF-1.4").Put(kFirst, key, "/L 70000 ").Put(kFirst + 2, 9, "%%EOF"));
  };
  EXPECT_EQ(scan(45), (Hits{{kFirst, 70000}}));
  EXPECT_EQ(scan(46), (Hits{{kFirst, 1039}}));
  Device device(9);
  device.Put(kFirst, "%PDF-1.4" + Literal("\0") + "/L 70000 ").Put(kFirst + 2, 9, "%%EOF");
  EXPECT_EQ(ScanPdf(device), (Hits{{kFirst, 1039}}));
}

TEST(KPdfFileType, LengthMayRunOnBehindTheSector) {
  // Sectors of 20 bytes cut the number, which is there as far as the block goes.
  Device device(60, 20, kFirst, ' ');
  device.Put(kFirst, "%PDF-1.4     /L 70000 ");
  EXPECT_EQ(Scan(*CreateDetector("KPdfFileType"), device), (Hits{{kFirst, 70000}}));
  EXPECT_EQ(Scan(*CreateDetector("KPdfFileType"), device, {1}), (Hits{{kFirst, 7000}}));
}

TEST(KPdfFileType, NewLinearizedFileReportsTheOneBefore) {
  EXPECT_EQ(ScanPdf(Device(9).Put(kFirst, "%PDF-1.4").Put(kFirst + 3, Linearized("300"))), (Hits{{kFirst, 1536}}));
}

TEST(KPdfFileType, ResetForgetsTheFile) {
  const Detector detector = CreateDetector("KPdfFileType");
  Scan(*detector, Device(2).Put(kFirst, "%PDF-1.4"));
  detector->Reset();
  EXPECT_EQ(Scan(*detector, Device(1, 512, kFirst + 2).Put(kFirst + 2, 9, "%%EOF")), Hits{});
}

}  // namespace
}  // namespace qzmtraw::test
