// Bitmaps that are open from a head to a tail: PNG, PCX and SmartDraw files, and XPM.

#include <gtest/gtest.h>

#include <optional>
#include <random>

#include "tests/support/Scanning.h"

namespace qzmtraw::test {
namespace {

constexpr std::uint64_t kFirst = Device::kFirstSector;

/// A kind that ends with one of its tails, inside a sector and in front of the sector's last byte.
struct TailKind {
  const char* className;
  std::string head;
  std::vector<std::string> tails;
  std::uint64_t maxFileSize;
  int leastSector;
};

std::string PcxHead() {
  std::string head = "\x0A\x03\x01";
  head.resize(128);
  return head;
}

const std::string kSdrTail = "\x40\x40\xD3\x40\xB1\x40\xDF\x40\x01\x40";
const std::string kOtherSdrTail = "\x40\x40\xE1\x40\xB1\x40\xDF\x40\x01\x40";

const TailKind kPng{"KPngFileType", "\x89PNG\r\n\x1A\n", {"IEND\xAE\x42\x60\x82"}, 0xA00000, 9};
const TailKind kPcx{"KPCXFileType", PcxHead(), {"\xFC\xFC\xCC\xFC\xFC\xDC\xFC\xFC"}, 0x7F000000, 128};
const TailKind kSdr{"KSdrFileType", "SMARTDRW", {kSdrTail, kOtherSdrTail}, 0xA00000, 9};
const std::vector<TailKind> kTailKinds = {kPng, kPcx, kSdr};

/// For each kind and each of its tails.
template <class Body>
void ForEachTail(Body body) {
  for (const TailKind& kind : kTailKinds) {
    for (const std::string& tail : kind.tails) {
      SCOPED_TRACE(kind.className);
      body(kind, tail);
    }
  }
}

TEST(BitmapTails, FileEndsBehindItsTail) {
  ForEachTail([](const TailKind& kind, const std::string& tail) {
    const Device device = Device(9).Put(kFirst + 1, kind.head).Put(kFirst + 3, 100, tail).Put(kFirst + 5, tail);
    EXPECT_EQ(ScanAnyCut(kind.className, device), (Hits{{kFirst + 1, 1024 + 100 + tail.size()}}));
  });
}

TEST(BitmapTails, EveryByteOfTheTailCounts) {
  ForEachTail([](const TailKind& kind, const std::string& tail) {
    for (std::size_t i = 0; i < tail.size(); ++i) {
      std::string changed = tail;
      changed[i] = static_cast<char>(changed[i] ^ 0x30);
      const Device device = Device(9).Put(kFirst, kind.head).Put(kFirst + 3, 100, changed).Put(kFirst + 5, tail);
      // One form of a tail may have become the other.
      EXPECT_EQ(ScanAnyCut(kind.className, device), (Hits{{kFirst, 5 * 512 + tail.size()}})) << i;
    }
  });
}

TEST(BitmapTails, TailThatEndsItsSectorOrLiesAcrossTwoIsNotSeen) {
  ForEachTail([](const TailKind& kind, const std::string& tail) {
    const auto scan = [&](std::size_t offset) {
      Device device(9);
      device.Put(kFirst, kind.head).Put(kFirst + 2, offset, tail).Put(kFirst + 6, kind.head);
      return ScanAnyCut(kind.className, device);
    };
    EXPECT_EQ(scan(512 - tail.size() - 1), (Hits{{kFirst, 3 * 512 - 1}}));
    // The file grows by whole sectors until the next head.
    for (std::size_t inFirst = 1; inFirst <= tail.size(); ++inFirst) {
      EXPECT_EQ(scan(512 - inFirst), (Hits{{kFirst, 6 * 512}})) << inFirst;
    }
  });
}

TEST(BitmapTails, FirstOfTheTwoSmartDrawTailsEnds) {
  const auto scan = [](const std::string& one, const std::string& two) {
    return ScanAnyCut("KSdrFileType", Device(2).Put(kFirst, "SMARTDRW").Put(kFirst, 300, one).Put(kFirst, 320, two));
  };
  EXPECT_EQ(scan(kSdrTail, kOtherSdrTail), (Hits{{kFirst, 310}}));
  EXPECT_EQ(scan(kOtherSdrTail, kSdrTail), (Hits{{kFirst, 310}}));
}

TEST(BitmapTails, FileBelow256BytesIsDroppedAndClosed) {
  ForEachTail([](const TailKind& kind, const std::string& tail) {
    const auto scan = [&](std::size_t size) {
      Device device(4);
      device.Put(kFirst, kind.head).Put(kFirst, size - tail.size(), tail).Put(kFirst + 2, tail);
      return ScanAnyCut(kind.className, device);
    };
    EXPECT_EQ(scan(255), Hits{});
    EXPECT_EQ(scan(256), (Hits{{kFirst, 256}}));
  });
}

TEST(BitmapTails, NewHeadReportsTheFileBeforeFrom256BytesOn) {
  ForEachTail([](const TailKind& kind, const std::string& tail) {
    for (const int size : {128, 255}) {
      if (size < kind.leastSector) continue;
      Device device(20, size);
      device.Put(kFirst, kind.head).Put(kFirst + 1, kind.head).Put(kFirst + 3, kind.head).Put(kFirst + 5, 40, tail);
      const auto bytes = static_cast<std::uint64_t>(size);
      EXPECT_EQ(ScanAnyCut(kind.className, device),
                (Hits{{kFirst + 1, 2 * bytes}, {kFirst + 3, 2 * bytes + 40 + tail.size()}}));
    }
  });
}

TEST(BitmapTails, SizesAreClippedAtAHeadAtATailAndWithoutEither) {
  ForEachTail([](const TailKind& kind, const std::string& tail) {
    const auto scan = [&](std::uint64_t limit, bool hasTail) {
      const Detector detector = CreateDetector(std::string_view(kind.className));
      detector->SetMaxFileSize(limit);
      Device device(6);
      device.Put(kFirst, kind.head).Put(kFirst + 4, kind.head);
      if (hasTail) device.Put(kFirst + 2, 10, tail);
      return Scan(*detector, device);
    };
    const std::uint64_t size = 1034 + tail.size();
    EXPECT_EQ(scan(size, true), (Hits{{kFirst, size}}));
    // Between the sectors before and the tail's end.
    EXPECT_EQ(scan(size - 1, true), (Hits{{kFirst, size - 1}}));
    EXPECT_EQ(scan(2048, false), (Hits{{kFirst, 2048}}));
    EXPECT_EQ(scan(2047, false), (Hits{
                                     {kFirst, 2047},
                                 }));
    // A limit below the least size is reported all the same.
    EXPECT_EQ(scan(100, false), (Hits{{kFirst, 100}, {kFirst + 4, 100}}));
  });
}

TEST(BitmapTails, FileWithoutTailIsGivenUpAboveTheLargestSize) {
  for (const TailKind& kind : kTailKinds) {
    const int size = kind.maxFileSize > 0x1000000 ? 0x800000 : 0x8000;
    const auto sectors = kind.maxFileSize / static_cast<std::uint64_t>(size);
    const Detector detector = CreateDetector(std::string_view(kind.className));
    // A block in which nothing but its first bytes matters can be shown again and again.
    Device device(1, size, kFirst, 'x');
    device.Put(kFirst, kind.head);
    std::vector<std::uint8_t> memory = device.Bytes();
    DeviceReader reader(device);
    RecordingSink sink;
    for (std::uint64_t i = 0; i <= sectors; ++i) {
      EXPECT_EQ(sink.Found(), Hits{}) << i;
      const RawSectorBlock block{kFirst + i, memory.data(), 1, size, &reader};
      detector->Scan(&block, &sink);
      memory[0] = 'x';
    }
    EXPECT_EQ(sink.Found(), (Hits{{kFirst, kind.maxFileSize}})) << kind.className;
    const RawSectorBlock block{kFirst + 5000, memory.data(), 1, size, &reader};
    for (std::uint64_t i = 0; i < 3; ++i) detector->Scan(&block, &sink);
    EXPECT_EQ(sink.Found().size(), 1U) << kind.className;
  }
}

TEST(BitmapTails, ResetForgetsTheFileAndTheLimit) {
  ForEachTail([](const TailKind& kind, const std::string& tail) {
    const Detector detector = CreateDetector(std::string_view(kind.className));
    Scan(*detector, Device(1).Put(kFirst, kind.head));
    detector->SetMaxFileSize(300);
    detector->Reset();
    EXPECT_EQ(Scan(*detector, Device(1, 512, kFirst + 1).Put(kFirst + 1, 300, tail)), Hits{});
    EXPECT_EQ(Scan(*detector, Device(1, 512, kFirst + 2).Put(kFirst + 2, kind.head).Put(kFirst + 2, 300, tail)),
              (Hits{{kFirst + 2, 300 + tail.size()}}));
  });
}

bool IsLiteralHead(const TailKind& kind, const std::string& bytes) {
  if (kind.head != PcxHead()) return bytes.compare(0, kind.head.size(), kind.head) == 0;
  return bytes.size() >= 128 && bytes[0] == 10 && Literal("\0\2\3\4\5").find(bytes[1]) != std::string::npos &&
         bytes[2] == 1 && bytes.compare(74, 54, std::string(54, '\0')) == 0;
}

/// The rules taken step by step and byte by byte.
Hits LiteralTails(const TailKind& kind, std::uint64_t maxFileSize, const Device& device) {
  Hits hits;
  bool fileOpen = false;
  std::uint64_t fileStart = 0;
  std::uint64_t fileSize = 0;
  const std::string bytes(device.Bytes().begin(), device.Bytes().end());
  const auto n = static_cast<std::size_t>(device.SectorSize());
  const auto report = [&] { hits.push_back({fileStart, std::min(fileSize, maxFileSize)}); };
  for (std::size_t index = 0; index * n < bytes.size(); ++index) {
    if (device.SectorSize() >= kind.leastSector && IsLiteralHead(kind, bytes.substr(index * n, 256))) {
      if (fileOpen && fileSize >= 256) report();
      fileStart = device.FirstSector() + index;
      fileSize = 0;
      fileOpen = true;
    }
    if (!fileOpen) continue;
    const std::string sector = bytes.substr(index * n, n);
    std::optional<std::size_t> end;
    for (std::size_t i = 0; i < n && !end; ++i) {
      for (const std::string& tail : kind.tails) {
        if (!end && i + tail.size() < n && sector.compare(i, tail.size(), tail) == 0) end = i + tail.size();
      }
    }
    fileSize += end.value_or(n);
    if (end && fileSize >= 256) report();
    if (!end && fileSize > maxFileSize) report();
    if (end || fileSize > maxFileSize) {
      fileSize = 0;
      fileOpen = false;
    }
  }
  return hits;
}

/// A device that is made of these pieces, the first of which is a head, and up to `mostFill` other bytes in a
/// row.
Device DeviceMadeOf(std::mt19937& random, const std::vector<std::string>& pieces, int leastSector, unsigned mostFill,
                    std::uint64_t firstSector) {
  const int sectorSize = leastSector + static_cast<int>(random() % 60);
  const int sectorCount = 1 + static_cast<int>(random() % 150);
  const auto size = static_cast<std::size_t>(sectorSize) * static_cast<std::size_t>(sectorCount);
  std::string bytes;
  while (bytes.size() < size) {
    const std::string& piece = pieces[random() % pieces.size()];
    switch (random() % 5) {
      case 0:
        bytes += piece;
        break;
      case 1:
        bytes += piece.substr(0, random() % (piece.size() + 1));
        break;
      case 2:
        bytes += piece.substr(random() % piece.size());
        break;
      case 3:
        bytes.resize((bytes.size() / static_cast<std::size_t>(sectorSize) + 1) * static_cast<std::size_t>(sectorSize),
                     'y');
        bytes += pieces.front();
        break;
      default:
        bytes += std::string(random() % mostFill, 'x');
    }
  }
  bytes.resize(size);
  Device device(sectorCount, sectorSize, firstSector);
  device.Put(firstSector, bytes);
  return device;
}

TEST(BitmapTails, AgreeWithTheRulesTakenByteByByte) {
  for (const TailKind& kind : kTailKinds) {
    std::vector<std::string> pieces = kind.tails;
    pieces.insert(pieces.begin(), kind.head);
    std::mt19937 random(1);
    std::size_t found = 0;
    for (int i = 0; i < 500; ++i) {
      const Device device = DeviceMadeOf(random, pieces, kind.leastSector, 1000, random() % 8 == 0 ? 0 : kFirst);
      const std::uint64_t limit = 200 + random() % 2000;
      const Hits expected = LiteralTails(kind, limit, device);
      const Detector detector = CreateDetector(std::string_view(kind.className));
      detector->SetMaxFileSize(limit);
      ASSERT_EQ(Scan(*detector, device, {i % 4}), expected) << kind.className << " " << i;
      found += expected.size();
    }
    EXPECT_GT(found, 200U) << kind.className;
  }
}

const std::string kXpm = "/* XPM */";
const std::string kXpmTail = "\"\n};\n";

Hits ScanXpm(const Device& device) { return ScanAnyCut("CKGXpmFileType", device); }

TEST(CKGXpmFileType, EndsBehindItsBrace) {
  EXPECT_EQ(ScanXpm(Device(9).Put(kFirst + 1, kXpm).Put(kFirst + 3, 99, kXpmTail).Put(kFirst + 5, kXpmTail)),
            (Hits{{kFirst + 1, 1024 + 104}}));
}

TEST(CKGXpmFileType, HasNoLeastSize) {
  EXPECT_EQ(ScanXpm(Device(2).Put(kFirst, kXpm + kXpmTail)), (Hits{{kFirst, 14}}));
}

TEST(CKGXpmFileType, EveryByteOfTheTailCounts) {
  for (std::size_t i = 0; i < kXpmTail.size(); ++i) {
    std::string changed = kXpmTail;
    changed[i] = ' ';
    EXPECT_EQ(ScanXpm(Device(9).Put(kFirst, kXpm).Put(kFirst + 3, 99, changed).Put(kFirst + 4, 7, kXpmTail)),
              (Hits{{kFirst, 4 * 512 + 12}}))
        << i;
  }
}

TEST(CKGXpmFileType, TailAcrossTwoSectorsIsSeenWhereverItIsCut) {
  for (std::size_t inFirst = 1; inFirst <= 5; ++inFirst) {
    EXPECT_EQ(ScanXpm(Device(5).Put(kFirst, kXpm).Put(kFirst + 1, 512 - inFirst, kXpmTail)),
              (Hits{{kFirst, 1024 - inFirst + 5}}))
        << inFirst;
  }
}

TEST(CKGXpmFileType, WholeTailAtTheSectorsEndIsReportedInTheNextSector) {
  const Detector detector = CreateDetector("CKGXpmFileType");
  EXPECT_EQ(Scan(*detector, Device(2).Put(kFirst, kXpm).Put(kFirst + 1, 507, kXpmTail)), Hits{});
  EXPECT_EQ(Scan(*detector, Device(1, 512, kFirst + 2)), (Hits{{kFirst, 1024}}));
  // One byte earlier it is seen at once.
  EXPECT_EQ(Scan(*detector, Device(2).Put(kFirst, kXpm).Put(kFirst + 1, 506, kXpmTail)), (Hits{{kFirst, 1023}}));
}

TEST(CKGXpmFileType, TailThatBreaksOffAtTheSectorsEndIsForgotten) {
  Device device(5);
  device.Put(kFirst, kXpm).Put(kFirst + 1, 510, "\"\n").Put(kFirst + 2, "};x").Put(kFirst + 3, "};\n");
  device.Put(kFirst + 4, 20, kXpmTail);
  EXPECT_EQ(ScanXpm(device), (Hits{{kFirst, 4 * 512 + 25}}));
}

TEST(CKGXpmFileType, MismatchSearchesTheSectorFromItsStart) {
  EXPECT_EQ(ScanXpm(Device(5).Put(kFirst, kXpm).Put(kFirst, 511, "\"").Put(kFirst + 1, kXpmTail)),
            (Hits{{kFirst, 512 + 5}}));
}

TEST(CKGXpmFileType, TwoZeroBytesEndInFrontOfThem) {
  for (const std::size_t offset : {100U, 505U, 506U, 507U, 508U, 509U, 510U}) {
    EXPECT_EQ(ScanXpm(Device(5).Put(kFirst, kXpm).Put(kFirst + 1, offset, Literal("\0\0")).Put(kFirst + 2, kXpmTail)),
              (Hits{{kFirst, 512 + offset}}))
        << offset;
  }
}

TEST(CKGXpmFileType, SingleZeroByteEndsNothing) {
  Device device(5);
  device.Put(kFirst, kXpm).Put(kFirst + 1, 100, Literal("\0x\0")).Put(kFirst + 1, 511, Literal("\0"));
  device.Put(kFirst + 2, 1, Literal("\0")).Put(kFirst + 3, 0, Literal("\0")).Put(kFirst + 4, kXpmTail);
  EXPECT_EQ(ScanXpm(device), (Hits{{kFirst, 4 * 512 + 5}}));
}

TEST(CKGXpmFileType, ZeroBytesAcrossTwoSectorsEndOneByteInFrontOfTheSectorsEnd) {
  EXPECT_EQ(ScanXpm(Device(5).Put(kFirst, kXpm).Put(kFirst + 1, 511, Literal("\0\0"))), (Hits{{kFirst, 1023}}));
}

TEST(CKGXpmFileType, WhatComesFirstEnds) {
  const std::string zeros = Literal("\0\0");
  EXPECT_EQ(ScanXpm(Device(2).Put(kFirst, kXpm).Put(kFirst, 100, zeros + kXpmTail)), (Hits{{kFirst, 100}}));
  EXPECT_EQ(ScanXpm(Device(2).Put(kFirst, kXpm).Put(kFirst, 100, kXpmTail + zeros)), (Hits{{kFirst, 105}}));
}

TEST(CKGXpmFileType, NothingBehindTheEndIsLookedAt) {
  Device device(4);
  device.Put(kFirst, kXpm).Put(kFirst, 100, kXpmTail).Put(kFirst, 507, kXpmTail);
  device.Put(kFirst + 1, kXpm).Put(kFirst + 2, 8, kXpmTail);
  EXPECT_EQ(ScanXpm(device), (Hits{{kFirst, 105}, {kFirst + 1, 525}}));
  Device zeros(4);
  zeros.Put(kFirst, kXpm)
      .Put(kFirst, 100, Literal("\0\0"))
      .Put(kFirst, 511, Literal("\0"))
      .Put(kFirst + 1, Literal("\0"));
  EXPECT_EQ(ScanXpm(zeros), (Hits{{kFirst, 100}}));
}

TEST(CKGXpmFileType, NewHeadReportsTheFileBeforeAsItStands) {
  Device device(5, 16);
  device.Put(kFirst, kXpm).Put(kFirst + 2, kXpm).Put(kFirst + 4, kXpmTail);
  EXPECT_EQ(ScanXpm(device), (Hits{{kFirst, 32}, {kFirst + 2, 37}}));
}

TEST(CKGXpmFileType, WholeTailAtTheSectorsEndIsTakenForTheNextFilesWhenThatBeginsRightBehind) {
  EXPECT_EQ(ScanXpm(Device(4).Put(kFirst, kXpm).Put(kFirst, 507, kXpmTail).Put(kFirst + 1, kXpm)),
            (Hits{{kFirst, 512}, {kFirst + 1, 0}}));
}

TEST(CKGXpmFileType, FileAtSector0IsNotFollowed) {
  EXPECT_EQ(ScanXpm(Device(3, 512, 0).Put(0, kXpm).Put(1, kXpmTail)), Hits{});
  EXPECT_EQ(ScanXpm(Device(3, 512, 0).Put(0, kXpm).Put(1, kXpm + kXpmTail)), (Hits{{1, 14}}));
}

TEST(CKGXpmFileType, LimitOfTheHostIsIgnored) {
  const Detector detector = CreateDetector("CKGXpmFileType");
  detector->SetMaxFileSize(1);
  EXPECT_EQ(Scan(*detector, Device(2).Put(kFirst, kXpm + kXpmTail)), (Hits{{kFirst, 14}}));
}

TEST(CKGXpmFileType, FileWithoutEndIsGivenUpAt0x4000000) {
  constexpr int kMebibyte = 1 << 20;
  for (const std::string& end : {kXpmTail, Literal("\0")}) {
    const Detector detector = CreateDetector("CKGXpmFileType");
    const auto scan = [&](std::uint64_t sector, std::size_t offset, const std::string& bytes) {
      return Scan(*detector, Device(1, kMebibyte, sector, 'x').Put(sector, offset, bytes));
    };
    EXPECT_EQ(scan(kFirst, 0, kXpm), Hits{});
    for (std::uint64_t i = 1; i < 63; ++i) ASSERT_EQ(scan(kFirst + i, 0, "x"), Hits{});
    // What the last sector ends with is forgotten with the file.
    EXPECT_EQ(scan(kFirst + 63, kMebibyte - end.size(), end), (Hits{{kFirst, 0x4000000}}));
    EXPECT_EQ(scan(kFirst + 64, 0, Literal("\0x")), Hits{});
    EXPECT_EQ(scan(kFirst + 65, 0, kXpm), Hits{});
    EXPECT_EQ(scan(kFirst + 66, 7, kXpmTail), (Hits{{kFirst + 65, kMebibyte + 12}}));
  }
}

TEST(CKGXpmFileType, SizeAboveTheLimitIsCutToIt) {
  const Detector detector = CreateDetector("CKGXpmFileType");
  constexpr int kSize = 0x1600000;
  std::vector<std::uint8_t> memory(kSize, 'x');
  std::copy(kXpm.begin(), kXpm.end(), memory.begin());
  RecordingSink sink;
  for (const std::uint64_t sector : {kFirst, kFirst + 1, kFirst + 2}) {
    EXPECT_EQ(sink.Found(), Hits{});
    const RawSectorBlock block{sector, memory.data(), 1, kSize, nullptr};
    detector->Scan(&block, &sink);
    memory[0] = 'x';
  }
  EXPECT_EQ(sink.Found(), (Hits{{kFirst, 0x4000000}}));
}

TEST(CKGXpmFileType, ResetForgetsTheFileAndWhatTheSectorEndedWith) {
  for (const std::string& end : {kXpmTail, Literal("\0")}) {
    const Detector detector = CreateDetector("CKGXpmFileType");
    Scan(*detector, Device(1).Put(kFirst, kXpm).Put(kFirst, 512 - end.size(), end));
    detector->Reset();
    EXPECT_EQ(Scan(*detector, Device(1, 512, kFirst + 1).Put(kFirst + 1, Literal("\0x"))), Hits{});
    EXPECT_EQ(Scan(*detector, Device(1, 512, kFirst + 2).Put(kFirst + 2, kXpm)), Hits{});
  }
}

/// The rules taken step by step and byte by byte.
Hits LiteralXpm(const Device& device) {
  Hits hits;
  std::uint64_t start = 0;
  std::uint64_t size = 0;
  std::size_t tailMatched = 0;
  bool zeroPending = false;
  const std::string bytes(device.Bytes().begin(), device.Bytes().end());
  const auto n = static_cast<std::size_t>(device.SectorSize());
  const auto report = [&] {
    hits.push_back({start, size});
    start = size = 0;
  };
  const auto ends = [&](const std::string& s, const std::string& rest) {
    if (tailMatched != 0) {
      const std::size_t k = tailMatched;
      tailMatched = 0;
      if (rest.compare(0, 5 - k, kXpmTail, k) == 0) {
        size += 5 - k;
        zeroPending = false;
        return true;
      }
    } else if (zeroPending) {
      zeroPending = false;
      if (s[0] == 0) {
        size -= 1;
        return true;
      }
    }
    std::size_t i = 0;
    for (; i + 5 < n; ++i) {
      if (s.compare(i, 5, kXpmTail) == 0) {
        size += i + 5;
        return true;
      }
      if (s[i] == 0 && s[i + 1] == 0) {
        size += i;
        return true;
      }
    }
    for (; i < n; ++i) {
      if (s[i] == '"' && s.compare(i, n - i, kXpmTail, 0, n - i) == 0) {
        tailMatched = n - i;
        return false;
      }
      if (s[i] == 0 && i == n - 1) zeroPending = true;
      if (s[i] == 0 && i < n - 1 && s[i + 1] == 0) {
        size += i;
        return true;
      }
    }
    return false;
  };
  for (std::size_t index = 0; index * n < bytes.size(); ++index) {
    const std::string rest = bytes.substr(index * n, n + 9);
    if (rest.compare(0, 9, kXpm) == 0) {
      if (size != 0) report();
      start = device.FirstSector() + index;
    }
    if (start == 0) continue;
    if (ends(rest.substr(0, n), rest)) {
      report();
      continue;
    }
    size += n;
  }
  return hits;
}

TEST(CKGXpmFileType, AgreesWithTheRulesTakenByteByByte) {
  const std::vector<std::string> pieces = {kXpm, kXpmTail, Literal("\0\0"), Literal("\0\"\n}"), "\"\n\"\n"};
  std::mt19937 random(7);
  std::size_t found = 0;
  for (int i = 0; i < 2000; ++i) {
    const Device device = DeviceMadeOf(random, pieces, 1, 40, random() % 8 == 0 ? 0 : kFirst);
    const Hits expected = LiteralXpm(device);
    ASSERT_EQ(Scan(*CreateDetector("CKGXpmFileType"), device), expected) << i;
    found += expected.size();
  }
  EXPECT_GT(found, 2000U);
}

}  // namespace
}  // namespace qzmtraw::test
