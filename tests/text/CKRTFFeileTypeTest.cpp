#include <gtest/gtest.h>

#include <random>

#include "tests/support/Scanning.h"

namespace qzmtraw::test {
namespace {

constexpr std::uint64_t kFirst = Device::kFirstSector;
constexpr std::uint64_t kLimit = 0x4000000;
const std::string kHead = "{\\rtf1";

Hits ScanRtf(const Device& device) { return ScanAnyCut("CKRTFFeileType", device); }

TEST(CKRTFFeileType, EndsWithItsGroup) {
  EXPECT_EQ(ScanRtf(Device(9).Put(kFirst + 1, kHead + "{a{b}{c}}{d}").Put(kFirst + 3, 100, "}")),
            (Hits{{kFirst + 1, 1024 + 101}}));
}

TEST(CKRTFFeileType, HasNoLeastSize) { EXPECT_EQ(ScanRtf(Device(9).Put(kFirst, kHead + "}")), (Hits{{kFirst, 7}})); }

TEST(CKRTFFeileType, HeadHasADigitFrom1To9) {
  for (const char* head : {"{\\rtf1", "{\\rtf9"})
    EXPECT_EQ(ScanRtf(Device(9).Put(kFirst, head).Put(kFirst, 9, "}")).size(), 1U);
  for (const char* head : {"{\\rtf0", "{\\rtf:", "{\\rtf/", "{\\rtf ", "{\\RTF1", "\\rtf1 "}) {
    EXPECT_EQ(ScanRtf(Device(9).Put(kFirst, head).Put(kFirst, 9, "}")), Hits{}) << head;
  }
}

TEST(CKRTFFeileType, NeedsSectorsOf51Bytes) {
  for (const int size : {50, 51}) {
    EXPECT_EQ(ScanRtf(Device(9, size).Put(kFirst, kHead + "}")), size == 51 ? (Hits{{kFirst, 7}}) : Hits{});
  }
}

TEST(CKRTFFeileType, EndIsSeenAtEveryOffset) {
  for (std::size_t offset = 6; offset < 1024; ++offset) {
    ASSERT_EQ(ScanRtf(Device(3).Put(kFirst, kHead).Put(kFirst, offset, "}")), (Hits{{kFirst, offset + 1}}));
  }
}

TEST(CKRTFFeileType, EscapedBracesCountAsWell) {
  EXPECT_EQ(ScanRtf(Device(9).Put(kFirst, kHead + "\\{ \\} }")), (Hits{{kFirst, 13}}));
  EXPECT_EQ(ScanRtf(Device(9).Put(kFirst, kHead + "\\} }")), (Hits{{kFirst, 8}}));
}

TEST(CKRTFFeileType, ZeroEndsTheDocumentAndCounts) {
  for (const std::size_t offset : {6U, 63U, 64U, 511U, 512U, 700U}) {
    EXPECT_EQ(ScanRtf(Device(9).Put(kFirst, kHead + "{{{").Put(kFirst, offset + 3, Literal("\0"))),
              (Hits{{kFirst, offset + 4}}));
  }
}

TEST(CKRTFFeileType, GroupsThatAZeroLeavesOpenCountForTheNextDocument) {
  // Three are left: the next document needs four ends.
  const auto next = [](const std::string& ends) {
    Device device(9);
    return ScanRtf(device.Put(kFirst, kHead + "{{" + Literal("\0")).Put(kFirst + 2, kHead + ends));
  };
  const Hit cut{kFirst, 9};
  EXPECT_EQ(next("}}}"), (Hits{cut}));
  EXPECT_EQ(next("}}}}"), (Hits{cut, {kFirst + 2, 10}}));
}

TEST(CKRTFFeileType, GroupsThatANewHeadLeavesOpenCountForIt) {
  const auto next = [](const std::string& ends) {
    return ScanRtf(Device(9).Put(kFirst, kHead).Put(kFirst + 2, kHead + ends));
  };
  EXPECT_EQ(next("}"), (Hits{{kFirst, 1024}}));
  EXPECT_EQ(next("}}"), (Hits{{kFirst, 1024}, {kFirst + 2, 8}}));
}

TEST(CKRTFFeileType, OnlyResetForgetsTheGroups) {
  const Detector detector = CreateDetector("CKRTFFeileType");
  EXPECT_EQ(Scan(*detector, Device(1).Put(kFirst, kHead + "{{" + Literal("\0"))), (Hits{{kFirst, 9}}));
  detector->SetMaxFileSize(3);
  EXPECT_EQ(Scan(*detector, Device(1).Put(kFirst, kHead + "}")), Hits{});
  detector->Reset();
  EXPECT_EQ(Scan(*detector, Device(1, 512, kFirst + 1).Put(kFirst + 1, "}}}}}}}")), Hits{});
  EXPECT_EQ(Scan(*detector, Device(1).Put(kFirst, kHead + "}")), (Hits{{kFirst, 7}}));
}

TEST(CKRTFFeileType, DocumentAtSector0IsFollowedButNotReportedByANewHead) {
  EXPECT_EQ(ScanRtf(Device(9, 512, 0).Put(0, kHead).Put(2, 9, "}")), (Hits{{0, 1034}}));
  EXPECT_EQ(ScanRtf(Device(9, 512, 0).Put(0, kHead).Put(2, kHead + "}}")), (Hits{{2, 8}}));
}

TEST(CKRTFFeileType, NothingBehindTheEndIsCounted) {
  EXPECT_EQ(ScanRtf(Device(9).Put(kFirst, kHead + "}{{{}").Put(kFirst + 2, kHead + "}")),
            (Hits{{kFirst, 7}, {kFirst + 2, 7}}));
}

TEST(CKRTFFeileType, DeepGroupsAreCounted) {
  const std::string groups = std::string(1000, '{') + std::string(1000, '}');
  EXPECT_EQ(ScanRtf(Device(20).Put(kFirst, kHead + groups + "}")), (Hits{{kFirst, 2007}}));
}

TEST(CKRTFFeileType, DocumentWithoutEndIsGivenUpAtTheLimit) {
  constexpr int kSize = 1 << 20;
  const Detector detector = CreateDetector("CKRTFFeileType");
  detector->SetMaxFileSize(10);
  Scan(*detector, Device(1, kSize).Put(kFirst, kHead));
  for (std::uint64_t i = 1; i + 1 < kLimit / kSize; ++i)
    ASSERT_EQ(Scan(*detector, Device(1, kSize, kFirst + i)), Hits{});
  EXPECT_EQ(Scan(*detector, Device(1, kSize, kFirst + 63)), (Hits{{kFirst, kLimit}}));
  EXPECT_EQ(Scan(*detector, Device(1, kSize, kFirst + 64).Put(kFirst + 64, "}")), Hits{});
  // The group is still open.
  EXPECT_EQ(Scan(*detector, Device(1).Put(kFirst, kHead + "}}")), (Hits{{kFirst, 8}}));
}

TEST(CKRTFFeileType, EndInTheLastSectorIsNotCut) {
  constexpr int kSize = 3 << 20;
  const Detector detector = CreateDetector("CKRTFFeileType");
  Scan(*detector, Device(1, kSize).Put(kFirst, kHead));
  for (std::uint64_t i = 1; i < 21; ++i) ASSERT_EQ(Scan(*detector, Device(1, kSize, kFirst + i)), Hits{});
  EXPECT_EQ(Scan(*detector, Device(1, kSize, kFirst + 21).Put(kFirst + 21, (2 << 20) - 1, "}")),
            (Hits{{kFirst, (std::uint64_t{65} << 20)}}));
}

Hits ScanLiterally(const Device& device) {
  const std::string bytes(device.Bytes().begin(), device.Bytes().end());
  const auto n = static_cast<std::size_t>(device.SectorSize());
  Hits hits;
  bool open = false;
  std::uint64_t start = 0;
  std::uint64_t size = 0;
  std::vector<char> braces;
  for (std::size_t base = 0; base < bytes.size(); base += n) {
    if (n >= 51 && bytes.compare(base, 5, "{\\rtf") == 0 && bytes[base + 5] >= '1' && bytes[base + 5] <= '9') {
      if (size != 0 && start != 0) hits.push_back({start, size});
      start = device.FirstSector() + base / n;
      size = 0;
      open = true;
    }
    if (!open) continue;
    bool ended = false;
    for (std::size_t i = 0; i < n && !ended; ++i) {
      const char byte = bytes[base + i];
      if (byte == '{') braces.push_back(byte);
      if (byte == '}') braces.pop_back();
      if (!braces.empty() && byte != '\0') continue;
      hits.push_back({start, size + i + 1});
      ended = true;
    }
    size += n;
    if (ended) {
      open = false;
      start = size = 0;
    }
  }
  return hits;
}

TEST(CKRTFFeileType, AgreesWithTheRulesTakenByteByByte) {
  const std::string pieces[] = {"{", "}", "{}", "{{}", "}}", "\\{", "y", "{\\rtf"};
  std::size_t found = 0;
  for (std::uint32_t seed = 0; seed < 4000; ++seed) {
    std::mt19937 random(seed);
    const std::size_t sectorSize = 45 + random() % 200;
    const std::size_t size = sectorSize * (1 + random() % 60);
    std::string bytes;
    while (bytes.size() < size) {
      if (random() % 40 == 0) {
        bytes.resize((bytes.size() + sectorSize - 1) / sectorSize * sectorSize, 'x');
        bytes += kHead;
      }
      bytes += random() % 60 == 0 ? Literal("\0") : pieces[random() % std::size(pieces)];
      bytes.resize(bytes.size() + (random() % 3 == 0 ? random() % 60 : 0), 'x');
    }
    bytes.resize(size);
    Device device(static_cast<int>(size / sectorSize), static_cast<int>(sectorSize), seed % 8 == 0 ? 0 : kFirst);
    device.Put(device.FirstSector(), bytes);
    const Hits expected = ScanLiterally(device);
    ASSERT_EQ(Scan(*CreateDetector("CKRTFFeileType"), device), expected) << "seed " << seed;
    found += expected.size();
  }
  EXPECT_GT(found, 1000U);
}

}  // namespace
}  // namespace qzmtraw::test
