#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>

#include "tests/support/Scanning.h"

namespace qzmtraw::test {
namespace {

constexpr std::uint64_t kMargin = 4096;

/// The first sector of a stretch of the device that no test used before. What was found last is kept for the whole
/// process.
std::uint64_t FreshStretch() {
  static std::uint64_t first = 10000000;
  return first += 10000000;
}

/// A frame of `length` bytes with this header.
std::string Frame(const std::string& header, std::size_t length) {
  std::string frame = header;
  frame.resize(length, 'U');
  return frame;
}

std::string Frames(std::size_t count, const std::string& frame) {
  std::string frames;
  for (std::size_t i = 0; i < count; ++i) frames += frame;
  return frames;
}

const std::string kHeader96 = Literal("\xFF\xFB\x14\x04");  // 32 kbit/s at 48000 Hz
const std::string kFrame96 = Frame(kHeader96, 96);
const std::string kFrame417 = Frame(Literal("\xFF\xFA\x90\x04"), 417);  // 128 kbit/s at 44100 Hz

/// A device of zeros with these bytes from its third sector on.
Device DeviceWith(const std::string& bytes, std::uint64_t first, int sectorSize = 512) {
  const auto sectors = static_cast<int>(bytes.size() / static_cast<std::size_t>(sectorSize));
  return Device(sectors + 6, sectorSize, first, 0).Put(first + 2, bytes);
}

/// The sizes of what is found, with the first file's start checked.
std::vector<std::uint64_t> SizesOf(const std::string& bytes, int sectorSize = 512) {
  const std::uint64_t first = FreshStretch();
  std::vector<std::uint64_t> sizes;
  for (const Hit& hit : ScanAnyCut("KMP3FileType", DeviceWith(bytes, first, sectorSize))) {
    EXPECT_TRUE(!sizes.empty() || hit.startSector == first + 2);
    sizes.push_back(hit.size);
  }
  return sizes;
}
using Sizes = std::vector<std::uint64_t>;

TEST(KMP3FileType, ChainOf511FramesIsRefusedAndOf512Taken) {
  EXPECT_EQ(SizesOf(Frames(511, kFrame417)), Sizes{});
  EXPECT_EQ(SizesOf(Frames(512, kFrame417)), (Sizes{512 * 417 + kMargin}));
}

TEST(KMP3FileType, TagRightBehindTheChainAdds128Bytes) {
  EXPECT_EQ(SizesOf(Frames(512, kFrame417) + "ID3"), (Sizes{512 * 417 + 128 + kMargin}));
  EXPECT_EQ(SizesOf(Frames(512, kFrame417) + "xID3"), (Sizes{512 * 417 + kMargin}));
}

TEST(KMP3FileType, TagBehindTheChainIsNotAskedForWhereOneOpenedTheFile) {
  EXPECT_EQ(SizesOf(Frame("ID3", 200) + Frames(512, kFrame417) + "ID3"), (Sizes{200 + 512 * 417 + kMargin}));
}

TEST(KMP3FileType, TagLeadsToTheFirstSyncBehind128Bytes) {
  EXPECT_EQ(SizesOf(Frame("ID3", 200) + Frames(512, kFrame96)), (Sizes{200 + 512 * 96 + kMargin}));
  EXPECT_EQ(SizesOf(Frame("ID3", 129) + Frames(512, kFrame417)), (Sizes{129 + 512 * 417 + kMargin}));
  // A sync in front of byte 128 is part of the tag; the first one behind decides, also where no chain begins.
  EXPECT_EQ(SizesOf(Frame("ID3" + Frames(1, "\xFF\xFB"), 200) + Frames(512, kFrame96)),
            (Sizes{200 + 512 * 96 + kMargin}));
  EXPECT_EQ(SizesOf(Frame("ID3", 150) + Frame("\xFF\xFB", 50) + Frames(512, kFrame96)), Sizes{});
  // Half a sync is none.
  EXPECT_EQ(SizesOf(Frame("ID3", 150) + Frame("\xFF\xFC\xFF", 50) + Frames(512, kFrame96)),
            (Sizes{200 + 512 * 96 + kMargin}));
}

TEST(KMP3FileType, TagThatEndsAtByte128IsRefused) {
  EXPECT_EQ(SizesOf(Frame("ID3", 128) + Frames(515, kFrame96)), Sizes{});
}

TEST(KMP3FileType, TagMayReachTo65661AndNotTo65662) {
  EXPECT_EQ(SizesOf(Frame("ID3", 128 + 65533) + Frames(512, kFrame96)), (Sizes{128 + 65533 + 512 * 96 + kMargin}));
  EXPECT_EQ(SizesOf(Frame("ID3", 128 + 65534) + Frames(512, kFrame96)), Sizes{});
}

TEST(KMP3FileType, OnlyMpeg1LayerIIIOpensAChain) {
  for (const char* sync : {"\xFF\xF9", "\xFF\xFC", "\xFF\xFD", "\xFF\xF3", "\xFE\xFB", "\xFF\xEB"}) {
    std::string bytes = Frames(600, Frame(sync + kHeader96.substr(2), 1152));
    EXPECT_EQ(SizesOf(bytes, 1152), Sizes{});
  }
}

TEST(KMP3FileType, VersionAndLayerAreTakenFromTheFirstFrameAlone) {
  // The others claim to be reserved, or of Layer I; all have the length of the first.
  for (const char* sync : {"\xFF\xE9", "\xFF\xFF", "\xFF\xE0", "\xFF\xF3"}) {
    EXPECT_EQ(SizesOf(kFrame96 + Frames(511, Frame(sync + kHeader96.substr(2), 96))), (Sizes{512 * 96 + kMargin}));
  }
}

TEST(KMP3FileType, EveryFrameNeedsElevenBitsOfSync) {
  for (const std::string& sync : {Literal("\xFF\xDF"), Literal("\xFF\xCB"), Literal("\xFE\xFB"), Literal("\x7F\xFB")}) {
    EXPECT_EQ(SizesOf(Frames(511, kFrame96) + Frame(sync + kHeader96.substr(2), 96) + Frames(1, kFrame96)), Sizes{});
  }
}

TEST(KMP3FileType, ReservedSampleRateIsThatOfTheFrameBefore) {
  const std::string reserved = Frame(Literal("\xFF\xFB\x1C\x04"), 96);
  EXPECT_EQ(SizesOf(kFrame96 + Frames(511, reserved)), (Sizes{512 * 96 + kMargin}));
  EXPECT_EQ(SizesOf(Frames(600, reserved)), Sizes{});
}

TEST(KMP3FileType, FrameThatBreaksTheChainCountsItsOwnLength) {
  // A forbidden bit rate takes three bytes away at 48000 Hz; a free one adds the padding.
  const auto endsWith = [](char rates) {
    return SizesOf(Frames(512, kFrame96) + Frame(Literal("\xFF\xFB") + rates, 96) + kFrame96);
  };
  EXPECT_EQ(endsWith('\xF4'), (Sizes{512 * 96 - 3 + kMargin}));
  EXPECT_EQ(endsWith('\xF6'), (Sizes{512 * 96 - 2 + kMargin}));
  EXPECT_EQ(endsWith('\x04'), (Sizes{512 * 96 + kMargin}));
  EXPECT_EQ(endsWith('\x06'), (Sizes{512 * 96 + 1 + kMargin}));
}

TEST(KMP3FileType, ChainIsCutAt30000FramesAndGoesOnFromTheLastSectorButOne) {
  // In sectors of 96 bytes every frame is a head. Those from the second on up to the third last are in the file.
  const std::uint64_t first = FreshStretch();
  const Device device = DeviceWith(Frames(30600, kFrame96), first, 96);
  const Hits expected{{first + 2, 30000 * 96 + kMargin}, {first + 2 + 29998, 602 * 96 + kMargin}};
  EXPECT_EQ(Scan(*CreateDetector("KMP3FileType"), device), expected);
  EXPECT_EQ(Scan(*CreateDetector("KMP3FileType"), device, {64}), expected);
}

TEST(KMP3FileType, TagBehindTheChainIsNotInsideTheFile) {
  // With the tag's 128 bytes the file would reach to the fourth sector of 32 bytes behind the chain.
  const std::uint64_t first = FreshStretch();
  const std::string file = Frames(512, kFrame96);
  EXPECT_EQ(ScanAnyCut("KMP3FileType", DeviceWith(file + Frame("ID3", 200) + file, first, 32)),
            (Hits{{first + 2, 512 * 96 + 128 + kMargin}, {first + 2 + 1536, 200 + 512 * 96 + kMargin}}));
}

TEST(KMP3FileType, FileThatEndsInsideASectorReachesToTheSectorBefore) {
  // 513 frames fill 820 sectors of 60 bytes and a part of the next. A tag in the next to last sector opens a file of
  // its own, with a chain further on; one in the sector in front of that is inside the file.
  for (const std::uint64_t sector : {818U, 819U}) {
    const std::uint64_t first = FreshStretch();
    Device device = DeviceWith(Frames(513, kFrame96) + std::string(60000, '\0'), first, 60);
    device.Put(first + 2 + sector, "ID3").Put(first + 2 + 900, 9, Frames(512, kFrame96));
    Hits expected{{first + 2, 513 * 96 + kMargin}};
    if (sector == 819) expected.push_back({first + 2 + 819, 81 * 60 + 9 + 512 * 96 + kMargin});
    EXPECT_EQ(ScanAnyCut("KMP3FileType", device), expected);
  }
}

TEST(KMP3FileType, LastFileIsKnownToAllDetectorsAndKeptByReset) {
  const std::uint64_t first = FreshStretch();
  const Device device = DeviceWith(Frames(700, kFrame96), first, 96);
  // The same chain from its tenth frame on.
  Device later(720, 96, first + 11, 0);
  later.Put(first + 11, Frames(691, kFrame96));
  const Detector detector = CreateDetector("KMP3FileType");
  EXPECT_EQ(Scan(*detector, device), (Hits{{first + 2, 700 * 96 + kMargin}}));
  EXPECT_EQ(Scan(*CreateDetector("KMP3FileType"), later), Hits{});
  detector->Reset();
  EXPECT_EQ(Scan(*detector, later), Hits{});
  // The start itself isn't inside, and another file takes the place of the one before.
  EXPECT_EQ(Scan(*detector, device).size(), 1U);
  EXPECT_EQ(SizesOf(Frames(512, kFrame96)).size(), 1U);
  EXPECT_EQ(Scan(*detector, later), (Hits{{first + 11, 691 * 96 + kMargin}}));
}

TEST(KMP3FileType, LimitOfTheHostClipsWithTheMargin) {
  const std::uint64_t first = FreshStretch();
  const Device device = DeviceWith(Frames(512, kFrame96), first);
  const Detector detector = CreateDetector("KMP3FileType");
  detector->SetMaxFileSize(512 * 96 + kMargin);
  EXPECT_EQ(Scan(*detector, device), (Hits{{first + 2, 512 * 96 + kMargin}}));
  detector->SetMaxFileSize(512 * 96 + kMargin - 1);
  EXPECT_EQ(Scan(*detector, device), (Hits{{first + 2, 512 * 96 + kMargin - 1}}));
  detector->Reset();
  EXPECT_EQ(Scan(*detector, device), (Hits{{first + 2, 512 * 96 + kMargin}}));
}

TEST(KMP3FileType, NeedsSectorsOf3Bytes) {
  EXPECT_EQ(SizesOf(Frames(512, kFrame96), 2), Sizes{});
  EXPECT_EQ(SizesOf(Frames(512, kFrame96), 3).size(), 1U);
}

TEST(KMP3FileType, ReaderThatFailsFindsNothing) {
  for (const Manner manner : {Manner::kAnswersError, Manner::kLeavesBuffer, Manner::kFillsRubbish}) {
    const Device device = DeviceWith(Frame("ID3", 200) + Frames(600, kFrame96), FreshStretch());
    EXPECT_EQ(Scan(*CreateDetector("KMP3FileType"), device, {}, manner), Hits{});
  }
  // Sectors of more than 32768 bytes can't be read in parts.
  EXPECT_EQ(SizesOf(Frames(700, kFrame96), 65536), Sizes{});
}

/// Serves a chain of frames, all of one header and length, at a sector, and what follows it.
class ChainReader final : public IRawSectorReader {
 public:
  ChainReader(std::uint64_t start, std::string header, std::uint64_t length, std::uint64_t count, std::string behind)
      : start_(start), header_(std::move(header)), length_(length), count_(count), behind_(std::move(behind)) {}

  std::uint32_t ReservedOperation1() override { return 0; }
  std::uint32_t ReservedOperation2() override { return 0; }
  std::uint32_t ReservedOperation3() override { return 0; }
  std::int32_t ReadSectors(std::uint64_t startSector, void* buffer, std::uint32_t sectorCount) override {
    const std::uint64_t from = (startSector - start_) * 512;
    const std::uint64_t size = std::uint64_t{sectorCount} * 512;
    auto* const bytes = static_cast<char*>(buffer);
    std::memset(bytes, 0, size);
    for (std::uint64_t frame = from / length_; frame <= count_ && frame * length_ < from + size; ++frame) {
      const std::string& bytesOfFrame = frame < count_ ? header_ : behind_;
      for (std::uint64_t i = 0; i < bytesOfFrame.size(); ++i) {
        const std::uint64_t at = frame * length_ + i;
        if (at >= from && at < from + size) bytes[at - from] = bytesOfFrame[i];
      }
    }
    return 0;
  }

 private:
  std::uint64_t start_;
  std::string header_;
  std::uint64_t length_;
  std::uint64_t count_;
  std::string behind_;
};

/// The size of a file whose head is in the block, and whose frames, of any kind, are in the reader's hands.
Sizes SizeOfChain(const std::string& header, std::uint64_t length, std::uint64_t count, std::uint64_t maxFileSize = 0,
                  const std::string& behind = "") {
  const std::uint64_t start = FreshStretch();
  ChainReader reader(start, header, length, count, behind);
  std::vector<std::uint8_t> sector(512);
  reader.ReadSectors(start, sector.data(), 1);
  std::copy(kHeader96.begin(), kHeader96.end(), sector.begin());
  const RawSectorBlock block{start, sector.data(), 1, 512, &reader};
  RecordingSink sink;
  const Detector detector = CreateDetector("KMP3FileType");
  if (maxFileSize != 0) detector->SetMaxFileSize(maxFileSize);
  detector->Scan(&block, &sink);
  Sizes sizes;
  for (const Hit& hit : sink.Found()) sizes.push_back(hit.size);
  return sizes;
}

struct Column {
  char sync;                 ///< The header's second byte, which holds version and layer.
  std::uint64_t sampleRate;  ///< At index 1.
  std::uint64_t rates[14];
};

TEST(KMP3FileType, BitRatesAreTheStandardsButForLayerIIIOfLowRates) {
  const Column columns[] = {
      {'\xFF', 48000, {32, 64, 96, 128, 160, 192, 224, 256, 288, 320, 352, 384, 416, 448}},
      {'\xFD', 48000, {32, 48, 56, 64, 80, 96, 112, 128, 160, 192, 224, 256, 320, 384}},
      {'\xFB', 48000, {32, 40, 48, 56, 64, 80, 96, 112, 128, 160, 192, 224, 256, 320}},
      {'\xF7', 24000, {32, 48, 56, 64, 80, 96, 112, 128, 144, 160, 176, 192, 224, 256}},
      {'\xE7', 12000, {32, 48, 56, 64, 80, 96, 112, 128, 144, 160, 176, 192, 224, 256}},
      {'\xF5', 24000, {8, 16, 24, 32, 40, 48, 56, 64, 80, 96, 112, 128, 144, 160}},
      {'\xE5', 12000, {8, 16, 24, 32, 40, 48, 56, 64, 80, 96, 112, 128, 144, 160}},
      {'\xF3', 24000, {8, 16, 24, 32, 64, 80, 56, 64, 128, 160, 112, 128, 256, 320}},
      {'\xE3', 12000, {8, 16, 24, 32, 64, 80, 56, 64, 128, 160, 112, 128, 256, 320}},
  };
  for (const Column& column : columns) {
    const bool isLayer1 = (column.sync & 6) == 6;
    for (unsigned index = 1; index <= 14; ++index) {
      const std::uint64_t rate = column.rates[index - 1];
      const std::uint64_t length = isLayer1 ? rate * 12000 / column.sampleRate * 4 : rate * 144000 / column.sampleRate;
      const std::string header = Literal("\xFF") + column.sync + static_cast<char>(index << 4 | 4);
      EXPECT_EQ(SizeOfChain(header, length, 512), (Sizes{512 * length + kMargin})) << column.sync << ", " << index;
    }
  }
}

TEST(KMP3FileType, SampleRatesAndPadding) {
  const struct {
    std::string header;
    std::uint64_t length;
  } cases[] = {
      {"\xFF\xFB\x90", 417},  {"\xFF\xFB\x92", 418},  {"\xFF\xFB\x98", 576},  {"\xFF\xF5\xC0", 835},
      {"\xFF\xF5\xC8", 1152}, {"\xFF\xE5\xC0", 1671}, {"\xFF\xE5\xC8", 2304}, {"\xFF\xFF\xE0", 484},
      {"\xFF\xFF\xE2", 488},  {"\xFF\xFF\xE8", 672},
  };
  for (const auto& [header, length] : cases) {
    EXPECT_EQ(SizeOfChain(header, length, 512), (Sizes{512 * length + kMargin})) << length;
  }
}

TEST(KMP3FileType, ReservedVersionAndLayerAreNoChain) {
  for (const std::string& header : {Literal("\xFF\xE9\x14"), Literal("\xFF\xEB\x14"), Literal("\xFF\xED\x14"),
                                    Literal("\xFF\xEF\x14"), Literal("\xFF\xF9\x14"), Literal("\xFF\xF1\x14")}) {
    EXPECT_EQ(SizeOfChain(header, 96, 600), Sizes{});
  }
}

TEST(KMP3FileType, FileHas16384Bytes) {
  // Free frames of Layer I with padding are four bytes long.
  const std::string header = Literal("\xFF\xFF\x06\x04");
  EXPECT_EQ(SizeOfChain(header, 4, 4095), Sizes{});
  EXPECT_EQ(SizeOfChain(header, 4, 4096), (Sizes{16384 + kMargin}));
  // A tag behind the chain is part of them.
  EXPECT_EQ(SizeOfChain(header, 4, 4063, 0, "ID3"), Sizes{});
  EXPECT_EQ(SizeOfChain(header, 4, 4064, 0, "ID3"), (Sizes{16384 + kMargin}));
}

TEST(KMP3FileType, ChainEndsWithTheFrameThatPasses64MiB) {
  const std::string header = Literal("\xFF\xE3\xE8\x04");  // 320 kbit/s at 8000 Hz: 5760 bytes
  EXPECT_EQ(SizeOfChain(header, 5760, 30000, ~std::uint64_t{0} >> 1), (Sizes{11651 * 5760 + kMargin}));
  EXPECT_EQ(SizeOfChain(header, 5760, 30000), (Sizes{0x4000000}));
  EXPECT_EQ(SizeOfChain(header, 5760, 11650), (Sizes{11650 * 5760 + kMargin}));
}

}  // namespace
}  // namespace qzmtraw::test
