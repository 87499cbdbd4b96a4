// Fonts with heads and sizes of their own.

#include <gtest/gtest.h>

#include "tests/support/LiteralTailWalk.h"
#include "tests/support/Scanning.h"
#include "tests/system/LongFile.h"

namespace qzmtraw::test {
namespace {

constexpr std::uint64_t kFirst = Device::kFirstSector;
const std::string kPfbHead = Literal("\x80\1\x7E\3\0\0%!PS-AdobeFont");
const std::string kPfbTail = "cleartomark{restore}if\r\x80\x03";

Hits ScanPfb(const Device& device) { return ScanAnyCut("CKPfbFileType", device); }

TEST(CKPfbFileType, EndsBehindTheLastLineAndTheEndSegment) {
  for (const std::size_t offset : std::vector<std::size_t>{0, 99, 512 - 25}) {
    EXPECT_EQ(ScanPfb(Device(5).Put(kFirst + 1, kPfbHead).Put(kFirst + 3, offset, kPfbTail)),
              (Hits{{kFirst + 1, 1024 + offset + 25}}))
        << offset;
  }
  EXPECT_EQ(ScanPfb(Device(1).Put(kFirst, kPfbHead + kPfbTail)), (Hits{{kFirst, 45}}));
}

TEST(CKPfbFileType, SizeOfTheFirstSegmentIsNoPartOfTheHead) {
  for (std::size_t i = 0; i < kPfbHead.size(); ++i) {
    std::string head = kPfbHead;
    head[i] = static_cast<char>(head[i] ^ 0x40);
    const bool isSize = i == 2 || i == 3;
    EXPECT_EQ(ScanPfb(Device(2).Put(kFirst, head + kPfbTail)).size(), isSize ? 1U : 0U) << i;
  }
}

TEST(CKPfbFileType, TailNeedsEveryByte) {
  for (std::size_t i = 0; i < kPfbTail.size(); ++i) {
    std::string tail = kPfbTail;
    tail[i] = static_cast<char>(tail[i] ^ 1);
    EXPECT_EQ(ScanPfb(Device(2).Put(kFirst, kPfbHead).Put(kFirst, 99, tail)), Hits{}) << i;
    EXPECT_EQ(ScanPfb(Device(2).Put(kFirst, kPfbHead).Put(kFirst, 500, tail)), Hits{}) << i;
  }
}

TEST(CKPfbFileType, TailAcrossTwoSectorsIsFoundWhereverItIsCut) {
  for (std::size_t inFirst = 1; inFirst < 25; ++inFirst) {
    Device device(4);
    device.Put(kFirst, kPfbHead).Put(kFirst + 1, 512 - inFirst, kPfbTail);
    EXPECT_EQ(ScanPfb(device), (Hits{{kFirst, 1024 + 25 - inFirst}})) << inFirst;
  }
}

TEST(CKPfbFileType, BeginningOfATailIsAskedForItsRestAtEveryLaterSector) {
  Device device(6);
  device.Put(kFirst, kPfbHead).Put(kFirst + 1, 512 - 11, "cleartomark").Put(kFirst + 4, "{restore}if\r\x80\x03");
  EXPECT_EQ(ScanPfb(device), (Hits{{kFirst, 4 * 512 + 14}}));
}

TEST(CKPfbFileType, LaterBeginningReplacesAnEarlierOne) {
  Device device(6);
  device.Put(kFirst, kPfbHead).Put(kFirst, 512 - 11, "cleartomark").Put(kFirst + 1, 511, "c");
  EXPECT_EQ(ScanPfb(Device(device).Put(kFirst + 3, "{restore}if\r\x80\x03")), Hits{});
  EXPECT_EQ(ScanPfb(Device(device).Put(kFirst + 3, kPfbTail.substr(1))), (Hits{{kFirst, 3 * 512 + 24}}));
}

TEST(CKPfbFileType, HeadReportsTheFileBeforeAndKeepsTheBeginningOfItsTail) {
  Device device(6);
  device.Put(kFirst, kPfbHead).Put(kFirst, 512 - 11, "cleartomark").Put(kFirst + 1, kPfbHead);
  device.Put(kFirst + 3, "{restore}if\r\x80\x03");
  EXPECT_EQ(ScanPfb(device), (Hits{{kFirst, 512}, {kFirst + 1, 1024 + 14}}));
}

TEST(CKPfbFileType, TailForgetsTheBeginningOfAnother) {
  Device device(8);
  device.Put(kFirst, kPfbHead).Put(kFirst, 512 - 11, "cleartomark").Put(kFirst + 1, 40, kPfbTail);
  device.Put(kFirst + 3, kPfbHead).Put(kFirst + 5, "{restore}if\r\x80\x03");
  EXPECT_EQ(ScanPfb(device), (Hits{{kFirst, 512 + 65}}));
}

TEST(CKPfbFileType, FileAtSector0IsNotFollowed) {
  EXPECT_EQ(ScanPfb(Device(3, 512, 0).Put(0, kPfbHead).Put(1, 9, kPfbTail)), Hits{});
}

TEST(CKPfbFileType, FontWithoutATailRunsToTheLimitAndForgetsEverything) {
  LongFile file;
  const Detector detector = CreateDetector("CKPfbFileType");
  detector->SetMaxFileSize(7);
  ASSERT_EQ(file.Feed(*detector, kFirst, kPfbHead), Hits{});
  std::uint64_t number = kFirst + 1;
  for (; number < kFirst + LongFile::kSectorsToLimit; ++number) ASSERT_EQ(file.Feed(*detector, number), Hits{});
  EXPECT_EQ(file.Feed(*detector, number, {}, "cleartomark"), (Hits{{kFirst, 0x40000000}}));
  EXPECT_EQ(file.Feed(*detector, number + 1, kPfbHead), Hits{});
  EXPECT_EQ(file.Feed(*detector, number + 2, "{restore}if\r\x80\x03"), Hits{});
}

TEST(CKPfbFileType, ResetForgetsTheFileAndTheBeginningOfItsTail) {
  const Detector detector = CreateDetector("CKPfbFileType");
  Scan(*detector, Device(1).Put(kFirst, kPfbHead).Put(kFirst, 512 - 11, "cleartomark"));
  detector->Reset();
  const std::string rest = "{restore}if\r\x80\x03";
  EXPECT_EQ(Scan(*detector, Device(1, 512, kFirst + 1).Put(kFirst + 1, rest)), Hits{});
  EXPECT_EQ(Scan(*detector, Device(2, 512, kFirst + 2).Put(kFirst + 2, kPfbHead).Put(kFirst + 3, rest)), Hits{});
}

TEST(CKPfbFileType, AgreesWithTheRulesTakenByteByByte) {
  LiteralTailWalk rules{{kPfbHead},
                        kPfbTail,
                        [](std::size_t offset) { return offset + 25; },
                        [](std::size_t matched) { return 25 - matched; },
                        0x40000001,
                        0x40000000};
  rules.headAsksFileStart = true;
  rules.stopsAtTail = true;
  rules.seesTailAtEnd = true;
  rules.keepsBeginning = true;
  std::size_t found = 0;
  for (std::uint32_t seed = 0; seed < 3000; ++seed) {
    const Device device = DeviceOfPieces(seed, rules.heads, rules.tail);
    const Hits expected = rules.Scan(device);
    ASSERT_EQ(Scan(*CreateDetector("CKPfbFileType"), device), expected) << "seed " << seed;
    found += expected.size();
  }
  EXPECT_GT(found, 1000U);
}

/// A stroked font with a text, and the sizes of its header and of the font behind it.
std::string StrokedFont(const std::string& text, std::uint16_t headerSize, std::uint16_t fontSize) {
  return Literal(
             "PK\x08\x08"
             "BGI ") +
         text + LittleU16(headerSize) + "NAME" + LittleU16(fontSize);
}

TEST(CKChrFileType, SizeIsThatOfTheHeaderAndOfTheFontBehindTheText) {
  for (const std::string text : {"ab", "abc", "Stroked font\r\n\x1A"}) {
    EXPECT_EQ(ScanAnyCut("CKChrFileType", Device(3).Put(kFirst + 1, StrokedFont(text, 0x80, 0x1234))),
              (Hits{{kFirst + 1, 0x80 + 0x1234}}))
        << text;
  }
  EXPECT_EQ(ScanAnyCut("CKChrFileType", Device(1).Put(kFirst, StrokedFont("abc", 0xFF, 0xFFFF))),
            (Hits{{kFirst, 0xFF + 0xFFFF}}));
}

TEST(CKChrFileType, TextOfTwoBytesAndLessTakesFixedOffsets) {
  for (const std::size_t length : std::vector<std::size_t>{0, 1, 2}) {
    Device device(1);
    device
        .Put(kFirst, Literal("PK\x08\x08"
                             "BGI "))
        .Put(kFirst, 8, LittleU16(0x7777))
        .Put(kFirst, 8 + length, Literal("\0"));
    const std::uint64_t headerSize = length == 0 ? 0x7700 : length == 1 ? 0x77 : 0x7777;
    device.Put(kFirst, 14, LittleU16(0x100));
    EXPECT_EQ(ScanAnyCut("CKChrFileType", device), (Hits{{kFirst, headerSize + 0x100}})) << length;
  }
}

TEST(CKChrFileType, TextMustEndInTheSector) {
  // The header's size has a low byte that counts to the text.
  for (const std::size_t length : std::vector<std::size_t>{501, 502, 503, 504}) {
    const Device device = Device(3).Put(kFirst, StrokedFont(std::string(length, 'x'), 0x10, 0x100));
    const bool fits = length + 1 + 9 <= 512;
    EXPECT_EQ(Scan(*CreateDetector("CKChrFileType"), device), (fits ? Hits{{kFirst, 0x110}} : Hits{})) << length;
  }
  EXPECT_EQ(ScanAnyCut("CKChrFileType", Device(2).Put(kFirst,
                                                      "PK\x08\x08"
                                                      "BGI ")),
            Hits{});
}

TEST(CKChrFileType, SizesThatTheBlockDoesNotHoldAreNoHit) {
  const std::string font = StrokedFont("abc", 0x10, 0x100);
  ASSERT_EQ(font.size(), 19U);
  EXPECT_EQ(Scan(*CreateDetector("CKChrFileType"), Device(1, 19).Put(kFirst, font)), (Hits{{kFirst, 0x110}}));
  EXPECT_EQ(Scan(*CreateDetector("CKChrFileType"), Device(1, 18).Put(kFirst, font.substr(0, 18))), Hits{});
  // A sector that ends with the text's zero byte, and the font's size in the next.
  EXPECT_EQ(Scan(*CreateDetector("CKChrFileType"), Device(2, 13).Put(kFirst, font)), (Hits{{kFirst, 0x110}}));
  EXPECT_EQ(Scan(*CreateDetector("CKChrFileType"), Device(2, 13).Put(kFirst, font), {1}), Hits{});
  EXPECT_EQ(Scan(*CreateDetector("CKChrFileType"), Device(3, 12).Put(kFirst, font)), Hits{});
  EXPECT_EQ(Scan(*CreateDetector("CKChrFileType"), Device(3, 8).Put(kFirst, font)), Hits{});
}

const std::string kDosFont = Literal(
    "\xFF"
    "FONT\0\0\0");
const std::string kNtFont =
    "\xFF"
    "FONT.NT";
const std::string kDrDosFont = Literal(
    "\x7F"
    "DRFONT\0\0\0\0\0\0\0\0\0");

/// A device of 64 sectors with a code page font in the second, its information at `information`, and zeros elsewhere.
Device DeviceWithCodePages(const std::string& head, std::uint32_t information, const std::string& bytes) {
  return Device(64, 512, kFirst, 0)
      .Put(kFirst + 1, head)
      .Put(kFirst + 1, 19, LittleU32(information))
      .Put(kFirst + 1, information, bytes);
}

TEST(CKCpiFileType, SizeIsTheProductAndTheTextBehindIt) {
  for (const std::string& head : {kDosFont, kNtFont}) {
    Device device = DeviceWithCodePages(head, 23, LittleU16(6) + "xx" + LittleU32(1000));
    EXPECT_EQ(Scan(*CreateDetector("CKCpiFileType"), device), (Hits{{kFirst + 1, 6025}}));
    device.Put(kFirst + 1, 6025, "Copyright");
    EXPECT_EQ(Scan(*CreateDetector("CKCpiFileType"), device), (Hits{{kFirst + 1, 6034}}));
    device.Put(kFirst + 1, 6025, std::string(511, 'x'));
    EXPECT_EQ(Scan(*CreateDetector("CKCpiFileType"), device), (Hits{{kFirst + 1, 6025 + 511}}));
    device.Put(kFirst + 1, 6025, std::string(512, 'x'));
    EXPECT_EQ(Scan(*CreateDetector("CKCpiFileType"), device), (Hits{{kFirst + 1, 6025}}));
  }
}

TEST(CKCpiFileType, TextBehindTheBlockComesFromTheReader) {
  Device device = DeviceWithCodePages(kDosFont, 23, LittleU16(6) + "xx" + LittleU32(1000));
  device.Put(kFirst + 1, 6025, "Copyright");
  EXPECT_EQ(Scan(*CreateDetector("CKCpiFileType"), device, {2}), (Hits{{kFirst + 1, 6034}}));
  EXPECT_EQ(Scan(*CreateDetector("CKCpiFileType"), device, {2}, Manner::kLeavesBuffer), (Hits{{kFirst + 1, 6025}}));
}

TEST(CKCpiFileType, ThreeBlanksAreNoHead) {
  for (const std::string& head : {std::string("\xFF"
                                              "FONT   "),
                                  Literal("\xFF"
                                          "FONT\0\0 "),
                                  std::string("\xFF"
                                              "FONT.NX"),
                                  Literal("\x7F"
                                          "DRFONT\0\0\0\0\0\0\0\0\1"),
                                  Literal("\x7F"
                                          "DRFONT \0\0\0\0\0\0\0\0")}) {
    EXPECT_EQ(Scan(*CreateDetector("CKCpiFileType"), DeviceWithCodePages(head, 23, LittleU16(6))), Hits{});
  }
}

TEST(CKCpiFileType, ProductHas32BitsAndASignAndTheRestIsAddedIn64) {
  struct Case {
    std::uint16_t pages;
    std::uint32_t next;
    std::uint64_t size;
  };
  const Case kCases[] = {{0, 77, 302},
                         {1, 0x7FFFFFFF, 0x80000000ULL + 301},
                         {1, 0xFFFFFFFF, 301},
                         {1, 0x80000000, 0xFFFFFFFF80000000ULL + 302},
                         {0x100, 0x1000001, 0x100 + 302},
                         {0xFFFF, 0xFFFFFFFF, 0xFFFFFFFFFFFF0001ULL + 302}};
  for (const Case& test : kCases) {
    // Zeros around the information, so that no text is counted behind any of the sums.
    const Device device =
        DeviceWithCodePages(kNtFont, 300, LittleU16(test.pages) + Literal("\0\0") + LittleU32(test.next));
    EXPECT_EQ(Scan(*CreateDetector("CKCpiFileType"), device), (Hits{{kFirst + 1, test.size}}))
        << test.pages << " x " << test.next;
  }
}

TEST(CKCpiFileType, DrDosFormAddsItsNumbersIn64Bits) {
  const std::string heights = "\x08\x0E\x10";
  EXPECT_EQ(ScanAnyCut("CKCpiFileType", DeviceWithCodePages(kDrDosFont, 30,
                                                            Literal("\3") + heights + LittleU32(1000) +
                                                                LittleU32(2000) + LittleU32(3000))),
            (Hits{{kFirst + 1, 6039}}));
  EXPECT_EQ(ScanAnyCut("CKCpiFileType", DeviceWithCodePages(kDrDosFont, 30,
                                                            Literal("\3") + heights + LittleU32(0xFFFFFFFF) +
                                                                LittleU32(0xFFFFFFFF) + LittleU32(2))),
            (Hits{{kFirst + 1, 0x200000000 + 39}}));
  EXPECT_EQ(ScanAnyCut("CKCpiFileType", DeviceWithCodePages(kDrDosFont, 30, Literal("\0"))), (Hits{{kFirst + 1, 39}}));
}

TEST(CKCpiFileType, InformationThatTheBlockDoesNotHoldIsNoHit) {
  struct Case {
    std::string head;
    std::string bytes;
  };
  const Case kCases[] = {{kDosFont, LittleU16(2) + "xx" + LittleU32(10)},
                         {kNtFont, LittleU16(2) + "xx" + LittleU32(10)},
                         {kDrDosFont, Literal("\2\2\2") + LittleU32(1) + LittleU32(2)},
                         {kDrDosFont, Literal("\0")}};
  for (const Case& test : kCases) {
    const auto information = static_cast<std::uint32_t>(1024 - test.bytes.size());
    for (const std::uint32_t behind : std::vector<std::uint32_t>{0U, 1U, 0xF0000000U}) {
      Device device = DeviceWithCodePages(test.head, information, test.bytes);
      device.Put(kFirst + 1, 19, LittleU32(information + behind));
      EXPECT_EQ(Scan(*CreateDetector("CKCpiFileType"), device, {3}).size(), behind == 0 ? 1U : 0U)
          << static_cast<int>(test.head[0]) << ", " << behind;
    }
  }
}

struct FontTable {
  std::string tag;
  std::uint32_t offset;
  std::uint32_t length;
};

std::string TrueType(const std::vector<FontTable>& tables, int count = -1) {
  std::string font = Literal("\0\1\0\0\0");
  font += static_cast<char>(count < 0 ? static_cast<int>(tables.size()) : count);
  font += "search";
  for (const FontTable& table : tables) font += table.tag + "csum" + BigU32(table.offset) + BigU32(table.length);
  return font;
}

TEST(CKTtfFileType, SizeIsTheEndOfTheFirstTableThatHasOne) {
  struct Case {
    std::string font;
    Hits hits;
  };
  const Case kCases[] = {
      {TrueType({{"OS/2", 300, 96}, {"cmap", 5000, 200}}), {{kFirst, 396}}},
      {TrueType({{"OS/2", 0, 0}, {"cmap", 5000, 200}}), {{kFirst, 5200}}},
      {TrueType({{"OS/2", 1, 0xFFFFFFFF}, {"cmap", 7, 0}}), {{kFirst, 7}}},
      {TrueType({{"OS/2", 0x80000000, 0x7FFFFFFF}}), {{kFirst, 0xFFFFFFFF}}},
      {TrueType({{"OS/2", 0, 0}, {"cmap", 0, 0}}), {}},
      {TrueType({{"OS/2", 0, 0}, {"cmap", 5000, 200}}, 1), {}},
      {TrueType({{"OS/2", 300, 96}}, 0), {}},
      {TrueType({{Literal("OS/\0"), 300, 96}}), {}},
      {TrueType({{Literal("\0S/2"), 300, 96}}), {}},
      {TrueType({{Literal("O\0/2"), 300, 96}}), {}},
      {TrueType({{Literal("OS\0002"), 300, 96}}), {}},
      {TrueType({{"OS/2", 0, 0}, {Literal("cma\0"), 5000, 200}}), {}},
      {"OTTO" + TrueType({{"OS/2", 300, 96}}).substr(4), {}},
      {"ttcf" + TrueType({{"OS/2", 300, 96}}).substr(4), {}},
      {TrueType({{"OS/2", 300, 96}}).replace(4, 1, "\1"), {}},
  };
  for (const Case& test : kCases) {
    EXPECT_EQ(ScanAnyCut("CKTtfFileType", Device(2).Put(kFirst, test.font)), test.hits) << test.font;
  }
}

TEST(CKTtfFileType, DirectoryIsWalkedInItsSectorOnly) {
  // The 31st entry ends at 12 + 31 * 16 = 508, the 32nd begins there and runs over the sector.
  for (const std::size_t empty : std::vector<std::size_t>{30, 31}) {
    std::vector<FontTable> tables(empty, {"none", 0, 0});
    tables.push_back({"glyf", 1000, 24});
    const Device device = Device(3).Put(kFirst, TrueType(tables));
    EXPECT_EQ(ScanAnyCut("CKTtfFileType", device), (empty == 30 ? Hits{{kFirst, 1024}} : Hits{})) << empty;
  }
}

TEST(CKTtfFileType, SectorsBelow512BytesHaveNoFonts) {
  const std::string font = TrueType({{"OS/2", 300, 96}});
  EXPECT_EQ(ScanAnyCut("CKTtfFileType", Device(2, 511).Put(kFirst, font)), Hits{});
  EXPECT_EQ(ScanAnyCut("CKTtfFileType", Device(2, 512, 0).Put(0, font)), (Hits{{0, 396}}));
}

}  // namespace
}  // namespace qzmtraw::test
