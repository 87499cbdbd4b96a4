#include <gtest/gtest.h>

#include "tests/support/LiteralTailWalk.h"
#include "tests/support/Programs.h"
#include "tests/support/Scanning.h"

namespace qzmtraw::test {
namespace {

constexpr std::uint64_t kFirst = Device::kFirstSector;
const std::string kTail = Literal("TRAILER!!!\0");

Hits ScanCpio(const Device& device) { return ScanAnyCut("CKACpioFileType", device); }

TEST(CKACpioFileType, EndsBehindTheTrailersName) {
  for (const char* head : {"070707", "070702", "070701"}) {
    EXPECT_EQ(ScanCpio(Device(5).Put(kFirst + 1, head).Put(kFirst + 3, 99, kTail)),
              (Hits{{kFirst + 1, 1024 + 99 + 11}}))
        << head;
  }
}

TEST(CKACpioFileType, OtherNumbersAreNoHead) {
  for (const char* head : {"070700", "070703", "07070", "70707"}) {
    EXPECT_EQ(ScanCpio(Device(5).Put(kFirst + 1, head).Put(kFirst + 3, 99, kTail)), Hits{}) << head;
  }
}

TEST(CKACpioFileType, TrailerNeedsItsZero) {
  EXPECT_EQ(ScanCpio(Device(5).Put(kFirst + 1, "070707").Put(kFirst + 3, 99, "TRAILER!!!!")), Hits{});
}

TEST(CKACpioFileType, TrailerInTheHeadsSectorIsSeen) {
  EXPECT_EQ(ScanCpio(Device(2).Put(kFirst, "070707").Put(kFirst, 6, kTail)), (Hits{{kFirst, 17}}));
}

TEST(CKACpioFileType, TrailerAcrossTwoSectorsIsSeenWhereverItIsCut) {
  for (std::size_t inFirst = 1; inFirst < kTail.size(); ++inFirst) {
    Device device(5);
    device.Put(kFirst, "070701").Put(kFirst + 1, 512 - inFirst, kTail);
    EXPECT_EQ(ScanCpio(device), (Hits{{kFirst, 1024 - inFirst + 11}})) << inFirst;
  }
}

TEST(CKACpioFileType, TrailerThatEndsASectorIsSeenInTheNext) {
  EXPECT_EQ(ScanCpio(Device(5).Put(kFirst, "070701").Put(kFirst + 1, 512 - 11, kTail)), (Hits{{kFirst, 1024}}));
}

TEST(CKACpioFileType, TrailerThatBreaksOffAtTheSectorsEndIsForgotten) {
  Device device(5);
  device.Put(kFirst, "070701").Put(kFirst + 1, 512 - 4, "TRAI").Put(kFirst + 2, "LER!!!x").Put(kFirst + 3, 5, kTail);
  EXPECT_EQ(ScanCpio(device), (Hits{{kFirst, 1536 + 16}}));
}

TEST(CKACpioFileType, NewHeadReportsTheFileBeforeAsItStands) {
  Device device(5);
  device.Put(kFirst, "070701").Put(kFirst + 2, "070707").Put(kFirst + 4, 1, kTail);
  EXPECT_EQ(ScanCpio(device), (Hits{{kFirst, 1024}, {kFirst + 2, 1024 + 12}}));
}

TEST(CKACpioFileType, MemberHeaderAtASectorsStartSplitsTheArchive) {
  Device device(3);
  device.Put(kFirst, "070701").Put(kFirst + 1, "070701").Put(kFirst + 2, "070701").Put(kFirst + 2, 110, kTail);
  EXPECT_EQ(ScanCpio(device), (Hits{{kFirst, 512}, {kFirst + 1, 512}, {kFirst + 2, 121}}));
}

TEST(CKACpioFileType, FileAtSector0IsNotFollowed) {
  EXPECT_EQ(ScanCpio(Device(3, 512, 0).Put(0, "070701").Put(1, 10, kTail)), Hits{});
  EXPECT_EQ(ScanCpio(Device(4, 512, 0).Put(0, "070701").Put(2, "070701").Put(3, 10, kTail)), (Hits{{2, 533}}));
}

TEST(CKACpioFileType, WholeTrailerAtTheSectorsEndBehindTheFilesEndIsInheritedByTheNextFile) {
  Device device(4);
  device.Put(kFirst, "070701").Put(kFirst, 100, kTail).Put(kFirst, 512 - 11, kTail);
  device.Put(kFirst + 2, "070701").Put(kFirst + 3, 200, kTail);
  EXPECT_EQ(ScanCpio(device), (Hits{{kFirst, 111}, {kFirst + 2, 0}}));
}

TEST(CKACpioFileType, LimitOfTheHostIsIgnored) {
  const Detector detector = CreateDetector("CKACpioFileType");
  detector->SetMaxFileSize(10);
  EXPECT_EQ(Scan(*detector, Device(3).Put(kFirst, "070701").Put(kFirst + 2, kTail)), (Hits{{kFirst, 1035}}));
}

TEST(CKACpioFileType, ResetForgetsTheFile) {
  const Detector detector = CreateDetector("CKACpioFileType");
  Scan(*detector, Device(1).Put(kFirst, "070701"));
  detector->Reset();
  EXPECT_EQ(Scan(*detector, Device(2, 512, kFirst + 1).Put(kFirst + 1, 100, kTail)), Hits{});
}

TEST(CKACpioFileType, ResetForgetsTheBeginningOfATrailer) {
  const Device endsWithTrailer = Device(1).Put(kFirst, "070701").Put(kFirst, 512 - 11, kTail);
  const Device next = Device(1, 512, kFirst + 1).Put(kFirst + 1, "070701");
  const Detector detector = CreateDetector("CKACpioFileType");
  Scan(*detector, endsWithTrailer);
  EXPECT_EQ(Scan(*detector, next), (Hits{{kFirst, 512}, {kFirst + 1, 0}}));
  Scan(*detector, endsWithTrailer);
  detector->Reset();
  EXPECT_EQ(Scan(*detector, next), Hits{});
}

TEST(CKACpioFileType, FileOpenWhenTheScanEndsIsNotReported) {
  EXPECT_EQ(ScanCpio(Device(5).Put(kFirst, "070701")), Hits{});
}

TEST(CKACpioFileType, AgreesWithTheRulesTakenByteByByte) {
  const std::vector<std::string> heads = {"070707", "070702", "070701"};
  const LiteralTailWalk rules{heads,
                              kTail,
                              [](std::size_t offset) { return offset + 11; },
                              [](std::size_t matched) { return 11 - matched; },
                              0x64000001,
                              0x64000000};
  std::size_t found = 0;
  for (std::uint32_t seed = 0; seed < 3000; ++seed) {
    const Device device = DeviceOfPieces(seed, heads, kTail);
    const Hits expected = rules.Scan(device);
    ASSERT_EQ(Scan(*CreateDetector("CKACpioFileType"), device), expected) << "seed " << seed;
    found += expected.size();
  }
  EXPECT_GT(found, 1000U);
}

TEST(CKACpioFileType, SizesArchivesOfCpio) {
  const TemporaryFolder folder;
  folder.Write("text", SampleText(3000));
  for (const char* form : {"odc", "newc", "crc"}) {
    ASSERT_TRUE(folder.Run("echo text | cpio --quiet -o -H " + std::string(form) + " > archive.cpio"))
        << "cpio is needed";
    const std::string archive = folder.Read("archive.cpio");
    // cpio fills its last block with zeros; the file ends with the trailer's name.
    const std::size_t end = archive.find(kTail) + kTail.size();
    ASSERT_GT(end, kTail.size());
    Device device(40);
    device.Put(kFirst + 3, archive);
    EXPECT_EQ(ScanCpio(device), (Hits{{kFirst + 3, end}})) << form;
  }
}

}  // namespace
}  // namespace qzmtraw::test
