// Working files of paint and layout programs: PSD, PSP, OCI and INDD.

#include <gtest/gtest.h>

#include <cstring>
#include <numeric>

#include "tests/support/Scanning.h"

namespace qzmtraw::test {
namespace {

constexpr std::uint64_t kFirst = Device::kFirstSector;

std::string BigU16(std::uint16_t value) { return {static_cast<char>(value >> 8), static_cast<char>(value)}; }
std::string Repeat(const std::string& piece, std::size_t count) {
  std::string bytes;
  for (std::size_t i = 0; i < count; ++i) bytes += piece;
  return bytes;
}
std::string Zeros(std::size_t count) { return Repeat(Literal("\0"), count); }

/// A device with the file from its second sector on, and zeros everywhere else.
Device DeviceWith(const std::string& file, int sectorSize = 512) {
  const std::size_t sectors = file.size() / static_cast<std::size_t>(sectorSize) + 3;
  return Device(static_cast<int>(sectors), sectorSize, kFirst - 1, 0).Put(kFirst, file);
}

Hits ScanFile(std::string_view className, const std::string& file) { return ScanAnyCut(className, DeviceWith(file)); }

Hits ScanWithLimit(std::string_view className, const std::string& file, std::uint64_t limit) {
  const Detector detector = CreateDetector(className);
  detector->SetMaxFileSize(limit);
  return Scan(*detector, DeviceWith(file));
}

/// The hits of a file of which nothing but its first sector lies in the block and whose reader gives 00 01 behind.
Hits ScanWithOnesBehind(std::string_view className, std::string file) {
  class OnesReader final : public IRawSectorReader {
   public:
    explicit OnesReader(std::string first) : first_(std::move(first)) {}
    std::uint32_t ReservedOperation1() override { return 0; }
    std::uint32_t ReservedOperation2() override { return 0; }
    std::uint32_t ReservedOperation3() override { return 0; }
    std::int32_t ReadSectors(std::uint64_t startSector, void* buffer, std::uint32_t sectorCount) override {
      auto* bytes = static_cast<std::uint8_t*>(buffer);
      for (std::size_t i = 0; i < std::size_t{sectorCount} * 512; ++i) bytes[i] = i % 2;
      if (startSector == kFirst) std::memcpy(buffer, first_.data(), first_.size());
      return 0;
    }

   private:
    std::string first_;
  };
  file.resize(512);
  OnesReader reader(file);
  RecordingSink sink;
  std::vector<std::uint8_t> memory(file.begin(), file.end());
  const RawSectorBlock block{kFirst, memory.data(), 1, 512, &reader};
  CreateDetector(className)->Scan(&block, &sink);
  return sink.Found();
}

TEST(LayeredImages, SectorsThatCantBeReadInPartsHoldNoFile) {
  for (const auto& [className, head] :
       {std::pair<const char*, std::string>("KPSDFileType", Literal("8BPS\0\1")),
        std::pair<const char*, std::string>("KPSPFileType", "Paint Shop Pro Image File\n\x1A" + Zeros(5)),
        std::pair<const char*, std::string>("KOciFileType", Literal("OPIM\x30\0\0\0"))}) {
    EXPECT_EQ(ScanAnyCut(className, DeviceWith(head, 40000)), Hits{}) << className;
  }
}

// Photoshop documents.

struct Psd {
  std::uint16_t version = 1;
  std::uint16_t channels = 3;
  std::uint32_t height = 2;
  std::uint32_t width = 10;
  std::vector<std::uint32_t> sections = {0, 0, 0};
  std::uint16_t compression = 1;
  std::vector<std::uint16_t> rows = {300, 40, 50, 60, 70, 80};

  std::string Front() const {
    return "8BPS" + BigU16(version) + Zeros(6) + BigU16(channels) + BigU32(height) + BigU32(width) + BigU16(8) +
           BigU16(3);
  }
  std::string File() const {
    std::string bytes = Front();
    for (const std::uint32_t length : sections) bytes += BigU32(length) + Zeros(length);
    bytes += BigU16(compression);
    for (const std::uint16_t row : rows) bytes += BigU16(row);
    return bytes + std::string(std::accumulate(rows.begin(), rows.end(), std::size_t{0}), 'x');
  }
};

Hits ScanPsd(const Psd& psd) { return ScanFile("KPSDFileType", psd.File()); }
Hits SizeOf(const std::string& file) { return {{kFirst, file.size()}}; }

TEST(KPSDFileType, AddsItsSectionsAndEncodedRows) {
  EXPECT_EQ(ScanPsd({}), (Hits{{kFirst, 26 + 12 + 2 + 12 + 600}}));
  Psd psd;
  psd.sections = {768, 2001, 70000};
  EXPECT_EQ(ScanPsd(psd), SizeOf(psd.File()));
}

TEST(KPSDFileType, RowTableMayBeLongerThanAPiece) {
  Psd psd;
  psd.height = 3000;
  psd.rows.clear();
  for (unsigned i = 0; i < 9000; ++i) psd.rows.push_back(static_cast<std::uint16_t>(i % 7));
  psd.rows.back() = 0x1234;
  EXPECT_EQ(ScanPsd(psd), SizeOf(psd.File()));
}

TEST(KPSDFileType, VersionMustBe1) {
  for (const unsigned version : {0U, 2U, 256U, 257U}) {
    Psd psd;
    psd.version = static_cast<std::uint16_t>(version);
    EXPECT_EQ(ScanPsd(psd), Hits{}) << version;
  }
}

TEST(KPSDFileType, SidesGoUpTo30000) {
  const auto isFound = [](std::uint32_t height, std::uint32_t width) {
    Psd psd;
    psd.height = height;
    psd.width = width;
    psd.channels = 1;
    psd.rows.assign(30000, 1);
    return !ScanFile("KPSDFileType", psd.File()).empty();
  };
  EXPECT_TRUE(isFound(30000, 30000));
  EXPECT_TRUE(isFound(200, 0));
  EXPECT_FALSE(isFound(30001, 30000));
  EXPECT_FALSE(isFound(30000, 30001));
  EXPECT_FALSE(isFound(0x80000000, 30000));
  EXPECT_FALSE(isFound(30000, 0xFFFFFFFF));
}

TEST(KPSDFileType, OnlyEncodedRowsAreReported) {
  for (const unsigned compression : {0U, 2U, 3U, 256U, 65535U}) {
    Psd psd;
    psd.compression = static_cast<std::uint16_t>(compression);
    EXPECT_EQ(ScanPsd(psd), Hits{}) << compression;
  }
}

TEST(KPSDFileType, IsReportedFrom256BytesOn) {
  Psd psd;
  psd.rows = {203, 0, 0, 0, 0, 0};
  EXPECT_EQ(ScanPsd(psd), Hits{});
  psd.rows[5] = 1;
  EXPECT_EQ(ScanPsd(psd), (Hits{{kFirst, 256}}));
}

TEST(KPSDFileType, LimitClips) {
  const std::string file = Psd().File();
  EXPECT_EQ(ScanWithLimit("KPSDFileType", file, 652), (Hits{{kFirst, 652}}));
  EXPECT_EQ(ScanWithLimit("KPSDFileType", file, 651), (Hits{{kFirst, 651}}));
}

TEST(KPSDFileType, SizeWrapsAt32BitsAndIsNoHitWhenNegative) {
  // Behind the sections stands 00 01 everywhere: the compression, and a table of 600 rows of one byte.
  const auto scan = [](std::uint32_t lastSection) {
    Psd psd;
    psd.height = 200;
    return ScanWithOnesBehind("KPSDFileType",
                              psd.Front() + Zeros(8) + BigU32(lastSection) + Repeat(Literal("\0\1"), 300));
  };
  constexpr std::uint32_t kRest = 26 + 12 + 2 + 1200 + 600;
  EXPECT_EQ(scan(0x7FFFFFFE - kRest), (Hits{{kFirst, 0x7FFFFFFE}}));
  EXPECT_EQ(scan(0x80000000 - kRest), Hits{});
  EXPECT_EQ(scan(0xFFFFFFFE), (Hits{{kFirst, kRest - 2}}));
}

TEST(KPSDFileType, EveryHeadOfABlockIsReported) {
  const std::string file = Psd().File();
  Device device(6, 512, kFirst, 0);
  device.Put(kFirst, file).Put(kFirst + 3, file);
  EXPECT_EQ(ScanAnyCut("KPSDFileType", device), (Hits{{kFirst, 652}, {kFirst + 3, 652}}));
}

// Paint Shop Pro images.

std::string PspBlock(std::uint32_t length, std::size_t given) {
  return Literal("~BK\0\1\0") + LittleU32(length) + std::string(given, 'x');
}
std::string PspBlock(std::uint32_t length) { return PspBlock(length, length); }
std::string Psp(const std::string& blocks) {
  return "Paint Shop Pro Image File\n\x1A" + Zeros(5) + Literal("\3\0\0\0") + blocks;
}

Hits ScanPsp(const std::string& blocks) { return ScanFile("KPSPFileType", Psp(blocks)); }

TEST(KPSPFileType, EndsAtTheFirstThingThatIsNoBlock) {
  EXPECT_EQ(ScanPsp(PspBlock(100) + PspBlock(700)), (Hits{{kFirst, 36 + 110 + 710}}));
  EXPECT_EQ(ScanPsp(PspBlock(100) + PspBlock(700) + "~BK\1" + PspBlock(9)), (Hits{{kFirst, 36 + 110 + 710}}));
}

TEST(KPSPFileType, NeedsTwoBlocks) {
  EXPECT_EQ(ScanPsp(""), Hits{});
  EXPECT_EQ(ScanPsp(PspBlock(1000)), Hits{});
  EXPECT_EQ(ScanPsp(PspBlock(1000) + PspBlock(0)), (Hits{{kFirst, 36 + 1010 + 10}}));
}

TEST(KPSPFileType, SixteenBlocksFallTenBytesShort) {
  EXPECT_EQ(ScanPsp(Repeat(PspBlock(50), 15)), (Hits{{kFirst, 36 + 15 * 60}}));
  EXPECT_EQ(ScanPsp(Repeat(PspBlock(50), 16)), (Hits{{kFirst, 36 + 16 * 60 - 10}}));
  EXPECT_EQ(ScanPsp(Repeat(PspBlock(50), 17)), (Hits{{kFirst, 36 + 16 * 60 - 10}}));
}

TEST(KPSPFileType, IsReportedFrom256BytesOn) {
  EXPECT_EQ(ScanPsp(PspBlock(100) + PspBlock(99)), Hits{});
  EXPECT_EQ(ScanPsp(PspBlock(100) + PspBlock(100)), (Hits{{kFirst, 256}}));
}

TEST(KPSPFileType, SizeIsASigned32BitNumber) {
  EXPECT_EQ(ScanPsp(PspBlock(100) + PspBlock(0x7FFFFFFF - 156, 9)), (Hits{{kFirst, 0x7FFFFFFF}}));
  EXPECT_EQ(ScanPsp(PspBlock(100) + PspBlock(0x80000000 - 156, 9)), Hits{});
  EXPECT_EQ(ScanPsp(PspBlock(1000) + PspBlock(0xFFFFFFFF, 9)), (Hits{{kFirst, 36 + 1010 + 10 - 1}}));
}

TEST(KPSPFileType, LimitClips) {
  const std::string file = Psp(PspBlock(100) + PspBlock(700));
  EXPECT_EQ(ScanWithLimit("KPSPFileType", file, 856), (Hits{{kFirst, 856}}));
  EXPECT_EQ(ScanWithLimit("KPSPFileType", file, 855), (Hits{{kFirst, 855}}));
}

// openCanvas images.

std::string Chunk(const std::string& tag, std::uint32_t length, std::size_t given) {
  return tag + LittleU32(length) + std::string(given, 'x');
}
std::string Chunk(const std::string& tag, std::uint32_t length) { return Chunk(tag, length, length); }
/// The first chunk's tag stands at 56, behind a word that isn't looked at.
std::string Oci(const std::string& chunks) { return Literal("OPIM\x30\0\0\0") + std::string(48, 'w') + chunks; }

Hits ScanOci(const std::string& chunks) { return ScanFile("KOciFileType", Oci(chunks)); }

TEST(KOciFileType, ChunksRunOnToTheEndTag) {
  for (const char* tag : {"OTNL", "OBIM", "OMSK", "OEVP", "OLYR"}) {
    EXPECT_EQ(ScanOci(Chunk(tag, 700) + Chunk("OBEV", 80) + Chunk("OLYR", 900)), (Hits{{kFirst, 52 + 708 + 88 + 4}}))
        << tag;
  }
}

TEST(KOciFileType, OtherTagEndsWithoutTheFourBytes) {
  for (const char* tag : {"OXXX", "otnl", "OTN ", "TNLO"}) {
    EXPECT_EQ(ScanOci(Chunk("OBIM", 700) + Chunk(tag, 80) + Chunk("OBEV", 900)), (Hits{{kFirst, 52 + 708}})) << tag;
  }
}

TEST(KOciFileType, IsReportedFrom512BytesOn) {
  EXPECT_EQ(ScanOci(Chunk("OBEV", 447)), Hits{});
  EXPECT_EQ(ScanOci(Chunk("OBEV", 448)), (Hits{{kFirst, 512}}));
}

TEST(KOciFileType, WalkTakes200Chunks) {
  const std::string chunk = Chunk("OLYR", 8);
  EXPECT_EQ(ScanOci(Repeat(chunk, 199)), (Hits{{kFirst, 52 + 199 * 16}}));
  EXPECT_EQ(ScanOci(Repeat(chunk, 201)), (Hits{{kFirst, 52 + 200 * 16}}));
  EXPECT_EQ(ScanOci(Repeat(chunk, 199) + Chunk("OBEV", 8)), (Hits{{kFirst, 52 + 200 * 16 + 4}}));
}

TEST(KOciFileType, PositionWrapsAt32Bits) {
  // The second chunk stands at 52 + 1008 and leads back to 500, into the middle of the first.
  std::string chunks = Chunk("OLYR", 1000) + Chunk("OLYR", 500U - 1060 - 8, 0);
  chunks.replace(500 - 52, 8, "OBEV" + LittleU32(200));
  EXPECT_EQ(ScanOci(chunks), (Hits{{kFirst, 500 + 208 + 4}}));
  // A chunk that leads to itself is left after all chunks.
  EXPECT_EQ(ScanOci(Chunk("OLYR", 1000) + Chunk("OLYR", 0xFFFFFFF8, 0)), (Hits{{kFirst, 1060}}));
}

TEST(KOciFileType, NegativeSizeIsNoHit) {
  EXPECT_EQ(ScanOci(Chunk("OLYR", 0x7FFFFFFF - 60, 9)), (Hits{{kFirst, 0xA00000}}));
  EXPECT_EQ(ScanOci(Chunk("OLYR", 0x80000000 - 60, 9)), Hits{});
}

TEST(KOciFileType, SizeIsClipped) {
  EXPECT_EQ(ScanOci(Chunk("OLYR", 0xA00000 - 60, 9)), (Hits{{kFirst, 0xA00000}}));
  EXPECT_EQ(ScanOci(Chunk("OLYR", 0xA00000 - 59, 9)), (Hits{{kFirst, 0xA00000}}));
  EXPECT_EQ(ScanWithLimit("KOciFileType", Oci(Chunk("OLYR", 1000)), 1060), (Hits{{kFirst, 1060}}));
  EXPECT_EQ(ScanWithLimit("KOciFileType", Oci(Chunk("OLYR", 1000)), 1059), (Hits{{kFirst, 1059}}));
}

// InDesign documents.

const std::string kStream = "\xDE\x39\x39\x79\x51\x88\x4B\x6C\x8E\x63\xEE\xF8\xAE\xE0\xDD\x38";

struct MasterPage {
  std::uint64_t sequence = 1;
  std::uint32_t pages = 3;
  char byteOrder = 1;

  std::string Bytes() const {
    std::string page =
        "\x06\x06\xED\xF5\xD8\x1D\x46\xE5\xBD\x31\xEF\xE7\xFE\x74\xB7\x1D"
        "DOCUMENT";
    page += byteOrder;
    page.resize(4096);
    page.replace(264, 8, LittleU64(sequence));
    page.replace(280, 4, LittleU32(pages));
    return page;
  }
};

std::string Stream(std::uint32_t length, std::size_t given) {
  return kStream + Zeros(8) + LittleU32(length) + Zeros(4) + std::string(given + 32, 'x');
}

Hits ScanIndd(const MasterPage& first, const MasterPage& second, const std::string& behind = "") {
  return ScanFile("CKInddFileType", first.Bytes() + second.Bytes() + behind);
}

TEST(CKInddFileType, PageOfTheGreaterSequenceNumberIsRead) {
  EXPECT_EQ(ScanIndd({8, 5}, {7, 6}), (Hits{{kFirst, 5 * 4096}}));
  EXPECT_EQ(ScanIndd({7, 5}, {8, 6}), (Hits{{kFirst, 6 * 4096}}));
  EXPECT_EQ(ScanIndd({7, 5}, {7, 6}), (Hits{{kFirst, 6 * 4096}}));
  EXPECT_EQ(ScanIndd({0x8000000000000000, 5}, {7, 6}), (Hits{{kFirst, 5 * 4096}}));
  EXPECT_EQ(ScanIndd({0x100000000, 5}, {7, 6}), (Hits{{kFirst, 5 * 4096}}));
}

TEST(CKInddFileType, SecondPageMustBeAMasterPage) {
  for (std::size_t i = 0; i < 24; ++i) {
    std::string file = MasterPage{2, 5}.Bytes() + MasterPage{1, 5}.Bytes();
    file[4096 + i] = static_cast<char>(file[4096 + i] ^ 8);
    EXPECT_EQ(ScanFile("CKInddFileType", file), Hits{}) << i;
  }
}

TEST(CKInddFileType, ChosenPageTellsAByteOrderAndPages) {
  for (const char byteOrder : {'\1', '\2'}) {
    EXPECT_EQ(ScanIndd({2, 5, byteOrder}, {1, 0, 0}).size(), 1U);
    EXPECT_EQ(ScanIndd({1, 0, 0}, {2, 5, byteOrder}).size(), 1U);
  }
  for (const char byteOrder : {'\0', '\3', '\xFF'}) {
    EXPECT_EQ(ScanIndd({2, 5, byteOrder}, {1, 5, 1}), Hits{});
    EXPECT_EQ(ScanIndd({1, 5, 1}, {2, 5, byteOrder}), Hits{});
  }
  EXPECT_EQ(ScanIndd({2, 0}, {1, 5}), Hits{});
  EXPECT_EQ(ScanIndd({1, 5}, {2, 0}), Hits{});
}

TEST(CKInddFileType, StreamsBehindThePagesAreCounted) {
  const auto scan = [](const std::string& streams) { return ScanIndd({2, 3}, {1, 9}, Zeros(4096) + streams); };
  EXPECT_EQ(scan(""), (Hits{{kFirst, 3 * 4096}}));
  EXPECT_EQ(scan(Stream(100, 100)), (Hits{{kFirst, 4 * 4096}}));
  EXPECT_EQ(scan(Stream(0, 0)), (Hits{{kFirst, 4 * 4096}}));
  EXPECT_EQ(scan(Stream(4096 - 64, 4096 - 64)), (Hits{{kFirst, 4 * 4096}}));
  EXPECT_EQ(scan(Stream(4096 - 63, 4096 - 63)), (Hits{{kFirst, 5 * 4096}}));
  EXPECT_EQ(scan(Stream(100, 100) + Stream(9000, 9000)), (Hits{{kFirst, (3 + 3) * 4096}}));
  // A gap between streams ends them.
  EXPECT_EQ(scan(Stream(100, 101) + Stream(9000, 9000)), (Hits{{kFirst, 4 * 4096}}));
}

TEST(CKInddFileType, EveryByteOfTheStreamsMarkCounts) {
  for (std::size_t i = 0; i < kStream.size(); ++i) {
    std::string stream = Stream(9000, 9000);
    stream[i] = static_cast<char>(stream[i] ^ 8);
    EXPECT_EQ(ScanIndd({2, 2}, {1, 9}, stream), (Hits{{kFirst, 2 * 4096}})) << i;
  }
}

TEST(CKInddFileType, PositionBehindThePagesWrapsAt32BitsAndHasNoSign) {
  EXPECT_EQ(ScanIndd({2, 0x80000}, {1, 1}), (Hits{{kFirst, 0x80000000}}));
  EXPECT_EQ(ScanIndd({2, 0x100001}, {1, 1}), (Hits{{kFirst, 4096}}));
  EXPECT_EQ(ScanIndd({2, 0x100000}, {1, 1}), (Hits{{kFirst, 0}}));
}

TEST(CKInddFileType, StreamLengthsAreAddedAt64Bits) {
  EXPECT_EQ(ScanIndd({2, 2}, {1, 9}, Stream(0xFFFFFFFF, 9)), (Hits{{kFirst, 0x100003000}}));
}

/// Gives a file and behind it, in every sector, the head of a stream.
class StreamsReader final : public IRawSectorReader {
 public:
  /// \param headAt  Where in a sector the heads begin; they may reach into the next one.
  StreamsReader(std::string file, std::size_t headAt) : file_(std::move(file)), sector_(512, 'x') {
    const std::string head = kStream + Zeros(8) + LittleU32(8192 - 64) + Zeros(4);
    for (std::size_t i = 0; i < head.size(); ++i) sector_[(headAt + i) % 512] = head[i];
  }
  std::uint32_t ReservedOperation1() override { return 0; }
  std::uint32_t ReservedOperation2() override { return 0; }
  std::uint32_t ReservedOperation3() override { return 0; }
  std::int32_t ReadSectors(std::uint64_t startSector, void* buffer, std::uint32_t sectorCount) override {
    auto* bytes = static_cast<char*>(buffer);
    for (std::uint32_t i = 0; i < sectorCount; ++i, bytes += 512) {
      const std::uint64_t offset = (startSector - kFirst + i) * 512;
      (offset < file_.size() ? file_.substr(offset, 512) : sector_).copy(bytes, 512);
    }
    return 0;
  }

 private:
  std::string file_;
  std::string sector_;
};

TEST(CKInddFileType, WalkEndsAt0x7FFFFFFF) {
  const auto scan = [](std::uint32_t position) {
    const std::string file =
        MasterPage{2, 2}.Bytes() + MasterPage{1, 2}.Bytes() + Stream(position - 8192 - 64, 512 - 64);
    StreamsReader reader(file, position % 512);
    RecordingSink sink;
    std::vector<std::uint8_t> memory(file.begin(), file.begin() + 512);
    const RawSectorBlock block{kFirst, memory.data(), 1, 512, &reader};
    CreateDetector("CKInddFileType")->Scan(&block, &sink);
    return sink.Found();
  };
  // In front of it one more stream is added.
  EXPECT_EQ(scan(0x7FFFFFFE), (Hits{{kFirst, 0x80002000}}));
  EXPECT_EQ(scan(0x7FFFFFFF), (Hits{{kFirst, 0x80000000}}));
  EXPECT_EQ(scan(0x80000200), (Hits{{kFirst, 0x80001000}}));
}

TEST(CKInddFileType, FieldsBehindTheBlockAreNoHit) {
  const auto isFound = [](int sectorSize, std::uint64_t firstSequence) {
    const std::string file = MasterPage{firstSequence, 5}.Bytes() + MasterPage{5, 5}.Bytes();
    return !Scan(*CreateDetector("CKInddFileType"), DeviceWith(file, sectorSize), {1}).empty();
  };
  // The second page is read through the reader, so of the first one only the sequence number has to be there.
  EXPECT_FALSE(isFound(271, 4));
  EXPECT_TRUE(isFound(272, 4));
  EXPECT_FALSE(isFound(283, 6));
  EXPECT_TRUE(isFound(284, 6));
}

TEST(CKInddFileType, LimitOfTheHostIsIgnored) {
  const std::string file = MasterPage{2, 5}.Bytes() + MasterPage{1, 5}.Bytes();
  EXPECT_EQ(ScanWithLimit("CKInddFileType", file, 1), (Hits{{kFirst, 5 * 4096}}));
}

}  // namespace
}  // namespace qzmtraw::test
