// Where a ZIP file starts and ends, whatever its kind.

#include <gtest/gtest.h>

#include <algorithm>

#include "tests/support/ZipScanning.h"

namespace qzmtraw::test {
namespace {

constexpr std::uint64_t kFirst = Device::kFirstSector;
constexpr std::uint64_t kLimit = 0x1400000;
constexpr std::uint32_t kPlain = 0;
constexpr std::uint32_t kWord = 1;
const std::string kHead = "PK\3\4";
const std::string kSignature = Literal("PK\5\6\0\0\0\0");
const std::string kWordName = "word/document.xml";

constexpr int kMebibyte = 1 << 20;

/// Sectors of 1 MiB, for files about the limit of 20 MiB.
Device LargeSectors(int sectorCount) { return Device(sectorCount, kMebibyte); }

/// A block of one sector of 512 bytes.
ZipBlock Sector512(std::uint64_t number, const std::string& start = "", std::size_t offset = 0,
                   const std::string& bytes = "") {
  Device device(1, 512, number);
  device.Put(number, start).Put(number, offset, bytes);
  return {number, 512, {device.Bytes().begin(), device.Bytes().end()}};
}

TEST(KZipFileSearcher, FileGoesFromTheHeadToTheEndOfTheEndRecord) {
  EXPECT_EQ(ScanZipAnyCut(Device(5).Put(kFirst + 1, kHead).Put(kFirst + 3, 99, kSignature)),
            (ZipHits{{kFirst + 1, 1024 + 99 + 22, kPlain}}));
}

TEST(KZipFileSearcher, HeadNeedsItsFourBytes) {
  for (std::size_t i = 0; i < 4; ++i) {
    std::string head = kHead;
    head[i] = static_cast<char>(head[i] ^ 1);
    EXPECT_EQ(ScanZipAnyCut(Device(3).Put(kFirst, head).Put(kFirst + 1, kSignature)), ZipHits{}) << i;
  }
}

TEST(KZipFileSearcher, HeadIsSeenAtASectorsStartOnly) {
  EXPECT_EQ(ScanZipAnyCut(Device(3).Put(kFirst, 1, kHead).Put(kFirst + 1, kSignature)), ZipHits{});
}

TEST(KZipFileSearcher, FileOfASingleSectorIsFound) {
  EXPECT_EQ(ScanZipAnyCut(Device(1).Put(kFirst, kHead).Put(kFirst, 300, kSignature)), (ZipHits{{kFirst, 322, kPlain}}));
}

TEST(KZipFileSearcher, FileAtSector0IsFound) {
  EXPECT_EQ(ScanZipAnyCut(Device(2, 512, 0).Put(0, kHead).Put(1, 10, kSignature)), (ZipHits{{0, 544, kPlain}}));
}

TEST(KZipFileSearcher, EndRecordMayRunOverTheSectorsAndTheDevicesEnd) {
  EXPECT_EQ(ScanZipAnyCut(Device(2).Put(kFirst, kHead).Put(kFirst + 1, 512 - 9, kSignature)),
            (ZipHits{{kFirst, 1024 - 9 + 22, kPlain}}));
}

TEST(KZipFileSearcher, CommentIsNotCounted) {
  const std::string record = kSignature + Literal("\1\0\1\0") + LittleU32(50) + LittleU32(500) + LittleU16(7);
  EXPECT_EQ(ScanZipAnyCut(Device(3).Put(kFirst, kHead).Put(kFirst + 1, 40, record + "comment")),
            (ZipHits{{kFirst, 512 + 40 + 22, kPlain}}));
}

TEST(KZipFileSearcher, EndOfAnArchiveInSeveralPartsIsNoEnd) {
  for (std::size_t i = 0; i < 8; ++i) {
    std::string signature = kSignature;
    signature[i] = static_cast<char>(signature[i] ^ 1);
    Device device(4);
    device.Put(kFirst, kHead).Put(kFirst + 1, 200, signature).Put(kFirst + 3, 5, kSignature);
    EXPECT_EQ(ScanZipAnyCut(device), (ZipHits{{kFirst, 1536 + 27, kPlain}})) << i;
  }
}

TEST(KZipFileSearcher, FirstEndCounts) {
  Device device(4);
  device.Put(kFirst, kHead)
      .Put(kFirst + 1, 20, kSignature)
      .Put(kFirst + 1, 100, kSignature)
      .Put(kFirst + 2, kSignature);
  EXPECT_EQ(ScanZipAnyCut(device), (ZipHits{{kFirst, 512 + 42, kPlain}}));
}

TEST(KZipFileSearcher, EndIsSeenWhereverASectorsEndCutsIt) {
  // 9 bytes from the sector's end is the last place at which the whole signature is looked for.
  for (const std::string& name : {std::string(), kWordName}) {
    for (std::size_t inFirst = 1; inFirst <= 10; ++inFirst) {
      Device device(5);
      device.Put(kFirst, kHead).Put(kFirst, 100, name).Put(kFirst + 2, 512 - inFirst, kSignature);
      EXPECT_EQ(ScanZipAnyCut(device), (ZipHits{{kFirst, 1536 - inFirst + 22, name.empty() ? kPlain : kWord}}))
          << inFirst;
    }
  }
}

TEST(KZipFileSearcher, EndThatBreaksOffAtTheSectorsEndIsForgotten) {
  Device device(5);
  device.Put(kFirst, kHead).Put(kFirst + 1, 512 - 3, "PK\5").Put(kFirst + 2, Literal("\6\0\0\1"));
  device.Put(kFirst + 3, Literal("\6\0\0\0\0")).Put(kFirst + 4, 7, kSignature);
  EXPECT_EQ(ScanZipAnyCut(device), (ZipHits{{kFirst, 2048 + 29, kPlain}}));
}

TEST(KZipFileSearcher, LongestBeginningOfAnEndAtTheSectorsEndIsTaken) {
  Device device(3);
  device.Put(kFirst, kHead).Put(kFirst, 512 - 8, "PPKPK\5\6").Put(kFirst, 511, Literal("\0"));
  device.Put(kFirst + 1, Literal("\0\0\0"));
  EXPECT_EQ(ScanZipAnyCut(device), (ZipHits{{kFirst, 512 - 5 + 22, kPlain}}));
}

TEST(KZipFileSearcher, RestOfAnEndMayReachOverSmallSectorsInsideTheBlock) {
  ZipDetectors detectors;
  EXPECT_EQ(detectors.Scan(Sector512(kFirst, kHead, 509, "PK\5")), ZipHits{});
  EXPECT_EQ(detectors.Scan(ZipBlock{kFirst + 1, 2, Literal("\6\0\0\0\0x")}), (ZipHits{{kFirst, 512 - 3 + 22, kPlain}}));
}

TEST(KZipFileSearcher, RestOfAnEndBehindTheBlockDoesNotExist) {
  ZipDetectors detectors;
  EXPECT_EQ(detectors.Scan(Sector512(kFirst, kHead, 509, "PK\5")), ZipHits{});
  EXPECT_EQ(detectors.Scan(ZipBlock{kFirst + 1, 2, Literal("\6\0\0\0")}), ZipHits{});
  EXPECT_EQ(detectors.Scan(ZipBlock{kFirst + 3, 2, Literal("\0\0")}), ZipHits{});
  EXPECT_EQ(detectors.Scan(Sector512(kFirst + 4, kSignature)), (ZipHits{{kFirst, 512 + 4 + 2 + 22, kPlain}}));
}

TEST(KZipFileSearcher, HeadNeedsASectorOf51Bytes) {
  for (const int sectorSize : {50, 51}) {
    Device device(10, sectorSize);
    device.Put(kFirst, kHead).Put(kFirst + 9, 5, kSignature);
    const ZipHits found = {{kFirst, 9U * 51 + 27, kPlain}};
    EXPECT_EQ(ScanZipAnyCut(device), sectorSize == 51 ? found : ZipHits{}) << sectorSize;
  }
}

TEST(KZipFileSearcher, SmallSectorsCountForAnOpenFileAndAreNoHeadsOfOthers) {
  ZipDetectors detectors;
  EXPECT_EQ(detectors.Scan(Sector512(kFirst, kHead)), ZipHits{});
  Device small(3, 50, kFirst + 1);
  small.Put(kFirst + 2, kHead).Put(kFirst + 3, 10, kSignature);
  EXPECT_EQ(detectors.Scan(small), (ZipHits{{kFirst, 512 + 100 + 32, kPlain}}));
}

TEST(KZipFileSearcher, IsReportedFrom256BytesOn) {
  EXPECT_EQ(ScanZipAnyCut(Device(1).Put(kFirst, kHead).Put(kFirst, 233, kSignature)), ZipHits{});
  EXPECT_EQ(ScanZipAnyCut(Device(1).Put(kFirst, kHead).Put(kFirst, 234, kSignature)), (ZipHits{{kFirst, 256, kPlain}}));
}

TEST(KZipFileSearcher, FileBelowTheMinimumLeavesNothingBehind) {
  Device device(6);
  device.Put(kFirst, kHead + std::string(26, 'x') + "content/").Put(kFirst, 100, kSignature);
  device.Put(kFirst + 1, 50, kSignature).Put(kFirst + 2, kHead).Put(kFirst + 3, 70, kSignature);
  EXPECT_EQ(ScanZipAnyCut(device), (ZipHits{{kFirst + 2, 512 + 92, kPlain}}));
}

TEST(KZipFileSearcher, IsClippedTo20MiB) {
  const auto scan = [](std::size_t size) {
    Device device = LargeSectors(22);
    const std::size_t end = size - 22;
    device.Put(kFirst, kHead).Put(kFirst + end / kMebibyte, end % kMebibyte, kSignature);
    return ZipDetectors().Scan(device);
  };
  EXPECT_EQ(scan(kLimit - 1), (ZipHits{{kFirst, kLimit - 1, kPlain}}));
  EXPECT_EQ(scan(kLimit), (ZipHits{{kFirst, kLimit, kPlain}}));
  EXPECT_EQ(scan(kLimit + 1), (ZipHits{{kFirst, kLimit, kPlain}}));
  EXPECT_EQ(scan(kLimit + 1000000), (ZipHits{{kFirst, kLimit, kPlain}}));
}

TEST(KZipFileSearcher, LimitOfTheHostIsIgnored) {
  const Device device = Device(5).Put(kFirst + 1, kHead).Put(kFirst + 3, 99, kSignature);
  ZipDetectors detectors;
  for (std::uint32_t code = 0; code < kZipFaces.size(); ++code) detectors.OfCode(code).SetMaxFileSize(300);
  EXPECT_EQ(detectors.Scan(device), (ZipHits{{kFirst + 1, 1145, kPlain}}));
}

TEST(KZipFileSearcher, HeadOfAMemberAtASectorsStartRestartsAPlainFile) {
  Device device(6);
  device.Put(kFirst, kHead).Put(kFirst + 2, kHead).Put(kFirst + 3, kHead).Put(kFirst + 4, 10, kSignature);
  EXPECT_EQ(ScanZipAnyCut(device), (ZipHits{{kFirst + 3, 512 + 32, kPlain}}));
}

TEST(KZipFileSearcher, HeadOfAMemberAtASectorsStartChangesNothingInAClassifiedFile) {
  Device device(6);
  device.Put(kFirst, kHead).Put(kFirst + 1, 10, kWordName).Put(kFirst + 2, kHead).Put(kFirst + 4, 10, kSignature);
  EXPECT_EQ(ScanZipAnyCut(device), (ZipHits{{kFirst, 2048 + 32, kWord}}));
}

TEST(KZipFileSearcher, PlainFileAboveTheLimitIsReportedByTheHeadThatEndsIt) {
  Device device = LargeSectors(23);
  device.Put(kFirst, kHead).Put(kFirst + 21, kHead).Put(kFirst + 22, 50, kSignature);
  EXPECT_EQ(ZipDetectors().Scan(device), (ZipHits{{kFirst, kLimit, kPlain}, {kFirst + 21, kMebibyte + 72, kPlain}}));
}

TEST(KZipFileSearcher, PlainFileThatIsNotAboveTheLimitVanishesAtAHead) {
  Device device = LargeSectors(22);
  device.Put(kFirst, kHead).Put(kFirst + 20, kHead).Put(kFirst + 21, 50, kSignature);
  EXPECT_EQ(ZipDetectors().Scan(device), (ZipHits{{kFirst + 20, kMebibyte + 72, kPlain}}));
}

TEST(KZipFileSearcher, ClassifiedFileAboveTheLimitIsReportedAtEveryHeadAndAtItsEnd) {
  Device device = LargeSectors(25);
  device.Put(kFirst, kHead).Put(kFirst, 50, kWordName);
  device.Put(kFirst + 20, kHead).Put(kFirst + 21, kHead).Put(kFirst + 23, kHead).Put(kFirst + 24, 9, kSignature);
  EXPECT_EQ(ZipDetectors().Scan(device),
            (ZipHits{{kFirst, kLimit, kWord}, {kFirst, kLimit, kWord}, {kFirst, kLimit, kWord}}));
}

TEST(KZipFileSearcher, ClassifiedFileStaysOpenUntilAnEndComes) {
  Device device = LargeSectors(30);
  device.Put(kFirst, kHead).Put(kFirst, 50, kWordName).Put(kFirst + 28, 9, kSignature);
  device.Put(kFirst + 29, kHead).Put(kFirst + 29, 400, kSignature);
  EXPECT_EQ(ZipDetectors().Scan(device), (ZipHits{{kFirst + 29, 422, kPlain}, {kFirst, kLimit, kWord}}));
}

TEST(KZipFileSearcher, EndForgetsTheKind) {
  Device device(6);
  device.Put(kFirst, kHead).Put(kFirst, 50, kWordName).Put(kFirst + 1, 5, kSignature);
  device.Put(kFirst + 3, kHead).Put(kFirst + 4, 6, kSignature);
  EXPECT_EQ(ScanZipAnyCut(device), (ZipHits{{kFirst, 512 + 27, kWord}, {kFirst + 3, 512 + 28, kPlain}}));
}

TEST(KZipFileSearcher, FileOpenWhenTheScanEndsIsNotReported) {
  EXPECT_EQ(ScanZipAnyCut(Device(5).Put(kFirst, kHead)), ZipHits{});
  EXPECT_EQ(ScanZipAnyCut(Device(5).Put(kFirst, kHead).Put(kFirst, 50, kWordName)), ZipHits{});
}

TEST(KZipFileSearcher, EndWithoutAHeadIsNothing) {
  EXPECT_EQ(ScanZipAnyCut(Device(3).Put(kFirst, kSignature)), ZipHits{});
}

TEST(KZipFileSearcher, NewHeadInheritsTheBeginningOfAnEnd) {
  // The record would begin with the last byte before the head: "P", and "K\3\4" doesn't go on with it.
  Device device(4);
  device.Put(kFirst, kHead).Put(kFirst, 511, "P").Put(kFirst + 1, kHead).Put(kFirst + 2, 60, kSignature);
  EXPECT_EQ(ScanZipAnyCut(device), (ZipHits{{kFirst + 1, 512 + 82, kPlain}}));
  // A whole signature at the sector's end needs nothing more, so it ends the file that the next head starts.
  Device whole(4);
  whole.Put(kFirst, kHead).Put(kFirst, 504, kSignature).Put(kFirst + 1, kHead).Put(kFirst + 2, 60, kSignature);
  EXPECT_EQ(ScanZipAnyCut(whole), ZipHits{});
}

TEST(KZipFileSearcher, ResetOfAnyKindForgetsTheOpenFile) {
  for (std::uint32_t code = 0; code < kZipFaces.size(); ++code) {
    for (int reset = 0; reset < 3; ++reset) {
      ZipDetectors detectors;
      EXPECT_EQ(detectors.Scan(Sector512(kFirst, kHead, 504, kSignature)), ZipHits{});
      IRawFileType& face = detectors.OfCode(code);
      EXPECT_EQ(reset == 0 ? face.Reset() : reset == 1 ? face.ResetLight() : face.ResetFull(), 1);
      EXPECT_EQ(detectors.Scan(Sector512(kFirst + 1, "x", 5, kSignature)), ZipHits{}) << code;
      // The beginning of an end is forgotten as well: the next file goes on behind its first sector.
      EXPECT_EQ(detectors.Scan(Sector512(kFirst + 2, kHead)), ZipHits{});
      EXPECT_EQ(detectors.Scan(Sector512(kFirst + 3, "x", 5, kSignature)), (ZipHits{{kFirst + 2, 539, kPlain}}))
          << code;
    }
  }
}

TEST(KZipFileSearcher, ResetForgetsTheKindAndTheBeginningOfAName) {
  ZipDetectors detectors;
  detectors.Scan(Sector512(kFirst, kHead, 100, kWordName));
  detectors.OfCode(5).Reset();
  detectors.Scan(Sector512(kFirst + 1, kHead));
  EXPECT_EQ(detectors.Scan(Sector512(kFirst + 2, kSignature)), (ZipHits{{kFirst + 1, 534, kPlain}}));

  detectors.Scan(Sector512(kFirst + 3, kHead, 504, "word/doc"));
  detectors.OfCode(0).Reset();
  detectors.Scan(Sector512(kFirst + 4, kHead));
  EXPECT_EQ(detectors.Scan(Sector512(kFirst + 5, "ument.xml", 50, kSignature)), (ZipHits{{kFirst + 4, 584, kPlain}}));
}

TEST(KZipFileSearcher, ResetLetsABlockBeReadAgain) {
  const ZipBlock block = Sector512(kFirst, kHead, 300, kSignature);
  ZipDetectors detectors;
  EXPECT_EQ(detectors.Scan(block), (ZipHits{{kFirst, 322, kPlain}}));
  // Without a reset the block isn't read, and what was found in it is reported once more.
  EXPECT_EQ(detectors.Scan(Sector512(kFirst)), (ZipHits{{kFirst, 322, kPlain}}));
  detectors.OfCode(7).Reset();
  EXPECT_EQ(detectors.Scan(Sector512(kFirst)), ZipHits{});
}

TEST(KZipFileSearcher, BlockAtTheLastPossibleSectorCountsAsReadAfterAReset) {
  EXPECT_EQ(ZipDetectors().Scan(Sector512(~std::uint64_t{0}, kHead, 300, kSignature)), ZipHits{});
}

TEST(KZipFileSearcher, ResetDropsTheHitsOfTheBlockReadLast) {
  // The block at the last possible sector isn't read, so it would show them.
  ZipDetectors detectors;
  EXPECT_EQ(detectors.Scan(Sector512(kFirst, kHead, 300, kSignature)), (ZipHits{{kFirst, 322, kPlain}}));
  detectors.OfCode(3).Reset();
  EXPECT_EQ(detectors.Scan(Sector512(~std::uint64_t{0})), ZipHits{});
}

TEST(KZipFileSearcher, KindsInAnyOrderReportTheSame) {
  Device device(6);
  device.Put(kFirst, kHead).Put(kFirst, 50, kWordName).Put(kFirst + 1, 5, kSignature);
  device.Put(kFirst + 3, kHead).Put(kFirst + 4, 6, kSignature);
  const Detector plain = CreateDetector("KZipFileType");
  const Detector word = CreateDetector("KWord2007FileType");
  EXPECT_EQ(Scan(*word, device), (Hits{{kFirst, 539}}));
  EXPECT_EQ(Scan(*plain, device), (Hits{{kFirst + 3, 540}}));
  plain->Reset();
  EXPECT_EQ(Scan(*plain, device), (Hits{{kFirst + 3, 540}}));
  EXPECT_EQ(Scan(*word, device), (Hits{{kFirst, 539}}));
}

TEST(KZipFileSearcher, SectorsOfOneByteAreSearched) {
  ZipDetectors detectors;
  EXPECT_EQ(detectors.Scan(Sector512(kFirst, kHead)), ZipHits{});
  // The first byte of the signature is kept, and its other seven are compared across the sectors that follow.
  EXPECT_EQ(detectors.Scan(ZipBlock{kFirst + 1, 1, "xxPK" + kSignature.substr(2) + "x"}),
            (ZipHits{{kFirst, 512 + 3 + 21, kPlain}}));
}

}  // namespace
}  // namespace qzmtraw::test
