#include <gtest/gtest.h>

#include "tests/support/Scanning.h"

namespace qzmtraw::test {
namespace {

constexpr std::uint64_t kFirst = Device::kFirstSector;

/// A hive in the device's second sector, with its bin at an offset of the file.
Device DeviceWithHive(int sectorCount, int sectorSize, std::size_t binAt = 4096) {
  return Device(sectorCount, sectorSize).Put(kFirst + 1, "regf").Put(kFirst + 1, binAt, "hbin");
}

Hits ScanHives(const Device& device, Cut cut = {}) { return Scan(*CreateDetector("CKOHivFileType"), device, cut); }

TEST(CKOHivFileType, NeedsABinAtOffset4096) {
  for (const int sectorSize : {512, 1024, 2048, 4096}) {
    const int sectors = 3 + 4096 / sectorSize;
    EXPECT_EQ(ScanAnyCut("CKOHivFileType", DeviceWithHive(sectors, sectorSize)), (Hits{{kFirst + 1, 0}})) << sectorSize;
    EXPECT_EQ(ScanAnyCut("CKOHivFileType", DeviceWithHive(sectors, sectorSize, 4097)), Hits{}) << sectorSize;
    EXPECT_EQ(ScanAnyCut("CKOHivFileType", DeviceWithHive(sectors, sectorSize, 4095)), Hits{}) << sectorSize;
  }
  EXPECT_EQ(ScanAnyCut("CKOHivFileType", Device(20).Put(kFirst, "regF").Put(kFirst + 8, "hbin")), Hits{});
}

TEST(CKOHivFileType, HiveAtSector0IsFound) {
  EXPECT_EQ(ScanAnyCut("CKOHivFileType", Device(9, 512, 0).Put(0, "regf").Put(8, "hbin")), (Hits{{0, 0}}));
}

TEST(CKOHivFileType, BinInTheBlockIsSeenWithoutTheReader) {
  const Device device = DeviceWithHive(10, 512);
  DeviceReader reader(device);
  RecordingSink sink;
  Feed(*CreateDetector("CKOHivFileType"), device, sink, reader);
  EXPECT_EQ(sink.Found(), (Hits{{kFirst + 1, 0}}));
  EXPECT_TRUE(reader.Calls().empty());
}

TEST(CKOHivFileType, OneReadDecidesAboutABinBeyondTheBlock) {
  const Device device = DeviceWithHive(10, 512);
  DeviceReader reader(device);
  RecordingSink sink;
  Feed(*CreateDetector("CKOHivFileType"), device, sink, reader, {9});
  EXPECT_EQ(sink.Found(), (Hits{{kFirst + 1, 0}}));
  EXPECT_EQ(reader.Calls(), (std::vector<DeviceReader::Call>{{kFirst + 9, 64}}));
  for (const Manner manner : {Manner::kAnswersError, Manner::kLeavesBuffer, Manner::kFillsRubbish}) {
    EXPECT_EQ(Scan(*CreateDetector("CKOHivFileType"), device, {9}, manner), Hits{});
  }
}

TEST(CKOHivFileType, WholeSectorsAreCountedToABinInTheBlock) {
  // 4096 bytes are four sectors of 1000 bytes and some: inside the block the bin is looked for at 4000, beyond it at
  // 4096.
  EXPECT_EQ(ScanHives(DeviceWithHive(8, 1000, 4000)), (Hits{{kFirst + 1, 0}}));
  EXPECT_EQ(ScanHives(DeviceWithHive(8, 1000)), Hits{});
  EXPECT_EQ(ScanHives(DeviceWithHive(8, 1000, 4000), {2}), Hits{});
  EXPECT_EQ(ScanHives(DeviceWithHive(8, 1000), {2}), (Hits{{kFirst + 1, 0}}));
}

TEST(CKOHivFileType, SectorsAbove4096BytesHaveNoHives) {
  for (const int sectorSize : {4097, 8192, 65536}) {
    EXPECT_EQ(ScanAnyCut("CKOHivFileType", DeviceWithHive(3, sectorSize)), Hits{}) << sectorSize;
  }
}

TEST(CKOHivFileType, BinThatTheBlockCutsIsNone) {
  // Sectors of two bytes: the bin begins in the block's last sector and ends in the first one behind it.
  const Device device = Device(2060, 2).Put(kFirst, "regf").Put(kFirst, 4096, "hbin");
  EXPECT_EQ(ScanHives(device), (Hits{{kFirst, 0}}));
  EXPECT_EQ(ScanHives(device, {2049}), Hits{});
}

TEST(CKOHivFileType, LimitOfTheHostIsIgnored) {
  const Detector detector = CreateDetector("CKOHivFileType");
  detector->SetMaxFileSize(1);
  EXPECT_EQ(Scan(*detector, DeviceWithHive(10, 512)), (Hits{{kFirst + 1, 0}}));
}

}  // namespace
}  // namespace qzmtraw::test
