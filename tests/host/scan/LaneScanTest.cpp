#include <gtest/gtest.h>

#include <algorithm>
#include <span>
#include <string>
#include <vector>

#include "host/scan/Lanes.h"
#include "host/scan/ScanLoop.h"
#include "host/sources/SectorReader.h"
#include "host/types/Registry.h"
#include "tests/host/support/FakeSource.h"
#include "tests/host/support/FileImage.h"

namespace qzmtraw::host {
namespace {

constexpr std::size_t kSectorSize = 512;

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
