// Signature bases and policies, which end with a mark of three bytes.

#include <gtest/gtest.h>

#include <random>

#include "tests/support/Scanning.h"
#include "tests/system/LongFile.h"

namespace qzmtraw::test {
namespace {

constexpr std::uint64_t kFirst = Device::kFirstSector;
constexpr std::uint64_t kLimit = 0x40000000;
const std::string kAvcHead = "AVP Antiviral Database";
const std::string kPolHead = Literal("PReg\1\0\0\0[");
const std::string kAvcEnd = Literal("\xAD\xAD\0");
const std::string kPolEnd = Literal("]\0\0");

Hits ScanAvc(const Device& device) { return ScanAnyCut("CKOAvcFileType", device); }
Hits ScanPol(const Device& device) { return ScanAnyCut("CKOPolFileType", device); }

TEST(CKOAvcFileType, EndsInFrontOfTheMarksLastByte) {
  EXPECT_EQ(ScanAvc(Device(5).Put(kFirst + 1, kAvcHead).Put(kFirst + 3, 100, kAvcEnd)), (Hits{{kFirst + 1, 1126}}));
  EXPECT_EQ(ScanAvc(Device(5).Put(kFirst + 1, kAvcHead).Put(kFirst + 3, 509, kAvcEnd)), (Hits{{kFirst + 1, 1535}}));
  EXPECT_EQ(ScanAvc(Device(1).Put(kFirst, kAvcHead).Put(kFirst, 22, kAvcEnd)), (Hits{{kFirst, 24}}));
}

TEST(CKOAvcFileType, MarkBehindMoreOfItsFirstByteIsSeen) {
  EXPECT_EQ(ScanAvc(Device(2).Put(kFirst, kAvcHead).Put(kFirst, 100, Literal("\xAD\xAD\xAD\xAD\0"))),
            (Hits{{kFirst, 104}}));
  EXPECT_EQ(ScanAvc(Device(2).Put(kFirst, kAvcHead).Put(kFirst, 100, Literal("\xAD\xAD\1\xAD\0"))), Hits{});
}

TEST(CKOAvcFileType, MarkWhoseZeroBeginsASectorAddsNothing) {
  EXPECT_EQ(ScanAvc(Device(3).Put(kFirst, kAvcHead).Put(kFirst + 1, 510, kAvcEnd)), (Hits{{kFirst, 1024}}));
}

TEST(CKOAvcFileType, MarkWhoseSecondByteBeginsASectorAddsOneByte) {
  EXPECT_EQ(ScanAvc(Device(3).Put(kFirst, kAvcHead).Put(kFirst + 1, 511, kAvcEnd)), (Hits{{kFirst, 1025}}));
  EXPECT_EQ(ScanAvc(Device(3).Put(kFirst, kAvcHead).Put(kFirst + 1, 511, "\xAD\xAD\x01")), Hits{});
}

TEST(CKOAvcFileType, FlagStaysSetUntilASectorBeginsWithZero) {
  Device device(6);
  device.Put(kFirst, kAvcHead).Put(kFirst + 1, 510, "\xAD\xAD\x01").Put(kFirst + 4, Literal("\0"));
  EXPECT_EQ(ScanAvc(device), (Hits{{kFirst, 4 * 512}}));
}

TEST(CKOAvcFileType, LateFlagIsAskedInPlaceOfTheEarlyOne) {
  // Both flags are set by a sector that ends with the mark's first two bytes.
  Device device(5);
  device.Put(kFirst, kAvcHead).Put(kFirst + 1, 510, "\xAD\xAD").Put(kFirst + 2, Literal("\xAD\0"));
  EXPECT_EQ(ScanAvc(device), Hits{});
}

TEST(CKOAvcFileType, FlagsStaySetIntoTheNextFileAfterASplitMark) {
  Device device(8);
  device.Put(kFirst, kAvcHead).Put(kFirst, 510, kAvcEnd);
  device.Put(kFirst + 3, kAvcHead).Put(kFirst + 5, Literal("\0"));
  EXPECT_EQ(ScanAvc(device), (Hits{{kFirst, 512}, {kFirst + 3, 1024}}));
  Device early(8);
  early.Put(kFirst, kAvcHead).Put(kFirst, 511, kAvcEnd);
  early.Put(kFirst + 3, kAvcHead).Put(kFirst + 5, Literal("\xAD\0"));
  EXPECT_EQ(ScanAvc(early), (Hits{{kFirst, 513}, {kFirst + 3, 1025}}));
}

TEST(CKOAvcFileType, WholeMarkClearsTheFlags) {
  Device device(8);
  device.Put(kFirst, kAvcHead).Put(kFirst, 510, "\xAD\xAD\x01").Put(kFirst + 1, 50, kAvcEnd);
  device.Put(kFirst + 3, kAvcHead).Put(kFirst + 5, Literal("\0"));
  EXPECT_EQ(ScanAvc(device), (Hits{{kFirst, 564}}));
}

TEST(CKOAvcFileType, HeadReportsTheFileBeforeAndClearsNoFlag) {
  Device device(8);
  device.Put(kFirst, kAvcHead).Put(kFirst, 510, "\xAD\xAD").Put(kFirst + 1, kAvcHead).Put(kFirst + 3, Literal("\0"));
  EXPECT_EQ(ScanAvc(device), (Hits{{kFirst, 512}, {kFirst + 1, 1024}}));
}

TEST(CKOPolFileType, EndsBehindTheLastBracketsTwoBytes) {
  EXPECT_EQ(ScanPol(Device(5).Put(kFirst + 1, kPolHead).Put(kFirst + 3, 100, kPolEnd)), (Hits{{kFirst + 1, 1126}}));
  EXPECT_EQ(ScanPol(Device(5).Put(kFirst + 1, kPolHead).Put(kFirst + 3, 509, kPolEnd)), (Hits{{kFirst + 1, 1535}}));
}

TEST(CKOPolFileType, HeadIsAVersionAndABracket) {
  for (std::size_t i = 0; i < kPolHead.size(); ++i) {
    std::string head = kPolHead;
    head[i] = static_cast<char>(head[i] ^ 1);
    EXPECT_EQ(ScanPol(Device(2).Put(kFirst, head).Put(kFirst, 100, kPolEnd)), Hits{}) << i;
  }
}

TEST(CKOPolFileType, EntryBehindABracketGoesOn) {
  Device device(4);
  device.Put(kFirst, kPolHead).Put(kFirst, 50, Literal("]\0[\0]\0[\0")).Put(kFirst + 1, 7, Literal("]\0x"));
  EXPECT_EQ(ScanPol(device), (Hits{{kFirst, 521}}));
}

TEST(CKOPolFileType, BracketThatEndsASectorEndsTheFileWhenNoEntryFollows) {
  EXPECT_EQ(ScanPol(Device(3).Put(kFirst, kPolHead).Put(kFirst + 1, 510, kPolEnd)), (Hits{{kFirst, 1024}}));
  EXPECT_EQ(ScanPol(Device(3).Put(kFirst, kPolHead).Put(kFirst + 1, 511, kPolEnd)), (Hits{{kFirst, 1025}}));
  EXPECT_EQ(ScanPol(Device(3).Put(kFirst, kPolHead).Put(kFirst + 1, 511, Literal("]\0["))), Hits{});
}

TEST(CKOPolFileType, LateFlagThatAnEntryFollowedEndsTheFileAtTheNextSector) {
  EXPECT_EQ(ScanPol(Device(4).Put(kFirst, kPolHead).Put(kFirst + 1, 510, Literal("]\0["))), (Hits{{kFirst, 1536}}));
}

TEST(CKOPolFileType, SplitMarkClearsTheFlags) {
  for (const std::size_t offset : std::vector<std::size_t>{510, 511}) {
    Device device(8);
    device.Put(kFirst, kPolHead).Put(kFirst, offset, kPolEnd);
    device.Put(kFirst + 3, kPolHead).Put(kFirst + 4, Literal("\0\0"));
    EXPECT_EQ(ScanPol(device), (Hits{{kFirst, 512 + offset - 510}})) << offset;
  }
}

TEST(CKOPolFileType, HeadClearsNoFlagSoTheNewFileEndsAtOnce) {
  Device device(3);
  device.Put(kFirst, kPolHead).Put(kFirst, 510, Literal("]\0")).Put(kFirst + 1, kPolHead);
  EXPECT_EQ(ScanPol(device), (Hits{{kFirst, 512}, {kFirst + 1, 0}}));
}

TEST(SplitMarkWalk, FileAtSector0IsNotFollowed) {
  EXPECT_EQ(ScanAvc(Device(3, 512, 0).Put(0, kAvcHead).Put(1, 5, kAvcEnd)), Hits{});
  EXPECT_EQ(ScanPol(Device(3, 512, 0).Put(0, kPolHead).Put(1, 5, kPolEnd)), Hits{});
}

TEST(SplitMarkWalk, FileOpenAtTheEndIsNotReportedAndResetForgetsIt) {
  for (const auto& [className, head, rest] :
       {std::tuple{"CKOAvcFileType", kAvcHead, Literal("\0")}, std::tuple{"CKOPolFileType", kPolHead, Literal("x")}}) {
    const std::string begun = head == kAvcHead ? "\xAD\xAD" : Literal("]\0");
    const Detector detector = CreateDetector(className);
    EXPECT_EQ(Scan(*detector, Device(1).Put(kFirst, head).Put(kFirst, 510, begun)), Hits{}) << className;
    detector->Reset();
    EXPECT_EQ(Scan(*detector, Device(1, 512, kFirst + 1).Put(kFirst + 1, rest)), Hits{}) << className;
    EXPECT_EQ(Scan(*detector, Device(2, 512, kFirst + 2).Put(kFirst + 2, head).Put(kFirst + 3, rest)), Hits{})
        << className;
  }
}

TEST(SplitMarkWalk, FileWithoutAMarkEndsAboveTheLimitAndForgetsTheFlags) {
  LongFile file;
  for (const auto& [className, head] : {std::pair{"CKOAvcFileType", kAvcHead}, std::pair{"CKOPolFileType", kPolHead}}) {
    const bool isAvc = head == kAvcHead;
    const Detector detector = CreateDetector(className);
    detector->SetMaxFileSize(5);
    ASSERT_EQ(file.Feed(*detector, kFirst, head), Hits{});
    std::uint64_t number = kFirst + 1;
    for (; number < kFirst + LongFile::kSectorsToLimit; ++number) ASSERT_EQ(file.Feed(*detector, number), Hits{});
    EXPECT_EQ(file.Feed(*detector, number, {}, isAvc ? "\xAD\xAD" : Literal("]\0")), (Hits{{kFirst, kLimit}}));
    ++number;
    EXPECT_EQ(file.Feed(*detector, number, head), Hits{});
    EXPECT_EQ(file.Feed(*detector, number + 1, isAvc ? Literal("\0") : Literal("\0x")), Hits{});
  }
}

/// The rules step by step and byte by byte.
struct LiteralSplitMarks {
  std::string head;
  bool isAvc;

  Hits Scan(const Device& device) const {
    Hits hits;
    Hit open{0, 0};
    bool late = false;
    bool early = false;
    const std::string bytes(device.Bytes().begin(), device.Bytes().end());
    const auto n = static_cast<std::size_t>(device.SectorSize());
    const auto report = [&](std::uint64_t added, bool clears) {
      open.size += added;
      hits.push_back(open);
      open = {0, 0};
      if (clears) late = early = false;
      return true;
    };
    const auto walk = [&](const std::string& rest) {
      const auto at = [&](std::size_t i) { return i < rest.size() ? rest[i] : '\0'; };
      if (late) {
        if (isAvc ? at(0) == 0 : at(0) != '[') return report(0, !isAvc);
      } else if (early) {
        if (isAvc ? at(0) == '\xAD' && at(1) == 0 : at(0) == 0 && at(1) != '[') return report(1, !isAvc);
      }
      for (std::size_t i = 0; i < n; ++i) {
        const bool isFirst = at(i) == (isAvc ? '\xAD' : ']');
        const bool isSecond = i + 1 < n && at(i + 1) == (isAvc ? '\xAD' : '\0');
        if (isFirst && isSecond && i + 1 < n - 1 && (isAvc ? at(i + 2) == 0 : at(i + 2) != '[')) {
          return report(i + 2, true);
        }
        if (isFirst && isSecond && i + 1 == n - 1) late = true;
        if (isFirst && i == n - 1) early = true;
      }
      return false;
    };
    for (int index = 0; index < device.SectorCount(); ++index) {
      const std::string rest = bytes.substr(static_cast<std::size_t>(index) * n);
      if (rest.compare(0, head.size(), head) == 0) {
        if (open.startSector != 0) report(0, false);
        open.startSector = device.FirstSector() + static_cast<std::uint64_t>(index);
      }
      if (open.startSector != 0 && !walk(rest)) open.size += n;
    }
    return hits;
  }
};

TEST(SplitMarkWalk, AgreesWithTheRulesTakenByteByByte) {
  const std::vector<std::string> avcPieces = {"\xAD", "\xAD\xAD", Literal("\xAD\xAD\0"), Literal("\0"), "x"};
  const std::vector<std::string> polPieces = {"]", Literal("]\0"), Literal("]\0["), Literal("]\0x"), Literal("\0"),
                                              "["};
  for (const bool isAvc : {true, false}) {
    const LiteralSplitMarks rules{isAvc ? kAvcHead : kPolHead, isAvc};
    const std::vector<std::string>& pieces = isAvc ? avcPieces : polPieces;
    std::size_t found = 0;
    for (std::uint32_t seed = 0; seed < 3000; ++seed) {
      std::mt19937 random(seed);
      const int sectorSize = 1 + static_cast<int>(random() % 40);
      const int sectorCount = 1 + static_cast<int>(random() % 60);
      const auto size = static_cast<std::size_t>(sectorSize) * static_cast<std::size_t>(sectorCount);
      std::string bytes;
      while (bytes.size() < size) {
        const auto choice = random() % 8;
        if (choice == 0) {
          bytes.resize((bytes.size() / static_cast<std::size_t>(sectorSize) + 1) * static_cast<std::size_t>(sectorSize),
                       'y');
          bytes += rules.head;
        } else if (choice < 5) {
          bytes += pieces[random() % pieces.size()];
        } else {
          bytes += std::string(random() % 20, 'x');
        }
      }
      bytes.resize(size);
      const std::uint64_t first = random() % 8 == 0 ? 0 : kFirst;
      const Device device = Device(sectorCount, sectorSize, first).Put(first, bytes);
      const Hits expected = rules.Scan(device);
      ASSERT_EQ(Scan(*CreateDetector(isAvc ? "CKOAvcFileType" : "CKOPolFileType"), device), expected) << seed;
      found += expected.size();
    }
    EXPECT_GT(found, 3000U);
  }
}

}  // namespace
}  // namespace qzmtraw::test
