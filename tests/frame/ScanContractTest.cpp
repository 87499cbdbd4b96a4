// What every detector has in common when it is handed a block.

#include <gtest/gtest.h>

#include <limits>
#include <vector>

#include "tests/support/Rows.h"
#include "tests/support/Scanning.h"

namespace qzmtraw::test {
namespace {

constexpr std::uint64_t kFirst = Device::kFirstSector;

std::string SevenZipHead(std::uint32_t size) {
  return Literal("7z\xBC\xAF\x27\x1C\0\x04") + LittleU32(0) + LittleU64(size - 32) + LittleU64(0);
}

TEST(ScanContract, BlocksWithoutSectorsArePassedOver) {
  std::string sector = SevenZipHead(1000);
  sector.resize(512);
  auto* data = reinterpret_cast<std::uint8_t*>(sector.data());
  const RawSectorBlock blocks[] = {
      {kFirst, data, 0, 512, nullptr},         {kFirst, data, -1, 512, nullptr},
      {kFirst, data, INT32_MIN, 512, nullptr}, {kFirst, data, 1, 0, nullptr},
      {kFirst, data, 1, -512, nullptr},        {kFirst, data, INT32_MAX, INT32_MIN, nullptr},
      {kFirst, nullptr, 1, 512, nullptr},
  };
  for (const Row& row : Rows()) {
    const Detector detector = CreateDetector(row.index);
    RecordingSink sink;
    for (const RawSectorBlock& block : blocks) detector->Scan(&block, &sink);
    detector->Scan(nullptr, &sink);
    EXPECT_EQ(sink.Found(), Hits{}) << row.index;
  }
}

TEST(ScanContract, AMissingSinkLosesTheHits) {
  Device device(2);
  device.Put(kFirst, SevenZipHead(1000));
  std::vector<std::uint8_t> memory = device.Bytes();
  const RawSectorBlock block{kFirst, memory.data(), 2, 512, nullptr};
  for (const Row& row : Rows()) CreateDetector(row.index)->Scan(&block, nullptr);
}

TEST(ScanContract, SectorNumbersHave64Bits) {
  Device device(3, 512, 0xFFFFFFFFFF);
  device.Put(0xFFFFFFFFFF + 2, SevenZipHead(1000));
  EXPECT_EQ(ScanAnyCut("K7ZipFileType", device), (Hits{{0x10000000001, 1000}}));
}

TEST(ScanContract, EverySectorSizeIsTaken) {
  for (const int sectorSize : {1, 2, 3, 7, 16, 17, 24, 100, 511, 512, 513, 2048, 4096, 65536}) {
    Device device(40, sectorSize);
    device.Put(kFirst + 1, "1234567**ACE**");
    EXPECT_EQ(Scan(*CreateDetector("CKAAceFileType"), device), (Hits{{kFirst + 1, 0}})) << sectorSize;
  }
}

TEST(ScanContract, TheRecordReadsZeroAfterAReport) {
  Device device(3);
  device.Put(kFirst, "1234567**ACE**").Put(kFirst + 1, SevenZipHead(1000));
  for (const char* className : {"CKAAceFileType", "K7ZipFileType"}) {
    const Detector detector = CreateDetector(className);
    RecordingSink sink;
    DeviceReader reader(device);
    Feed(*detector, device, sink, reader);
    ASSERT_EQ(sink.Found().size(), 1U) << className;
    EXPECT_EQ(sink.LastAddress()->startSector, 0U) << className;
    EXPECT_EQ(sink.LastAddress()->size, 0U) << className;
  }
}

TEST(ScanContract, AHeadCutOffByTheBlocksEndIsNone) {
  std::vector<std::uint8_t> memory(13);
  const std::string head = "1234567**ACE**";
  std::copy_n(head.begin(), memory.size(), memory.begin());
  const RawSectorBlock block{kFirst, memory.data(), 13, 1, nullptr};
  RecordingSink sink;
  CreateDetector("CKAAceFileType")->Scan(&block, &sink);
  EXPECT_EQ(sink.Found(), Hits{});
}

}  // namespace
}  // namespace qzmtraw::test
