#include <gtest/gtest.h>

#include "tests/support/Scanning.h"

namespace qzmtraw::test {
namespace {

constexpr std::uint64_t kFirst = Device::kFirstSector;
const std::string kEnd = Literal("\0\0");

/// The mark and the units of an ASCII text.
std::string Marked(const std::string& text) {
  std::string bytes = "\xFF\xFE";
  for (const char character : text) bytes += {character, '\0'};
  return bytes;
}

Hits ScanText(const Device& device) { return ScanAnyCut("CKUTxtFileType", device); }

TEST(CKUTxtFileType, GoesOnToAUnitOf0AndCountsItsMark) {
  EXPECT_EQ(ScanText(Device(3).Put(kFirst + 1, Marked("ten units.") + kEnd)), (Hits{{kFirst + 1, 22}}));
  EXPECT_EQ(ScanText(Device(5).Put(kFirst + 1, Marked(std::string(1000, 'a')) + kEnd)), (Hits{{kFirst + 1, 2002}}));
}

TEST(CKUTxtFileType, EndsAtAUnitNotAtAnyTwoZeros) {
  // The two zeros between 'a' and U+4100 belong to two units.
  const std::string text = Marked("ten units.a") + Literal("\0\x41") + kEnd;
  EXPECT_EQ(ScanText(Device(1).Put(kFirst, text)), (Hits{{kFirst, 26}}));
}

TEST(CKUTxtFileType, TextThatEndsWithItsSectorStaysOpenUntilTheNextUnit) {
  const std::string text = Marked(std::string(255, 'a'));
  EXPECT_EQ(ScanText(Device(1).Put(kFirst, text)), Hits{});
  EXPECT_EQ(ScanText(Device(2).Put(kFirst, text).Put(kFirst + 1, kEnd)), (Hits{{kFirst, 512}}));
}

TEST(CKUTxtFileType, FirstTenUnitsAreTested) {
  const auto withUnit = [](std::size_t place, std::uint16_t unit) {
    Device device(1);
    device.Put(kFirst, Marked(std::string(40, 'a')) + kEnd).Put(kFirst, 2 + 2 * place, LittleU16(unit));
    return ScanText(device) == Hits{{kFirst, 82}};
  };
  EXPECT_FALSE(withUnit(9, 0xE9));
  EXPECT_TRUE(withUnit(10, 0xE9));
  for (const std::uint16_t unit : std::vector<std::uint16_t>{0x0009, 0x000A, 0x000D, 0x0020, 0x007F, 0x0800, 0x4DFF,
                                                             0x4E00, 0x4E01, 0x9FA5, 0xAC00, 0xD7FF}) {
    EXPECT_TRUE(withUnit(0, unit)) << unit;
    EXPECT_TRUE(withUnit(9, unit)) << unit;
  }
  for (const std::uint16_t unit : std::vector<std::uint16_t>{0x0001, 0x0008, 0x000B, 0x000C, 0x000E, 0x001F, 0x0080,
                                                             0x07FF, 0x9FA6, 0xA000, 0xABFF, 0xD800, 0xFFFF}) {
    EXPECT_FALSE(withUnit(0, unit)) << unit;
    EXPECT_FALSE(withUnit(9, unit)) << unit;
  }
}

TEST(CKUTxtFileType, KindsWithDetectorsOfTheirOwnAreRefused) {
  EXPECT_EQ(ScanText(Device(1).Put(kFirst, Marked("BluffTitler 1") + kEnd)), Hits{});
  EXPECT_EQ(ScanText(Device(1).Put(kFirst, Marked("Windows Registry Editor") + kEnd)), Hits{});
  EXPECT_EQ(ScanText(Device(1).Put(kFirst, Marked("BluffTitles 1") + kEnd)), (Hits{{kFirst, 28}}));
  EXPECT_EQ(ScanText(Device(1).Put(kFirst, Marked("Windows Registrations") + kEnd)), (Hits{{kFirst, 44}}));
}

TEST(CKUTxtFileType, NeedsSectorsOf51Bytes) {
  const std::string text = Marked(std::string(30, 'a')) + kEnd;
  EXPECT_EQ(ScanText(Device(2, 52).Put(kFirst, text)), (Hits{{kFirst, 62}}));
  EXPECT_EQ(ScanText(Device(2, 50).Put(kFirst, text)), Hits{});
}

TEST(CKUTxtFileType, SectorsOfOddSizeHaveALastByteThatIsNotCounted) {
  Device device(2, 51, kFirst, 'a');
  device.Put(kFirst, Marked(std::string(24, 'a'))).Put(kFirst, 50, Literal("\0")).Put(kFirst + 1, Literal("a\0\0\0"));
  EXPECT_EQ(ScanText(device), (Hits{{kFirst, 52}}));
}

TEST(CKUTxtFileType, BigEndianAndUnmarkedTextsAreNoHead) {
  EXPECT_EQ(ScanText(Device(1).Put(kFirst, Literal("\xFE\xFF\0a\0b\0c\0d\0e\0f\0g\0h\0i\0j\0k\0\0"))), Hits{});
  EXPECT_EQ(ScanText(Device(1).Put(kFirst, Marked(std::string(20, 'a')).substr(2) + kEnd)), Hits{});
}

TEST(CKUTxtFileType, NewHeadReportsTheTextBefore) {
  Device device(4);
  device.Put(kFirst, Marked(std::string(20, 'a'))).Put(kFirst + 2, Marked("ten units.") + kEnd);
  EXPECT_EQ(ScanText(device), (Hits{{kFirst, 1024}, {kFirst + 2, 22}}));
}

TEST(CKUTxtFileType, RegistryExportGoesOnAnOpenText) {
  Device device(3);
  device.Put(kFirst, Marked(std::string(20, 'a'))).Put(kFirst + 1, Marked("Windows Registry") + kEnd);
  EXPECT_EQ(ScanText(device), (Hits{{kFirst, 512 + 34}}));
}

TEST(CKUTxtFileType, AtTheDevicesFirstSectorIsReportedAtItsEndButLostToANewHead) {
  EXPECT_EQ(ScanText(Device(2, 512, 0).Put(0, Marked("ten units.") + kEnd)), (Hits{{0, 22}}));
  Device device(3, 512, 0);
  device.Put(0, Marked("ten units.")).Put(1, Marked("eleven units") + kEnd);
  EXPECT_EQ(ScanText(device), (Hits{{1, 26}}));
}

TEST(CKUTxtFileType, ResetForgetsTheText) {
  const Detector detector = CreateDetector("CKUTxtFileType");
  Scan(*detector, Device(1).Put(kFirst, Marked("ten units.")));
  detector->Reset();
  EXPECT_EQ(Scan(*detector, Device(1, 512, kFirst + 1).Put(kFirst + 1, kEnd)), Hits{});
  // Neither does a later head find it.
  EXPECT_EQ(Scan(*detector, Device(1, 512, kFirst + 2).Put(kFirst + 2, Marked("ten units.") + kEnd)),
            (Hits{{kFirst + 2, 22}}));
}

TEST(CKUTxtFileType, TextOpenAtTheEndIsNotReported) {
  EXPECT_EQ(ScanText(Device(3).Put(kFirst, Marked("ten units."))), Hits{});
}

TEST(CKUTxtFileType, IsNotCut) {
  const Detector detector = CreateDetector("CKUTxtFileType");
  detector->SetMaxFileSize(100);
  Device device(300, 4096);
  device.Put(kFirst, Marked("ten units.")).Put(kFirst + 299, kEnd);
  EXPECT_EQ(Scan(*detector, device), (Hits{{kFirst, std::uint64_t{299} * 4096}}));
}

}  // namespace
}  // namespace qzmtraw::test
