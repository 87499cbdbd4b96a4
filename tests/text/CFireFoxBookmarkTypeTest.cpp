#include <gtest/gtest.h>

#include <optional>
#include <random>

#include "tests/support/Scanning.h"

namespace qzmtraw::test {
namespace {

constexpr std::uint64_t kFirst = Device::kFirstSector;
constexpr std::uint64_t kLimit = 0x100000;
const std::string kHead = "<!DOCTYPE NETSCAPE-Bookmark-file-1>";
const std::string kMark = "</DL><p>";

Hits ScanBookmarks(const Device& device) { return ScanAnyCut("CFireFoxBookmarkType", device); }

/// A file of 8 sectors with this at an offset of the ninth.
Device Bookmarks(std::size_t offset, const std::string& end) {
  return Device(20, 512, kFirst, 'x').Put(kFirst, kHead).Put(kFirst + 8, offset, end);
}

TEST(CFireFoxBookmarkType, EndsWithTheMarkInFrontOfWhatIsNoText) {
  EXPECT_EQ(ScanBookmarks(Bookmarks(100, kMark + Literal("\0\0\0\0"))), (Hits{{kFirst, 4096 + 108}}));
  for (std::size_t i = 0; i < 4; ++i) {
    std::string behind = "\r\n\t ";
    for (const char byte : {'\0', '\x1F', '\x01', '\v', '\x80', '\xFF'}) {
      behind[i] = byte;
      EXPECT_EQ(ScanBookmarks(Bookmarks(100, kMark + behind)), (Hits{{kFirst, 4096 + 108}})) << i;
    }
  }
  EXPECT_EQ(ScanBookmarks(Bookmarks(100, kMark + "abcd" + Literal("\0"))), Hits{});
}

TEST(CFireFoxBookmarkType, InnerMarkIsFollowedByText) {
  for (const char* behind : {"\r\n\t ", "\n<DT", " ~\x7F\x20", "/y/y", "y//y"}) {
    const bool ends = behind[2] == '/';
    EXPECT_EQ(ScanBookmarks(Bookmarks(100, kMark + behind)), ends ? (Hits{{kFirst, 4096 + 115}}) : Hits{}) << behind;
  }
}

TEST(CFireFoxBookmarkType, MarkInFrontOfAClosingListEndsBehindIt) {
  EXPECT_EQ(ScanBookmarks(Bookmarks(100, kMark + "\n</DL>")), (Hits{{kFirst, 4096 + 115}}));
}

TEST(CFireFoxBookmarkType, SearchGoesOnBehindAnInnerMark) {
  EXPECT_EQ(ScanBookmarks(Bookmarks(100, kMark + kMark + "\n\n\n\n" + kMark + Literal("\0"))),
            (Hits{{kFirst, 4096 + 128}}));
}

TEST(CFireFoxBookmarkType, EndMayLieBehindTheSector) {
  // Found with 13 bytes left, the end is 15 behind the mark's beginning.
  EXPECT_EQ(ScanBookmarks(Bookmarks(512 - 13, kMark + "\n</DL")), (Hits{{kFirst, 4096 + 514}}));
  EXPECT_EQ(ScanBookmarks(Bookmarks(512 - 13, kMark + Literal("\0"))), (Hits{{kFirst, 4096 + 507}}));
  EXPECT_EQ(ScanBookmarks(Bookmarks(512 - 12, kMark + Literal("\0"))), Hits{});
}

TEST(CFireFoxBookmarkType, MarkIsTakenAsItStands) {
  EXPECT_EQ(ScanBookmarks(Bookmarks(100, "</dl><p>" + Literal("\0"))), Hits{});
  EXPECT_EQ(ScanBookmarks(Bookmarks(100, "</DL><P>" + Literal("\0"))), Hits{});
}

TEST(CFireFoxBookmarkType, HeadIsFolded) {
  const auto scan = [](const std::string& head) {
    return ScanBookmarks(Bookmarks(100, kMark + Literal("\0")).Put(kFirst, head));
  };
  const Hits found{{kFirst, 4096 + 108}};
  EXPECT_EQ(scan("<!doctype netscape-BOOKMARK-file-1>"), found);
  EXPECT_EQ(scan("<!DOCTYPE NETSCAPE-Bookmark-file-2>"), Hits{});
  EXPECT_EQ(scan("<!DOCTYPE NETSCAPE-Bookmark-file-1y"), Hits{});
  EXPECT_EQ(scan("<!DOCTYPE NETSCAPE\rBookmark-file-1>"), Hits{});
  EXPECT_EQ(scan("<!DOCTYPE HTML><!--               >"), Hits{});
}

TEST(CFireFoxBookmarkType, NeedsSectorsOf49Bytes) {
  for (const int size : {48, 49}) {
    Device device(200, size, kFirst, 'x');
    device.Put(kFirst, kHead).Put(kFirst + 99, 3, kMark + Literal("\0"));
    EXPECT_EQ(ScanBookmarks(device), size == 49 ? (Hits{{kFirst, 99 * 49 + 11}}) : Hits{});
  }
}

TEST(CFireFoxBookmarkType, FileBelow4096BytesIsDropped) {
  const auto scan = [](std::size_t size) {
    Device device(20, 512, kFirst, 'x');
    device.Put(kFirst, kHead).Put(kFirst, size - 8, kMark + Literal("\0"));
    return ScanBookmarks(device);
  };
  EXPECT_EQ(scan(3000), Hits{});
  EXPECT_EQ(scan(4085), Hits{});
  EXPECT_EQ(scan(4091), Hits{});
  EXPECT_EQ(scan(4096 + 8), (Hits{{kFirst, 4096 + 8}}));
  Device smaller(200, 65, kFirst, 'x');
  EXPECT_EQ(ScanBookmarks(smaller.Put(kFirst, kHead).Put(kFirst + 63, 0, kMark + Literal("\0"))),
            (Hits{{kFirst, 63 * 65 + 8}}));
  // 62 * 65 + 65 is 4095; the end behind the sector makes 4096 of 4081 + 15.
  Device exact(200, 65, kFirst, 'x');
  EXPECT_EQ(ScanBookmarks(exact.Put(kFirst, kHead).Put(kFirst + 62, 51, kMark + "\n</DL")), (Hits{{kFirst, 4096}}));
  Device below(200, 65, kFirst, 'x');
  EXPECT_EQ(ScanBookmarks(below.Put(kFirst, kHead).Put(kFirst + 62, 50, kMark + "\n</DL")), Hits{});
}

TEST(CFireFoxBookmarkType, NewHeadReportsTheFileBeforeFrom4096BytesOn) {
  Device device(40, 512, kFirst, 'x');
  device.Put(kFirst, kHead).Put(kFirst + 7, kHead).Put(kFirst + 15, kHead);
  EXPECT_EQ(ScanBookmarks(device), (Hits{{kFirst + 7, 4096}}));
}

TEST(CFireFoxBookmarkType, IsGivenUpAtTheLimit) {
  const auto sectors = static_cast<int>(kLimit / 4096);
  EXPECT_EQ(ScanBookmarks(Device(sectors, 4096, kFirst, 'x').Put(kFirst, kHead)), (Hits{{kFirst, kLimit}}));
  EXPECT_EQ(ScanBookmarks(Device(sectors - 1, 4096, kFirst, 'x').Put(kFirst, kHead)), Hits{});
}

TEST(CFireFoxBookmarkType, LimitOfTheHostClipsAndDoesNotEndTheFile) {
  const Detector detector = CreateDetector("CFireFoxBookmarkType");
  detector->SetMaxFileSize(5000);
  const auto sectors = static_cast<int>(kLimit / 4096);
  EXPECT_EQ(Scan(*detector, Device(sectors - 1, 4096, kFirst, 'x').Put(kFirst, kHead)), Hits{});
  EXPECT_EQ(Scan(*detector, Device(1, 4096, kFirst, 'x')), (Hits{{kFirst, 5000}}));
  detector->SetMaxFileSize(2 * kLimit);
  EXPECT_EQ(Scan(*detector, Device(sectors, 4096, kFirst, 'x').Put(kFirst, kHead)), (Hits{{kFirst, kLimit}}));
  // The size that was reached is above the limit where sectors don't divide it.
  Device odd(400, 3000, kFirst, 'x');
  EXPECT_EQ(Scan(*detector, odd.Put(kFirst, kHead)), (Hits{{kFirst, 350 * 3000}}));
  detector->Reset();
  EXPECT_EQ(Scan(*detector, odd), (Hits{{kFirst, kLimit}}));
}

TEST(CFireFoxBookmarkType, ResetForgetsTheFile) {
  const Detector detector = CreateDetector("CFireFoxBookmarkType");
  Scan(*detector, Device(9, 512, kFirst, 'x').Put(kFirst, kHead));
  detector->Reset();
  EXPECT_EQ(Scan(*detector, Device(1, 512, kFirst + 9, 'x').Put(kFirst + 9, kMark + Literal("\0"))), Hits{});
}

// What a sector leaves for the next.

/// Scans a file whose ninth sector ends with `end`, and whose tenth begins with `next`.
Hits ScanCarried(const std::string& end, const std::string& next) {
  Device device(20, 512, kFirst, 'x');
  return ScanBookmarks(device.Put(kFirst, kHead).Put(kFirst + 8, 512 - end.size(), end).Put(kFirst + 9, next));
}

/// What a carried mark is compared with: its first seven bytes.
const std::string kSeven = kMark.substr(0, 7);
const Hits kEndsBehindSeven{{kFirst, 4096 + 512 + 7}};

TEST(CFireFoxBookmarkType, BeginningOfAMarkLetsTheNextSectorsFirstSevenBytesCount) {
  for (std::size_t length = 1; length < 8; ++length) {
    EXPECT_EQ(ScanCarried(kMark.substr(0, length), kSeven + Literal("\0")), kEndsBehindSeven) << length;
    // What really goes on with the mark isn't seen.
    EXPECT_EQ(ScanCarried(kMark.substr(0, length), kMark.substr(length) + Literal("\0")), Hits{}) << length;
  }
  EXPECT_EQ(ScanCarried("", kSeven + Literal("\0")), Hits{});
}

TEST(CFireFoxBookmarkType, WholeMarkAtTheEndCarriesWithTextBehindItOnly) {
  const std::string next = kSeven + Literal("\0");
  EXPECT_EQ(ScanCarried(kMark, next), Hits{});
  for (std::size_t behind = 1; behind <= 3; ++behind) {
    // The last byte alone is looked at.
    EXPECT_EQ(ScanCarried(kMark + std::string(behind, '\n'), next), kEndsBehindSeven) << behind;
    EXPECT_EQ(ScanCarried(kMark + std::string(behind - 1, '\x01') + "\n", next), kEndsBehindSeven) << behind;
    EXPECT_EQ(ScanCarried(kMark + std::string(behind - 1, '\n') + "\x01", next), Hits{}) << behind;
  }
  EXPECT_EQ(ScanCarried(kMark + "\n\n\n\n", next), Hits{});
}

TEST(CFireFoxBookmarkType, CarriedMarkLooksAtTheFourBytesBehindIt) {
  for (std::size_t i = 0; i < 4; ++i) {
    std::string behind = "yyyy";
    behind[i] = '\x02';
    EXPECT_EQ(ScanCarried("<", kSeven + behind), kEndsBehindSeven) << i;
  }
  EXPECT_EQ(ScanCarried("<", kSeven + "yyyy" + Literal("\0")), Hits{});
  EXPECT_EQ(ScanCarried("<", kSeven + "yy/y"), (Hits{{kFirst, 4096 + 512 + 14}}));
  EXPECT_EQ(ScanCarried("<", kSeven + "y/yy"), Hits{});
  EXPECT_EQ(ScanCarried("<", kMark.substr(0, 6) + "y" + Literal("\0")), Hits{});
}

TEST(CFireFoxBookmarkType, SearchGoesOnWhereTheCarriedMarkIsAnInnerOne) {
  EXPECT_EQ(ScanCarried("<", kSeven + "yyyyy" + kMark + Literal("\0")), (Hits{{kFirst, 4096 + 512 + 20}}));
}

TEST(CFireFoxBookmarkType, CarryStaysForLaterSectors) {
  Device device(40, 512, kFirst, 'x');
  device.Put(kFirst, kHead).Put(kFirst + 8, 511, "<").Put(kFirst + 30, kSeven + Literal("\0"));
  EXPECT_EQ(ScanBookmarks(device), (Hits{{kFirst, 30 * 512 + 7}}));
}

TEST(CFireFoxBookmarkType, CarryStaysForLaterFiles) {
  Device device(60, 512, kFirst, 'x');
  device.Put(kFirst, kHead).Put(kFirst + 8, 511, "<").Put(kFirst + 10, 9, kMark + Literal("\0"));
  device.Put(kFirst + 20, kHead).Put(kFirst + 40, kSeven + Literal("\0"));
  EXPECT_EQ(ScanBookmarks(device), (Hits{{kFirst, 10 * 512 + 17}, {kFirst + 20, 20 * 512 + 7}}));
}

TEST(CFireFoxBookmarkType, WholeMarkAtTheEndPutsAnEarlierCarryAway) {
  Device device(40, 512, kFirst, 'x');
  device.Put(kFirst, kHead).Put(kFirst + 8, 511, "<").Put(kFirst + 9, 504, kMark);
  device.Put(kFirst + 30, kSeven + Literal("\0"));
  EXPECT_EQ(ScanBookmarks(device), Hits{});
}

TEST(CFireFoxBookmarkType, ResetClearsTheCarry) {
  const Detector detector = CreateDetector("CFireFoxBookmarkType");
  Scan(*detector, Device(9, 512, kFirst, 'x').Put(kFirst, kHead).Put(kFirst + 8, 511, "<"));
  detector->Reset();
  Device device(40, 512, kFirst, 'x');
  EXPECT_EQ(Scan(*detector, device.Put(kFirst, kHead).Put(kFirst + 30, kSeven + Literal("\0"))), Hits{});
}

TEST(CFireFoxBookmarkType, SectorInWhichTheEndIsFoundCarriesNothing) {
  Device device(60, 512, kFirst, 'x');
  device.Put(kFirst, kHead).Put(kFirst + 10, 9, kMark + Literal("\0")).Put(kFirst + 10, 511, "<");
  device.Put(kFirst + 20, kHead).Put(kFirst + 40, kSeven + Literal("\0"));
  EXPECT_EQ(ScanBookmarks(device), (Hits{{kFirst, 10 * 512 + 17}}));
}

/// The rules step by step and byte by byte, for a device in one block.
Hits ScanLiterally(const Device& device) {
  const std::string bytes(device.Bytes().begin(), device.Bytes().end());
  const auto n = static_cast<std::size_t>(device.SectorSize());
  Hits hits;
  bool open = false;
  std::uint64_t start = 0;
  std::uint64_t size = 0;
  std::uint32_t carryState = 0;
  std::size_t carryRemaining = 0;
  for (std::size_t base = 0; base < bytes.size(); base += n) {
    const auto at = [&](std::size_t i) -> unsigned char {
      return base + i < bytes.size() ? static_cast<unsigned char>(bytes[base + i]) : 0;
    };
    const auto isText = [&](std::size_t i) {
      return at(i) == 13 || at(i) == 10 || at(i) == 9 || (at(i) >= 0x20 && at(i) <= 0x7F);
    };
    const auto stands = [&](std::size_t i, std::size_t length) {
      return bytes.compare(std::min(base + i, bytes.size()), length, kMark, 0, length) == 0;
    };
    const auto findEnd = [&]() -> std::optional<std::size_t> {
      if (carryState != 0 && carryState != 1024) {
        const std::size_t k = 8 - carryRemaining;
        if (stands(0, k)) {
          if (!isText(k) || !isText(k + 1) || !isText(k + 2) || !isText(k + 3)) return k;
          if (at(k + 2) == '/') return k + 7;
        }
      }
      std::size_t i = 0;
      for (; i + 12 < n; ++i) {
        if (!stands(i, 8)) continue;
        if (!isText(i + 8) || !isText(i + 9) || !isText(i + 10) || !isText(i + 11)) return i + 8;
        if (at(i + 10) == '/') return i + 15;
      }
      for (; i < n; ++i) {
        carryRemaining = n - i;
        if (carryRemaining >= 8 && stands(i, 8)) {
          if (carryRemaining == 8) carryState = 1024;
          if (carryRemaining == 9 && isText(i + 8)) carryState = 1025;
          if (carryRemaining == 10 && isText(i + 9)) carryState = 1026;
          if (carryRemaining == 11 && isText(i + 10)) carryState = 1027;
        }
        if (carryRemaining < 8 && stands(i, carryRemaining)) carryState = static_cast<std::uint32_t>(carryRemaining);
      }
      return std::nullopt;
    };
    if (n >= 49 && bytes.compare(base, kHead.size(), kHead) == 0) {
      if (open && size >= 4096) hits.push_back({start, size});
      open = true;
      start = device.FirstSector() + base / n;
      size = 0;
    }
    if (!open) continue;
    if (const auto end = findEnd()) {
      size += *end;
      if (size >= 4096) hits.push_back({start, size});
      open = false;
    } else {
      size += n;
    }
  }
  return hits;
}

TEST(CFireFoxBookmarkType, AgreesWithTheRulesTakenByteByByte) {
  const std::string pieces[] = {kMark, kMark, kSeven, "\n", "/", "</DL>", Literal("\0"), "<", kMark + "\n</DL><p>"};
  std::size_t found = 0;
  for (std::uint32_t seed = 0; seed < 4000; ++seed) {
    std::mt19937 random(seed);
    const std::size_t sectorSize = 49 + random() % 60;
    const std::size_t size = sectorSize * (200 + random() % 400);
    std::string bytes;
    while (bytes.size() < size) {
      const auto kind = random() % 8;
      if (kind == 0 && random() % 20 == 0) {
        bytes.resize((bytes.size() + sectorSize - 1) / sectorSize * sectorSize, 'x');
        bytes += kHead;
      } else if (kind < 4) {
        // Mostly without the bytes that end a file.
        bytes += pieces[random() % (random() % 100 == 0 ? std::size(pieces) : 4)];
      } else if (kind == 4) {
        const std::size_t boundary = (bytes.size() + sectorSize) / sectorSize * sectorSize;
        bytes.resize(std::max(bytes.size(), boundary - random() % 13), 'x');
      } else {
        bytes.resize(bytes.size() + random() % 60, 'x');
      }
    }
    bytes.resize(size);
    Device device(static_cast<int>(size / sectorSize), static_cast<int>(sectorSize));
    device.Put(kFirst, bytes);
    const Hits expected = ScanLiterally(device);
    ASSERT_EQ(Scan(*CreateDetector("CFireFoxBookmarkType"), device), expected) << "seed " << seed;
    found += expected.size();
  }
  EXPECT_GT(found, 500U);
}

}  // namespace
}  // namespace qzmtraw::test
