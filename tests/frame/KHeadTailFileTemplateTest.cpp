#include <gtest/gtest.h>

#include <array>

#include "frame/KHeadTailFileTemplate.h"
#include "tests/support/Scanning.h"

namespace qzmtraw {

template <>
IRawFileType* Create<KHeadTailFileTemplate>(const TypeRow& row);

}  // namespace qzmtraw

namespace qzmtraw::test {
namespace {

constexpr std::uint64_t kFirst = Device::kFirstSector;
const std::string kBrushHead = Literal(
    "\0\x06\0\x02"
    "8BIM");
const std::string kBrushTail = Literal("Rpt bool\0");

Hits ScanBrushes(const Device& device, Cut cut = {}) { return Scan(*CreateDetector(93), device, cut); }

TEST(HeadTailRows, HaveTheirHeadsAndTails) {
  const struct {
    std::int32_t row;
    std::string head;
    std::string tail;
  } rows[] = {
      {93, kBrushHead, kBrushTail},
      {94,
       Literal("\x10"
               "CaxaEbForWindows"),
       "\x20\x3B\x01" + std::string(4, '\0') + "\xFF\xFF" + std::string(12, '\0')},
      {270, "PCFFGRA", std::string(14, '\xFF') + "\x01\x40"},
  };
  for (const auto& row : rows) {
    Device device(5);
    device.Put(kFirst + 1, row.head).Put(kFirst + 3, 100, row.tail);
    for (const int blockSectors : {0, 1, 2}) {
      EXPECT_EQ(Scan(*CreateDetector(row.row), device, {blockSectors}), (Hits{{kFirst + 1, 1124 + row.tail.size()}}))
          << row.row;
    }
    Device oneByteOff(5);
    oneByteOff.Put(kFirst + 1, row.head.substr(0, row.head.size() - 1) + '\x55').Put(kFirst + 3, 100, row.tail);
    EXPECT_EQ(Scan(*CreateDetector(row.row), oneByteOff), Hits{}) << row.row;
    Device tailOneByteOff(5);
    tailOneByteOff.Put(kFirst + 1, row.head).Put(kFirst + 3, 100, row.tail.substr(0, row.tail.size() - 1) + '\x55');
    EXPECT_EQ(Scan(*CreateDetector(row.row), tailOneByteOff), Hits{}) << row.row;
  }
}

TEST(HeadTail, FileAtSector0IsFound) {
  Device device(2, 512, 0);
  device.Put(0, kBrushHead).Put(1, 100, kBrushTail);
  EXPECT_EQ(ScanBrushes(device), (Hits{{0, 621}}));
}

TEST(HeadTail, TailInTheHeadsSectorBelow512BytesClosesTheFileWithoutAReport) {
  Device device(3);
  device.Put(kFirst, kBrushHead).Put(kFirst, 100, kBrushTail).Put(kFirst + 2, 100, kBrushTail);
  EXPECT_EQ(ScanBrushes(device), Hits{});
}

TEST(HeadTail, TailInTheHeadsSectorAt512BytesIsReported) {
  const struct {
    std::size_t end;
    Hits expected;
  } cases[] = {{511, {}}, {512, {{kFirst, 512}}}, {513, {{kFirst, 513}}}};
  for (const auto& testCase : cases) {
    Device device(1, 1024);
    device.Put(kFirst, kBrushHead).Put(kFirst, testCase.end - 9, kBrushTail);
    EXPECT_EQ(ScanBrushes(device), testCase.expected) << testCase.end;
  }
}

TEST(HeadTail, TailInTheThirdSectorCountsTheSectorsBefore) {
  Device device(4);
  device.Put(kFirst, kBrushHead).Put(kFirst + 2, 77, kBrushTail);
  EXPECT_EQ(ScanBrushes(device), (Hits{{kFirst, 1024 + 77 + 9}}));
}

TEST(HeadTail, TailThatStraddlesTwoSectorsIsNotSeen) {
  Device device(4);
  device.Put(kFirst, kBrushHead).Put(kFirst + 1, 508, kBrushTail);
  EXPECT_EQ(ScanBrushes(device), Hits{});
}

TEST(HeadTail, TailThatEndsOnTheSectorsLastByteIsNotSeen) {
  Device device(4);
  device.Put(kFirst, kBrushHead).Put(kFirst + 1, 512 - 9, kBrushTail);
  EXPECT_EQ(ScanBrushes(device), Hits{});
  device.Put(kFirst + 1, 512 - 10, kBrushTail);
  EXPECT_EQ(ScanBrushes(device), (Hits{{kFirst, 1023}}));
}

TEST(HeadTail, NewHeadReportsAFileOf512BytesAndDropsASmallerOne) {
  Device large(4);
  large.Put(kFirst, kBrushHead).Put(kFirst + 1, kBrushHead).Put(kFirst + 3, kBrushTail);
  EXPECT_EQ(ScanBrushes(large), (Hits{{kFirst, 512}, {kFirst + 1, 1033}}));
  Device small(4, 511);
  small.Put(kFirst, kBrushHead).Put(kFirst + 1, kBrushHead).Put(kFirst + 3, kBrushTail);
  EXPECT_EQ(ScanBrushes(small), (Hits{{kFirst + 1, 1031}}));
}

TEST(HeadTail, TailInANewHeadsSectorEndsTheNewFileOnly) {
  Device device(4);
  device.Put(kFirst, kBrushHead).Put(kFirst + 1, kBrushHead).Put(kFirst + 1, 100, kBrushTail);
  EXPECT_EQ(ScanBrushes(device), (Hits{{kFirst, 512}}));
}

TEST(HeadTail, FileWithoutATailIsReportedWhenItFirstExceedsTheLimit) {
  const Detector detector = CreateDetector(93);
  detector->SetMaxFileSize(1536);
  Device device(3);
  device.Put(kFirst, kBrushHead);
  EXPECT_EQ(Scan(*detector, device), Hits{});
  EXPECT_EQ(Scan(*detector, Device(1, 512, kFirst + 3)), (Hits{{kFirst, 1536}}));
  EXPECT_EQ(Scan(*detector, Device(4, 512, kFirst + 4)), Hits{});
}

TEST(HeadTail, DefaultLimitIs0xA00000) {
  Device device(0xA00000 / 512 + 1);
  device.Put(kFirst, kBrushHead);
  EXPECT_EQ(ScanBrushes(device, {64}), (Hits{{kFirst, 0xA00000}}));
  EXPECT_EQ(ScanBrushes(Device(0xA00000 / 512).Put(kFirst, kBrushHead), {64}), Hits{});
}

TEST(HeadTail, TailEndIsClippedToTheLimit) {
  const Detector detector = CreateDetector(93);
  detector->SetMaxFileSize(1100);
  Device device(3);
  device.Put(kFirst, kBrushHead).Put(kFirst + 2, 68, kBrushTail);
  EXPECT_EQ(Scan(*detector, device), (Hits{{kFirst, 1100}}));
  device.Put(kFirst + 2, 67, kBrushTail);
  EXPECT_EQ(Scan(*detector, device), (Hits{{kFirst, 1100}}));
}

TEST(HeadTail, ResetForgetsTheFileAndTheLimit) {
  const Detector detector = CreateDetector(93);
  detector->SetMaxFileSize(600);
  Scan(*detector, Device(1).Put(kFirst, kBrushHead));
  detector->Reset();
  EXPECT_EQ(Scan(*detector, Device(2, 512, kFirst + 1).Put(kFirst + 2, kBrushTail)), Hits{});
  EXPECT_EQ(Scan(*detector, Device(3).Put(kFirst, kBrushHead).Put(kFirst + 2, kBrushTail)), (Hits{{kFirst, 1033}}));
}

TEST(HeadTail, FileOpenWhenTheScanEndsIsNotReported) {
  EXPECT_EQ(ScanBrushes(Device(10).Put(kFirst, kBrushHead)), Hits{});
}

TEST(HeadTail, SectorSmallerThanTheHeadHasNone) {
  Device device(200, 7);
  device.Put(kFirst, kBrushHead).Put(kFirst + 150, kBrushTail.substr(0, 7)).Put(kFirst + 151, kBrushTail.substr(7));
  EXPECT_EQ(ScanBrushes(device), Hits{});
}

class FixedSize : public ::testing::Test {
 protected:
  static Hits ScanFixed(std::int32_t fixedSize) {
    const std::string head = "HEAD";
    KHeadTailFileTemplate detector("A kind", "k", reinterpret_cast<const std::uint8_t*>(head.data()), 4, nullptr, 0,
                                   fixedSize);
    Device device(6);
    device.Put(kFirst + 1, head).Put(kFirst + 4, head);
    return Scan(detector, device);
  }
};

TEST_F(FixedSize, IsReportedAtTheHead) { EXPECT_EQ(ScanFixed(700), (Hits{{kFirst + 1, 700}, {kFirst + 4, 700}})); }
TEST_F(FixedSize, Of512IsReported) { EXPECT_EQ(ScanFixed(512), (Hits{{kFirst + 1, 512}, {kFirst + 4, 512}})); }
TEST_F(FixedSize, Below512ClosesTheFileWithoutAReport) { EXPECT_EQ(ScanFixed(511), Hits{}); }
TEST_F(FixedSize, BelowZeroClosesTheFileWithoutAReport) { EXPECT_EQ(ScanFixed(-1), Hits{}); }
TEST_F(FixedSize, OfZeroIsNeverReported) { EXPECT_EQ(ScanFixed(0), Hits{}); }
TEST_F(FixedSize, IsClippedToTheLimit) {
  EXPECT_EQ(ScanFixed(0xA00000), (Hits{{kFirst + 1, 0xA00000}, {kFirst + 4, 0xA00000}}));
  EXPECT_EQ(ScanFixed(0xA00001), (Hits{{kFirst + 1, 0xA00000}, {kFirst + 4, 0xA00000}}));
}

TEST(HeadTailRows, WithoutByteStringsHaveNoDetector) {
  const TypeRow row{92, "KHeadTailFileTemplate", "A kind", "k", Category::kGraphics, Group::kNone, nullptr};
  EXPECT_EQ(Create<KHeadTailFileTemplate>(row), nullptr);
}

TEST(HeadTailTexts, MayBeMissing) {
  KHeadTailFileTemplate detector(nullptr, nullptr, nullptr, 0, nullptr, 0, 0);
  std::array<char, 4> buffer = {'a', 'b', 'c', 'd'};
  detector.GetDescription(buffer.data(), buffer.size());
  detector.GetExtension(buffer.data(), buffer.size());
  EXPECT_EQ(buffer, (std::array<char, 4>{'a', 'b', 'c', 'd'}));
}

}  // namespace
}  // namespace qzmtraw::test
