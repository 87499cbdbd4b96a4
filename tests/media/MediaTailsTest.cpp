// The kinds that a tail ends: CKMAmvFileType, CKMFbxFileType, CKMOfrFileType.

#include <gtest/gtest.h>

#include <functional>
#include <random>

#include "tests/support/LiteralTailWalk.h"
#include "tests/support/Scanning.h"

namespace qzmtraw::test {
namespace {

constexpr std::uint64_t kFirst = Device::kFirstSector;
constexpr std::uint64_t kLimit = 0x64000000;

const std::string kAmvHead = Literal("RIFF\0\0\0\0AMV LIST");
const std::string kAmvTail = "AMV_END_";
const std::string kFbxHead = "Kaydara FBX Binary  ";
const std::string kFbxTail = Literal("\xEC\xE9\x0C\xE3\x75\x8F\x29\x0B");
const std::string kOfrHead = "OFR " + std::string(19, 'x') + "HEAD";
const std::string kOfrTail = Literal("APETAGEX\xD0\x07");
/// A tail with the footer's bytes behind it, and a zero.
const std::string kOfrEnd = kOfrTail + std::string(22, 'y') + Literal("\0");

struct Kind {
  const char* className;
  const std::string& head;
  const std::string& tail;
};
const Kind kKinds[] = {{"CKMAmvFileType", kAmvHead, kAmvTail},
                       {"CKMFbxFileType", kFbxHead, kFbxTail},
                       {"CKMOfrFileType", kOfrHead, kOfrEnd}};

Hits ScanAmv(const Device& device) { return ScanAnyCut("CKMAmvFileType", device); }
Hits ScanFbx(const Device& device) { return ScanAnyCut("CKMFbxFileType", device); }
Hits ScanOfr(const Device& device) { return ScanAnyCut("CKMOfrFileType", device); }

TEST(MediaTails, EveryByteOfTheHeadCounts) {
  for (const Kind& kind : kKinds) {
    // A tail across two sectors, which all three see.
    const auto scan = [&](const std::string& head) {
      return ScanAnyCut(kind.className, Device(5).Put(kFirst, head).Put(kFirst + 1, 510, kind.tail));
    };
    EXPECT_EQ(scan(kind.head).size(), 1U) << kind.className;
    std::size_t counted = 0;
    for (std::size_t i = 0; i < kind.head.size(); ++i) {
      std::string other = kind.head;
      other[i] = static_cast<char>(other[i] ^ 1);
      if (scan(other).empty()) ++counted;
    }
    EXPECT_EQ(counted, kind.head == kAmvHead ? 12U : kind.head == kFbxHead ? 20U : 8U) << kind.className;
  }
}

TEST(MediaTails, NewHeadReportsTheFileBeforeAsItStands) {
  for (const Kind& kind : kKinds) {
    Device device(9);
    device.Put(kFirst + 1, kind.head).Put(kFirst + 4, kind.head);
    EXPECT_EQ(ScanAnyCut(kind.className, device), (Hits{{kFirst + 1, 3 * 512}})) << kind.className;
  }
}

TEST(MediaTails, FileAtSector0IsNotFollowed) {
  for (const Kind& kind : kKinds) {
    Device device(9, 512, 0);
    device.Put(0, kind.head).Put(2, 510, kind.tail);
    EXPECT_EQ(ScanAnyCut(kind.className, device), Hits{}) << kind.className;
  }
}

TEST(MediaTails, CarriedTailIsNotClearedByAHead) {
  for (const Kind& kind : kKinds) {
    if (kind.head == kOfrHead) continue;  // Its whole tails are pending, not matched.
    // A whole tail that touches the sector's end is carried on. The head closes the file before, and the tail then
    // ends the file that the head has opened.
    Device device(9, 64);
    device.Put(kFirst, kind.head).Put(kFirst, 64 - kind.tail.size(), kind.tail);
    device.Put(kFirst + 1, kind.head).Put(kFirst + 3, kind.head);
    EXPECT_EQ(ScanAnyCut(kind.className, device), (Hits{{kFirst, 64}, {kFirst + 1, 0}})) << kind.className;
  }
}

TEST(CKMOfrFileType, ResetForgetsAPendingFooter) {
  const Detector detector = CreateDetector("CKMOfrFileType");
  Scan(*detector, Device(1).Put(kFirst, kOfrHead).Put(kFirst, 512 - 20, kOfrTail));
  detector->Reset();
  Device next(1, 512, kFirst + 1);
  next.Put(kFirst + 1, kOfrHead).Put(kFirst + 1, 12, Literal("\0"));
  EXPECT_EQ(Scan(*detector, next), Hits{});
}

TEST(MediaTails, FileWithoutATailEndsAboveTheLimit) {
  constexpr int kMebibyte = 1 << 20;
  for (const Kind& kind : kKinds) {
    const Detector detector = CreateDetector(kind.className);
    detector->SetMaxFileSize(10);
    RecordingSink sink;
    std::vector<std::uint8_t> memory(kMebibyte, 'z');
    const auto feed = [&](std::uint64_t sector) {
      const RawSectorBlock block{sector, memory.data(), 1, kMebibyte, nullptr};
      detector->Scan(&block, &sink);
    };
    std::copy(kind.head.begin(), kind.head.end(), memory.begin());
    feed(kFirst);
    std::fill_n(memory.begin(), 64, 'z');
    for (std::uint64_t i = 1; i < 1600; ++i) feed(kFirst + i);
    EXPECT_EQ(sink.Found(), Hits{});
    // What ends the sector in which the limit is passed is forgotten.
    const std::string& tail = kind.head == kOfrHead ? kOfrTail : kind.tail;
    std::copy(tail.rbegin(), tail.rend(), memory.rbegin());
    feed(kFirst + 1600);
    EXPECT_EQ(sink.Found(), (Hits{{kFirst, kLimit}}));
    std::copy(kind.head.begin(), kind.head.end(), memory.begin());
    memory[32 - kOfrTail.size()] = 0;
    feed(kFirst + 1601);
    EXPECT_EQ(sink.Found().size(), 1U) << kind.className;
  }
}

TEST(MediaTails, ResetForgetsTheFileAndTheBeginningOfATail) {
  for (const Kind& kind : kKinds) {
    for (const std::size_t inFirst : {3U, 8U, 20U}) {
      const Detector detector = CreateDetector(kind.className);
      if (inFirst > kind.tail.size()) continue;
      Scan(*detector, Device(1).Put(kFirst, kind.head).Put(kFirst, 512 - inFirst, kind.tail.substr(0, inFirst)));
      detector->Reset();
      Device next(1, 512, kFirst + 1, 0);
      next.Put(kFirst + 1, kind.tail.substr(inFirst));
      EXPECT_EQ(Scan(*detector, next), Hits{});
      EXPECT_EQ(Scan(*detector, Device(1, 512, kFirst + 2, 0).Put(kFirst + 2, kind.head)), Hits{}) << kind.className;
    }
  }
}

TEST(CKMAmvFileType, FirstFourBytesAreEnoughInsideASectorAndAllEightCount) {
  EXPECT_EQ(ScanAmv(Device(5).Put(kFirst, kAmvHead).Put(kFirst + 2, 100, kAmvTail)), (Hits{{kFirst, 1024 + 108}}));
  EXPECT_EQ(ScanAmv(Device(5).Put(kFirst, kAmvHead).Put(kFirst + 2, 100, "AMV_xxxx")), (Hits{{kFirst, 1024 + 108}}));
  EXPECT_EQ(ScanAmv(Device(5).Put(kFirst, kAmvHead).Put(kFirst + 2, 503, "AMV_")), (Hits{{kFirst, 1024 + 511}}));
  EXPECT_EQ(ScanAmv(Device(5).Put(kFirst, kAmvHead).Put(kFirst + 2, 504, "AMV_")), Hits{});
}

TEST(CKMAmvFileType, TailAcrossTwoSectorsIsComparedInFull) {
  for (std::size_t inFirst = 1; inFirst <= 8; ++inFirst) {
    Device device(5);
    device.Put(kFirst, kAmvHead).Put(kFirst + 1, 512 - inFirst, kAmvTail);
    EXPECT_EQ(ScanAmv(device), (Hits{{kFirst, 1024 + 8 - inFirst}})) << inFirst;
    if (inFirst == 8) continue;
    device.Put(kFirst + 2, 7 - inFirst, "x");
    EXPECT_EQ(ScanAmv(device), Hits{}) << inFirst;
  }
}

TEST(CKMFbxFileType, TailInsideASectorNeverEndsTheFile) {
  Device device(9);
  device.Put(kFirst, kFbxHead).Put(kFirst + 1, 100, kFbxTail).Put(kFirst + 1, 200, kFbxTail + Literal("\0\0\0\0\0"));
  device.Put(kFirst + 2, 503, kFbxTail);
  EXPECT_EQ(ScanFbx(device), Hits{});
  device.Put(kFirst + 5, kFbxHead);
  EXPECT_EQ(ScanFbx(device), (Hits{{kFirst, 5 * 512}}));
}

TEST(CKMFbxFileType, TailThatTouchesOrCrossesASectorsEndEndsTheFile) {
  for (std::size_t inFirst = 1; inFirst <= 8; ++inFirst) {
    Device device(9);
    device.Put(kFirst, kFbxHead).Put(kFirst + 1, 512 - inFirst, kFbxTail);
    EXPECT_EQ(ScanFbx(device), (Hits{{kFirst, 1024 + 8 - inFirst}})) << inFirst;
  }
}

void CheckAgainstLiteralWalk(const char* className, const LiteralTailWalk& rules) {
  std::size_t found = 0;
  for (std::uint32_t seed = 0; seed < 3000; ++seed) {
    const Device device = DeviceOfPieces(seed, rules.heads, rules.tail);
    const Hits expected = rules.Scan(device);
    ASSERT_EQ(Scan(*CreateDetector(className), device), expected) << className << ", seed " << seed;
    found += expected.size();
  }
  EXPECT_GT(found, 500U) << className;
}

TEST(MediaTails, AgreeWithTheRulesTakenByteByByte) {
  LiteralTailWalk rules{{kAmvHead},
                        kAmvTail,
                        [](std::size_t offset) { return offset + 8; },
                        [](std::size_t matched) { return 8 - matched; },
                        kLimit + 1,
                        kLimit};
  rules.comparedBytes = 4;
  CheckAgainstLiteralWalk("CKMAmvFileType", rules);
  rules.comparedBytes = 0;
  rules.heads = {kFbxHead};
  rules.tail = kFbxTail;
  rules.seesWholeTails = false;
  CheckAgainstLiteralWalk("CKMFbxFileType", rules);
}

TEST(CKMOfrFileType, EndsWithTheFooterIfAZeroByteFollows) {
  Device device(5);
  device.Put(kFirst, kOfrHead).Put(kFirst + 2, 100, kOfrEnd);
  EXPECT_EQ(ScanOfr(device), (Hits{{kFirst, 1024 + 132}}));
  EXPECT_EQ(ScanOfr(device.Put(kFirst + 2, 132, "x")), Hits{});
  EXPECT_EQ(ScanOfr(device.Put(kFirst + 2, 200, kOfrEnd)), (Hits{{kFirst, 1024 + 232}}));
}

TEST(CKMOfrFileType, FooterMayEndOneByteInFrontOfTheSectorsEnd) {
  EXPECT_EQ(ScanOfr(Device(5).Put(kFirst, kOfrHead).Put(kFirst + 2, 479, kOfrEnd)), (Hits{{kFirst, 1024 + 511}}));
}

TEST(CKMOfrFileType, FooterThatEndsWithTheSectorIsNotSeen) {
  EXPECT_EQ(ScanOfr(Device(5).Put(kFirst, kOfrHead).Put(kFirst + 2, 480, kOfrEnd)), Hits{});
}

TEST(CKMOfrFileType, FooterBehindAWholeTailAcrossTwoSectorsCountsItsFirstBytesTwice) {
  for (std::size_t inFirst = 10; inFirst <= 31; ++inFirst) {
    Device device(9);
    device.Put(kFirst, kOfrHead).Put(kFirst + 1, 512 - inFirst, kOfrEnd);
    EXPECT_EQ(ScanOfr(device), (Hits{{kFirst, 1024 + 32}})) << inFirst;
    EXPECT_EQ(ScanOfr(device.Put(kFirst + 2, 32 - inFirst, "x")), Hits{}) << inFirst;
    EXPECT_EQ(ScanOfr(device.Put(kFirst + 4, 7, kOfrEnd)), (Hits{{kFirst, 2048 + 39}})) << inFirst;
  }
}

TEST(CKMOfrFileType, TailAcrossTwoSectorsCountsWhatLiesInTheSecond) {
  for (std::size_t inFirst = 1; inFirst <= 9; ++inFirst) {
    Device device(9);
    device.Put(kFirst, kOfrHead).Put(kFirst + 1, 512 - inFirst, kOfrEnd);
    EXPECT_EQ(ScanOfr(device), (Hits{{kFirst, 1024 + 32 - inFirst}})) << inFirst;
    EXPECT_EQ(ScanOfr(device.Put(kFirst + 2, 32 - inFirst, "x")), Hits{}) << inFirst;
    EXPECT_EQ(ScanOfr(device.Put(kFirst + 4, 7, kOfrEnd)), (Hits{{kFirst, 2048 + 39}})) << inFirst;
  }
}

TEST(CKMOfrFileType, PendingFooterOutlivesASectorThatTriedABeginningOfATail) {
  // Sector 1 ends with a whole tail and the beginning of another. Sector 2 doesn't go on with it; then sector 3 is
  // asked for the zero of the first.
  Device device(9);
  device.Put(kFirst, kOfrHead).Put(kFirst + 1, 512 - 20, kOfrTail).Put(kFirst + 1, 509, "APE");
  EXPECT_EQ(ScanOfr(device), Hits{});
  device.Put(kFirst + 3, 12, Literal("\0"));
  EXPECT_EQ(ScanOfr(device), (Hits{{kFirst, 3 * 512 + 32}}));
}

TEST(CKMOfrFileType, PendingFooterOutlivesANewHead) {
  Device device(9);
  device.Put(kFirst, kOfrHead).Put(kFirst, 512 - 20, kOfrTail);
  device.Put(kFirst + 1, kOfrHead).Put(kFirst + 1, 12, Literal("\0"));
  EXPECT_EQ(ScanOfr(device), (Hits{{kFirst, 512}, {kFirst + 1, 32}}));
}

TEST(CKMOfrFileType, TailsBehindTheFilesEndAreInheritedByTheNextFile) {
  Device device(9);
  device.Put(kFirst, kOfrHead).Put(kFirst, 100, kOfrEnd).Put(kFirst, 512 - 20, kOfrTail);
  device.Put(kFirst + 2, kOfrHead).Put(kFirst + 2, 12, Literal("\0"));
  EXPECT_EQ(ScanOfr(device), (Hits{{kFirst, 132}, {kFirst + 2, 32}}));
  Device other(9);
  other.Put(kFirst, kOfrHead).Put(kFirst, 100, kOfrEnd).Put(kFirst, 508, "APET");
  other.Put(kFirst + 2, kOfrHead).Put(kFirst + 3, 9, kOfrEnd);
  EXPECT_EQ(ScanOfr(other), (Hits{{kFirst, 132}, {kFirst + 2, 512 + 41}}));
}

/// The rules of OptimFROG files, step by step and byte by byte.
Hits WalkOfrLiterally(const Device& device) {
  Hits hits;
  std::uint64_t fileStart = 0;
  std::uint64_t fileSize = 0;
  std::size_t tailMatched = 0;
  std::size_t pendingEnd = 0;
  const std::string bytes(device.Bytes().begin(), device.Bytes().end());
  const auto n = static_cast<std::size_t>(device.SectorSize());
  const auto report = [&] {
    hits.push_back({fileStart, fileSize});
    fileStart = fileSize = 0;
  };
  for (int index = 0; index < device.SectorCount(); ++index) {
    // What lies behind the sector is there too.
    const std::string s = bytes.substr(static_cast<std::size_t>(index) * n);
    const auto isZero = [&](std::size_t offset) { return offset >= s.size() || s[offset] == 0; };
    if (s.compare(0, 4, "OFR ") == 0 && s.size() >= 27 && s.compare(23, 4, "HEAD") == 0) {
      if (fileSize != 0) report();
      fileStart = device.FirstSector() + static_cast<std::uint64_t>(index);
    }
    if (fileStart == 0) continue;
    if (tailMatched != 0) {
      const std::size_t k = tailMatched;
      tailMatched = 0;
      if (s.compare(0, 10 - k, kOfrTail, k, 10 - k) == 0 && isZero(32 - k)) {
        fileSize += 32 - k;
        report();
        continue;
      }
    } else if (pendingEnd != 0) {
      const std::size_t k = pendingEnd;
      pendingEnd = 0;
      if (isZero(32 - k)) {
        fileSize += 32;
        report();
        continue;
      }
    }
    bool ended = false;
    std::size_t i = 0;
    for (; i + 32 < n && !ended; ++i) {
      if (s.compare(i, 10, kOfrTail) != 0 || s[i + 32] != 0) continue;
      fileSize += i + 32;
      report();
      ended = true;
    }
    for (; i < n; ++i) {
      if (i + 10 <= n) {
        if (i + 32 > n && s.compare(i, 10, kOfrTail) == 0) pendingEnd = n - i;
      } else if (s.compare(i, n - i, kOfrTail, 0, n - i) == 0) {
        tailMatched = n - i;
        break;
      }
    }
    if (!ended) fileSize += n;
  }
  return hits;
}

TEST(CKMOfrFileType, AgreesWithTheRulesTakenByteByByte) {
  std::size_t found = 0;
  for (std::uint32_t seed = 0; seed < 4000; ++seed) {
    std::mt19937 random(seed);
    const std::size_t sectorSize = 1 + random() % 100;
    const std::size_t sectorCount = 1 + random() % 50;
    std::string bytes;
    while (bytes.size() < sectorSize * sectorCount) {
      switch (random() % 8) {
        case 0:
          bytes += kOfrHead;
          break;
        case 1:
          bytes += kOfrEnd;
          break;
        case 2:
          bytes += kOfrEnd.substr(0, random() % 33) + std::string(random() % 2, 'y');
          break;
        case 3:
          bytes += kOfrTail.substr(random() % 10);
          break;
        case 4:
          bytes += std::string(random() % 40, '\0');
          break;
        case 5:
          bytes += std::string(random() % 40, 'x');
          break;
        default:
          bytes.resize((bytes.size() / sectorSize + 1) * sectorSize, static_cast<char>(random() % 2));
      }
    }
    bytes.resize(sectorSize * sectorCount);
    Device device(static_cast<int>(sectorCount), static_cast<int>(sectorSize), random() % 8 == 0 ? 0 : kFirst);
    device.Put(device.FirstSector(), bytes);
    const Hits expected = WalkOfrLiterally(device);
    ASSERT_EQ(Scan(*CreateDetector("CKMOfrFileType"), device), expected) << "seed " << seed;
    found += expected.size();
  }
  EXPECT_GT(found, 1000U);
}

}  // namespace
}  // namespace qzmtraw::test
