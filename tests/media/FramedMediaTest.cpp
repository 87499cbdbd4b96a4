// The kinds whose size is read or walked at the head, and those of which only the start is told.

#include <gtest/gtest.h>

#include <initializer_list>
#include <utility>

#include "tests/support/Scanning.h"

namespace qzmtraw::test {
namespace {

constexpr std::uint64_t kFirst = Device::kFirstSector;

/// Where a test's file begins.
constexpr std::uint64_t kStart = kFirst + 2;

Device DeviceWith(const std::string& file, int sectorCount = 40, int sectorSize = 512) {
  return Device(sectorCount, sectorSize, kFirst, 0).Put(kStart, file);
}

/// What is found of a file, with the device cut in any way.
Hits ScanFile(const char* className, const std::string& file, int sectorSize = 512) {
  const auto sectors = static_cast<int>(file.size() / static_cast<std::size_t>(sectorSize));
  return ScanAnyCut(className, DeviceWith(file, sectors + 9, sectorSize));
}

std::string Padded(std::string bytes, std::size_t size) {
  bytes.resize(size, 'x');
  return bytes;
}

/// The head of a kind with a size field, for a file of `size` bytes.
struct SizedKind {
  const char* className;
  std::string (*head)(std::uint32_t size);
  int floor;
  std::uint64_t minimum;
  std::uint64_t limit;
};

std::string MmfHead(std::uint32_t size) { return "MMMD" + BigU32(size - 8) + "CNTI" + Padded("", 20); }
std::string VegHead(std::uint32_t size) {
  return Literal("riff\x2E\x91\xCF\x11") + Padded("", 8) + LittleU32(size) + Padded("", 20);
}
std::string MkvHead(std::uint32_t size) {
  return Padded(Literal("\x1A\x45\xDF\xA3"), 40) + Literal("\x18\x53\x80\x67\x01\0\0\0") + BigU32(size - 52) +
         Padded("", 9);
}
std::string RmHead(std::uint32_t size) {
  std::string head = Padded(".RMF" + BigU32(18), 18) + "PROP";
  return Padded(head, 56) + BigU32(size) + BigU32(100) + Padded("", 36) + "DATA" + Padded("", 20);
}

const SizedKind kSizedKinds[] = {
    {"KMmfFileType", MmfHead, 17, 256, 0x2000000},
    {"KVegFileType", VegHead, 33, 256, 0x2000000},
    {"KMkvFileType", MkvHead, 512, 256, 0x7FFF0000},
    {"KRmFileType", RmHead, 512, 256, 0x7FFF0000},
};

TEST(SizedMedia, SizeHasItsMinimumItsLimitAndItsSign) {
  for (const SizedKind& kind : kSizedKinds) {
    const auto minimum = static_cast<std::uint32_t>(kind.minimum);
    const auto limit = static_cast<std::uint32_t>(kind.limit);
    const struct {
      std::uint32_t size;
      Hits expected;
    } cases[] = {
        {100000, {{kStart, 100000}}},
        {minimum - 1, {}},
        {minimum, {{kStart, minimum}}},
        {limit, {{kStart, limit}}},
        {limit + 1, {{kStart, limit}}},
        {0x7FFFFFFF, {{kStart, limit}}},
        {0x80000000, {}},
        {0xFFFFFFFF, {}},
        {0, {}},
    };
    for (const auto& [size, expected] : cases) {
      EXPECT_EQ(ScanFile(kind.className, kind.head(size)), expected) << kind.className << ", " << size;
    }
  }
}

TEST(SizedMedia, LimitOfTheHostClipsUntilReset) {
  for (const SizedKind& kind : kSizedKinds) {
    const Detector detector = CreateDetector(kind.className);
    detector->SetMaxFileSize(99999);
    EXPECT_EQ(Scan(*detector, DeviceWith(kind.head(100000))), (Hits{{kStart, 99999}}));
    detector->Reset();
    EXPECT_EQ(Scan(*detector, DeviceWith(kind.head(100000))), (Hits{{kStart, 100000}}));
  }
}

TEST(SizedMedia, EveryByteOfTheHeadCounts) {
  const struct {
    const SizedKind* kind;
    std::vector<std::size_t> offsets;
  } cases[] = {
      {&kSizedKinds[0], {0, 1, 2, 3, 8, 9, 10, 11}},
      {&kSizedKinds[1], {0, 1, 2, 3, 4, 5, 6, 7}},
      {&kSizedKinds[2], {0, 1, 2, 3, 40, 41, 42, 43, 44, 45, 46, 47}},
      {&kSizedKinds[3], {0, 1, 2, 3, 4, 5, 6, 7, 18, 19, 20, 21, 100, 101, 102, 103}},
  };
  for (const auto& [kind, offsets] : cases) {
    for (const std::size_t offset : offsets) {
      std::string head = kind->head(100000);
      head[offset] = static_cast<char>(head[offset] ^ 0x20);
      EXPECT_EQ(ScanFile(kind->className, head), Hits{}) << kind->className << ", " << offset;
    }
  }
}

TEST(SizedMedia, SectorsBelowTheFloorHaveNoHead) {
  for (const SizedKind& kind : kSizedKinds) {
    // A size in the field, which the floor of some leaves behind the sector's end.
    for (const int size : {kind.floor - 1, kind.floor}) {
      const Hits found = Scan(*CreateDetector(kind.className), DeviceWith(kind.head(100000), 40, size));
      EXPECT_EQ(found, size == kind.floor ? (Hits{{kStart, 100000}}) : Hits{}) << kind.className;
    }
  }
}

TEST(KMmfFileType, SumWrapsAt32Bits) {
  EXPECT_EQ(ScanFile("KMmfFileType", "MMMD" + BigU32(0xFFFFFFFF) + "CNTI" + Padded("", 20)), Hits{});
  EXPECT_EQ(ScanFile("KMmfFileType", "MMMD" + BigU32(0x7FFFFFF8) + "CNTI" + Padded("", 20)), Hits{});
}

TEST(KMkvFileType, SegmentMayBeginUpTo13BytesInFrontOfTheSectorsEnd) {
  const auto scan = [](std::size_t offset, int sectorSize) {
    const std::string file = Padded(Literal("\x1A\x45\xDF\xA3"), offset) + Literal("\x18\x53\x80\x67\x01\0\0\0") +
                             BigU32(0x100000) + Padded("", 600);
    return ScanFile("KMkvFileType", file, sectorSize);
  };
  EXPECT_EQ(scan(40, 512), (Hits{{kStart, 52 + 0x100000}}));
  EXPECT_EQ(scan(499, 512), (Hits{{kStart, 511 + 0x100000}}));
  EXPECT_EQ(scan(500, 512), Hits{});
  EXPECT_EQ(scan(1011, 1024), (Hits{{kStart, 1023 + 0x100000}}));
  EXPECT_EQ(scan(1012, 1024), Hits{});
}

TEST(KMkvFileType, FirstSegmentCountsAndSumWrapsAt32Bits) {
  const auto segment = [](std::uint32_t size) { return Literal("\x18\x53\x80\x67\x01\0\0\0") + BigU32(size); };
  const std::string ebml = Padded(Literal("\x1A\x45\xDF\xA3"), 20);
  EXPECT_EQ(ScanFile("KMkvFileType", ebml + segment(5000) + segment(7000)), (Hits{{kStart, 5032}}));
  EXPECT_EQ(ScanFile("KMkvFileType", ebml + segment(0xFFFFFFFF)), Hits{});
  EXPECT_EQ(ScanFile("KMkvFileType", Padded(ebml, 400) + segment(0xFFFFFFFF)), (Hits{{kStart, 411}}));
}

TEST(KMkvFileType, SegmentOfUnknownOrOtherlyCodedSizeIsNoHead) {
  for (const std::string& size : {Literal("\x01\xFF\xFF\xFF\xFF\xFF\xFF\xFF"), Literal("\xFF"), Literal("\x10\0\x50\0"),
                                  Literal("\x01\0\0\x01\0\0\0\0")}) {
    EXPECT_EQ(ScanFile("KMkvFileType", Padded(Literal("\x1A\x45\xDF\xA3"), 40) + "\x18\x53\x80\x67" + size), Hits{});
  }
}

/// A page with segments of these lengths.
std::string Page(const std::vector<int>& segments, char flags = 0) {
  std::string page = Padded("OggS" + Literal("\0") + flags, 26) + static_cast<char>(segments.size());
  std::size_t sum = 0;
  for (const int length : segments) {
    page += static_cast<char>(length);
    sum += static_cast<std::size_t>(length);
  }
  return page + std::string(sum, 's');
}
constexpr char kFirstPage = 2;

TEST(KOggFileType, AddsItsPages) {
  const std::string file = Page({30}, kFirstPage) + Page({255, 255, 100}) + Page({}) + Page({200, 0}, 4);
  EXPECT_EQ(ScanFile("KOggFileType", file), (Hits{{kStart, 28 + 30 + 30 + 610 + 27 + 29 + 200}}));
  EXPECT_EQ(ScanFile("KOggFileType", file + "Oggs"), (Hits{{kStart, file.size()}}));
  // Pages of another stream go on with the file.
  EXPECT_EQ(ScanFile("KOggFileType", file + file), (Hits{{kStart, 2 * file.size()}}));
}

TEST(KOggFileType, BeginsWithTheFirstPageOfAStream) {
  for (int flags = 0; flags < 256; ++flags) {
    const Hits found = ScanFile("KOggFileType", Page({255, 255, 255}, static_cast<char>(flags)));
    EXPECT_EQ(found.size(), (flags & 2) != 0 ? 1U : 0U) << flags;
  }
  EXPECT_EQ(ScanFile("KOggFileType", "oggS" + Page({255, 255, 255}, kFirstPage).substr(4)), Hits{});
}

TEST(KOggFileType, Has512Bytes) {
  EXPECT_EQ(ScanFile("KOggFileType", Page({255, 227}, kFirstPage)), Hits{});
  EXPECT_EQ(ScanFile("KOggFileType", Page({255, 228}, kFirstPage)), (Hits{{kStart, 512}}));
}

TEST(KOggFileType, ChainIsCutAt20000Pages) {
  std::string file = Page({}, kFirstPage);
  for (int i = 1; i < 20003; ++i) file += Page({1});
  EXPECT_EQ(Scan(*CreateDetector("KOggFileType"), DeviceWith(file, 1200)), (Hits{{kStart, 27 + 19999 * 29}}));
}

TEST(KOggFileType, SizeIsClippedTo0xA00000) {
  const std::string page = Page(std::vector<int>(255, 255));
  std::string file = Page({}, kFirstPage);
  for (int i = 0; i < 200; ++i) file += page;
  const Device device = DeviceWith(file, 26000);
  const Detector detector = CreateDetector("KOggFileType");
  EXPECT_EQ(Scan(*detector, device), (Hits{{kStart, 0xA00000}}));
  detector->SetMaxFileSize(0x7FFFFFFF);
  EXPECT_EQ(Scan(*detector, device), (Hits{{kStart, file.size()}}));
}

TEST(KOggFileType, NeedsSectorsOf81Bytes) {
  const std::string file = Page({255, 255, 255}, kFirstPage);
  EXPECT_EQ(ScanFile("KOggFileType", file, 80), Hits{});
  EXPECT_EQ(ScanFile("KOggFileType", file, 81), (Hits{{kStart, file.size()}}));
}

std::string MidiHead(int tracks) {
  return "MThd" + BigU32(6) + Literal("\0\x01") + static_cast<char>(tracks >> 8) + static_cast<char>(tracks) +
         "\x01\xE0";
}
std::string Track(std::uint32_t length) { return "MTrk" + BigU32(length) + std::string(length, 't'); }

TEST(KMidFileType, AddsItsTracks) {
  EXPECT_EQ(ScanFile("KMidFileType", MidiHead(3) + Track(100) + Track(1000) + Track(0)),
            (Hits{{kStart, 14 + 108 + 1008 + 8}}));
  EXPECT_EQ(ScanFile("KMidFileType", MidiHead(2) + Track(100) + Track(1000) + Track(50)),
            (Hits{{kStart, 14 + 108 + 1008}}));
  EXPECT_EQ(ScanFile("KMidFileType", MidiHead(9) + Track(100) + Track(1000) + "MTrK"),
            (Hits{{kStart, 14 + 108 + 1008}}));
}

TEST(KMidFileType, Has512Bytes) {
  EXPECT_EQ(ScanFile("KMidFileType", MidiHead(2) + Track(100) + Track(200)), Hits{});
  EXPECT_EQ(ScanFile("KMidFileType", MidiHead(1) + Track(489)), Hits{});
  EXPECT_EQ(ScanFile("KMidFileType", MidiHead(1) + Track(490)), (Hits{{kStart, 512}}));
}

TEST(KMidFileType, TracksCountAsASigned16BitNumber) {
  EXPECT_EQ(ScanFile("KMidFileType", MidiHead(0) + Track(1000)), Hits{});
  EXPECT_EQ(ScanFile("KMidFileType", MidiHead(0x8000) + Track(1000)), Hits{});
  EXPECT_EQ(ScanFile("KMidFileType", MidiHead(0x7FFF) + Track(1000)), (Hits{{kStart, 1022}}));
  std::string file = MidiHead(300);
  for (int i = 0; i < 301; ++i) file += Track(3);
  EXPECT_EQ(ScanFile("KMidFileType", file), (Hits{{kStart, 14 + 300 * 11}}));
}

TEST(KMidFileType, HeaderChunkHasSixBytes) {
  for (const std::size_t offset : {0U, 1U, 2U, 3U, 4U, 5U, 6U, 7U}) {
    std::string file = MidiHead(1) + Track(1000);
    file[offset] = static_cast<char>(file[offset] ^ 0x20);
    EXPECT_EQ(ScanFile("KMidFileType", file), Hits{}) << offset;
  }
}

TEST(KMidFileType, SizeIsClippedAndWrapsAt32Bits) {
  const auto trackOf = [](std::uint32_t length) { return MidiHead(2) + "MTrk" + BigU32(length); };
  EXPECT_EQ(ScanFile("KMidFileType", trackOf(0xA00000 - 22)), (Hits{{kStart, 0xA00000}}));
  EXPECT_EQ(ScanFile("KMidFileType", trackOf(0xA00000 - 21)), (Hits{{kStart, 0xA00000}}));
  EXPECT_EQ(ScanFile("KMidFileType", trackOf(0x7FFFFFFF - 22)), (Hits{{kStart, 0xA00000}}));
  EXPECT_EQ(ScanFile("KMidFileType", trackOf(0x80000000 - 22)), Hits{});
}

TEST(KMidFileType, NegativeOffsetIsSoughtAsSuch) {
  const Device device = DeviceWith(MidiHead(2) + "MTrk" + BigU32(0xFFFFFF00 - 22));
  DeviceReader reader(device);
  RecordingSink sink;
  Feed(*CreateDetector("KMidFileType"), device, sink, reader);
  EXPECT_EQ(sink.Found(), Hits{});
  ASSERT_EQ(reader.Calls().size(), 2U);
  EXPECT_EQ(reader.Calls()[1].startSector, kStart + ((std::uint64_t{0} - 256) / 512));
}

TEST(KMidFileType, NeedsSectorsOf9Bytes) {
  EXPECT_EQ(Scan(*CreateDetector("KMidFileType"), DeviceWith(MidiHead(1) + Track(1000), 400, 8)), Hits{});
  EXPECT_EQ(Scan(*CreateDetector("KMidFileType"), DeviceWith(MidiHead(1) + Track(1000), 400, 9)),
            (Hits{{kStart, 1022}}));
}

TEST(KRmFileType, AddsItsIndexes) {
  std::string file = Padded(RmHead(600), 600) + "INDX" + BigU32(50);
  EXPECT_EQ(ScanFile("KRmFileType", Padded(file, 900)), (Hits{{kStart, 650}}));
  file = Padded(file, 650) + "INDX" + BigU32(1000);
  EXPECT_EQ(ScanFile("KRmFileType", Padded(file, 900)), (Hits{{kStart, 1650}}));
  EXPECT_EQ(ScanFile("KRmFileType", Padded(file, 1650) + "INDY" + BigU32(1000)), (Hits{{kStart, 1650}}));
}

TEST(KRmFileType, IndexOfNoLengthEndsTheWalk) {
  EXPECT_EQ(ScanFile("KRmFileType", Padded(RmHead(600), 600) + "INDX" + BigU32(0)), (Hits{{kStart, 600}}));
}

TEST(KRmFileType, SumOfIndexesWrapsAt32Bits) {
  const std::string file = Padded(RmHead(600), 600) + "INDX" + BigU32(0xFFFFFFFF - 99);
  EXPECT_EQ(ScanFile("KRmFileType", file), (Hits{{kStart, 500}}));
  EXPECT_EQ(ScanFile("KRmFileType", Padded(RmHead(600), 600) + "INDX" + BigU32(0x80000000)), Hits{});
}

TEST(KRmFileType, ChainOfIndexesIsCutAt99999) {
  std::string file = Padded(RmHead(600), 600);
  for (int i = 0; i < 100002; ++i) file += "INDX" + BigU32(8);
  EXPECT_EQ(Scan(*CreateDetector("KRmFileType"), DeviceWith(file, 1700)), (Hits{{kStart, 600 + 99999 * 8}}));
}

TEST(KRmFileType, DataThatCantBeReadIsNoHead) {
  EXPECT_EQ(Scan(*CreateDetector("KRmFileType"), DeviceWith(RmHead(600)), {}, Manner::kAnswersError), Hits{});
  EXPECT_EQ(ScanFile("KRmFileType", RmHead(600), 65536), Hits{});
}

/// A Flash video whose metadata tells its size in these bytes.
std::string Flv(std::size_t keyOffset, const std::string& number) {
  return Padded(Literal("FLV\x01"), keyOffset) + Literal("\x08") + Literal("filesize\0") + number;
}

TEST(KFlvFileType, SizeIsMadeOfTheNumbersFirstBytes) {
  const struct {
    std::string number;
    Hits hits;
  } cases[] = {
      {"\x41\x2E\x84\x80\x55\x66", {{kStart, 0x1E84}}},
      {"\x41\x3E\x84\x80\x55\x66", {{kStart, 0x1E8480}}},
      {"\x41\x4E\x84\x80\x55\x66", {{kStart, 0x1E848055}}},
      {"\x41\xFE\x84\x80\x55\x66", {{kStart, 0x1E848055}}},
      {"\x4F\x1F\x84\x80\x55\x66", {}},
      {"\x47\x4F\xFF\xFF\xFF\x66", {{kStart, 0x7FFFFFFF}}},
      {"\x48\x40\x01\x01\x01\x66", {}},
      {Literal("\x40\x00\x84\x80\x55"), {{kStart, 0}}},
      {Literal("\x40\x10\x84\x80\x55"), {{kStart, 0}}},
      {Literal("\x40\x30\x01\x00\x55"), {{kStart, 256}}},
      {Literal("\x40\x30\x00\xFF\x55"), {}},
  };
  for (const auto& [number, hits] : cases) {
    EXPECT_EQ(ScanFile("KFlvFileType", Flv(100, number)), hits) << static_cast<int>(number[1]);
  }
}

TEST(KFlvFileType, FileWithoutTheKeyHasTheSize0) {
  EXPECT_EQ(ScanFile("KFlvFileType", Padded(Literal("FLV\x01"), 1000)), (Hits{{kStart, 0}}));
  EXPECT_EQ(ScanFile("KFlvFileType", Padded(Literal("FLV\x01"), 100) + Literal("\x08") + "filesize\x01\x41\x4E\x84"),
            (Hits{{kStart, 0}}));
  const Detector detector = CreateDetector("KFlvFileType");
  detector->SetMaxFileSize(0xFFFFFFFFFFFFFFFF);
  EXPECT_EQ(Scan(*detector, DeviceWith(Literal("FLV\x01"))), (Hits{{kStart, 0}}));
}

TEST(KFlvFileType, KeyIsSearchedForInFrontOfTheSectorsEndAndOffset1024) {
  const std::string number = "\x41\x3E\x84\x80";
  const Hits found{{kStart, 0x1E8480}};
  const Hits none{{kStart, 0}};
  // Behind the sector's last byte the number is there as far as the block goes.
  const auto scan = [&](std::size_t offset, int sectorSize) {
    return Scan(*CreateDetector("KFlvFileType"), DeviceWith(Flv(offset, number), 40, sectorSize));
  };
  EXPECT_EQ(scan(501, 512), found);
  EXPECT_EQ(scan(502, 512), none);
  EXPECT_EQ(scan(1013, 1024), found);
  EXPECT_EQ(scan(1014, 1024), none);
  EXPECT_EQ(scan(1023, 4096), found);
  EXPECT_EQ(scan(1024, 4096), none);
}

TEST(KFlvFileType, LimitHeadAndFloor) {
  const std::string file = Flv(100, "\x41\x3E\x84\x80");
  const Detector detector = CreateDetector("KFlvFileType");
  detector->SetMaxFileSize(0x1E847F);
  EXPECT_EQ(Scan(*detector, DeviceWith(file)), (Hits{{kStart, 0x1E847F}}));
  EXPECT_EQ(ScanFile("KFlvFileType", Literal("FLV\x02") + file.substr(4)), Hits{});
  EXPECT_EQ(ScanFile("KFlvFileType", Literal("FLW\x01") + file.substr(4)), Hits{});
  EXPECT_EQ(ScanFile("KFlvFileType", file, 511), Hits{});
}

TEST(StreamSignatures, StartIsTold) {
  const std::string zeros(600, '\0');
  const auto with = [&](std::initializer_list<std::pair<std::size_t, std::string>> parts) {
    std::string sector = zeros;
    for (const auto& [offset, bytes] : parts) sector.replace(offset, bytes.size(), bytes);
    return sector;
  };
  const std::string pat = Literal("\x47\x40\0\x10\0\0\xB0\x11\0");
  const std::string pack = Literal("\0\0\x01\xBA\x44\0\x04\0\x04\x01\0\0");
  const std::string disc = Literal("\0\0\x01\xBA\x2F\xFF\xFF\xE3\xE1\x80\x1B\x91\0\0\x01\xBB");
  const struct {
    const char* className;
    std::string sector;
    std::vector<std::size_t> counted;  ///< Bytes that must be as they are.
  } cases[] = {
      {"CKMM2tsFileType", with({{4, pat}}), {4, 5, 6, 7, 8, 9, 10, 11, 12}},
      {"CKMM2tsFileType", with({{4, "G"}, {215, "HDMV"}}), {4, 215, 216, 217, 218}},
      {"CKMM2tsFileType", with({{4, "G"}, {215, "HDPR"}}), {4, 215, 216, 217, 218}},
      {"CKMVobFileType", with({{0, pack}}), {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11}},
      {"CKMDatFileType", with({{0, disc}, {32, "\xF3\x0F"}}), {0, 4, 11, 12, 13, 14, 15, 32, 33}},
      {"CKMFlacFileType", with({{0, "fLaC"}}), {0, 1, 2, 3, 5, 6, 7}},
      {"CKMFlacFileType", with({{0, "fLaC"}, {4, "\x80"}}), {0, 1, 2, 3, 5, 6, 7}},
  };
  for (const auto& [className, sector, counted] : cases) {
    EXPECT_EQ(ScanFile(className, sector), (Hits{{kStart, 0}})) << className;
    for (const std::size_t offset : counted) {
      std::string other = sector;
      other[offset] = static_cast<char>(other[offset] ^ 1);
      EXPECT_EQ(ScanFile(className, other), Hits{}) << className << ", " << offset;
    }
  }
  EXPECT_EQ(ScanFile("CKMFlacFileType", with({{0, "fLaC"}, {4, "\x01"}})), Hits{});
}

}  // namespace
}  // namespace qzmtraw::test
