// KWavFileType, KAniFileType, KAifFileType, KSndFileType and KAviFileType.

#include <gtest/gtest.h>

#include <random>
#include <set>

#include "tests/media/SparseDevice.h"

namespace qzmtraw::test {
namespace {

constexpr std::uint64_t kFirst = Device::kFirstSector;
constexpr std::uint64_t kFile = SparseDevice::kFileSector;

Hits ScanHead(std::string_view className, const std::string& head) {
  return ScanAnyCut(className, Device(3).Put(kFirst + 1, head));
}
Hits OneHit(std::uint64_t size) { return {{kFirst + 1, size}}; }

struct ChunkKind {
  std::string className;
  std::string outer;
  std::string form;
  std::string firstChunk;
  bool isBigEndian = false;
};

const ChunkKind kChunkKinds[] = {
    {"KWavFileType", "RIFF", "WAVE", "fmt "},
    {"KAniFileType", "RIFF", "ACON", "anih"},
    {"KAifFileType", "FORM", "AIFF", "COMM", true},
};

class ChunkedFiles : public ::testing::TestWithParam<ChunkKind> {
 protected:
  static std::string Head(std::uint32_t size) {
    const ChunkKind& kind = GetParam();
    return kind.outer + (kind.isBigEndian ? BigU32(size) : LittleU32(size)) + kind.form + kind.firstChunk;
  }
  static Hits Found(std::uint32_t size) { return ScanHead(GetParam().className, Head(size)); }
};

TEST_P(ChunkedFiles, HaveTheBareSizeOfTheirOuterChunk) { EXPECT_EQ(Found(44100), OneHit(44100)); }

TEST_P(ChunkedFiles, AreReportedFrom256BytesOn) {
  for (const std::uint32_t size : {0U, 255U}) EXPECT_EQ(Found(size), Hits{});
  EXPECT_EQ(Found(256), OneHit(256));
}

TEST_P(ChunkedFiles, AreClippedTo0x2000000) {
  EXPECT_EQ(Found(0x1FFFFFF), OneHit(0x1FFFFFF));
  for (const std::uint32_t size : {0x2000000U, 0x2000001U, 0x3000000U, 0x7FFFFFFFU})
    EXPECT_EQ(Found(size), OneHit(0x2000000));
}

TEST_P(ChunkedFiles, SizeFrom0x80000000OnIsNegativeAndNoHit) {
  for (const std::uint32_t size : {0x80000000U, 0xFFFFFFFFU}) EXPECT_EQ(Found(size), Hits{});
}

TEST_P(ChunkedFiles, NeedEveryByteOfTheirHead) {
  for (const std::size_t at : {0U, 1U, 2U, 3U, 8U, 9U, 10U, 11U, 12U, 13U, 14U, 15U}) {
    std::string head = Head(44100);
    head[at] = static_cast<char>(head[at] ^ 0x20);
    EXPECT_EQ(ScanHead(GetParam().className, head), Hits{}) << at;
  }
}

TEST_P(ChunkedFiles, NeedSectorsOf17Bytes) {
  for (const int size : {16, 17}) {
    EXPECT_EQ(Scan(*CreateDetector(GetParam().className), Device(4, size).Put(kFirst, Head(44100))),
              size == 17 ? (Hits{{kFirst, 44100}}) : Hits{});
  }
}

TEST_P(ChunkedFiles, LimitOfTheHostClips) {
  const Detector detector = CreateDetector(GetParam().className);
  const Device device = Device(3).Put(kFirst + 1, Head(44100));
  detector->SetMaxFileSize(44099);
  EXPECT_EQ(Scan(*detector, device), OneHit(44099));
  detector->Reset();
  EXPECT_EQ(Scan(*detector, device), OneHit(44100));
}

TEST_P(ChunkedFiles, NothingStaysOpenBetweenHeads) {
  Device device(9);
  device.Put(kFirst, Head(1000)).Put(kFirst + 1, Head(5)).Put(kFirst + 8, Head(2000));
  EXPECT_EQ(ScanAnyCut(GetParam().className, device), (Hits{{kFirst, 1000}, {kFirst + 8, 2000}}));
}

INSTANTIATE_TEST_SUITE_P(Kinds, ChunkedFiles, ::testing::ValuesIn(kChunkKinds),
                         [](const auto& kind) { return kind.param.className; });

Hits ScanAu(std::uint32_t dataOffset, std::uint32_t dataSize) {
  return ScanHead("KSndFileType", ".snd" + BigU32(dataOffset) + BigU32(dataSize));
}

TEST(KSndFileType, AddsTheHeaderAndTheSamples) {
  EXPECT_EQ(ScanAu(24, 8000), OneHit(8024));
  EXPECT_EQ(ScanHead("KSndFileType", ".sne" + BigU32(24) + BigU32(8000)), Hits{});
}

TEST(KSndFileType, HeaderOf1000BytesIsNoHead) {
  EXPECT_EQ(ScanAu(999, 8000), OneHit(8999));
  EXPECT_EQ(ScanAu(1000, 8000), Hits{});
}

TEST(KSndFileType, HeadersSizeIsSigned) { EXPECT_EQ(ScanAu(0xFFFFFFFF, 8000), OneHit(7999)); }

TEST(KSndFileType, SumWrapsAt32Bits) {
  EXPECT_EQ(ScanAu(24, 0xFFFFFFFF), Hits{});
  EXPECT_EQ(ScanAu(257, 0xFFFFFFFF), OneHit(256));
  EXPECT_EQ(ScanAu(256, 0xFFFFFFFF), Hits{});
}

TEST(KSndFileType, SizesAreLimited) {
  EXPECT_EQ(ScanAu(24, 231), Hits{});
  EXPECT_EQ(ScanAu(24, 232), OneHit(256));
  EXPECT_EQ(ScanAu(24, 0x2000000), OneHit(0x2000000));
  EXPECT_EQ(ScanAu(24, 0x7FFFFFFF), Hits{});
  const Detector detector = CreateDetector("KSndFileType");
  detector->SetMaxFileSize(300);
  EXPECT_EQ(Scan(*detector, Device(1).Put(kFirst, ".snd" + BigU32(24) + BigU32(277))), (Hits{{kFirst, 300}}));
  detector->Reset();
  EXPECT_EQ(Scan(*detector, Device(1).Put(kFirst, ".snd" + BigU32(24) + BigU32(277))), (Hits{{kFirst, 301}}));
}

TEST(KSndFileType, NeedsSectorsOf17Bytes) {
  for (const int size : {16, 17}) {
    EXPECT_EQ(Scan(*CreateDetector("KSndFileType"), Device(2, size).Put(kFirst, ".snd" + BigU32(24) + BigU32(1000))),
              size == 17 ? (Hits{{kFirst, 1024}}) : Hits{});
  }
}

/// The beginning of an AVI chunk, by the size of its contents.
std::string Avi(std::uint32_t size) { return "RIFF" + LittleU32(size) + "AVI LIST"; }
std::string Avix(std::int64_t size) { return "RIFF" + LittleU32(static_cast<std::uint32_t>(size)) + "AVIXLIST"; }

Hits ScanAvi(const SparseDevice& device) {
  SparseDevice copy(device);
  return copy.ScanHead(*CreateDetector("KAviFileType"));
}
Hits AviHit(std::uint64_t size) { return {{kFile, size}}; }

TEST(KAviFileType, CountsTheHeaderOfItsChunk) {
  EXPECT_EQ(ScanHead("KAviFileType", Avi(247)), Hits{});
  EXPECT_EQ(ScanHead("KAviFileType", Avi(248)), OneHit(256));
  EXPECT_EQ(ScanHead("KAviFileType", Avi(5000)), OneHit(5008));
}

TEST(KAviFileType, NeedsEveryByteOfItsHead) {
  for (const std::size_t at : {0U, 1U, 2U, 3U, 8U, 9U, 10U, 11U, 12U, 13U, 14U, 15U}) {
    std::string head = Avi(5000);
    head[at] = static_cast<char>(head[at] ^ 0x20);
    EXPECT_EQ(ScanHead("KAviFileType", head), Hits{}) << at;
  }
}

TEST(KAviFileType, NeedsSectorsOf17Bytes) {
  for (const int size : {16, 17}) {
    EXPECT_EQ(Scan(*CreateDetector("KAviFileType"), Device(3, size).Put(kFirst, Avi(5000))),
              size == 17 ? (Hits{{kFirst, 5008}}) : Hits{});
  }
}

TEST(KAviFileType, AddsTheChunksThatFollow) {
  Device device(60, 512, kFirst, 0);
  device.Put(kFirst + 1, Avi(5000)).Put(kFirst + 1, 5008, Avix(3000)).Put(kFirst + 1, 8016, Avix(100));
  device.Put(kFirst + 1, 8124, Avix(0));
  EXPECT_EQ(ScanAnyCut("KAviFileType", device), OneHit(8132));
}

TEST(KAviFileType, AddsNoOtherChunks) {
  for (const std::size_t at : {0U, 3U, 8U, 11U}) {
    std::string chunk = Avix(3000);
    chunk[at] = static_cast<char>(chunk[at] ^ 0x20);
    EXPECT_EQ(ScanAvi(SparseDevice().Put(0, Avi(5000)).Put(5008, chunk)), AviHit(5008)) << at;
  }
  EXPECT_EQ(ScanAvi(SparseDevice().Put(0, Avi(5000)).Put(5008, Avi(3000))), AviHit(5008));
}

TEST(KAviFileType, NothingIsLookedForBehindAChunkOfMoreThan1GiB) {
  EXPECT_EQ(ScanAvi(SparseDevice().Put(0, Avi(0x40000000 - 8)).Put(0x40000000, Avix(100))), AviHit(0x4000006C));
  for (const std::uint32_t size : {0x40000000U - 7, 0x40000000U, 0x7FFFFFFFU, 0x80000000U, 0xFFFFFFFFU}) {
    SparseDevice device;
    device.Put(0, Avi(size)).Put(0x40000000, Avix(100)).Put(std::uint64_t{size} + 8, Avix(100));
    EXPECT_EQ(ScanAvi(device), AviHit(0x40000000)) << size;
  }
}

TEST(KAviFileType, ReachesTo0x2000000000) {
  SparseDevice device;
  device.Put(0, Avi(0x40000000 - 8));
  std::uint64_t end = 0x40000000;
  for (int i = 0; i < 63; ++i, end += 0x7FFFFFF8) device.Put(end, Avix(0x7FFFFFF0));
  const auto rest = static_cast<std::int64_t>(0x2000000000 - end);
  device.Put(end, Avix(rest - 24)).Put(0x2000000000 - 16, Avix(8)).Put(0x2000000000, Avix(500));
  const Detector detector = CreateDetector("KAviFileType");
  EXPECT_EQ(device.ScanHead(*detector), AviHit(0x2000000000));
  detector->SetMaxFileSize(0x7FFFFFFFFFFFFFFF);
  EXPECT_EQ(device.ScanHead(*detector), AviHit(0x2000000000));
  // What stands there isn't looked at, though it would lead back.
  device.Put(0x2000000000, Avix(-0x100000));
  EXPECT_EQ(device.ScanHead(*detector), AviHit(0x2000000000));
  device.Put(0x2000000000 - 16, Avix(1000)).Put(0x2000000000 + 992, Avix(1000));
  EXPECT_EQ(device.ScanHead(*detector), AviHit(0x2000000000));
  device.Put(0x2000000000 - 16, "");
  EXPECT_EQ(device.ScanHead(*detector), AviHit(0x2000000000 - 16));
}

TEST(KAviFileType, LimitOfTheHostClips) {
  const Detector detector = CreateDetector("KAviFileType");
  SparseDevice device;
  device.Put(0, Avi(5000)).Put(5008, Avix(3000));
  detector->SetMaxFileSize(8015);
  EXPECT_EQ(device.ScanHead(*detector), AviHit(8015));
  detector->Reset();
  EXPECT_EQ(device.ScanHead(*detector), AviHit(8016));
}

TEST(KAviFileType, NegativeChunkLeadsBack) {
  SparseDevice device;
  device.Put(0, Avi(5000)).Put(5008, Avix(-1008)).Put(4008, Avix(100));
  EXPECT_EQ(ScanAvi(device), AviHit(4116));
  // To the first chunk, which isn't an AVIX one.
  device.Put(5008, Avix(-5016));
  EXPECT_EQ(ScanAvi(device), Hits{});
  device.Put(5008, Avix(-5016 + 255));
  EXPECT_EQ(ScanAvi(device), Hits{});
  device.Put(5008, Avix(-5016 + 256));
  EXPECT_EQ(ScanAvi(device), AviHit(256));
}

TEST(KAviFileType, ChunkThatLeadsInFrontOfTheFileIsNoHit) {
  EXPECT_EQ(ScanAvi(SparseDevice().Put(0, Avi(5000)).Put(5008, Avix(-9000))), Hits{});
  EXPECT_EQ(ScanAvi(SparseDevice().Put(0, Avi(5000)).Put(5008, Avix(INT32_MIN))), Hits{});
}

TEST(KAviFileType, WalkEndsWhereItMakesNoProgress) {
  EXPECT_EQ(ScanAvi(SparseDevice().Put(0, Avi(5000)).Put(5008, Avix(-8))), AviHit(5008));
  EXPECT_EQ(ScanAvi(SparseDevice().Put(0, Avi(5000)).Put(5008, Avix(92)).Put(5108, Avix(-8))), AviHit(5108));
}

TEST(KAviFileType, WalkEndsWhereItComesBackToAChunk) {
  // Chunks of 100 bytes, the last of which leads back to one of them.
  for (std::int64_t count = 1; count < 20; ++count) {
    for (std::int64_t target = 0; target < count; ++target) {
      SparseDevice device;
      device.Put(0, Avi(992));
      for (std::int64_t i = 0; i < count; ++i) {
        device.Put(static_cast<std::uint64_t>(1000 + i * 100), Avix(i + 1 < count ? 92 : (target - i) * 100 - 8));
      }
      EXPECT_EQ(ScanAvi(device), AviHit(static_cast<std::uint64_t>(1000 + target * 100))) << count << ", " << target;
    }
  }
}

TEST(KAviFileType, WalkEndsAtAFailedRead) {
  Device device(2, 65536, kFirst, 0);
  device.Put(kFirst, Avi(5000)).Put(kFirst, 5008, Avix(1000));
  EXPECT_EQ(Scan(*CreateDetector("KAviFileType"), device), (Hits{{kFirst, 5008}}));
  // The sector's end can be read, but not what is behind it.
  device.Put(kFirst, Avi(65536 - 12 - 8)).Put(kFirst, 65536 - 12, Avix(1000));
  EXPECT_EQ(Scan(*CreateDetector("KAviFileType"), device), (Hits{{kFirst, 65536 - 12}}));
}

TEST(KAviFileType, AgreesWithTheRulesTakenStepByStep) {
  std::size_t found = 0;
  for (std::uint32_t seed = 0; seed < 500; ++seed) {
    std::mt19937 random(seed);
    constexpr std::size_t kSize = 64 * 40;
    Device device(40, 64, kFirst, 0);
    for (std::size_t at = 0; at + 16 <= kSize; at += 16) {
      const auto size = static_cast<std::int64_t>(16 * (random() % 60)) - 8;
      const bool isHead = at % 64 == 0 && random() % 4 == 0;
      const auto back = static_cast<std::int64_t>(random() % 6 == 0 ? 16 * (random() % 60) : 0);
      device.Put(kFirst, at, isHead ? Avi(static_cast<std::uint32_t>(size < 0 ? 8 : size)) : Avix(size - back));
    }
    const std::string bytes(device.Bytes().begin(), device.Bytes().end());
    Hits expected;
    for (std::size_t i = 0; i < 40; ++i) {
      const auto at = [&](std::int64_t position) -> std::string {
        const std::int64_t absolute = static_cast<std::int64_t>(i) * 64 + position;
        std::string chunk =
            absolute >= 0 && absolute < std::int64_t{kSize} ? bytes.substr(static_cast<std::size_t>(absolute), 16) : "";
        chunk.resize(16);
        return chunk;
      };
      const auto sizeOf = [](const std::string& chunk) {
        std::uint32_t size = 0;
        for (std::size_t k = 8; k-- > 4;) size = size * 256 + static_cast<std::uint8_t>(chunk[k]);
        return static_cast<std::int32_t>(size);
      };
      const std::string head = at(0);
      if (!head.starts_with("RIFF") || head.substr(8) != "AVI LIST") continue;
      std::int64_t total = std::int64_t{sizeOf(head)} + 8;
      std::set<std::int64_t> visited;
      while (visited.insert(total).second) {
        const std::string chunk = at(total);
        // In front of the file's sector the walk finds nothing: it has left the numbers that sectors have.
        if (total < 0 || !chunk.starts_with("RIFF") || chunk.substr(8, 4) != "AVIX") break;
        total += std::int64_t{sizeOf(chunk)} + 8;
      }
      if (total >= 256) expected.push_back({kFirst + i, static_cast<std::uint64_t>(total)});
    }
    ASSERT_EQ(Scan(*CreateDetector("KAviFileType"), device, {static_cast<int>(seed % 4)}), expected) << seed;
    found += expected.size();
  }
  EXPECT_GT(found, 1000U);
}

}  // namespace
}  // namespace qzmtraw::test
