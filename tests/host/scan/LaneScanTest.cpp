#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <random>
#include <span>
#include <string>
#include <vector>

#include "host/scan/Lanes.h"
#include "host/scan/ScanLoop.h"
#include "host/sources/SectorReader.h"
#include "host/types/Registry.h"
#include "tests/host/support/FakeSource.h"
#include "tests/host/support/Image.h"
#include "tests/host/support/Tool.h"

namespace qzmtraw::host {
namespace {

constexpr std::size_t kSectorSize = 512;

/// Heads of the kinds that reverse a field in the block, behind the heads of files that end where the field does or
/// doesn't hold zeros.
std::vector<Bytes> WrittenHeads() {
  std::vector<Bytes> files;
  const auto add = [&](std::string_view head) {
    Bytes file = BytesOf(head);
    file.resize(kSectorSize, 'x');
    files.push_back(file);
  };
  for (int round = 0; round < 2; ++round) {
    add(std::string_view("\xFF\xFE\x42\0l\0u\0f\0f\0T\0i\0t\0l\0e\0r\0", 24));
    add(std::string_view("FORM\0\0\x31\x32LWOB", 12));
    add("A text that fills a sector and then some, as it goes on in the next one. ");
    add(std::string_view("FORM\0\0\x31\x32LWO2", 12));
    add("<?xml version=\"1.0\"?><a>");
    add(std::string_view("FOR4\0\0\x31\0MayaFOR4\0\0\0\x20VERS", 24));
    add(std::string_view("FOR4\0\0\x31\0MayaFOR4\0\0\0\0\0\0ADVERS", 28));
    add(std::string_view("\0\0\x27\x0A\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\x64", 28));
  }
  return files;
}

/// All test files but one that takes long, each at the start of a sector, in an order and at distances that the seed
/// decides. Some stand in noise and some in zeros.
Bytes ImageOfFiles(unsigned seed) {
  std::vector<Bytes> files;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(QZMTRAW_TEST_DATA)) {
    if (entry.is_regular_file() && entry.path().extension() != ".frm") files.push_back(ReadFile(entry.path()));
  }
  std::mt19937 random(seed);
  std::ranges::sort(files);
  std::ranges::shuffle(files, random);
  const std::vector<Bytes> heads = WrittenHeads();
  files.insert(files.begin() + static_cast<std::ptrdiff_t>(files.size() / 2), heads.begin(), heads.end());
  Bytes image;
  for (const Bytes& file : files) {
    image.insert(image.end(), file.begin(), file.end());
    const bool isNoise = random() % 2 == 0;
    const std::size_t gap = random() % 3 == 0 ? random() % 20000 : 0;
    for (std::size_t i = 0; i < gap || image.size() % kSectorSize != 0; ++i) {
      image.push_back(static_cast<std::uint8_t>(isNoise ? random() : 0));
    }
  }
  return image;
}

/// What the tool lists, without the lines that tell when and how long.
std::string Listing(const std::string& image, const std::vector<std::string>& options) {
  std::vector<std::string> arguments = {"scan", image};
  arguments.insert(arguments.end(), options.begin(), options.end());
  const ToolResult result = RunTool(arguments);
  EXPECT_EQ(result.exitCode, 0) << result.err;
  EXPECT_EQ(result.err, "");
  std::size_t first = result.out.find('\n') + 1;
  // In a table the command has a line of its own.
  if (result.out.compare(first, 10, "Listed by ") == 0) first = result.out.find('\n', first) + 1;
  return result.out.substr(first, result.out.rfind('\n', result.out.size() - 2) - first);
}

class LaneScanTest : public ::testing::TestWithParam<unsigned> {};

TEST_P(LaneScanTest, LanesDoNotChangeWhatIsFound) {
  const Workspace workspace;
  const std::string image = workspace / "disk.img";
  WriteFile(image, ImageOfFiles(GetParam()));
  const std::string expected = Listing(image, {"--format", "jsonl", "--jobs", "1"});
  EXPECT_GT(std::ranges::count(expected, '\n'), 50) << expected;
  for (const char* jobs : {"2", "3", "8"}) {
    EXPECT_EQ(Listing(image, {"--format", "jsonl", "--jobs", jobs}), expected) << jobs << " lanes";
  }
}
INSTANTIATE_TEST_SUITE_P(Seeds, LaneScanTest, ::testing::Values(1U, 2U));

TEST(LaneTableTest, LanesAndMemoryDoNotChangeTheTable) {
  const Workspace workspace;
  const std::string image = workspace / "disk.img";
  WriteFile(image, ImageOfFiles(4));
  EXPECT_EQ(Listing(image, {"--jobs", "3", "--memory", "32MiB"}), Listing(image, {"--jobs", "1"}));
}

TEST(LaneSectorTest, LanesDoNotChangeWhatIsFoundInSectorsOfOtherSizes) {
  const Workspace workspace;
  const std::string image = workspace / "disk.img";
  WriteFile(image, ImageOfFiles(5));
  for (const char* size : {"700", "4096"}) {
    const std::string expected = Listing(image, {"--format", "jsonl", "--sector-size", size, "--jobs", "1"});
    EXPECT_GT(std::ranges::count(expected, '\n'), 2) << expected;
    EXPECT_EQ(Listing(image, {"--format", "jsonl", "--sector-size", size, "--jobs", "3"}), expected) << size;
  }
}

TEST(LaneBlockTest, OnlyTheRowsThatAreKnownForItWriteIntoBlocks) {
  const Bytes content = ImageOfFiles(3);
  FakeSource source(content);
  Device device(source, kSectorSize);
  SectorReader reader(device);
  const std::size_t blockSize = kSectorsPerBlock * kSectorSize;
  int writingRows = 0;
  std::size_t blockCount = 0;
  std::size_t untouchedBlocks = 0;
  for (std::int32_t row = 0; row < OpenRegistry().GetTypeCount(); ++row) {
    const DetectorPtr detector(OpenRegistry().CreateType(row, nullptr, nullptr));
    detector->Reset();
    Bytes memory = content;
    for (std::size_t start = 0; start < memory.size(); start += blockSize) {
      const std::size_t sectorCount = std::min(blockSize, memory.size() - start) / kSectorSize;
      const RawSectorBlock block{start / kSectorSize, memory.data() + start, static_cast<std::int32_t>(sectorCount),
                                 kSectorSize, &reader};
      detector->Scan(&block, nullptr);
      const std::span before = std::span(content).subspan(start, sectorCount * kSectorSize);
      const bool mayBeWritten = MayBeWrittenInto(before, kSectorSize);
      ++blockCount;
      untouchedBlocks += mayBeWritten ? 0U : 1U;
      EXPECT_TRUE(mayBeWritten || std::ranges::equal(before, std::span(memory).subspan(start, before.size())))
          << "row " << row << ", byte " << start;
    }
    EXPECT_EQ(memory != content, WritesIntoBlocks(row)) << "row " << row;
    writingRows += memory != content ? 1 : 0;
  }
  EXPECT_EQ(writingRows, 3);
  EXPECT_GT(untouchedBlocks, blockCount / 2);
}

}  // namespace
}  // namespace qzmtraw::host
