#include <gtest/gtest.h>

#include "tests/support/Scanning.h"

namespace qzmtraw::test {
namespace {

constexpr std::uint64_t kFirst = Device::kFirstSector;
constexpr std::uint64_t kLimit = 0xA00000;

Hits ScanPdf(const Device& device) { return ScanAnyCut("KPdfFileType", device); }

const std::string kMaker = "Adobe Illustrator";

Hits ScanAi(const Device& device) { return ScanAnyCut("KAiFileType", device); }

Device AiDevice(std::uint64_t sector, std::size_t offset) {
  return Device(20).Put(kFirst, "%PDF-1.4").Put(kFirst + 9, 9, "%%EOF").Put(kFirst + sector, offset, kMaker);
}
const Hits kAi{{kFirst, 9 * 512 + 15}};

TEST(KAiFileType, NamesItsMakerInItsFirstThreeSectors) {
  EXPECT_EQ(ScanAi(AiDevice(0, 100)), kAi);
  EXPECT_EQ(ScanAi(AiDevice(0, 512 - 17)), kAi);
  EXPECT_EQ(ScanAi(AiDevice(1, 0)), kAi);
  EXPECT_EQ(ScanAi(AiDevice(2, 512 - 17)), kAi);
  EXPECT_EQ(ScanAi(AiDevice(2, 512 - 16)), Hits{});
  EXPECT_EQ(ScanAi(AiDevice(3, 0)), Hits{});
}

TEST(KAiFileType, NameIsSeenAcrossTheNextTwoSectorsOnly) {
  EXPECT_EQ(ScanAi(AiDevice(0, 512 - 16)), Hits{});
  EXPECT_EQ(ScanAi(AiDevice(1, 512 - 16)), kAi);
}

TEST(KAiFileType, IsAPdfFileAsWell) {
  EXPECT_EQ(ScanPdf(AiDevice(1, 0)), kAi);
  EXPECT_EQ(ScanPdf(AiDevice(3, 0)), kAi);
}

TEST(KAiFileType, ZeroStopsTheSearchForTheName) {
  EXPECT_EQ(ScanAi(AiDevice(0, 100).Put(kFirst, 50, Literal("\0"))), Hits{});
  // The next two sectors are one text.
  EXPECT_EQ(ScanAi(AiDevice(2, 0).Put(kFirst + 1, 50, Literal("\0"))), Hits{});
  // A zero in the first sector doesn't keep the next from being read.
  EXPECT_EQ(ScanAi(AiDevice(1, 0).Put(kFirst, 50, Literal("\0"))), kAi);
}

TEST(KAiFileType, NameIsTakenAsItStands) {
  EXPECT_EQ(ScanAi(AiDevice(0, 100).Put(kFirst, 100, "adobe")), Hits{});
  EXPECT_EQ(ScanAi(AiDevice(0, 100).Put(kFirst, "%PDF-1:4")), Hits{});
}

TEST(KAiFileType, VersionHasTwoDigits) {
  for (const char* head : {"%PDF-x.4", "%PDF-1.x", "%PDF-/.4", "%PDF-1.:"}) {
    EXPECT_EQ(ScanAi(AiDevice(0, 100).Put(kFirst, head)), Hits{}) << head;
  }
}

TEST(KAiFileType, ReaderIsAskedForTheNextTwoSectorsOnlyWhenTheFirstNamesNoMaker) {
  const Detector detector = CreateDetector("KAiFileType");
  RecordingSink sink;
  const Device inFirst = AiDevice(0, 100);
  DeviceReader unasked(inFirst);
  Feed(*detector, inFirst, sink, unasked);
  EXPECT_TRUE(unasked.Calls().empty());
  const Device inSecond = AiDevice(1, 0);
  DeviceReader asked(inSecond);
  Feed(*detector, inSecond, sink, asked);
  EXPECT_EQ(asked.Calls(), (std::vector<DeviceReader::Call>{{kFirst + 1, 2}}));
}

TEST(KAiFileType, ReaderThatAnswersAnErrorIsNotBelieved) {
  EXPECT_EQ(Scan(*CreateDetector("KAiFileType"), AiDevice(1, 0), {}, Manner::kAnswersError), Hits{});
  EXPECT_EQ(Scan(*CreateDetector("KAiFileType"), AiDevice(1, 0), {}, Manner::kLeavesBuffer), Hits{});
  EXPECT_EQ(Scan(*CreateDetector("KAiFileType"), AiDevice(0, 60), {}, Manner::kAnswersError), kAi);
}

TEST(KAiFileType, MissingReaderFindsNothing) {
  const Device device = AiDevice(1, 0);
  std::vector<std::uint8_t> memory = device.Bytes();
  RecordingSink sink;
  const RawSectorBlock block{kFirst, memory.data(), 20, 512, nullptr};
  CreateDetector("KAiFileType")->Scan(&block, &sink);
  EXPECT_EQ(sink.Found(), Hits{});
}

TEST(KAiFileType, LengthOfALinearizedFileIsNotRead) {
  EXPECT_EQ(ScanAi(AiDevice(1, 0).Put(kFirst, "%PDF-1.4\n1 0 obj\n<< /L 70000 >>")), kAi);
}

TEST(KAiFileType, HasTheNumbersOfPdf) {
  EXPECT_EQ(ScanAi(Device(20, 100).Put(kFirst, "%PDF-1.4 " + kMaker).Put(kFirst + 5, 5, "%%EOF")), Hits{});
  EXPECT_EQ(ScanAi(Device(20, 100).Put(kFirst, "%PDF-1.4 " + kMaker).Put(kFirst + 5, 6, "%%EOF")),
            (Hits{{kFirst, 512}}));
  constexpr int kSize = 0x8000;
  const auto sectors = static_cast<int>(kLimit / kSize);
  const Detector detector = CreateDetector("KAiFileType");
  EXPECT_EQ(Scan(*detector, Device(sectors, kSize).Put(kFirst, "%PDF-1.4 " + kMaker)), Hits{});
  EXPECT_EQ(Scan(*detector, Device(1, kSize, kFirst + 320)), (Hits{{kFirst, kLimit}}));
  for (const int size : {8, 9}) {
    Device device(100, size);
    device.Put(kFirst, "%PDF-1.4").Put(kFirst + 80, 1, "%%EOF").Put(kFirst + 1, kMaker);
    EXPECT_EQ(ScanAi(device), size == 9 ? (Hits{{kFirst, 80 * 9 + 7}}) : Hits{});
  }
}

TEST(KAiFileType, NewHeadReportsTheFileBefore) {
  Device device(9);
  device.Put(kFirst, "%PDF-1.4" + kMaker).Put(kFirst + 2, "%PDF-1.4").Put(kFirst + 5, "%PDF-1.4" + kMaker);
  EXPECT_EQ(ScanAi(device), (Hits{{kFirst, 5 * 512}}));
}

TEST(KAiFileType, LimitOfTheHostClips) {
  const Detector detector = CreateDetector("KAiFileType");
  detector->SetMaxFileSize(600);
  EXPECT_EQ(Scan(*detector, AiDevice(0, 100)), (Hits{{kFirst, 600}}));
  detector->Reset();
  EXPECT_EQ(Scan(*detector, AiDevice(0, 100)), kAi);
}

}  // namespace
}  // namespace qzmtraw::test
