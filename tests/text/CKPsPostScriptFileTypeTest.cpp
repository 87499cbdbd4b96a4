#include <gtest/gtest.h>

#include <random>

#include "tests/support/Scanning.h"

namespace qzmtraw::test {
namespace {

constexpr std::uint64_t kFirst = Device::kFirstSector;
constexpr std::uint64_t kLimit = 0x6400000;
const std::string kHead = "%!PS-Adobe-";
const std::string kCatalogue = "% print a (sorted) font catalogue\r\n%";

Hits ScanPs(const Device& device) { return ScanAnyCut("CKPsPostScriptFileType", device); }

TEST(CKPsPostScriptFileType, EndsWithTheFirstTwoZeros) {
  for (const std::size_t offset : {0U, 1U, 100U, 509U, 510U}) {
    EXPECT_EQ(ScanPs(Device(9).Put(kFirst + 1, kHead).Put(kFirst + 4, offset, Literal("\0\0\0\0").substr(0, 2))),
              (Hits{{kFirst + 1, 3 * 512 + offset}}))
        << offset;
  }
}

TEST(CKPsPostScriptFileType, OneZeroDoesNotEndTheFile) {
  EXPECT_EQ(
      ScanPs(Device(9).Put(kFirst, kHead).Put(kFirst + 2, 9, Literal("\0y\0")).Put(kFirst + 4, 9, Literal("\0\0"))),
      (Hits{{kFirst, 4 * 512 + 9}}));
}

TEST(CKPsPostScriptFileType, HeadIsTheHeaderOrTheCatalogue) {
  const auto scan = [](const std::string& head) {
    return ScanPs(Device(9).Put(kFirst, head).Put(kFirst + 2, 9, Literal("\0\0"))).size();
  };
  EXPECT_EQ(scan(kHead), 1U);
  EXPECT_EQ(scan(kCatalogue), 1U);
  for (std::size_t i = 0; i < kHead.size(); ++i) {
    std::string head = kHead;
    head[i] = 'y';
    EXPECT_EQ(scan(head), 0U) << i;
  }
  for (std::size_t i = 0; i < kCatalogue.size(); ++i) {
    std::string head = kCatalogue;
    head[i] = 'Y';
    EXPECT_EQ(scan(head), 0U) << i;
  }
}

TEST(CKPsPostScriptFileType, ZerosAcrossTwoSectorsLeaveOutTheFirst) {
  EXPECT_EQ(ScanPs(Device(9).Put(kFirst, kHead).Put(kFirst + 2, 511, Literal("\0\0"))), (Hits{{kFirst, 3 * 512 - 1}}));
  // The same where the file fills its last sector and ends with a zero of its own.
  EXPECT_EQ(
      ScanPs(Device(9).Put(kFirst, kHead).Put(kFirst, 511, Literal("\0")).Put(kFirst + 1, std::string(512, '\0'))),
      (Hits{{kFirst, 511}}));
}

TEST(CKPsPostScriptFileType, FileThatFillsItsLastSectorKeepsItsSize) {
  EXPECT_EQ(ScanPs(Device(9).Put(kFirst, kHead).Put(kFirst + 3, std::string(512, '\0'))), (Hits{{kFirst, 3 * 512}}));
  // One zero at the next sector's start is not looked at alone.
  EXPECT_EQ(ScanPs(Device(9).Put(kFirst, kHead).Put(kFirst + 3, Literal("\0"))), Hits{});
}

TEST(CKPsPostScriptFileType, ZeroAtTheEndIsForgottenWhenNoneFollows) {
  Device device(9);
  device.Put(kFirst, kHead).Put(kFirst + 2, 511, Literal("\0")).Put(kFirst + 4, Literal("\0"));
  device.Put(kFirst + 6, 8, Literal("\0\0"));
  EXPECT_EQ(ScanPs(device), (Hits{{kFirst, 6 * 512 + 8}}));
}

TEST(CKPsPostScriptFileType, ZerosInTheHeadsSectorEndTheFile) {
  EXPECT_EQ(ScanPs(Device(9).Put(kFirst, kHead + Literal("\0\0"))), (Hits{{kFirst, 11}}));
}

TEST(CKPsPostScriptFileType, NewHeadReportsTheFileBeforeAsItStands) {
  Device device(9);
  device.Put(kFirst, kHead).Put(kFirst + 2, kHead).Put(kFirst + 3, kCatalogue).Put(kFirst + 5, 3, Literal("\0\0"));
  EXPECT_EQ(ScanPs(device), (Hits{{kFirst, 1024}, {kFirst + 2, 512}, {kFirst + 3, 1027}}));
}

TEST(CKPsPostScriptFileType, FileAtSector0IsNotFollowed) {
  EXPECT_EQ(ScanPs(Device(9, 512, 0).Put(0, kHead).Put(2, Literal("\0\0"))), Hits{});
}

TEST(CKPsPostScriptFileType, FileWithoutEndIsGivenUpAtTheLimit) {
  constexpr int kSize = 1 << 20;
  const Detector detector = CreateDetector("CKPsPostScriptFileType");
  detector->SetMaxFileSize(10);
  ASSERT_EQ(Scan(*detector, Device(1, kSize).Put(kFirst, kHead)), Hits{});
  for (std::uint64_t i = 1; i + 1 < kLimit / kSize; ++i)
    ASSERT_EQ(Scan(*detector, Device(1, kSize, kFirst + i)), Hits{});
  // The zero at the end is forgotten with the rest.
  EXPECT_EQ(Scan(*detector, Device(1, kSize, kFirst + 99).Put(kFirst + 99, kSize - 1, Literal("\0"))),
            (Hits{{kFirst, kLimit}}));
  EXPECT_EQ(Scan(*detector, Device(1, kSize, kFirst + 100, 0)), Hits{});
}

TEST(CKPsPostScriptFileType, SizeAboveTheLimitIsCutToIt) {
  constexpr int kSize = 3 << 20;
  const Detector detector = CreateDetector("CKPsPostScriptFileType");
  Scan(*detector, Device(1, kSize).Put(kFirst, kHead));
  for (std::uint64_t i = 1; i < 33; ++i) ASSERT_EQ(Scan(*detector, Device(1, kSize, kFirst + i)), Hits{});
  EXPECT_EQ(Scan(*detector, Device(1, kSize, kFirst + 33)), (Hits{{kFirst, kLimit}}));
}

TEST(CKPsPostScriptFileType, ResetForgetsTheFileAndItsZero) {
  const Detector detector = CreateDetector("CKPsPostScriptFileType");
  Scan(*detector, Device(1).Put(kFirst, kHead).Put(kFirst, 511, Literal("\0")));
  detector->Reset();
  EXPECT_EQ(Scan(*detector, Device(1, 512, kFirst + 1, 0)), Hits{});
}

Hits ScanLiterally(const Device& device) {
  const std::string bytes(device.Bytes().begin(), device.Bytes().end());
  const auto n = static_cast<std::size_t>(device.SectorSize());
  Hits hits;
  std::uint64_t start = 0;
  std::uint64_t size = 0;
  bool carry = false;
  for (std::size_t base = 0; base < bytes.size(); base += n) {
    const auto report = [&] {
      hits.push_back({start, size});
      start = size = 0;
      carry = false;
    };
    if (bytes.compare(base, 11, kHead) == 0 || bytes.compare(base, 36, kCatalogue) == 0) {
      if (size != 0) report();
      start = device.FirstSector() + base / n;
    }
    if (start == 0) continue;
    if (carry && bytes[base] == '\0') {
      size -= 1;
      report();
      continue;
    }
    carry = false;
    std::size_t j = 0;
    while (j + 1 < n && (bytes[base + j] != '\0' || bytes[base + j + 1] != '\0')) ++j;
    if (j + 1 < n) {
      size += j;
      report();
      continue;
    }
    carry = bytes[base + n - 1] == '\0';
    size += n;
  }
  return hits;
}

TEST(CKPsPostScriptFileType, AgreesWithTheRulesTakenByteByByte) {
  const std::string pieces[] = {kHead, kCatalogue, Literal("\0"), Literal("\0\0"), Literal("\0y"), "%!PS", "yyyy"};
  std::size_t found = 0;
  for (std::uint32_t seed = 0; seed < 4000; ++seed) {
    std::mt19937 random(seed);
    const std::size_t sectorSize = 1 + random() % 150;
    const std::size_t size = sectorSize * (1 + random() % 60);
    std::string bytes;
    while (bytes.size() < size) {
      if (random() % 4 == 0) bytes.resize((bytes.size() + sectorSize - 1) / sectorSize * sectorSize, 'x');
      bytes += pieces[random() % std::size(pieces)];
      bytes.resize(bytes.size() + (random() % 3 == 0 ? random() % 300 : 0), 'x');
    }
    bytes.resize(size);
    Device device(static_cast<int>(size / sectorSize), static_cast<int>(sectorSize), seed % 8 == 0 ? 0 : kFirst);
    device.Put(device.FirstSector(), bytes);
    const Hits expected = ScanLiterally(device);
    ASSERT_EQ(Scan(*CreateDetector("CKPsPostScriptFileType"), device), expected) << "seed " << seed;
    found += expected.size();
  }
  EXPECT_GT(found, 1000U);
}

}  // namespace
}  // namespace qzmtraw::test
