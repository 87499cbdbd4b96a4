#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>

#include "tests/support/Scanning.h"

namespace qzmtraw::test {
namespace {

constexpr std::uint64_t kFirst = Device::kFirstSector;
constexpr int kMebibyte = 1 << 20;

const std::string kMark = Literal("\x47\x1F\xFF\x10\xFF\xFF\xFF\xFF");

/// A sector with the first two packets, the second one at `second`.
Device& PutHead(Device& device, std::uint64_t sector, std::size_t second = 196) {
  return device.Put(sector, 4, Literal("\x47\x40\0\x10")).Put(sector, second, Literal("\x47\x41\0\x10"));
}

/// A device of zeros with a head in its second sector.
Device DeviceWithHead(std::size_t second = 196) {
  Device device(20, 512, kFirst, 0);
  PutHead(device, kFirst + 1, second);
  return device;
}

Hits ScanMts(const Device& device) { return ScanAnyCut("KMtsFileType", device); }

TEST(KMtsFileType, SecondPacketStandsAt196Or212) {
  for (const std::size_t second : {196U, 212U}) {
    EXPECT_EQ(ScanMts(DeviceWithHead(second).Put(kFirst + 4, 4, kMark)), (Hits{{kFirst + 1, 3 * 512 + 192}})) << second;
  }
  for (const std::size_t second : {192U, 195U, 197U, 204U, 208U, 211U, 213U, 216U, 388U}) {
    EXPECT_EQ(ScanMts(DeviceWithHead(second).Put(kFirst + 4, 4, kMark)), Hits{}) << second;
  }
}

TEST(KMtsFileType, FirstPacketIsAskedAsWell) {
  for (std::size_t i = 0; i < 4; ++i) {
    EXPECT_EQ(ScanMts(DeviceWithHead().Put(kFirst + 1, 4 + i, "x").Put(kFirst + 4, 4, kMark)), Hits{});
    EXPECT_EQ(ScanMts(DeviceWithHead().Put(kFirst + 1, 196 + i, "x").Put(kFirst + 4, 4, kMark)), Hits{});
  }
}

TEST(KMtsFileType, EndsWhereThePacketsBehindTheMarkEnd) {
  for (std::size_t line = 0; line < 32; ++line) {
    for (std::size_t more = 0; more < 4; ++more) {
      Device device = DeviceWithHead();
      device.Put(kFirst + 3, 16 * line + 4, kMark);
      for (std::size_t i = 1; i <= more; ++i) device.Put(kFirst + 3, 16 * line + 192 * i + 4, "G");
      EXPECT_EQ(ScanMts(device), (Hits{{kFirst + 1, 1024 + 16 * line + 192 * (more + 1)}})) << line << ", " << more;
    }
  }
}

TEST(KMtsFileType, MarkStandsInALineOf16Bytes) {
  for (std::size_t offset = 0; offset < 16; ++offset) {
    if (offset == 4) continue;
    Device device = DeviceWithHead();
    device.Put(kFirst + 3, 160 + offset, kMark).Put(kFirst + 5, 4, kMark);
    EXPECT_EQ(ScanMts(device), (Hits{{kFirst + 1, 4 * 512 + 192}})) << offset;
  }
  for (std::size_t i = 0; i < kMark.size(); ++i) {
    Device device = DeviceWithHead();
    device.Put(kFirst + 3, 164, kMark).Put(kFirst + 3, 164 + i, "x").Put(kFirst + 5, 4, kMark);
    EXPECT_EQ(ScanMts(device), (Hits{{kFirst + 1, 4 * 512 + 192}})) << i;
  }
}

TEST(KMtsFileType, MarkInALineThatTheSectorCutsIsNotSeen) {
  // Sectors of 524 bytes end with 12 bytes that are no line, those of 528 with a whole one.
  for (const int size : {524, 528}) {
    Device device(9, size, kFirst, 0);
    PutHead(device, kFirst).Put(kFirst + 2, 516, kMark);
    EXPECT_EQ(ScanMts(device), size == 528 ? (Hits{{kFirst, 2 * 528 + 512 + 192}}) : Hits{});
  }
}

TEST(KMtsFileType, MarkInTheHeadsSectorIsSeen) {
  EXPECT_EQ(ScanMts(DeviceWithHead().Put(kFirst + 1, 32 + 4, kMark)), (Hits{{kFirst + 1, 32 + 192}}));
}

TEST(KMtsFileType, FileAtSector0IsFound) {
  Device device(9, 512, 0, 0);
  PutHead(device, 0).Put(2, 4, kMark);
  EXPECT_EQ(ScanMts(device), (Hits{{0, 1024 + 192}}));
}

TEST(KMtsFileType, SectorsUpToTheEndAreNotLookedAt) {
  for (std::uint64_t next = 4; next <= 7; ++next) {
    // The end offset is 80 + 5 * 192 = 1040: two sectors on.
    Device device = DeviceWithHead();
    device.Put(kFirst + 3, 80 + 4, kMark);
    for (std::size_t i = 1; i < 5; ++i) device.Put(kFirst + 3, 80 + 192 * i + 4, "G");
    PutHead(device, kFirst + next).Put(kFirst + 9, 4, kMark);
    Hits expected{{kFirst + 1, 1024 + 1040}};
    if (next > 5) expected.push_back({kFirst + next, (9 - next) * 512 + 192});
    EXPECT_EQ(ScanMts(device), expected) << next;
  }
}

TEST(KMtsFileType, NewHeadInASmallFileLosesIt) {
  Device device = DeviceWithHead();
  PutHead(device, kFirst + 6).Put(kFirst + 9, 4, kMark);
  EXPECT_EQ(ScanMts(device), (Hits{{kFirst + 6, 3 * 512 + 192}}));
}

/// Adds bytes without a mark to an open file, sector after sector, all of one memory.
class Feeder {
 public:
  explicit Feeder(IRawFileType& detector) : detector_(detector), memory_(kMebibyte, 0) {}

  /// A sector of `size` bytes, at least 512 of them where it is a head.
  void Add(int size, bool isHead = false) {
    if (isHead) {
      std::memcpy(&memory_[4], "\x47\x40\0\x10", 4);
      std::memcpy(&memory_[196], "\x47\x41\0\x10", 4);
    }
    const RawSectorBlock block{next_++, memory_.data(), 1, size, nullptr};
    detector_.Scan(&block, &sink_);
    if (isHead) std::memset(memory_.data(), 0, 512);
  }
  void AddMebibytes(int count) {
    for (int i = 0; i < count; ++i) Add(kMebibyte);
  }
  const Hits& Found() const { return sink_.Found(); }

 private:
  IRawFileType& detector_;
  std::vector<std::uint8_t> memory_;
  RecordingSink sink_;
  std::uint64_t next_ = kFirst;
};

TEST(KMtsFileType, NewHeadReportsAFileFrom0x4FFFF000BytesOn) {
  for (const int lacking : {0, 1}) {
    const Detector detector = CreateDetector("KMtsFileType");
    Feeder feeder(*detector);
    feeder.Add(kMebibyte, true);
    feeder.AddMebibytes(1278);
    feeder.Add(0xFF000 - lacking);
    feeder.Add(512, true);
    EXPECT_EQ(feeder.Found(), lacking == 0 ? (Hits{{kFirst, 0x4FFFF000}}) : Hits{});
  }
}

TEST(KMtsFileType, FileWithoutAMarkIsGivenUpAbove0x7FFFF000WithTheLimitAsItsStart) {
  const Detector detector = CreateDetector("KMtsFileType");
  Feeder feeder(*detector);
  feeder.Add(kMebibyte, true);
  feeder.AddMebibytes(2046);
  feeder.Add(0xFF000);
  EXPECT_EQ(feeder.Found(), Hits{});
  feeder.Add(512);
  EXPECT_EQ(feeder.Found(), (Hits{{0x7FFFF000, 0x7FFFF000 + 512}}));
  feeder.AddMebibytes(1);
  EXPECT_EQ(feeder.Found().size(), 1U);
}

TEST(KMtsFileType, LimitOfTheHostIsTheStartOfTheFileGivenUp) {
  const Detector detector = CreateDetector("KMtsFileType");
  detector->SetMaxFileSize(1024);
  Device device = DeviceWithHead();
  // Closed, so the mark isn't seen; the sector behind is free for another file at once.
  PutHead(device, kFirst + 4).Put(kFirst + 5, 4, kMark);
  EXPECT_EQ(Scan(*detector, device), (Hits{{1024, 3 * 512}, {kFirst + 4, 512 + 192}}));
}

TEST(KMtsFileType, LimitComparesAsSigned) {
  const Detector detector = CreateDetector("KMtsFileType");
  detector->SetMaxFileSize(0x8000000000000000);
  EXPECT_EQ(Scan(*detector, DeviceWithHead()), (Hits{{0x8000000000000000, 512}}));
}

TEST(KMtsFileType, SizeIsClipped) {
  for (const std::uint64_t limit : {1216U, 1215U}) {
    const Detector detector = CreateDetector("KMtsFileType");
    detector->SetMaxFileSize(limit);
    EXPECT_EQ(Scan(*detector, DeviceWithHead().Put(kFirst + 3, 4, kMark)), (Hits{{kFirst + 1, limit}}));
  }
}

TEST(KMtsFileType, ResetForgetsTheFileTheLimitAndTheSectorsPassed) {
  const Detector detector = CreateDetector("KMtsFileType");
  const Device device = DeviceWithHead().Put(kFirst + 3, 4, kMark);
  const Hits expected{{kFirst + 1, 1024 + 192}};
  EXPECT_EQ(Scan(*detector, device), expected);
  EXPECT_EQ(Scan(*detector, device), Hits{});
  detector->SetMaxFileSize(1);
  detector->Reset();
  EXPECT_EQ(Scan(*detector, device), expected);
  detector->Reset();
  Device head(1, 512, kFirst, 0);
  Scan(*detector, PutHead(head, kFirst));
  detector->Reset();
  EXPECT_EQ(Scan(*detector, Device(2, 512, kFirst + 1, 0).Put(kFirst + 1, 4, kMark)), Hits{});
}

TEST(KMtsFileType, NeedsSectorsOf512Bytes) {
  for (const int size : {511, 512}) {
    Device device(9, size, kFirst, 0);
    PutHead(device, kFirst).Put(kFirst + 2, 4, kMark);
    EXPECT_EQ(ScanMts(device), size == 512 ? (Hits{{kFirst, 1024 + 192}}) : Hits{});
  }
}

TEST(KMtsFileType, PacketThatCantBeReadEndsTheFile) {
  // Sectors of 64 KiB are too large for the cache.
  Device device(3, 65536, kFirst, 0);
  PutHead(device, kFirst).Put(kFirst + 1, 16 + 4, kMark).Put(kFirst + 1, 16 + 192 + 4, "G");
  EXPECT_EQ(ScanMts(device), (Hits{{kFirst, 65536 + 16 + 192}}));
}

/// Serves packets up to a position of the file, and zeros behind.
class PacketReader final : public IRawSectorReader {
 public:
  explicit PacketReader(std::uint64_t end) : end_(end) {}
  std::uint32_t ReservedOperation1() override { return 0; }
  std::uint32_t ReservedOperation2() override { return 0; }
  std::uint32_t ReservedOperation3() override { return 0; }
  std::int32_t ReadSectors(std::uint64_t startSector, void* buffer, std::uint32_t sectorCount) override {
    const std::uint64_t from = (startSector - kFirst) * 512;
    const std::uint64_t size = std::uint64_t{sectorCount} * 512;
    std::memset(buffer, 0, size);
    if (from < end_) std::memset(buffer, 'G', std::min(size, end_ - from));
    return 0;
  }

 private:
  std::uint64_t end_;
};

TEST(KMtsFileType, RunIsFollowedFor2730665Packets) {
  // With the mark in line 2 the last packet that is asked for begins at 32 + 2730665 * 192.
  constexpr std::uint64_t kLast = 32 + 2730665ULL * 192;
  for (const std::uint64_t end : {kLast, kLast + 5}) {
    PacketReader reader(end);
    Device device(1, 512, kFirst, 0);
    PutHead(device, kFirst).Put(kFirst, 32 + 4, kMark);
    std::vector<std::uint8_t> memory = device.Bytes();
    const RawSectorBlock block{kFirst, memory.data(), 1, 512, &reader};
    RecordingSink sink;
    CreateDetector("KMtsFileType")->Scan(&block, &sink);
    EXPECT_EQ(sink.Found(), (Hits{{kFirst, end == kLast ? kLast : (2 + 2730667ULL) * 192}}));
  }
}

}  // namespace
}  // namespace qzmtraw::test
