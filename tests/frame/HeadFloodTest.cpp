#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <limits>
#include <string>
#include <string_view>

#include "tests/support/Scanning.h"

namespace qzmtraw::test {
namespace {

/// Serves one and the same sector wherever it is asked, as far as a record reaches, and counts.
class EndlessReader final : public IRawSectorReader {
 public:
  explicit EndlessReader(const std::string& sector) : sector_(sector) {}
  std::uint32_t ReservedOperation1() override { return 0; }
  std::uint32_t ReservedOperation2() override { return 0; }
  std::uint32_t ReservedOperation3() override { return 0; }
  std::int32_t ReadSectors(std::uint64_t /*startSector*/, void* buffer, std::uint32_t sectorCount) override {
    ++calls;
    for (std::uint32_t i = 0; i < std::min(sectorCount, 2U); ++i) {
      std::memcpy(static_cast<char*>(buffer) + i * sector_.size(), sector_.data(), sector_.size());
    }
    return 0;
  }
  std::uint64_t calls = 0;

 private:
  const std::string& sector_;
};

/// A sector of 512 bytes that heads a file, and holds one of its records.
class HeadSector {
 public:
  HeadSector& Put(std::size_t offset, std::string_view bytes) {
    bytes_.replace(offset, bytes.size(), bytes);
    return *this;
  }
  const std::string& Bytes() const { return bytes_; }

 private:
  std::string bytes_ = std::string(512, '\0');
};

/// The reader's calls in the scan of a device on which every sector heads a file that goes on and on through all
/// others.
std::uint64_t CallsFor(std::string_view className, const HeadSector& head) {
  constexpr int kSectors = 64;
  Device device(kSectors);
  for (std::uint64_t i = 0; i < kSectors; ++i) device.Put(Device::kFirstSector + i, head.Bytes());
  EndlessReader reader(head.Bytes());
  RecordingSink sink;
  const Detector detector = CreateDetector(className);
  // As a host begins a scan, and at the end for other tests: classifiers live as long as the process.
  std::uint8_t nothing = 0;
  const RawSectorBlock none{std::numeric_limits<std::uint64_t>::max(), &nothing, 0, 512, nullptr};
  detector->Scan(&none, nullptr);
  Feed(*detector, device, sink, reader);
  detector->Scan(&none, nullptr);
  return reader.calls;
}

/// What an allowance for far steps comes to, with a few calls more for each head.
constexpr std::uint64_t kMostCalls = (1U << 18U) + 64 * 8;
/// A whole number of sectors, and farther than what is read at once.
constexpr std::uint32_t kStep = 126 * 512;

TEST(HeadFlood, ElfTables) {
  HeadSector head;
  head.Put(0, "\177ELF\2\1").Put(16, LittleU16(2)).Put(54, LittleU16(kStep)).Put(56, LittleU16(0xFFFF));
  const std::uint64_t calls = CallsFor("CKEElfExeFileType", head.Put(58, LittleU16(kStep)).Put(60, LittleU16(0xFFFF)));
  EXPECT_GT(calls, 131000U) << "the tables of a single file are read whole";
  EXPECT_LT(calls, kMostCalls);
}

TEST(HeadFlood, OggPages) {
  HeadSector head;
  head.Put(0, "OggS").Put(5, "\2").Put(26, "\xFF");
  // 64230 bytes behind a header of 27 bytes and 255 lengths.
  head.Put(27, std::string(251, '\xFF')).Put(278, "\xE1");
  const std::uint64_t calls = CallsFor("KOggFileType", head);
  EXPECT_GT(calls, 19000U) << "the pages of a single file are followed";
  EXPECT_LT(calls, kMostCalls);
}

TEST(HeadFlood, RealMediaIndexes) {
  HeadSector head;
  head.Put(0, ".RMF").Put(4, Literal("\0\0\0\x12")).Put(18, "PROP").Put(56, BigU32(200)).Put(60, BigU32(100));
  const std::uint64_t calls = CallsFor("KRmFileType", head.Put(100, "DATA").Put(200, "INDX").Put(204, BigU32(kStep)));
  EXPECT_GT(calls, 99000U) << "the indexes of a single file are followed";
  EXPECT_LT(calls, kMostCalls);
}

TEST(HeadFlood, MidiTracks) {
  HeadSector head;
  head.Put(0, "MThd").Put(4, Literal("\0\0\0\x06")).Put(10, "\x7F\xFF");
  const std::uint64_t calls = CallsFor("KMidFileType", head.Put(14, "MTrk").Put(18, BigU32(kStep - 8)));
  EXPECT_GT(calls, 32000U) << "the tracks of a single file are followed";
  EXPECT_LT(calls, kMostCalls);
}

TEST(HeadFlood, CompoundTables) {
  HeadSector head;
  head.Put(0, "\xD0\xCF\x11\xE0\xA1\xB1\x1A\xE1").Put(28, "\xFE\xFF").Put(30, LittleU16(9)).Put(32, LittleU16(6));
  head.Put(44, LittleU32(8192)).Put(48, LittleU32(20));
  // The sector is the header, with its list of FAT sectors, and every sector of the FAT at once. From the directory's
  // first sector on each word of the list names a sector far away that the next word stands for.
  constexpr std::uint32_t kWords = 109;
  constexpr std::uint32_t kFirstWord = 19;
  for (std::uint32_t i = 0; i < kWords; ++i) {
    const std::uint32_t next = 128 * (i * 37 % kWords) + kFirstWord + (i + 1) % kWords;
    head.Put(4 * std::size_t{kFirstWord + i}, LittleU32(next));
  }
  const std::uint64_t calls = CallsFor("KWordFileType", head);
  EXPECT_GT(calls, 16000U) << "the directory of a single file is followed";
  EXPECT_LT(calls, kMostCalls);
}

}  // namespace
}  // namespace qzmtraw::test
