// Kinds that end behind a byte string: layouts, returns, books, sheets, notes and pages.

#include <gtest/gtest.h>

#include <algorithm>

#include "tests/support/LiteralTailWalk.h"
#include "tests/support/Scanning.h"

namespace qzmtraw::test {
namespace {

constexpr std::uint64_t kFirst = Device::kFirstSector;

struct WalkCase {
  std::string className;
  std::size_t headOffset;
  std::string head;
  std::string tail;
  std::uint64_t addedAtTail;  ///< Behind the tail's first byte.
  std::uint64_t limit;
  bool isGivenUpAtLimit;  ///< Otherwise above it.
  bool headAsksFileStart;
  bool headForgetsMatch;
  int floor;
  bool straddles = true;
  std::uint64_t addedAcrossSectors = 0;  ///< Behind the tail's first byte, where it stands in two sectors.
  std::uint64_t uncountedAtHead = 0;
  bool seesTailAtEnd = false;
  bool hasOpenFlag = false;
};

std::ostream& operator<<(std::ostream& out, const WalkCase& walk) { return out << walk.className; }

const std::string kBookTail =
    "FLIS" + Literal("\0\0\0\x08\0\x41\0\0\0\0\0\0\xFF\xFF\xFF\xFF\0\1\0\3\0\0\0\3\0\0\0\1\xFF\xFF\xFF\xFF") + "FCIS" +
    Literal("\0\0\0\x14\0\0\0\x10\0\0\0\1\0\0\0\0\0");

WalkCase Layout() {
  return {"CKDGdsFileType",
          0,
          Literal("\0\6\0\2xx\0\x1C\1\2"),
          Literal("\0\4\4\0"),
          4,
          0x40000000,
          false,
          true,
          false,
          0,
          true,
          4};
}
WalkCase TaxReturn() {
  WalkCase walk{"CKTaxFileType", 0, "TTFN\1\1", std::string(4, '\0'), 0, 0x6400000, true, false, true, 0, true, 0};
  walk.uncountedAtHead = 14;
  return walk;
}
WalkCase Book() {
  WalkCase walk{"CKBookMobiFileType", 60, "BOOKMOBI", kBookTail, 84, 0x40000000, true, false, true, 70, true, 57};
  walk.hasOpenFlag = true;
  return walk;
}
WalkCase Sheet() {
  return {"CKWksFeileType",
          0,
          Literal("\0\0\2\0\4\4\6\0x\0"),
          Literal("\1\0\0\0\0"),
          4,
          0x4000000,
          true,
          true,
          true,
          51,
          false};
}
WalkCase Page() {
  WalkCase walk{"CKCpgFeileType",
                0,
                "\x0E"
                "Cool Page File\1",
                std::string(8, '\xFF') + std::string(8, '\0'),
                78,
                0x4000000,
                true,
                true,
                true,
                51,
                true,
                78};
  walk.seesTailAtEnd = true;
  return walk;
}

class DocumentTails : public testing::TestWithParam<WalkCase> {
 protected:
  static const WalkCase& Kind() { return GetParam(); }
  static void PutHead(Device& device, std::uint64_t sector) { device.Put(sector, Kind().headOffset, Kind().head); }
  static Device WithHead(int sectorCount, std::uint64_t firstSector = kFirst, int sectorSize = 512) {
    Device device(sectorCount, sectorSize, firstSector);
    PutHead(device, firstSector);
    return device;
  }
  static Hits ScanKind(const Device& device) { return ScanAnyCut(Kind().className, device); }
  /// What `sectors` sectors from the head's on count.
  static std::uint64_t Counted(std::uint64_t sectors, std::uint64_t sectorSize = 512) {
    return sectors * sectorSize - Kind().uncountedAtHead;
  }
};

TEST_P(DocumentTails, EndFilesInALaterSector) {
  EXPECT_EQ(ScanKind(WithHead(5).Put(kFirst + 2, 99, Kind().tail)),
            (Hits{{kFirst, Counted(2) + 99 + Kind().addedAtTail}}));
  EXPECT_EQ(ScanKind(WithHead(5).Put(kFirst + 2, 0, Kind().tail)), (Hits{{kFirst, Counted(2) + Kind().addedAtTail}}));
}

TEST_P(DocumentTails, EndFilesInTheHeadsSector) {
  EXPECT_EQ(ScanKind(WithHead(2).Put(kFirst, 99, Kind().tail)), (Hits{{kFirst, 99 + Kind().addedAtTail}}));
}

TEST_P(DocumentTails, NeedEachOfTheirBytes) {
  for (std::size_t i = 0; i < Kind().tail.size(); ++i) {
    std::string other = Kind().tail;
    other[i] = static_cast<char>(other[i] ^ 0x20);
    EXPECT_EQ(Scan(*CreateDetector(Kind().className), WithHead(4).Put(kFirst + 2, 99, other)), Hits{}) << i;
  }
}

TEST_P(DocumentTails, HeadsNeedEachOfTheirBytes) {
  for (std::size_t i = 0; i < Kind().head.size(); ++i) {
    if (Kind().head[i] == 'x') continue;
    Device device = WithHead(4).Put(kFirst + 2, 99, Kind().tail);
    device.Put(kFirst, Kind().headOffset + i, std::string(1, static_cast<char>(Kind().head[i] ^ 0x20)));
    EXPECT_EQ(Scan(*CreateDetector(Kind().className), device), Hits{}) << i;
  }
}

TEST_P(DocumentTails, HeadsNeedSectorsOfTheirFloor) {
  if (Kind().floor == 0) return;
  for (const int size : {Kind().floor - 1, Kind().floor}) {
    const Device device = WithHead(60, kFirst, size).Put(kFirst + 40, 3, Kind().tail);
    EXPECT_EQ(Scan(*CreateDetector(Kind().className), device).size(), size == Kind().floor ? 1U : 0U) << size;
  }
}

TEST_P(DocumentTails, AcrossTwoSectorsCountAsTheirKindDoes) {
  for (std::size_t inFirst = 1; inFirst < Kind().tail.size(); ++inFirst) {
    const Device device = WithHead(5).Put(kFirst + 2, 512 - inFirst, Kind().tail);
    EXPECT_EQ(ScanKind(device),
              Kind().straddles ? (Hits{{kFirst, Counted(3) - inFirst + Kind().addedAcrossSectors}}) : Hits{})
        << inFirst;
  }
}

TEST_P(DocumentTails, ThatEndASectorAreSeenAtOnceLaterOrNever) {
  const std::size_t length = Kind().tail.size();
  // Whether at once or in the next sector shows in what the kind counts and in whether there has to be a next sector.
  const Device last = WithHead(3).Put(kFirst + 2, 512 - length, Kind().tail);
  EXPECT_EQ(ScanKind(last), Kind().seesTailAtEnd ? (Hits{{kFirst, Counted(3) - length + Kind().addedAtTail}}) : Hits{});
  const Device oneMore = WithHead(4).Put(kFirst + 2, 512 - length, Kind().tail);
  if (Kind().seesTailAtEnd) return;
  EXPECT_EQ(ScanKind(oneMore),
            Kind().straddles ? (Hits{{kFirst, Counted(3) - length + Kind().addedAcrossSectors}}) : Hits{});
  // One byte earlier all kinds see it.
  EXPECT_EQ(ScanKind(WithHead(3).Put(kFirst + 2, 511 - length, Kind().tail)),
            (Hits{{kFirst, Counted(3) - length - 1 + Kind().addedAtTail}}));
}

TEST_P(DocumentTails, ThatBreakOffAreForgotten) {
  Device device = WithHead(6);
  device.Put(kFirst + 1, 512 - 3, Kind().tail.substr(0, 3)).Put(kFirst + 3, Kind().tail.substr(3));
  device.Put(kFirst + 4, 9, Kind().tail);
  EXPECT_EQ(ScanKind(device), (Hits{{kFirst, Counted(4) + 9 + Kind().addedAtTail}}));
}

TEST_P(DocumentTails, NewHeadReportsTheFileBeforeAsItStands) {
  Device device = WithHead(7);
  PutHead(device, kFirst + 2);
  EXPECT_EQ(ScanKind(device), (Hits{{kFirst, Counted(2)}}));
  device.Put(kFirst + 5, 9, Kind().tail);
  EXPECT_EQ(ScanKind(device), (Hits{{kFirst, Counted(2)}, {kFirst + 2, Counted(3) + 9 + Kind().addedAtTail}}));
}

TEST_P(DocumentTails, HeadThatClosesAFileForgetsATailBeforeItWhereItsKindClearsAll) {
  if (!Kind().straddles || Kind().seesTailAtEnd) return;  // Then there is nothing to forget.
  const std::size_t length = Kind().tail.size();
  Device device = WithHead(7);
  device.Put(kFirst + 1, 512 - length, Kind().tail);
  PutHead(device, kFirst + 2);
  device.Put(kFirst + 3, 9, Kind().tail);
  const Hit second{kFirst + 2, Counted(1) + 9 + Kind().addedAtTail};
  const Hit inherits{kFirst + 2, Kind().addedAcrossSectors - length};
  EXPECT_EQ(ScanKind(device), (Hits{{kFirst, Counted(2)}, Kind().headForgetsMatch ? second : inherits}));
}

TEST_P(DocumentTails, AtTheSectorsEndBehindTheFilesEndAreInheritedByTheNextFile) {
  const std::size_t length = Kind().tail.size();
  Device device = WithHead(9);
  device.Put(kFirst + 1, 100, Kind().tail).Put(kFirst + 1, 512 - length, Kind().tail);
  PutHead(device, kFirst + 4);
  device.Put(kFirst + 6, 9, Kind().tail);
  const Hit ended{kFirst, Counted(1) + 100 + Kind().addedAtTail};
  const Hit next{kFirst + 4, Counted(2) + 9 + Kind().addedAtTail};
  const Hit inherited{kFirst + 4, Kind().addedAcrossSectors - length};
  EXPECT_EQ(ScanKind(device), (Hits{ended, Kind().straddles ? inherited : next}));
}

TEST_P(DocumentTails, AreFollowedAtSector0WhereTheKindHasAFlag) {
  Device device = WithHead(9, 0);
  device.Put(2, 9, Kind().tail);
  EXPECT_EQ(ScanKind(device), Kind().hasOpenFlag ? (Hits{{0, 1024 + 9 + Kind().addedAtTail}}) : Hits{});
  Device two = WithHead(9, 0);
  PutHead(two, 2);
  two.Put(4, 9, Kind().tail);
  const Hit second{2, Counted(2) + 9 + Kind().addedAtTail};
  EXPECT_EQ(ScanKind(two), Kind().hasOpenFlag ? (Hits{{0, 1024}, second}) : (Hits{second}));
}

/// Feeds a detector sectors of any size, one in each block, as many bytes of them as a limit needs.
class LongFile {
 public:
  static constexpr std::uint64_t kLargestSector = 0x1000000;

  explicit LongFile(const WalkCase& kind) : kind_(kind), detector_(CreateDetector(kind.className)) {
    detector_->SetMaxFileSize(10);
    const Device head = Device(1, 512).Put(kFirst, kind_.headOffset, kind_.head);
    bytes_ = head.Bytes();
    Feed(512);
    counted_ -= kind_.uncountedAtHead;
    bytes_.assign(kLargestSector, 'x');
  }

  /// Goes on until so many bytes are counted.
  void FeedUpTo(std::uint64_t size) {
    while (counted_ < size) Feed(std::min(kLargestSector, size - counted_));
  }
  void Feed(std::uint64_t sectorSize) {
    const RawSectorBlock block{kFirst + sector_++, bytes_.data(), 1, static_cast<std::int32_t>(sectorSize), nullptr};
    detector_->Scan(&block, &sink_);
    counted_ += sectorSize;
  }
  void FeedLast(const std::string& bytes) {
    bytes_.assign(bytes.begin(), bytes.end());
    Feed(bytes.size());
  }
  const Hits& Found() const { return sink_.Found(); }

 private:
  const WalkCase& kind_;
  Detector detector_;
  RecordingSink sink_;
  std::vector<std::uint8_t> bytes_;
  std::uint64_t sector_ = 0;
  std::uint64_t counted_ = 0;
};

TEST_P(DocumentTails, ThatNeverComeGiveTheLimit) {
  LongFile file(Kind());
  file.FeedUpTo(Kind().limit - (Kind().isGivenUpAtLimit ? 1 : 0));
  EXPECT_EQ(file.Found(), Hits{});
  file.Feed(1);
  EXPECT_EQ(file.Found(), (Hits{{kFirst, Kind().limit}}));
  file.FeedLast(std::string(99, 'x') + Kind().tail + "x");
  EXPECT_EQ(file.Found().size(), 1U);
}

TEST_P(DocumentTails, MayStandAnywhereBelowTheLimit) {
  LongFile file(Kind());
  file.FeedUpTo(Kind().limit - 1);
  file.FeedLast(std::string(99, 'x') + Kind().tail + "x");
  EXPECT_EQ(file.Found(), (Hits{{kFirst, Kind().limit - 1 + 99 + Kind().addedAtTail}}));
}

TEST_P(DocumentTails, InTheSectorThatReachesTheLimitAreForgotten) {
  if (!Kind().straddles || Kind().seesTailAtEnd) return;  // Then there is nothing to forget.
  LongFile file(Kind());
  file.FeedUpTo(Kind().limit - 1);
  file.FeedLast("x" + Kind().tail);
  file.FeedLast(std::string(Kind().headOffset, 'x') + Kind().head + std::string(99, 'x'));
  EXPECT_EQ(file.Found(), (Hits{{kFirst, Kind().limit}}));
}

TEST_P(DocumentTails, AreForgottenWithTheirFileByReset) {
  const Detector detector = CreateDetector(Kind().className);
  Scan(*detector, WithHead(1).Put(kFirst, 512 - Kind().uncountedAtHead - 3, Kind().tail.substr(0, 3)));
  detector->Reset();
  const Device next =
      Device(1, 512, kFirst + 1).Put(kFirst + 1, Kind().tail.substr(3)).Put(kFirst + 1, 99, Kind().tail);
  EXPECT_EQ(Scan(*detector, next), Hits{});
  // A whole tail that ends a sector would end the next file at once.
  Scan(*detector, WithHead(2, kFirst).Put(kFirst + 1, 512 - Kind().tail.size(), Kind().tail));
  detector->Reset();
  EXPECT_EQ(Scan(*detector, WithHead(2, kFirst + 9).Put(kFirst + 10, 9, Kind().tail)),
            (Hits{{kFirst + 9, Counted(1) + 9 + Kind().addedAtTail}}));
}

TEST_P(DocumentTails, OpenWhenTheScanEndsAreNotReported) { EXPECT_EQ(ScanKind(WithHead(5)), Hits{}); }

TEST_P(DocumentTails, AgreeWithTheRulesTakenByteByByte) {
  const WalkCase& kind = Kind();
  LiteralTailWalk rules;
  rules.tail = kind.tail;
  rules.sizeUpTo = [&](std::size_t offset) { return offset + kind.addedAtTail; };
  rules.sizeUpToRest = [&](std::size_t matched) { return kind.addedAcrossSectors - matched; };
  rules.limit = kind.limit;
  rules.firstSizeTooLarge = kind.limit + (kind.isGivenUpAtLimit ? 0 : 1);
  rules.headAsksFileStart = kind.headAsksFileStart;
  rules.headAsksFileSizeAlone = kind.hasOpenFlag;
  rules.hasOpenFlag = kind.hasOpenFlag;
  rules.seesTailAtEnd = kind.seesTailAtEnd;
  rules.straddles = kind.straddles;
  rules.headForgetsMatch = kind.headForgetsMatch;
  rules.uncountedAtHead = kind.uncountedAtHead;
  rules.isHead = [&](const std::string& bytes) {
    for (std::size_t i = 0; i < kind.head.size(); ++i) {
      if (kind.head[i] == 'x') continue;
      if (kind.headOffset + i >= bytes.size() || bytes[kind.headOffset + i] != kind.head[i]) return false;
    }
    return true;
  };
  const std::vector<std::string> heads = {std::string(kind.headOffset, 'y') + kind.head};
  std::size_t found = 0;
  for (std::uint32_t seed = 0; seed < 1000; ++seed) {
    const Device device = DeviceOfPieces(seed, heads, kind.tail, std::max(1, kind.floor));
    const Hits expected = rules.Scan(device);
    // A head that reaches into the next sector needs that one's block.
    const bool fits = kind.headOffset + kind.head.size() <= static_cast<std::size_t>(device.SectorSize());
    const Cut cut{fits ? static_cast<int>(seed % 4) : 0};
    ASSERT_EQ(Scan(*CreateDetector(kind.className), device, cut), expected) << "seed " << seed;
    found += expected.size();
  }
  EXPECT_GT(found, 300U);
}

INSTANTIATE_TEST_SUITE_P(Stores, DocumentTails, testing::Values(Layout(), TaxReturn(), Book(), Sheet(), Page()),
                         [](const auto& test) { return test.param.className; });

TEST(CKCpgFileTypeTails, ThatEndAFileAtTheSectorsEndAreInheritedByTheNext) {
  const WalkCase page = Page();
  Device device(5);
  device.Put(kFirst, page.head).Put(kFirst + 1, 512 - 16, page.tail).Put(kFirst + 3, page.head);
  EXPECT_EQ(ScanAnyCut(page.className, device), (Hits{{kFirst, 1024 - 16 + 78}, {kFirst + 3, 78 - 16}}));
}

TEST(CKTaxFileTypeTails, InTheLast14BytesOfTheHeadsSectorAreNotSeen) {
  const std::string zeros(4, '\0');
  const auto scan = [&](std::size_t offset) {
    return ScanAnyCut("CKTaxFileType", Device(3).Put(kFirst, "TTFN\1\1").Put(kFirst, offset, zeros));
  };
  EXPECT_EQ(scan(512 - 14 - 5), (Hits{{kFirst, 512 - 14 - 5}}));
  // The last four of the bytes searched are met again at the start of the next sector.
  EXPECT_EQ(scan(512 - 14 - 4), (Hits{{kFirst, 512 - 14 - 4}}));
  EXPECT_EQ(scan(512 - 14 - 3), Hits{});
  EXPECT_EQ(scan(512 - 4), Hits{});
}

TEST(CKTaxFileTypeTails, BegunBeforeTheLast14BytesOfTheHeadsSectorGoOnInTheNextSector) {
  Device device(3);
  device.Put(kFirst, "TTFN\1\1").Put(kFirst, 512 - 14 - 3, std::string(3, '\0')).Put(kFirst + 1, Literal("\0x"));
  EXPECT_EQ(ScanAnyCut("CKTaxFileType", device), (Hits{{kFirst, 512 - 14 - 3}}));
}

TEST(CKTaxFileTypeTails, ReturnInASectorBelow14BytesIsCountedBelow0) {
  Device device(30, 8);
  device.Put(kFirst, "TTFN\1\1").Put(kFirst + 1, "TTFN\1\1").Put(kFirst + 4, 1, std::string(4, '\0'));
  EXPECT_EQ(ScanAnyCut("CKTaxFileType", device),
            (Hits{{kFirst, std::uint64_t{0} - 6}, {kFirst + 1, 8 - 14 + 8 + 8 + 1}}));
}

TEST(CKBookMobiFileTypeTails, NeedTheirHeadAtOffset60WithAnythingInFront) {
  for (const std::uint8_t filler : {std::uint8_t{0}, std::uint8_t{'B'}}) {
    Device device(4, 512, kFirst, filler);
    device.Put(kFirst, 60, "BOOKMOBI").Put(kFirst + 2, 9, kBookTail);
    EXPECT_EQ(ScanAnyCut("CKBookMobiFileType", device), (Hits{{kFirst, 1024 + 9 + 84}}));
  }
}

// Kinds whose tail is looked for inside single sectors.

const std::string kNotesHead = "\xE4R\\{\x8C\xD8\xA7M\xAE\xB1Sx\xD0)\x96\xD3";
const std::string kNotesTail = Literal("\xFF\xFF\xFF\xFF\0\0\0\0\xC2L\x95\xA7\x65\xBA\xA9\x45");
const std::string kJobDescription = Literal("\x0E\0\0\0J\0o\0b\0D\0e\0s\0c\0r\0i\0p\0t\0i\0o\0n\0");

struct LocalCase {
  std::string className;
  std::string head;
  std::string tail;
  std::uint64_t unit;  ///< Sizes are rounded up to whole ones.
  std::uint64_t minimum;
};

std::ostream& operator<<(std::ostream& out, const LocalCase& local) { return out << local.className; }

class LocalTails : public testing::TestWithParam<LocalCase> {
 protected:
  static const LocalCase& Kind() { return GetParam(); }
  static Device WithHead(int sectorCount, int sectorSize = 512) {
    return Device(sectorCount, sectorSize).Put(kFirst, Kind().head);
  }
  static Hits ScanKind(const Device& device) { return ScanAnyCut(Kind().className, device); }
  static std::uint64_t Rounded(std::uint64_t size) { return (size + Kind().unit - 1) / Kind().unit * Kind().unit; }
};

TEST_P(LocalTails, EndFilesInAnySector) {
  const std::size_t length = Kind().tail.size();
  EXPECT_EQ(ScanKind(WithHead(9).Put(kFirst + 4, 100, Kind().tail)), (Hits{{kFirst, Rounded(4 * 512 + 100 + length)}}));
  EXPECT_EQ(ScanKind(WithHead(9, 1024).Put(kFirst, 700, Kind().tail)), (Hits{{kFirst, Rounded(700 + length)}}));
}

TEST_P(LocalTails, NeedEachOfTheirBytes) {
  for (std::size_t i = 0; i < Kind().tail.size(); ++i) {
    std::string other = Kind().tail;
    other[i] = static_cast<char>(other[i] ^ 1);
    EXPECT_EQ(Scan(*CreateDetector(Kind().className), WithHead(9).Put(kFirst + 4, 100, other)), Hits{}) << i;
  }
}

TEST_P(LocalTails, AtTheSectorsEndOrAcrossTwoAreNotSeen) {
  const std::size_t length = Kind().tail.size();
  EXPECT_EQ(ScanKind(WithHead(9).Put(kFirst + 4, 511 - length, Kind().tail)), (Hits{{kFirst, Rounded(5 * 512 - 1)}}));
  for (const std::size_t inFirst : {length, length - 1, std::size_t{1}}) {
    EXPECT_EQ(ScanKind(WithHead(9).Put(kFirst + 4, 512 - inFirst, Kind().tail)), Hits{}) << inFirst;
  }
}

TEST_P(LocalTails, NewHeadReportsTheFileBeforeFromTheMinimumOn) {
  constexpr int kSectorSize = 256;
  const std::uint64_t sectors = Kind().minimum / kSectorSize;
  Device device = WithHead(9, kSectorSize);
  device.Put(kFirst + sectors, Kind().head);
  EXPECT_EQ(ScanKind(device), (Hits{{kFirst, Kind().minimum}}));
  device.Put(kFirst + sectors, std::string(200, 'x')).Put(kFirst + sectors - 1, Kind().head);
  EXPECT_EQ(ScanKind(device), Hits{});
}

TEST_P(LocalTails, ThatNeverComeGiveTheLargestSizeAboveIt) {
  const Detector detector = CreateDetector(Kind().className);
  detector->SetMaxFileSize(2048);
  EXPECT_EQ(Scan(*detector, WithHead(4)), Hits{});
  EXPECT_EQ(Scan(*detector, Device(1, 512, kFirst + 4)), (Hits{{kFirst, 2048}}));
  EXPECT_EQ(Scan(*detector, Device(2, 512, kFirst + 5).Put(kFirst + 6, 99, Kind().tail)), Hits{});
  EXPECT_EQ(Scan(*detector, WithHead(4).Put(kFirst + 3, 400, Kind().tail)),
            (Hits{{kFirst, Rounded(1536 + 400 + Kind().tail.size())}}));
}

TEST_P(LocalTails, LargestSizeIs0x7fffffffUntilAnotherIsSet) {
  const Detector detector = CreateDetector(Kind().className);
  detector->SetMaxFileSize(100);
  detector->Reset();
  RecordingSink sink;
  std::vector<std::uint8_t> bytes(0x2000000, 'x');
  std::copy(Kind().head.begin(), Kind().head.end(), bytes.begin());
  for (std::uint64_t i = 0; i < 64; ++i) {
    ASSERT_EQ(sink.Found(), Hits{});
    const RawSectorBlock block{kFirst + i, bytes.data(), 1, static_cast<std::int32_t>(bytes.size()), nullptr};
    detector->Scan(&block, &sink);
    bytes[0] = 'x';
  }
  EXPECT_EQ(sink.Found(), (Hits{{kFirst, 0x7fffffff}}));
}

TEST_P(LocalTails, AreForgottenWithTheirFileByReset) {
  const Detector detector = CreateDetector(Kind().className);
  Scan(*detector, WithHead(4));
  detector->Reset();
  EXPECT_EQ(Scan(*detector, Device(4, 512, kFirst + 4).Put(kFirst + 5, 99, Kind().tail)), Hits{});
}

INSTANTIATE_TEST_SUITE_P(
    Stores, LocalTails,
    testing::Values(LocalCase{"KOneFileType", kNotesHead, kNotesTail, 1, 512},
                    LocalCase{"KQxpFileType", Literal("\0\0IIXPR3D D XP\0\0"), kJobDescription, 1024, 256},
                    LocalCase{"KQxpFileType", Literal("\0\0IIXPR3J J XP\0\0"), kJobDescription, 1024, 256},
                    LocalCase{"KQptFileType", Literal("\0\0IIXPR3D D XT\0\0"), kJobDescription, 1024, 256}),
    [](const auto& test) { return test.param.className + std::to_string(test.index); });

TEST(KOneFileTypeTails, ThatEndAFileBelow512BytesDropIt) {
  const auto scan = [](std::size_t tail) {
    return ScanAnyCut("KOneFileType", Device(9, 1024).Put(kFirst, kNotesHead).Put(kFirst, tail, kNotesTail));
  };
  EXPECT_EQ(scan(512 - 16), (Hits{{kFirst, 512}}));
  EXPECT_EQ(scan(512 - 17), Hits{});
  Device twoTails(9, 1024);
  twoTails.Put(kFirst, kNotesHead).Put(kFirst, 300, kNotesTail).Put(kFirst + 2, 300, kNotesTail);
  EXPECT_EQ(ScanAnyCut("KOneFileType", twoTails), Hits{});
}

TEST(KOneFileTypeTails, AreLookedForUnlessTheSizeIsKnown) {
  const auto scan = [](std::uint32_t size) {
    Device device(9);
    device.Put(kFirst, kNotesHead).Put(kFirst, 196, LittleU32(size)).Put(kFirst + 2, 99, kNotesTail);
    return ScanAnyCut("KOneFileType", device);
  };
  const Hits byTail{{kFirst, 1024 + 99 + 16}};
  for (const std::uint32_t size : {0U, 1U, 512U, 0x1400000U, 0x7FFFFFFFU, 0x80000000U, 0xFFFFFFFFU}) {
    EXPECT_EQ(scan(size), byTail) << size;
  }
  for (const std::uint32_t size : {513U, 0x13FFFFFU}) EXPECT_EQ(scan(size), (Hits{{kFirst, size}})) << size;
}

TEST(KOneFileTypeTails, OfTheFileBeforeAHeadWithAKnownSizeAreNotMissed) {
  Device device(9);
  device.Put(kFirst, kNotesHead).Put(kFirst + 3, kNotesHead).Put(kFirst + 3, 196, LittleU32(600));
  device.Put(kFirst + 5, 99, kNotesTail);
  EXPECT_EQ(ScanAnyCut("KOneFileType", device), (Hits{{kFirst, 3 * 512}, {kFirst + 3, 600}}));
}

TEST(KOneFileTypeTails, KnownSizeIsClipped) {
  const Detector detector = CreateDetector("KOneFileType");
  const Device device = Device(2).Put(kFirst, kNotesHead).Put(kFirst, 196, LittleU32(5000));
  detector->SetMaxFileSize(4999);
  EXPECT_EQ(Scan(*detector, device), (Hits{{kFirst, 4999}}));
}

TEST(QuarkTails, CountInWholeKilobytesFromTheFirstSectorOn) {
  const std::string head = Literal("\0\0IIXPR3D D XP\0\0");
  const auto scan = [&](std::size_t tail) {
    return ScanAnyCut("KQxpFileType", Device(9, 4096).Put(kFirst, tail, kJobDescription).Put(kFirst, head));
  };
  EXPECT_EQ(scan(16), (Hits{{kFirst, 1024}}));
  EXPECT_EQ(scan(1024 - 32), (Hits{{kFirst, 1024}}));
  EXPECT_EQ(scan(1024 - 31), (Hits{{kFirst, 2048}}));
}

TEST(QuarkTails, NeedAHeadInSectorsOf17BytesAndEachByteOfIt) {
  for (const std::string& head : {Literal("\0\0IIXPR3D D XP\0\0"), Literal("\0\0IIXPR3D D XT\0\0")}) {
    const char* const className = head[13] == 'P' ? "KQxpFileType" : "KQptFileType";
    for (const int size : {16, 17}) {
      // No sector holds a tail, so the next head ends the file.
      const Device device = Device(60, size).Put(kFirst, head).Put(kFirst + 20, head);
      EXPECT_EQ(Scan(*CreateDetector(className), device), size == 17 ? (Hits{{kFirst, 20 * 17}}) : Hits{});
    }
    for (std::size_t i = 0; i < head.size(); ++i) {
      std::string other = head;
      other[i] = static_cast<char>(other[i] ^ 0x20);
      const Device device = Device(9).Put(kFirst, other).Put(kFirst + 2, 99, kJobDescription);
      EXPECT_EQ(Scan(*CreateDetector(className), device), Hits{}) << i;
    }
  }
}

}  // namespace
}  // namespace qzmtraw::test
