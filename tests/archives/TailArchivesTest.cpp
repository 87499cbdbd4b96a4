// The archives that a tail ends. What they share is asked of all in a table; what is one kind's own has tests of its
// own.

#include <gtest/gtest.h>

#include <cstring>

#include "tests/support/LiteralTailWalk.h"
#include "tests/support/Scanning.h"

namespace qzmtraw::test {
namespace {

constexpr std::uint64_t kFirst = Device::kFirstSector;

struct Kind {
  const char* className;
  std::string head;
  std::string tail;
  std::size_t compared;  ///< Bytes of the tail that decide inside a sector.
  int counted;           ///< Bytes of the size from the tail's first byte on, inside a sector.
  int countedAcross;     ///< The same for a tail that began in the sector before.
  std::uint64_t limit;
  bool atLimit;            ///< A size at the limit is given up; otherwise only one above it.
  bool headAsksFileStart;  ///< A head closes a file that has no size as well.
  bool stopsAtTail;        ///< Nothing behind a tail is looked at.
  std::uint32_t tailsToEnd = 1;
  bool losesSector = false;
  bool hasOpenFlag = false;
};

void PrintTo(const Kind& kind, std::ostream* out) { *out << kind.className; }

const std::string kGzHead = Literal("\x1F\x8B\x08\x08TIME\0\x03");
const std::string kArjHead = Literal("\x60\xEA\x28\0\x22\x0A\x01\x02\x10\0\x02");
const std::string kXzHead = Literal("\xFD\x37\x7A\x58\x5A\0\0\x04");
const std::string kRpmHead = Literal("\xED\xAB\xEE\xDB\x03");
const std::string kZooHead = Literal("ZOO 2.10 Archive.\x1A\x01\x01\xDC\xA7\xC4\xFD");
const std::string kIceHead = Literal("\x49\x43\x01\x02\x01\0");
const std::string kZeros(8, '\0');

const Kind kKinds[] = {
    {"CKAArjFileType", kArjHead, Literal("\x60\xEA\0\0"), 4, 4, 4, 0x4000000, true, false, true, 1, false, true},
    {"CKAGzFileType", kGzHead, kZeros, 8, 0, 0, 0x2000000, true, true, true, 1, true},
    {"CKAXzhFileType", kXzHead, Literal("\0\0\0\0\x01\x59\x5A"), 4, 7, 7, 0x2000000, true, true, true},
    {"CKAWebarchiveFileType", "bplist00", Literal("\0\0\0\0\0\0\x04\x01\0\0\0\0\0\0"), 4, 32, 32, 0x2000000, true, true,
     true},
    {"CKARpmFileType", kRpmHead, Literal("\0\0\0\0\x0A\x59\x5A"), 4, 4, 7, 0x64000000, false, false, false},
    {"CKAUhaFileType", "UHA", Literal("\0\0\0\0"), 4, 0, 0, 0x64000000, false, false, false},
    {"CKAZooFileType", kZooHead, Literal("\0\0\xFC\x83"), 4, 4, 4, 0x64000000, false, false, false},
    {"CKAIceFileType", kIceHead, Literal("\x49\x43\x05\x06"), 4, 4, 4, 0x64000000, false, false, false},
    {"CKACpioFileType", "070701", Literal("TRAILER!!!\0"), 11, 11, 11, 0x64000000, false, false, false},
};

/// Whether the bytes begin with a head of the kind, gaps in it passed over.
bool IsHead(const std::string& className, const std::string& bytes) {
  const auto has = [&](std::size_t offset, const std::string& piece) {
    return bytes.size() >= offset + piece.size() && bytes.compare(offset, piece.size(), piece) == 0;
  };
  const auto byte = [&](std::size_t offset) { return static_cast<unsigned char>(bytes[offset]); };
  if (className == "CKAGzFileType") {
    if (bytes.size() < 10 || !has(0, "\x1F\x8B\x08")) return false;
    const bool flagsFit = byte(3) == 0 || byte(3) == 2 || byte(3) == 8;
    const bool speedFits = byte(8) == 0 || byte(8) == 2 || byte(8) == 4;
    return flagsFit && speedFits && (byte(9) <= 18 || byte(9) == 255);
  }
  if (className == "CKAArjFileType") {
    if (bytes.size() < 11 || !has(0, "\x60\xEA") || !has(9, Literal("\0\x02"))) return false;
    return byte(8) == 0 || byte(8) == 0x10 || byte(8) == 0x14;
  }
  if (className == "CKACpioFileType") return has(0, "070701") || has(0, "070702") || has(0, "070707");
  if (className == "CKAXzhFileType") return has(0, Literal("\xFD\x37\x7A\x58\x5A\0\0"));
  if (className == "CKAZooFileType") return has(0, "ZOO") && has(20, "\xDC\xA7\xC4\xFD");
  for (const Kind& kind : kKinds) {
    if (kind.className == className) return has(0, kind.head);
  }
  return false;
}

std::uint64_t Size(std::size_t bytes, int more) { return bytes + static_cast<std::uint64_t>(std::int64_t{more}); }

class TailArchives : public testing::TestWithParam<Kind> {
 protected:
  const Kind& kind = GetParam();

  Hits ScanKind(const Device& device) const { return ScanAnyCut(kind.className, device); }

  /// Feeds `count` sectors of filler from `firstSector` on, with bytes at the last one's beginning and end.
  Hits FeedFiller(IRawFileType& detector, std::uint64_t firstSector, std::uint64_t count, int sectorSize,
                  const std::string& beginning = "", const std::string& end = "") const {
    std::vector<std::uint8_t> bytes(static_cast<std::size_t>(sectorSize), 'x');
    RecordingSink sink;
    for (std::uint64_t i = 0; i < count; ++i) {
      if (i + 1 == count) {
        std::memcpy(bytes.data(), beginning.data(), beginning.size());
        std::memcpy(bytes.data() + bytes.size() - end.size(), end.data(), end.size());
      }
      const RawSectorBlock block{firstSector + i, bytes.data(), 1, sectorSize, nullptr};
      detector.Scan(&block, &sink);
    }
    return sink.Found();
  }
};

INSTANTIATE_TEST_SUITE_P(All, TailArchives, testing::ValuesIn(kKinds),
                         [](const auto& suite) { return std::string(suite.param.className); });

TEST_P(TailArchives, EndAtTheFirstTail) {
  // The last place that is searched is the one whose tail stops one byte short of the sector's end.
  for (const std::size_t offset : {std::size_t{0}, std::size_t{99}, 511 - kind.tail.size()}) {
    const Device device = Device(9).Put(kFirst + 1, kind.head).Put(kFirst + 3, offset, kind.tail);
    EXPECT_EQ(ScanKind(device), (Hits{{kFirst + 1, Size(1024 + offset, kind.counted)}})) << offset;
  }
}

TEST_P(TailArchives, TailInTheHeadsSectorIsSeen) {
  const Device device = Device(2).Put(kFirst, kind.head).Put(kFirst, 40, kind.tail);
  EXPECT_EQ(ScanKind(device), (Hits{{kFirst, Size(40, kind.counted)}}));
}

TEST_P(TailArchives, InsideASectorTheComparedBytesDecide) {
  const std::string first = kind.tail.substr(0, kind.compared);
  EXPECT_EQ(ScanKind(Device(3).Put(kFirst, kind.head).Put(kFirst + 1, 99, first)),
            (Hits{{kFirst, Size(512 + 99, kind.counted)}}));
  EXPECT_EQ(ScanKind(Device(3).Put(kFirst, kind.head).Put(kFirst + 1, 99, first.substr(0, first.size() - 1))), Hits{});
  // As near to the sector's end as a whole tail touches it, they don't.
  Device device(5);
  device.Put(kFirst, kind.head).Put(kFirst + 1, 512 - kind.tail.size(), first + std::string(kind.tail.size(), 'x'));
  EXPECT_EQ(ScanKind(device), kind.compared < kind.tail.size()
                                  ? Hits{}
                                  : (Hits{{kFirst, Size(1024 - kind.tail.size(), kind.countedAcross)}}));
}

TEST_P(TailArchives, TailAcrossTwoSectorsIsSeenWhereverItIsCut) {
  for (std::size_t inFirst = 1; inFirst < kind.tail.size(); ++inFirst) {
    Device device(5);
    device.Put(kFirst, kind.head).Put(kFirst + 1, 512 - inFirst, kind.tail);
    EXPECT_EQ(ScanKind(device), (Hits{{kFirst, Size(1024 - inFirst, kind.countedAcross)}})) << inFirst;
  }
}

TEST_P(TailArchives, WholeTailAtASectorsEndMatchesWhateverFollows) {
  const Device device = Device(5).Put(kFirst, kind.head).Put(kFirst + 1, 512 - kind.tail.size(), kind.tail);
  EXPECT_EQ(ScanKind(device), (Hits{{kFirst, Size(1024 - kind.tail.size(), kind.countedAcross)}}));
  const Device atEnd = Device(2).Put(kFirst, kind.head).Put(kFirst + 1, 512 - kind.tail.size(), kind.tail);
  EXPECT_EQ(ScanKind(atEnd), Hits{});
}

TEST_P(TailArchives, NewHeadReportsTheFileBeforeAsItStands) {
  const Device device = Device(9).Put(kFirst, kind.head).Put(kFirst + 2, kind.head).Put(kFirst + 4, 100, kind.tail);
  EXPECT_EQ(ScanKind(device), (Hits{{kFirst, 1024}, {kFirst + 2, Size(1024 + 100, kind.counted)}}));
}

TEST_P(TailArchives, TailThatEndedTheSectorInFrontOfANewHeadEndsTheNewFile) {
  Device device(5);
  device.Put(kFirst, kind.head).Put(kFirst, 512 - kind.tail.size(), kind.tail).Put(kFirst + 1, kind.head);
  const int more = kind.countedAcross - static_cast<int>(kind.tail.size());
  EXPECT_EQ(ScanKind(device), (Hits{{kFirst, 512}, {kFirst + 1, Size(0, more)}}));
}

TEST_P(TailArchives, TailAtTheSectorsEndBehindTheFilesEndIsInheritedUnlessNothingIsLookedAtThere) {
  Device device(4);
  device.Put(kFirst, kind.head).Put(kFirst, 100, kind.tail).Put(kFirst, 512 - kind.tail.size(), kind.tail);
  device.Put(kFirst + 2, kind.head).Put(kFirst + 3, 200, kind.tail);
  const int more = kind.countedAcross - static_cast<int>(kind.tail.size());
  const Hit first{kFirst, Size(100, kind.counted)};
  EXPECT_EQ(ScanKind(device), kind.stopsAtTail ? (Hits{first, {kFirst + 2, Size(512 + 200, kind.counted)}})
                                               : (Hits{first, {kFirst + 2, Size(0, more)}}));
}

TEST_P(TailArchives, FileAtSector0IsFollowedOnlyWhereAFlagSaysThatItIsOpen) {
  const Device device = Device(3, 512, 0).Put(0, kind.head).Put(1, 10, kind.tail);
  EXPECT_EQ(ScanKind(device), kind.hasOpenFlag ? (Hits{{0, Size(522, kind.counted)}}) : Hits{});
}

TEST_P(TailArchives, FileWithoutTailEndsAtTheLimit) {
  constexpr int kSize = 1 << 24;
  const std::uint64_t sectors = kind.limit / kSize;
  for (const std::string& end : {std::string(), kind.tail}) {
    const Detector detector = CreateDetector(kind.className);
    ASSERT_EQ(FeedFiller(*detector, kFirst, 1, kSize, kind.head), Hits{});
    ASSERT_EQ(FeedFiller(*detector, kFirst + 1, sectors - 2, kSize), Hits{});
    Hits found = FeedFiller(*detector, kFirst + sectors - 1, 1, kSize, "", kind.atLimit ? end : "");
    EXPECT_EQ(found, kind.atLimit ? (Hits{{kFirst, kind.limit}}) : Hits{});
    if (!kind.atLimit) {
      EXPECT_EQ(FeedFiller(*detector, kFirst + sectors, 1, kSize, "", end), (Hits{{kFirst, kind.limit}}));
    }
    // Nothing is left open, nor of a tail.
    EXPECT_EQ(FeedFiller(*detector, 9000, 1, 512, kind.tail), Hits{});
    EXPECT_EQ(FeedFiller(*detector, 9001, 1, 512, kind.head), Hits{});
    EXPECT_EQ(FeedFiller(*detector, 9002, 1, 512, kind.tail + "x"), (Hits{{9001, Size(512, kind.counted)}}));
  }
}

TEST_P(TailArchives, SizeBeyondTheLimitIsCutToIt) {
  constexpr int kSize = 1 << 24;
  const Detector detector = CreateDetector(kind.className);
  FeedFiller(*detector, kFirst, 1, 512, kind.head);
  ASSERT_EQ(FeedFiller(*detector, kFirst + 1, kind.limit / kSize - 1, kSize), Hits{});
  EXPECT_EQ(FeedFiller(*detector, kFirst + 1000, 1, kSize), (Hits{{kFirst, kind.limit}}));
}

TEST_P(TailArchives, ResetForgetsTheFileAndTheBeginningOfATail) {
  const Detector detector = CreateDetector(kind.className);
  Scan(*detector, Device(1).Put(kFirst, kind.head).Put(kFirst, 512 - kind.tail.size(), kind.tail));
  detector->Reset();
  EXPECT_EQ(Scan(*detector, Device(1, 512, kFirst + 1).Put(kFirst + 1, 100, kind.tail)), Hits{});
  EXPECT_EQ(Scan(*detector, Device(1, 512, kFirst + 2).Put(kFirst + 2, kind.head)), Hits{});
}

TEST_P(TailArchives, LimitOfTheHostIsIgnored) {
  const Detector detector = CreateDetector(kind.className);
  detector->SetMaxFileSize(1);
  EXPECT_EQ(Scan(*detector, Device(3).Put(kFirst, kind.head).Put(kFirst + 1, 100, kind.tail)),
            (Hits{{kFirst, Size(612, kind.counted)}}));
}

TEST_P(TailArchives, HeadNeedsAllItsBytes) {
  for (std::size_t i = 0; i < kind.head.size(); ++i) {
    std::string head = kind.head;
    head[i] = static_cast<char>(head[i] ^ 0x41);
    const Device device = Device(3).Put(kFirst, head).Put(kFirst + 1, 100, kind.tail);
    EXPECT_EQ(ScanKind(device).size(), IsHead(kind.className, head) ? 1U : 0U) << i;
  }
  for (std::size_t length = 1; length <= kind.head.size(); ++length) {
    const std::string head = kind.head.substr(0, length);
    // The block ends with the head.
    const Detector detector = CreateDetector(kind.className);
    Scan(*detector, Device(1, static_cast<int>(length)).Put(kFirst, head));
    EXPECT_EQ(Scan(*detector, Device(1, 512, kFirst + 1).Put(kFirst + 1, 100, kind.tail)).size(),
              IsHead(kind.className, head) ? 1U : 0U)
        << length;
  }
}

TEST_P(TailArchives, AgreeWithTheRulesTakenByteByByte) {
  LiteralTailWalk rules;
  rules.heads = {kind.head};
  rules.isHead = [&](const std::string& bytes) { return IsHead(kind.className, bytes); };
  rules.tail = kind.tail;
  rules.sizeUpTo = [&](std::size_t offset) { return Size(offset, kind.counted); };
  rules.sizeUpToRest = [&](std::size_t matched) { return Size(0, kind.countedAcross - static_cast<int>(matched)); };
  rules.limit = kind.limit;
  rules.firstSizeTooLarge = kind.limit + (kind.atLimit ? 0 : 1);
  rules.headAsksFileStart = kind.headAsksFileStart;
  rules.stopsAtTail = kind.stopsAtTail;
  rules.hasOpenFlag = kind.hasOpenFlag;
  rules.comparedBytes = kind.compared;
  rules.losesSector = kind.losesSector;
  std::size_t found = 0;
  for (std::uint32_t seed = 0; seed < 1500; ++seed) {
    const Device device = DeviceOfPieces(seed, rules.heads, rules.tail);
    const Hits expected = rules.Scan(device);
    ASSERT_EQ(Scan(*CreateDetector(kind.className), device), expected) << "seed " << seed;
    found += expected.size();
  }
  EXPECT_GT(found, 500U);
}

TEST(CKAGzFileType, HeadTellsFlagsSpeedAndSystem) {
  const auto isHead = [](std::size_t offset, int value) {
    Device device(3);
    device.Put(kFirst, kGzHead).Put(kFirst, offset, std::string(1, static_cast<char>(value)));
    return ScanAnyCut("CKAGzFileType", device.Put(kFirst + 1, 9, kZeros)).size() == 1;
  };
  for (int value = 0; value < 256; ++value) {
    EXPECT_EQ(isHead(3, value), value == 0 || value == 2 || value == 8) << value;
    EXPECT_EQ(isHead(8, value), value == 0 || value == 2 || value == 4) << value;
    EXPECT_EQ(isHead(9, value), value <= 18 || value == 255) << value;
  }
}

TEST(CKAGzFileType, SectorThatDoesntGoOnWithTheZerosIsLost) {
  Device device(6);
  device.Put(kFirst, kGzHead).Put(kFirst + 1, 509, Literal("\0\0\0")).Put(kFirst + 2, 100, kZeros);
  device.Put(kFirst + 2, 508, Literal("\0\0\0\0")).Put(kFirst + 3, 10, kZeros);
  // Neither searched, nor does its end begin a tail, nor does it count.
  EXPECT_EQ(ScanAnyCut("CKAGzFileType", device), (Hits{{kFirst, 1024 + 10}}));
}

TEST(CKAGzFileType, NewHeadReportsAFileWhoseOnlySectorWasLost) {
  Device device(4);
  device.Put(kFirst, kGzHead).Put(kFirst, 510, Literal("\0\0")).Put(kFirst + 1, kGzHead).Put(kFirst + 2, kGzHead);
  EXPECT_EQ(ScanAnyCut("CKAGzFileType", device), (Hits{{kFirst, 512}, {kFirst + 1, 0}}));
}

TEST(CKAGzFileType, FileWithoutFlagsIsACompressedFileAsWell) {
  const Device device = Device(3).Put(kFirst, Literal("\x1F\x8B\x08\0TIME\x02\x03")).Put(kFirst + 1, 9, kZeros);
  EXPECT_EQ(ScanAnyCut("CKAGzFileType", device), (Hits{{kFirst, 521}}));
  EXPECT_EQ(ScanAnyCut("CKAZFileType", device), (Hits{{kFirst, 0}}));
}

TEST(CKAArjFileType, FlagsAreOfThreeValues) {
  for (int value = 0; value < 256; ++value) {
    Device device(3);
    device.Put(kFirst, kArjHead).Put(kFirst, 8, std::string(1, static_cast<char>(value)));
    device.Put(kFirst + 1, 9, Literal("\x60\xEA\0\0"));
    EXPECT_EQ(ScanAnyCut("CKAArjFileType", device).size(), value == 0 || value == 0x10 || value == 0x14 ? 1U : 0U);
  }
}

TEST(CKAArjFileType, SecondHeadInheritsTheSizeOfAnArchiveAtSector0) {
  const Device device = Device(5, 512, 0).Put(0, kArjHead).Put(2, kArjHead).Put(3, 100, Literal("\x60\xEA\0\0"));
  EXPECT_EQ(ScanAnyCut("CKAArjFileType", device), (Hits{{2, 3 * 512 + 104}}));
}

TEST(CKAArjFileType, HeadOfAMemberIsNoTail) {
  // A main header begins with the tail's first two bytes.
  const Device device = Device(4).Put(kFirst, kArjHead).Put(kFirst, 200, "\x60\xEA\x30").Put(kFirst + 1, 5, kArjHead);
  EXPECT_EQ(ScanAnyCut("CKAArjFileType", device), Hits{});
}

TEST(CKAUhaFileType, ZerosUpToTheSectorsEndGiveTheNextArchiveASizeBelowZero) {
  Device device(4);
  device.Put(kFirst, "UHA").Put(kFirst, 100, std::string(412, '\0')).Put(kFirst + 2, "UHA");
  EXPECT_EQ(ScanAnyCut("CKAUhaFileType", device), (Hits{{kFirst, 100}, {kFirst + 2, std::uint64_t{0} - 4}}));
}

TEST(CKARpmFileType, EndsWithTheZerosOfItsLead) {
  Device device(4);
  device.Put(kFirst, kRpmHead + Literal("\0\0\0\0\x01name")).Put(kFirst + 1, 100, Literal("\0\0\0\0\x0A\x59\x5A"));
  EXPECT_EQ(ScanAnyCut("CKARpmFileType", device), (Hits{{kFirst, 9}}));
}

}  // namespace
}  // namespace qzmtraw::test
