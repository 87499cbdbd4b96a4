// What detectors do when memory runs out. Work buffers are asked for in the form that answers null, and a detector goes
// on with what it has; all else throws std::bad_alloc, which goes through to the host.

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <new>
#include <optional>
#include <set>
#include <utility>

#include "containers/KCompoundReader.h"
#include "tests/support/CompoundFile.h"
#include "tests/support/Scanning.h"

namespace {

/// Allocations up to the one that fails; none fails while it is negative.
int allocationsUntilFailure = -1;

void* Allocate(std::size_t size) {
  if (allocationsUntilFailure >= 0 && allocationsUntilFailure-- == 0) return nullptr;
  return std::malloc(size == 0 ? 1 : size);
}

void* AllocateOrThrow(std::size_t size) {
  if (void* memory = Allocate(size)) return memory;
  throw std::bad_alloc();
}

}  // namespace

void* operator new(std::size_t size) { return AllocateOrThrow(size); }
void* operator new[](std::size_t size) { return AllocateOrThrow(size); }
void* operator new(std::size_t size, const std::nothrow_t& /*tag*/) noexcept { return Allocate(size); }
void* operator new[](std::size_t size, const std::nothrow_t& /*tag*/) noexcept { return Allocate(size); }
void operator delete(void* memory) noexcept { std::free(memory); }
void operator delete[](void* memory) noexcept { std::free(memory); }
void operator delete(void* memory, std::size_t /*size*/) noexcept { std::free(memory); }
void operator delete[](void* memory, std::size_t /*size*/) noexcept { std::free(memory); }
void operator delete(void* memory, const std::nothrow_t& /*tag*/) noexcept { std::free(memory); }
void operator delete[](void* memory, const std::nothrow_t& /*tag*/) noexcept { std::free(memory); }

namespace qzmtraw::test {
namespace {

constexpr std::uint64_t kFirst = 70000000;

/// Fails one allocation while it lives, counted from 0.
class Failing {
 public:
  explicit Failing(int allocation) { allocationsUntilFailure = allocation; }
  ~Failing() { allocationsUntilFailure = -1; }
  Failing(const Failing&) = delete;
  Failing& operator=(const Failing&) = delete;

  static bool HasFailed() { return allocationsUntilFailure < 0; }
};

/// Serves a device without an allocation.
class PlainReader final : public IRawSectorReader {
 public:
  explicit PlainReader(const Device& device) : device_(device) {}
  std::uint32_t ReservedOperation1() override { return 0; }
  std::uint32_t ReservedOperation2() override { return 0; }
  std::uint32_t ReservedOperation3() override { return 0; }
  std::int32_t ReadSectors(std::uint64_t startSector, void* buffer, std::uint32_t sectorCount) override {
    const auto sectorSize = static_cast<std::uint64_t>(device_.SectorSize());
    const std::uint64_t offset = (startSector - device_.FirstSector()) * sectorSize;
    const std::uint64_t size = sectorCount * sectorSize;
    if (offset + size > device_.Bytes().size()) return 1;
    std::memcpy(buffer, device_.Bytes().data() + offset, size);
    return 0;
  }

 private:
  const Device& device_;
};

class CountingSink final : public IRawHitSink {
 public:
  std::uint32_t ReservedOperation1() override { return 0; }
  std::uint32_t ReportHit(const RawFileHit* /*hit*/) override {
    ++count;
    return 0;
  }
  int count = 0;
};

/// How many files are found in one block that holds the device.
int CountHits(IRawFileType& detector, const Device& device) {
  std::vector<std::uint8_t> memory;
  {
    const int failure = std::exchange(allocationsUntilFailure, -1);
    memory = device.Bytes();
    allocationsUntilFailure = failure;
  }
  PlainReader reader(device);
  const RawSectorBlock block{device.FirstSector(), memory.data(), device.SectorCount(), device.SectorSize(), &reader};
  CountingSink sink;
  detector.Scan(&block, &sink);
  return sink.count;
}

std::string MpegFrames() {
  std::string frames;
  for (int i = 0; i < 600; ++i) frames += Literal("\xFF\xFB\x90\x04") + std::string(413, 'U');
  return frames;
}

/// A file whose detector wants a work buffer, in sectors so large that no other test has had one made of the size.
struct BufferedFile {
  const char* className;
  std::vector<std::pair<std::size_t, std::string>> pieces;
};
const BufferedFile kBufferedFiles[] = {
    {"KJPGFileType", {{0, Literal("\xFF\xD8\xFF\xE0\0\x10JFIF")}, {20, Literal("\xFF\xC0\0\x02")}, {900, "\xFF\xD9"}}},
    {"KMP3FileType", {{0, MpegFrames()}}},
    {"KAiFileType", {{0, "%PDF-1.4"}, {8192, "Adobe Illustrator"}, {2 * 8192, "%%EOF"}}},
    {"CKEExeFileType",
     {{0, "MZ"}, {12, "\xFF\xFF"}, {0x3C, "\x80"}, {0x80, "PE"}, {0x80 + 22, "\x02"}, {0x80 + 61, "\x02"}}},
    {"CKNewTxtFileType", {{0, std::string(300, 'z')}}},
};

TEST(OutOfMemory, AWorkBufferThatIsMissingLosesTheFileAndNothingElse) {
  for (const auto& [className, pieces] : kBufferedFiles) {
    // Classifiers read a block once, so the second one has another number. MP3 files inside the last one aren't found.
    Device first(64, 8192, kFirst, 0);
    Device second(64, 8192, kFirst + 1000, 0);
    for (const auto& [offset, bytes] : pieces) {
      first.Put(kFirst, offset, bytes);
      second.Put(kFirst + 1000, offset, bytes);
    }
    const Detector detector = CreateDetector(std::string_view(className));
    {
      const Failing failing(0);
      EXPECT_EQ(CountHits(*detector, first), 0) << className;
      EXPECT_TRUE(Failing::HasFailed()) << className;
    }
    EXPECT_EQ(CountHits(*detector, second), 1) << className;
  }
}

TEST(OutOfMemory, AClassifiersHitsGoThroughToTheHost) {
  const Device device = Device(1, 512, kFirst, 0).Put(kFirst, "P5\n1 1\n2 2 ");
  const Detector detector = CreateDetector("CKGPgmFileType");
  const Failing failing(0);
  EXPECT_THROW(CountHits(*detector, device), std::bad_alloc);
}

/// What a reader tells of a document when one of its allocations fails: its size, and whether it has its streams.
struct Told {
  std::uint32_t size;
  bool hasFirst;
  bool hasSecond;
  bool operator==(const Told&) const = default;
};

TEST(OutOfMemory, TablesOfACompoundDocumentEndWhereMemoryDoes) {
  const CompoundFile file = CompoundFile().Add("PageMaker").Add("Other");
  std::string bytes = file.Bytes();
  bytes.resize(64 * 512);
  const Device device = Device(64, 512, kFirst, 0).Put(kFirst, bytes);
  PlainReader reader(device);
  std::vector<std::uint8_t> memory(device.Bytes());
  const RawSectorBlock block{kFirst, memory.data(), 64, 512, &reader};
  std::vector<Told> told;
  for (bool hasFailed = true; hasFailed;) {
    const int allocation = static_cast<int>(told.size());
    std::optional<Told> now;
    {
      const Failing failing(allocation);
      WalkAllowance allowance;
      const KCompoundReader document(&block, kFirst, allowance);
      now = Told{document.Size(), document.HasStream("PageMaker"), document.HasStream("Other")};
      hasFailed = Failing::HasFailed();
    }
    told.push_back(*now);
  }
  // Without the simulator and without a sector there is nothing.
  ASSERT_GT(told.size(), 5U);
  EXPECT_EQ(told[0], (Told{0, false, false}));
  EXPECT_EQ(told[1], (Told{0, false, false}));
  // The directory comes last. It holds both names, one, or none, and a sector less in its stead.
  const auto last = told.end() - 1;
  EXPECT_EQ(*last, (Told{1536, true, true}));
  EXPECT_EQ(*(last - 1), (Told{1536, true, false}));
  EXPECT_EQ(*(last - 2), (Told{1024, false, false}));
  // What is missing of the FAT bounds the size.
  for (const Told& each : told) EXPECT_LE(each.size, 1536U);
}

}  // namespace
}  // namespace qzmtraw::test
