#include <gtest/gtest.h>

#include <optional>
#include <random>

#include "tests/support/Scanning.h"

namespace qzmtraw::test {
namespace {

constexpr std::uint64_t kFirst = Device::kFirstSector;
constexpr std::uint64_t kLimit = 0x2000000;
const std::string kVersion = "MIME-Version: 1.0";
const std::string kType = "Content-Type: multipart/related";

/// A head with this boundary. The three literals and what parts them take 61 bytes.
std::string Head(const std::string& boundary = "----=_Next") {
  return kVersion + "\n" + kType + ";\t" + "boundary=\"" + boundary + "\"\r\n";
}

Hits ScanArchives(const Device& device) { return ScanAnyCut("KMhtFileType", device); }

Hits ScanHead(const std::string& head, const std::string& end = "</xml>\r\n------=_Next--") {
  return ScanArchives(Device(9, 512, kFirst, 'x').Put(kFirst + 1, head).Put(kFirst + 5, 100, end));
}
const Hits kFound{{kFirst + 1, 4 * 512 + 100 + 8 + 14}};

TEST(KMhtFileType, EndsWithTheBoundaryBehindTheLastXml) { EXPECT_EQ(ScanHead(Head()), kFound); }

TEST(KMhtFileType, HeadTextsMayStandInAnyOrder) {
  EXPECT_EQ(ScanHead(kType + ";\r\n" + kVersion + "\r\nboundary=\"----=_Next\""), kFound);
  EXPECT_EQ(ScanHead("boundary=\"----=_Next\"" + kVersion + kType), Hits{});
  EXPECT_EQ(ScanHead("boundary=\"-\"----=_" + kVersion + kType), Hits{});
  EXPECT_EQ(ScanHead("boundary=\"-\"" + kVersion + kType, "</xml>----"), (Hits{{kFirst + 1, 4 * 512 + 100 + 6 + 3}}));
}

TEST(KMhtFileType, HeadTextsStandWithinTheFirst64Bytes) {
  // 58 bytes of texts leave room for six others.
  const std::string rest = "----=_Next\"";
  EXPECT_EQ(ScanHead("yyyyyy" + kVersion + kType + "boundary=\"" + rest), kFound);
  EXPECT_EQ(ScanHead("yyyyyyy" + kVersion + kType + "boundary=\"" + rest), Hits{});
  EXPECT_EQ(ScanHead(kVersion + "yyyyyy" + kType + "boundary=\"" + rest), kFound);
  EXPECT_EQ(ScanHead(kVersion + kType + "yyyyyyy" + "boundary=\"" + rest), Hits{});
}

TEST(KMhtFileType, HeadTextsAreTakenAsTheyStand) {
  EXPECT_EQ(ScanHead("Mime-Version: 1.0\n" + kType + ";\tboundary=\"----=_Next\""), Hits{});
  EXPECT_EQ(ScanHead(kVersion + "\nContent-type: multipart/related;\tboundary=\"----=_Next\""), Hits{});
  EXPECT_EQ(ScanHead(kVersion + "\n" + kType + ";\tBoundary=\"----=_Next\""), Hits{});
  EXPECT_EQ(ScanHead(kVersion + "\n" + kType + ";\tboundary=----=_Next\""), Hits{});
  EXPECT_EQ(ScanHead(Head(), "</XML>\r\n------=_Next--"), Hits{});
  EXPECT_EQ(ScanHead(Head(), "</xml>\r\n------=_NEXT--"), Hits{});
}

TEST(KMhtFileType, ZeroStopsTheSearchInTheHead) {
  EXPECT_EQ(ScanHead(Literal("\0") + kVersion + kType + "boundary=\"----=_Next\""), Hits{});
  EXPECT_EQ(ScanHead(kVersion + kType + Literal("\0") + "boundary=\"----=_Next\""), Hits{});
  EXPECT_EQ(ScanHead(kVersion + kType + "boundary=\"----=_" + Literal("\0") + "Next\""), Hits{});
}

TEST(KMhtFileType, NeedsSectorsOf65Bytes) {
  for (const int size : {64, 65}) {
    Device device(40, size, kFirst, 'x');
    device.Put(kFirst, Head("-")).Put(kFirst + 9, 10, "</xml>---");
    const Hits found = ScanArchives(device);
    EXPECT_EQ(found, size == 65 ? (Hits{{kFirst, 9 * 65 + 10 + 9}}) : Hits{});
  }
}

TEST(KMhtFileType, BoundaryBehindTheSectorIsRead) {
  Device device(40, 65, kFirst, 'x');
  device.Put(kFirst, Head(std::string(30, 'b'))).Put(kFirst + 9, 10, "</xml>" + std::string(30, 'b') + "--");
  EXPECT_EQ(Scan(*CreateDetector("KMhtFileType"), device), (Hits{{kFirst, 9 * 65 + 10 + 38}}));
  // In a block of its own the quote is missing.
  EXPECT_EQ(Scan(*CreateDetector("KMhtFileType"), device, {1}), Hits{});
}

TEST(KMhtFileType, BoundaryHasUpTo61Bytes) {
  // A longer one than the tail's reach never ends the archive, but its head is one and closes the archive before.
  const auto scan = [](const std::string& boundary) {
    Device device(30, 512, kFirst, 'x');
    return ScanArchives(device.Put(kFirst, Head()).Put(kFirst + 20, Head(boundary)));
  };
  const Hits closed{{kFirst, 20 * 512}};
  EXPECT_EQ(scan(std::string(61, 'b')), closed);
  EXPECT_EQ(scan(std::string(62, 'b')), Hits{});
  EXPECT_EQ(scan(std::string(63, 'b')), Hits{});
  EXPECT_EQ(scan(std::string(64, 'b')), Hits{});
  EXPECT_EQ(scan(std::string(400, 'b')), Hits{});
  EXPECT_EQ(scan(""), closed);
}

TEST(KMhtFileType, RejectedHeadLeavesTheBoundary) {
  Device device(30, 512, kFirst, 'x');
  device.Put(kFirst, Head()).Put(kFirst + 5, Head(std::string(62, 'b'))).Put(kFirst + 9, 3, "</xml>------=_Next--");
  EXPECT_EQ(ScanArchives(device), (Hits{{kFirst, 9 * 512 + 23}}));
}

TEST(KMhtFileType, NewHeadBringsItsBoundary) {
  Device device(30, 512, kFirst, 'x');
  device.Put(kFirst, Head("longer-than-the-next")).Put(kFirst + 5, Head("short"));
  device.Put(kFirst + 7, "</xml>longer-than-the-next--").Put(kFirst + 9, "</xml>short--");
  EXPECT_EQ(ScanArchives(device), (Hits{{kFirst, 5 * 512}, {kFirst + 5, 4 * 512 + 13}}));
}

TEST(KMhtFileType, MarkLiesWithin46BytesOfTheLastTag) {
  const auto end = [](std::size_t between) { return "</xml>" + std::string(between, 'y') + "----=_Next--"; };
  EXPECT_EQ(ScanHead(Head(), end(46 - 6 - 12)), (Hits{{kFirst + 1, 4 * 512 + 100 + 46}}));
  EXPECT_EQ(ScanHead(Head(), end(46 - 6 - 11)), Hits{});
}

TEST(KMhtFileType, ZeroStopsTheSearchForTheEnd) {
  EXPECT_EQ(ScanHead(Head(), Literal("\0</xml>----=_Next--")), Hits{});
  EXPECT_EQ(ScanHead(Head(), Literal("</xml>\0----=_Next--")), Hits{});
}

TEST(KMhtFileType, OnlyTheFirstLastTagOfASectorCounts) {
  EXPECT_EQ(ScanHead(Head(), "</xml>" + std::string(50, 'y') + "</xml>----=_Next--"), Hits{});
}

TEST(KMhtFileType, LastTagMayEndTheSectorAndTheMarkLieBehindIt) {
  const auto device = [](std::size_t offset) {
    return Device(9, 512, kFirst, 'x').Put(kFirst, Head()).Put(kFirst + 5, offset, "</xml>----=_Next--");
  };
  EXPECT_EQ(ScanArchives(device(512 - 18)), (Hits{{kFirst, 6 * 512}}));
  // Across the sector's end the mark is seen inside the block.
  for (const std::size_t offset : {512U - 17, 512U - 6}) {
    EXPECT_EQ(Scan(*CreateDetector("KMhtFileType"), device(offset)), (Hits{{kFirst, 5 * 512 + offset + 18}}));
    EXPECT_EQ(Scan(*CreateDetector("KMhtFileType"), device(offset), {1}), Hits{});
  }
  EXPECT_EQ(ScanArchives(device(512 - 5)), Hits{});
}

TEST(KMhtFileType, SmallArchiveIsDropped) {
  const auto scan = [](std::size_t offset) {
    return ScanArchives(Device(9, 512, kFirst, 'x').Put(kFirst, Head()).Put(kFirst, offset, "</xml>----=_Next--"));
  };
  EXPECT_EQ(scan(255 - 18), Hits{});
  EXPECT_EQ(scan(256 - 18), (Hits{{kFirst, 256}}));
}

TEST(KMhtFileType, SmallArchiveBeforeANewOneVanishes) {
  Device device(20, 128, kFirst, 'x');
  device.Put(kFirst, Head()).Put(kFirst + 1, Head()).Put(kFirst + 3, Head());
  EXPECT_EQ(ScanArchives(device), (Hits{{kFirst + 1, 256}}));
}

TEST(KMhtFileType, ArchiveWithoutEndIsGivenUpAboveTheLimit) {
  const Detector detector = CreateDetector("KMhtFileType");
  constexpr int kSize = 1 << 20;
  Scan(*detector, Device(1, kSize, kFirst, 'x').Put(kFirst, Head()));
  for (std::uint64_t i = 1; i < kLimit / kSize; ++i) {
    ASSERT_EQ(Scan(*detector, Device(1, kSize, kFirst + i, 'x')), Hits{});
  }
  EXPECT_EQ(Scan(*detector, Device(1, kSize, kFirst + 99, 'x')), (Hits{{kFirst, kLimit}}));
  EXPECT_EQ(Scan(*detector, Device(1, kSize, kFirst + 100, 'x').Put(kFirst + 100, "</xml>----=_Next--")), Hits{});
}

TEST(KMhtFileType, LimitOfTheHostClips) {
  const Detector detector = CreateDetector("KMhtFileType");
  const Device device = Device(9, 512, kFirst, 'x').Put(kFirst, Head()).Put(kFirst + 1, "</xml>----=_Next--");
  detector->SetMaxFileSize(529);
  EXPECT_EQ(Scan(*detector, device), (Hits{{kFirst, 529}}));
  EXPECT_EQ(Scan(*detector, Device(9, 512, kFirst, 'x').Put(kFirst, Head())), (Hits{{kFirst, 529}}));
  detector->Reset();
  EXPECT_EQ(Scan(*detector, device), (Hits{{kFirst, 530}}));
}

TEST(KMhtFileType, ResetForgetsTheArchive) {
  const Detector detector = CreateDetector("KMhtFileType");
  Scan(*detector, Device(2, 512, kFirst, 'x').Put(kFirst, Head()));
  detector->Reset();
  EXPECT_EQ(Scan(*detector, Device(1, 512, kFirst + 2, 'x').Put(kFirst + 2, "</xml>----=_Next--")), Hits{});
}

/// The rules step by step and byte by byte, for a device in one block.
Hits ScanLiterally(const Device& device) {
  const std::string bytes(device.Bytes().begin(), device.Bytes().end());
  const auto n = static_cast<std::size_t>(device.SectorSize());
  Hits hits;
  bool open = false;
  std::uint64_t start = 0;
  std::uint64_t size = 0;
  std::string mark;
  // Where a text lies wholly inside [from, end) with no zero byte up to its end.
  const auto find = [&](std::size_t from, std::size_t end, const std::string& text) -> std::optional<std::size_t> {
    for (std::size_t i = from; i + text.size() <= std::min(end, bytes.size()); ++i) {
      if (bytes.compare(i, text.size(), text) == 0) return i;
      if (bytes[i] == '\0') break;
    }
    return std::nullopt;
  };
  for (std::size_t base = 0; base < bytes.size(); base += n) {
    if (n >= 65 && find(base, base + 64, kVersion) && find(base, base + 64, kType)) {
      if (const auto boundary = find(base, base + 64, "boundary=\"")) {
        const auto quote = find(*boundary + 10, *boundary + 74, "\"");
        if (quote && *quote - *boundary - 10 <= 61) {
          mark = bytes.substr(*boundary + 10, *quote - *boundary - 10) + "--";
          if (open && size >= 256) hits.push_back({start, size});
          open = true;
          start = device.FirstSector() + base / n;
          size = 0;
        }
      }
    }
    if (!open) continue;
    const auto tag = find(base, base + n, "</xml>");
    const auto end = tag ? find(*tag, *tag + 46, mark) : std::nullopt;
    if (!end) {
      size += n;
      continue;
    }
    size += *end + mark.size() - base;
    if (size >= 256) hits.push_back({start, size});
    open = false;
  }
  return hits;
}

TEST(KMhtFileType, AgreesWithTheRulesTakenByteByByte) {
  const std::string pieces[] = {"</xml>", "</xml>b--", "b--",         "</xml>\r\n--", "--",
                                "</xm",   "\"",        Literal("\0"), "</xml>bb--"};
  std::size_t found = 0;
  for (std::uint32_t seed = 0; seed < 4000; ++seed) {
    std::mt19937 random(seed);
    const std::size_t sectorSize = 60 + random() % 100;
    const std::size_t size = sectorSize * (1 + random() % 60);
    std::string bytes;
    while (bytes.size() < size) {
      const auto kind = random() % 5;
      if (kind == 0) {
        bytes.resize((bytes.size() + sectorSize - 1) / sectorSize * sectorSize, 'x');
        const std::string filler(random() % 3, ' ');
        bytes += filler + kVersion + filler + kType + filler + "boundary=\"" + std::string(random() % 3, 'b');
        bytes += std::string(random() % 8 == 0 ? random() % 70 : 0, 'c') + "\"";
      } else if (kind < 3) {
        bytes += pieces[random() % std::size(pieces)];
      } else {
        bytes.resize(bytes.size() + random() % 100, 'x');
      }
    }
    bytes.resize(size);
    Device device(static_cast<int>(size / sectorSize), static_cast<int>(sectorSize));
    device.Put(kFirst, bytes);
    const Hits expected = ScanLiterally(device);
    ASSERT_EQ(Scan(*CreateDetector("KMhtFileType"), device), expected) << "seed " << seed;
    found += expected.size();
  }
  EXPECT_GT(found, 1000U);
}

}  // namespace
}  // namespace qzmtraw::test
