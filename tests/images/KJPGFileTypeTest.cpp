#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <random>

#include "tests/support/Scanning.h"

namespace qzmtraw::test {
namespace {

constexpr std::uint64_t kFirst = Device::kFirstSector;
constexpr std::uint64_t kReach = 0x4000000;
constexpr std::size_t kChunk = 32256;
const std::string kEnd = "\xFF\xD9";

std::string BigU16(std::size_t value) { return BigU32(static_cast<std::uint32_t>(value)).substr(2); }

/// A segment of `length` bytes behind its marker, the two of the length included.
std::string Segment(int marker, std::size_t length, const std::string& contents = "") {
  std::string segment = "\xFF" + std::string(1, static_cast<char>(marker)) + BigU16(length) + contents;
  segment.resize(2 + length, 'x');
  return segment;
}

/// What a file begins with: 20 bytes.
std::string Head(int marker, const std::string& name) { return "\xFF\xD8" + Segment(marker, 16, name); }
const std::string kJfif = Head(0xE0, "JFIF");
const std::string kFrame = Segment(0xC0, 17);

/// A file of `size` bytes that is searched for its end mark from offset 39 on.
std::string Jpeg(std::size_t size, const std::string& head = kJfif) {
  std::string file = head + kFrame;
  file.resize(size - 2, 'x');
  return file + kEnd;
}
constexpr std::size_t kSearched = 39;

/// A device that holds `file` from its second sector on, and room behind it.
Device DeviceWith(const std::string& file, int sectorSize = 512) {
  return Device(static_cast<int>(file.size()) / sectorSize + 3, sectorSize).Put(kFirst + 1, file);
}

/// The size with which the kind of JFIF reports the file, or nothing.
Hits ScanFile(const std::string& file) { return ScanAnyCut("KJPGFileType", DeviceWith(file)); }
Hits Sized(std::uint64_t size) { return {{kFirst + 1, size}}; }

/// A file that is mostly zeros, for what lies far behind its head.
class FarFile final : public IRawSectorReader {
 public:
  FarFile& Put(std::uint64_t position, const std::string& bytes) {
    pieces_[position] = bytes;
    return *this;
  }
  /// A chain of segments from `position` to `target`.
  FarFile& Jump(std::uint64_t position, std::uint64_t target) {
    for (std::uint64_t length = 0; position != target; position += 2 + length) {
      length = std::min<std::uint64_t>(target - position, 60000) - 2;
      Put(position, "\xFF\xE1" + BigU16(length));
    }
    return *this;
  }

  std::uint32_t ReservedOperation1() override { return 0; }
  std::uint32_t ReservedOperation2() override { return 0; }
  std::uint32_t ReservedOperation3() override { return 0; }
  std::int32_t ReadSectors(std::uint64_t startSector, void* buffer, std::uint32_t sectorCount) override {
    const std::uint64_t begin = (startSector - kFirst) * 512;
    const std::uint64_t end = begin + std::uint64_t{sectorCount} * 512;
    auto* const target = static_cast<char*>(buffer);
    std::fill_n(target, end - begin, '\0');
    for (auto piece = pieces_.lower_bound(begin < 100 ? 0 : begin - 100); piece != pieces_.end(); ++piece) {
      const auto& [position, bytes] = *piece;
      if (position >= end) break;
      for (std::size_t i = 0; i < bytes.size(); ++i) {
        if (position + i >= begin && position + i < end) target[position + i - begin] = bytes[i];
      }
    }
    return 0;
  }

  /// The hits of a block of one sector, the file's first one.
  Hits Scan(std::uint64_t maxFileSize) {
    std::vector<std::uint8_t> sector(512);
    ReadSectors(kFirst, sector.data(), 1);
    const RawSectorBlock block{kFirst, sector.data(), 1, 512, this};
    const Detector detector = CreateDetector("KJPGFileType");
    if (maxFileSize != 0) detector->SetMaxFileSize(maxFileSize);
    RecordingSink sink;
    detector->Scan(&block, &sink);
    return sink.Found();
  }

 private:
  std::map<std::uint64_t, std::string> pieces_;
};

TEST(KJPGFileType, FirstSegmentsNameTellsTheKind) {
  struct Case {
    int marker;
    std::string name;
    bool isCamera;
    bool isGraphics;
  };
  const std::vector<Case> cases = {
      {0xE1, Literal("Exif\0\0"), true, false},
      {0xE1, "EXIF", true, false},
      {0xE1, "eXiF", true, false},
      {0xE0, "EXIF", true, false},
      {0xFE, "exif", true, false},
      {0xE0, Literal("JFIF\0"), false, true},
      {0xE0, "jfif", false, true},
      {0xDB, "JfIf", false, true},
      {0xED, "Photoshop 3.0", false, true},
      {0xED, "PHOTOSHOP", false, true},
      {0xED, "photoshoP", false, true},
      {0xED, "Photosho", false, false},
      {0xE0, "JFIE", false, false},
      {0xE1, "EXIE", false, false},
      {0xE0, "JFXX", false, false},
      {0xE1, "http://ns.adobe.com/xap/1.0/", false, false},
      {0xEE, "Adobe", false, false},
      {0xE0, "xJFIF", false, false},
      {0xE1, "xEXIF", false, false},
      // Bytes that differ from letters in the bit by which capitals differ from small letters, but are none.
      {0xED, "Photo3hop", false, false},
      {0xE0, "*FIF", false, false},
  };
  for (const auto& [marker, name, isCamera, isGraphics] : cases) {
    const Device device = DeviceWith(Jpeg(1000, Head(marker, name)));
    EXPECT_EQ(ScanAnyCut("KExifJpgFileType", device), isCamera ? Sized(1000) : Hits{}) << name;
    EXPECT_EQ(ScanAnyCut("KJPGFileType", device), isGraphics ? Sized(1000) : Hits{}) << name;
  }
}

TEST(KJPGFileType, NeedsTheStartOfImageAndAnotherMarker) {
  for (std::size_t i = 0; i < 3; ++i) {
    for (const char* name : {"JFIF", "EXIF"}) {
      std::string file = Jpeg(1000, Head(0xE0, name));
      file[i] = static_cast<char>(file[i] ^ 1);
      EXPECT_EQ(ScanAnyCut("KJPGFileType", DeviceWith(file)), Hits{}) << i;
      EXPECT_EQ(ScanAnyCut("KExifJpgFileType", DeviceWith(file)), Hits{}) << i;
    }
  }
}

TEST(KJPGFileType, NeedsSectorsOf8Bytes) {
  const std::vector<std::pair<const char*, const char*>> kinds = {
      {"KJPGFileType", "JFIF"}, {"KJPGFileType", "Photoshop"}, {"KExifJpgFileType", "Exif"}};
  for (const auto& [className, name] : kinds) {
    const std::string file = Jpeg(700, Head(0xE0, name));
    EXPECT_EQ(Scan(*CreateDetector(className), DeviceWith(file, 7)), Hits{}) << name;
    EXPECT_EQ(Scan(*CreateDetector(className), DeviceWith(file, 8)), Sized(700)) << name;
    // The name runs on into the sectors behind. Where the block ends before, there is none.
    EXPECT_EQ(Scan(*CreateDetector(className), DeviceWith(file, 8), {1}), Hits{}) << name;
    EXPECT_EQ(Scan(*CreateDetector(className), DeviceWith(file, 15), {1}), Sized(700)) << name;
  }
}

TEST(KJPGFileType, IsFoundInSectorsOfAnySizeThatCanBeCached) {
  const std::string file = Jpeg(70000);
  for (const int sectorSize : {16, 100, 512, 2048, 4096, 32768}) {
    const Device device = DeviceWith(file, sectorSize);
    EXPECT_EQ(Scan(*CreateDetector("KJPGFileType"), device), Sized(70000)) << sectorSize;
    EXPECT_EQ(Scan(*CreateDetector("KJPGFileType"), device, {1}), Sized(70000)) << sectorSize;
  }
  EXPECT_EQ(Scan(*CreateDetector("KJPGFileType"), DeviceWith(file, 65536)), Hits{});
}

TEST(KJPGFileType, IsFoundAtSector0) {
  EXPECT_EQ(ScanAnyCut("KJPGFileType", Device(3, 512, 0).Put(0, Jpeg(1000))), (Hits{{0, 1000}}));
}

TEST(KJPGFileType, IsReportedFrom512BytesOn) {
  EXPECT_EQ(ScanFile(Jpeg(511)), Hits{});
  EXPECT_EQ(ScanFile(Jpeg(512)), Sized(512));
}

TEST(KJPGFileType, EndMarkAmongTheSegmentsEndsTheFile) {
  EXPECT_EQ(ScanFile(kJfif + Segment(0xE2, 490) + kEnd), Sized(514));
  EXPECT_EQ(ScanFile(kJfif + Segment(0xE2, 488) + kEnd), Sized(512));
  EXPECT_EQ(ScanFile(kJfif + Segment(0xE2, 487) + kEnd), Hits{});
  // Even one in the first segment's place.
  EXPECT_EQ(ScanFile(Head(0xD9, "JFIF") + Jpeg(1000)), Hits{});
}

TEST(KJPGFileType, SmallFileLeavesTheNextOneAlone) {
  Device device(9);
  device.Put(kFirst, Jpeg(400)).Put(kFirst + 2, Jpeg(600)).Put(kFirst + 6, Jpeg(100));
  EXPECT_EQ(ScanAnyCut("KJPGFileType", device), (Hits{{kFirst + 2, 600}}));
}

TEST(KJPGFileType, OtherSegmentsAreSteppedOverByTheirLength) {
  // Among them frames that aren't baseline, another start of image, a restart marker, a fill byte and a thumbnail.
  std::string segments;
  for (const int marker : {0xC1, 0xC2, 0xC4, 0xCF, 0xD0, 0xD8, 0xDB, 0xDD, 0xE1, 0xFE, 0xFF, 0x00, 0x01}) {
    segments += Segment(marker, 60, kEnd + "x" + kEnd + Jpeg(50));
  }
  const std::string file = kJfif + segments + kFrame + std::string(300, 'x') + kEnd;
  EXPECT_EQ(ScanFile(file), Sized(file.size()));
}

TEST(KJPGFileType, SearchBeginsBehindTheFirstBaselineFrameOrScan) {
  for (const int marker : {0xC0, 0xDA}) {
    const std::string first = kJfif + Segment(0xE2, 600) + Segment(marker, 20, kEnd);
    EXPECT_EQ(ScanFile(first + kEnd + Segment(0xC4, 30) + kEnd), Sized(first.size() + 2)) << marker;
    // Segments behind it aren't stepped over.
    EXPECT_EQ(ScanFile(first + Segment(0xE1, 100, "a thumbnail" + kEnd) + kEnd), Sized(first.size() + 4 + 13))
        << marker;
    // Neither stuffed bytes nor restarts are an end.
    EXPECT_EQ(ScanFile(first + Literal("\xFF\0\xFF\xD0\xFF\xFF\xD9")), Sized(first.size() + 7)) << marker;
  }
  const std::string progressive = kJfif + Segment(0xC2, 20) + Segment(0xDA, 10) + std::string(500, 'x');
  EXPECT_EQ(ScanFile(progressive + kEnd), Sized(progressive.size() + 2));
}

TEST(KJPGFileType, SegmentsHaveAtLeast2Bytes) {
  const auto scan = [](const std::string& length) {
    return ScanFile(kJfif + "\xFF\xE0" + length + "\xFF\xE0" + length + kFrame + std::string(600, 'x') + kEnd);
  };
  EXPECT_EQ(scan(BigU16(2)), Sized(kSearched + 8 + 602));
  EXPECT_EQ(scan(BigU16(1)), Hits{});
  EXPECT_EQ(scan(BigU16(0)), Hits{});
}

TEST(KJPGFileType, LengthIsBigEndianAndUnsigned) {
  const std::string file = kJfif + Segment(0xE0, 0xFFFE) + kFrame + std::string(600, 'x') + kEnd;
  EXPECT_EQ(ScanFile(file), Sized(file.size()));
  const std::string other = kJfif + Segment(0xE0, 0x0102) + kFrame + std::string(600, 'x') + kEnd;
  EXPECT_EQ(ScanFile(other), Sized(other.size()));
}

TEST(KJPGFileType, AByteThatIsNoMarkerEndsTheWalkWithoutAHit) {
  EXPECT_EQ(ScanFile(kJfif + "x" + Jpeg(1000)), Hits{});
  EXPECT_EQ(ScanFile(kJfif + "\xFE\xC0" + BigU16(2) + std::string(600, 'x') + kEnd), Hits{});
}

TEST(KJPGFileType, LastTwoBytesOfAChunkAreBlind) {
  for (std::size_t chunk = 0; chunk < 3; ++chunk) {
    const std::size_t begin = kSearched + chunk * kChunk;
    // The file's own mark stands in the chunk behind.
    const std::size_t size = begin + kChunk + 500;
    const auto scan = [&](std::size_t offset) { return ScanFile(Jpeg(size).replace(begin + offset, 2, kEnd)); };
    // In the first chunk that would make a file of 41 bytes.
    EXPECT_EQ(scan(0), chunk == 0 ? Hits{} : Sized(begin + 2)) << chunk;
    EXPECT_EQ(scan(kChunk - 3), Sized(begin + kChunk - 1)) << chunk;
    EXPECT_EQ(scan(kChunk - 2), Sized(size)) << chunk;
    EXPECT_EQ(scan(kChunk - 1), Sized(size)) << chunk;
    EXPECT_EQ(scan(kChunk), Sized(begin + kChunk + 2)) << chunk;
  }
}

TEST(KJPGFileType, FirstOfSeveralMarksEndsTheFile) {
  EXPECT_EQ(ScanFile(Jpeg(1000) + Jpeg(1000)), Sized(1000));
  EXPECT_EQ(ScanFile(kJfif + kFrame + std::string(600, '\xFF') + "\xD9\xD9" + kEnd), Sized(kSearched + 601));
}

TEST(KJPGFileType, HeadInsideAFileGivesAnotherHit) {
  std::string file = Jpeg(5000);
  file.replace(1024, 20, kJfif).replace(1044, kFrame.size(), kFrame);
  EXPECT_EQ(ScanFile(file), (Hits{{kFirst + 1, 5000}, {kFirst + 3, 5000 - 1024}}));
}

TEST(KJPGFileType, LimitOfTheHostClips) {
  const Detector detector = CreateDetector("KJPGFileType");
  const Device device = DeviceWith(Jpeg(1000));
  detector->SetMaxFileSize(1000);
  EXPECT_EQ(Scan(*detector, device), Sized(1000));
  detector->SetMaxFileSize(999);
  EXPECT_EQ(Scan(*detector, device), Sized(999));
  detector->SetMaxFileSize(100);
  EXPECT_EQ(Scan(*detector, device), Sized(100));
  detector->SetMaxFileSize(0xFFFFFFFFFFFFFFFF);
  EXPECT_EQ(Scan(*detector, device), Sized(0xFFFFFFFFFFFFFFFF));
  detector->Reset();
  EXPECT_EQ(Scan(*detector, device), Sized(1000));
}

TEST(KJPGFileType, MarkersAreReadBelow64MiB) {
  const auto scan = [](std::uint64_t end, std::uint64_t limit) {
    FarFile file;
    return file.Put(0, kJfif).Jump(20, end).Put(end, kEnd).Scan(limit);
  };
  EXPECT_EQ(scan(kReach - 2, 0), (Hits{{kFirst, kReach}}));
  EXPECT_EQ(scan(kReach - 1, 0), (Hits{{kFirst, kReach}}));
  EXPECT_EQ(scan(kReach - 1, kReach + 1), (Hits{{kFirst, kReach + 1}}));
  EXPECT_EQ(scan(kReach, 2 * kReach), Hits{});
}

TEST(KJPGFileType, ChunksAreReadBelow64MiB) {
  // A chunk that begins at the last byte below carries the end 32254 bytes behind.
  const auto scan = [](std::uint64_t chunk, std::uint64_t end) {
    FarFile file;
    return file.Put(0, kJfif).Jump(20, chunk - 4).Put(chunk - 4, Segment(0xDA, 2)).Put(end, kEnd).Scan(2 * kReach);
  };
  EXPECT_EQ(scan(kReach - 1, kReach - 1 + kChunk - 3), (Hits{{kFirst, kReach + 32254}}));
  EXPECT_EQ(scan(kReach - 1, kReach - 1 + kChunk - 2), Hits{});
  EXPECT_EQ(scan(kReach, kReach), Hits{});
  EXPECT_EQ(scan(kReach - 1 - kChunk, kReach + 5), (Hits{{kFirst, kReach + 7}}));
  EXPECT_EQ(scan(kReach - kChunk, kReach + 5), Hits{});
}

TEST(KJPGFileType, SizeBeyond64MiBIsClippedUnlessTheHostSetsAnotherLimit) {
  FarFile file;
  file.Put(0, kJfif).Jump(20, kReach - 100).Put(kReach - 100, kFrame).Put(kReach + 100, kEnd);
  EXPECT_EQ(file.Scan(0), (Hits{{kFirst, kReach}}));
  EXPECT_EQ(file.Scan(kReach + 102), (Hits{{kFirst, kReach + 102}}));
}

TEST(KJPGFileType, FilesWithoutAnEndAreNotReportedAndReadAheadOnce) {
  Device device(64);
  for (std::uint64_t i = 0; i < 64; ++i) device.Put(kFirst + i, kJfif + kFrame);
  for (const Cut cut : {Cut{0}, Cut{1}, Cut{5}}) {
    const Detector detector = CreateDetector("KJPGFileType");
    DeviceReader reader(device);
    RecordingSink sink;
    Feed(*detector, device, sink, reader, cut);
    EXPECT_EQ(sink.Found(), Hits{});
    // 64 MiB are read in pieces of 32 KiB.
    EXPECT_GE(reader.Calls().size(), 2040U);
    EXPECT_LE(reader.Calls().size(), 3000U);
  }
}

TEST(KJPGFileType, WhatWasSearchedInVainIsForgottenWhereABlockDoesNotFollow) {
  const Detector detector = CreateDetector("KJPGFileType");
  const Device without = DeviceWith(Jpeg(90000));
  const Device with = DeviceWith(std::string(Jpeg(90000)).replace(40000, 2, kEnd));
  EXPECT_EQ(Scan(*detector, without), Sized(90000));
  EXPECT_EQ(Scan(*detector, with), Sized(40002));
}

/// A device whose every sector begins with a segment that leads 65536 bytes further, as it begins with a head.
class SegmentsForEver final : public IRawSectorReader {
 public:
  static inline const std::string kSector = "\xFF\xD8\xFF\xE0\xFF\xFEJFIF";

  std::uint32_t ReservedOperation1() override { return 0; }
  std::uint32_t ReservedOperation2() override { return 0; }
  std::uint32_t ReservedOperation3() override { return 0; }
  std::int32_t ReadSectors(std::uint64_t /*startSector*/, void* buffer, std::uint32_t /*sectorCount*/) override {
    ++calls;
    std::ranges::copy(kSector, static_cast<char*>(buffer));
    return 0;
  }
  int calls = 0;
};

TEST(KJPGFileType, WalksEndWhereTheAllowanceForReadingIsSpent) {
  // A file is walked for 64 MiB, 1024 segments. 256 files take what there is, and each sector but the first earns 256.
  constexpr int kFiles = 256;
  const Device heads = [] {
    Device device(kFiles + 1);
    for (std::uint64_t i = 0; i <= kFiles; ++i) device.Put(kFirst + i, SegmentsForEver::kSector);
    return device;
  }();
  SegmentsForEver reader;
  RecordingSink sink;
  const Detector detector = CreateDetector("KJPGFileType");
  Feed(*detector, heads, sink, reader);
  EXPECT_EQ(reader.calls, kFiles * 1024 + 256 + 1);
  // A frame is near, but there isn't enough left to read what is behind it.
  const std::uint64_t next = kFirst + kFiles + 1;
  const Device file = Device(2, 512, next).Put(next, Jpeg(600));
  EXPECT_EQ(Scan(*detector, file), Hits{});
  detector->Reset();
  EXPECT_EQ(Scan(*detector, file), (Hits{{next, 600}}));
}

TEST(KJPGFileType, BuffersAreGivenBack) {
  // The leak sanitizer watches.
  const Detector detector = CreateDetector("KExifJpgFileType");
  const Device device = DeviceWith(Jpeg(1000, Head(0xE1, "EXIF")));
  for (int i = 0; i < 3; ++i) {
    EXPECT_EQ(Scan(*detector, device), Sized(1000));
    EXPECT_EQ(detector->Reset(), 1);
  }
  EXPECT_EQ(Scan(*detector, device), Sized(1000));
}

TEST(KJPGFileType, HasNoHints) {
  for (const char* className : {"KJPGFileType", "KExifJpgFileType"}) {
    std::uint64_t hints[] = {1, 2};
    EXPECT_EQ(CreateDetector(className)->GetSizeHints(0, hints, sizeof hints), 0U);
    EXPECT_EQ(hints[0], 1U);
    EXPECT_EQ(hints[1], 2U);
  }
}

/// The rules step by step, each head walked by itself, on a device that ends with a mark that none can miss.
Hits LiteralScan(const Device& device) {
  const std::string bytes(device.Bytes().begin(), device.Bytes().end());
  const auto sectorSize = static_cast<std::size_t>(device.SectorSize());
  Hits hits;
  for (std::size_t begin = 0; begin < bytes.size(); begin += sectorSize) {
    if (bytes.compare(begin, 3, "\xFF\xD8\xFF") != 0 || bytes.compare(begin + 6, 4, "JFIF") != 0) continue;
    const auto byte = [&](std::size_t at) { return at < bytes.size() ? static_cast<unsigned char>(bytes[at]) : 0U; };
    std::size_t position = begin + 2;
    std::size_t end = 0;
    while (end == 0 && byte(position) == 0xFF) {
      const unsigned marker = byte(position + 1);
      const std::size_t length = byte(position + 2) * 256 + byte(position + 3);
      if (marker == 0xD9) end = position + 2;
      if (end != 0 || length < 2) break;
      position += 2 + length;
      if (marker != 0xC0 && marker != 0xDA) continue;
      for (std::size_t mark = bytes.find(kEnd, position); mark != std::string::npos;
           mark = bytes.find(kEnd, mark + 1)) {
        if ((mark - position) % kChunk >= kChunk - 2) continue;
        end = mark + 2;
        break;
      }
      break;
    }
    if (end != 0 && end - begin >= 512) {
      hits.push_back({device.FirstSector() + begin / sectorSize, end - begin});
    }
  }
  return hits;
}

TEST(KJPGFileType, AgreesWithTheRulesTakenStepByStep) {
  std::size_t found = 0;
  for (std::uint32_t seed = 0; seed < 100; ++seed) {
    std::mt19937 random(seed);
    const int sectorCount = 80 + static_cast<int>(random() % 150);
    Device device(sectorCount, 512, kFirst, static_cast<std::uint8_t>(random() % 3 == 0 ? 0xFF : 'x'));
    const std::size_t size = device.Bytes().size();
    for (std::uint32_t head = 0; head < 2 + random() % 20; ++head) {
      const std::uint64_t sector = random() % static_cast<std::uint32_t>(sectorCount - 1);
      const std::string segment = random() % 3 == 0 ? Segment(0xE1, 2 + random() % 400) : "";
      device.Put(kFirst + sector, kJfif + segment.substr(0, 4));
      device.Put(kFirst + sector, 20 + segment.size(), random() % 2 == 0 ? kFrame : Segment(0xDA, 17));
      // Marks, mostly around the places that this head doesn't look at, where others may look.
      for (std::size_t mark = 0; mark < random() % 3; ++mark) {
        const std::size_t place =
            sector * 512 + 20 + segment.size() + 19 + (1 + random() % 3) * kChunk - 4 + random() % 6;
        if (place + 20 < size) device.Put(kFirst, place, random() % 4 == 0 ? "\xD9" : kEnd);
      }
    }
    device.Put(kFirst, size - 6, kEnd + kEnd + kEnd);
    const Hits expected = LiteralScan(device);
    ASSERT_EQ(Scan(*CreateDetector("KJPGFileType"), device), expected) << "seed " << seed;
    ASSERT_EQ(Scan(*CreateDetector("KJPGFileType"), device, {7}), expected) << "seed " << seed;
    found += expected.size();
  }
  EXPECT_GT(found, 400U);
}

}  // namespace
}  // namespace qzmtraw::test
