#include <gtest/gtest.h>

#include "tests/images/LiteralDrawings.h"
#include "tests/support/Scanning.h"

namespace qzmtraw::test {
namespace {

constexpr std::uint64_t kFirst = Device::kFirstSector;

Device DeviceOf(int sectors, int sectorSize = 512) { return Device(sectors, sectorSize, kFirst, 'x'); }

std::string Zeros(std::size_t count) {
  std::string zeros(count, '\0');
  return zeros;
}

std::string NameOf(const testing::TestParamInfo<LiteralDrawing>& kind) { return kind.param.className; }

// ---- All nine kinds.

class DrawingTailWalk : public testing::TestWithParam<LiteralDrawing> {
 protected:
  const LiteralDrawing& Kind() const { return GetParam(); }
  const std::string& Tail() const { return Kind().tails.front(); }
  Hits Found(const Device& device) const { return ScanAnyCut(Kind().className, device); }
};

INSTANTIATE_TEST_SUITE_P(Kinds, DrawingTailWalk, testing::ValuesIn(LiteralDrawings()), NameOf);

TEST_P(DrawingTailWalk, EndsBehindTheTailAndWhatFollowsIt) {
  EXPECT_EQ(Found(DeviceOf(6).Put(kFirst + 1, Kind().head).Put(kFirst + 3, 99, Tail())),
            (Hits{{kFirst + 1, 1024 + 99 + Kind().offset}}));
}

TEST_P(DrawingTailWalk, NewHeadReportsTheFileBeforeAsItStands) {
  EXPECT_EQ(Found(DeviceOf(9).Put(kFirst, Kind().head).Put(kFirst + 3, Kind().head).Put(kFirst + 5, 40, Tail())),
            (Hits{{kFirst, 3 * 512}, {kFirst + 3, 2 * 512 + 40 + Kind().offset}}));
}

TEST_P(DrawingTailWalk, FileAtSector0IsNotFollowed) {
  EXPECT_EQ(Found(Device(4, 512, 0, 'x').Put(0, Kind().head).Put(2, 50, Tail())), Hits{});
  EXPECT_EQ(Found(Device(6, 512, 0, 'x').Put(0, Kind().head).Put(2, Kind().head).Put(4, 50, Tail())),
            (Hits{{2, 1024 + 50 + Kind().offset}}));
}

TEST_P(DrawingTailWalk, FileOpenWhenTheScanEndsIsNotReported) {
  EXPECT_EQ(Found(DeviceOf(5).Put(kFirst, Kind().head)), Hits{});
}

TEST_P(DrawingTailWalk, TailWithoutAHeadIsNothing) { EXPECT_EQ(Found(DeviceOf(5).Put(kFirst, 99, Tail())), Hits{}); }

TEST_P(DrawingTailWalk, ResetForgetsTheFile) {
  const Detector detector = CreateDetector(Kind().className);
  Scan(*detector, DeviceOf(2).Put(kFirst, Kind().head));
  detector->Reset();
  EXPECT_EQ(Scan(*detector, Device(1, 512, kFirst + 2, 'x').Put(kFirst + 2, 99, Tail())), Hits{});
}

TEST_P(DrawingTailWalk, LimitOfTheHostIsIgnored) {
  const Detector detector = CreateDetector(Kind().className);
  detector->SetMaxFileSize(10);
  EXPECT_EQ(Scan(*detector, DeviceOf(3).Put(kFirst, Kind().head).Put(kFirst + 2, 99, Tail())),
            (Hits{{kFirst, 1024 + 99 + Kind().offset}}));
}

TEST_P(DrawingTailWalk, FileWithoutATailEndsAtTheLimit) {
  // Sectors that reach the limit exactly: the kinds that have to be above it take one more.
  constexpr std::int32_t kSectorSize = 0x800000;
  const std::int64_t sectors = (Kind().firstSizeTooLarge + kSectorSize - 1) / kSectorSize;
  std::vector<std::uint8_t> memory(kSectorSize, 'x');
  const Detector detector = CreateDetector(Kind().className);
  RecordingSink sink;
  const auto feed = [&](std::uint64_t index, const std::string& bytes, std::size_t at) {
    std::fill(memory.begin(), memory.end(), 'x');
    std::copy(bytes.begin(), bytes.end(), memory.begin() + static_cast<std::ptrdiff_t>(at));
    const RawSectorBlock block{kFirst + index, memory.data(), 1, kSectorSize, nullptr};
    detector->Scan(&block, &sink);
  };
  for (std::int64_t i = 0; i + 1 < sectors; ++i) feed(static_cast<std::uint64_t>(i), i == 0 ? Kind().head : "", 0);
  EXPECT_EQ(sink.Found(), Hits{});
  // The beginning of a tail at its end is forgotten with the rest.
  const std::size_t begun = Tail().size() - 1;
  feed(static_cast<std::uint64_t>(sectors) - 1, Tail().substr(0, begun), kSectorSize - begun);
  const Hits expected{{kFirst, static_cast<std::uint64_t>(Kind().limit)}};
  EXPECT_EQ(sink.Found(), expected);
  feed(static_cast<std::uint64_t>(sectors), Tail().substr(begun), 0);
  EXPECT_EQ(sink.Found(), expected);
}

TEST_P(DrawingTailWalk, AgreesWithTheRulesTakenByteByByte) {
  std::size_t found = 0;
  for (std::uint32_t seed = 0; seed < 1500; ++seed) {
    const Device device = DeviceOfDrawings(seed, Kind());
    const Hits expected = Kind().Scan(device);
    ASSERT_EQ(Scan(*CreateDetector(Kind().className), device), expected) << "seed " << seed;
    found += expected.size();
  }
  EXPECT_GT(found, 300U);
}

// ---- The five whose tail is seen wherever it stands.

class PlainDrawingTailWalk : public DrawingTailWalk {};

std::vector<LiteralDrawing> PlainDrawings() {
  std::vector<LiteralDrawing> plain;
  for (const LiteralDrawing& drawing : LiteralDrawings()) {
    if (drawing.tails.size() == 1 && drawing.className != "CKGLwsFileType") plain.push_back(drawing);
  }
  return plain;
}

INSTANTIATE_TEST_SUITE_P(Kinds, PlainDrawingTailWalk, testing::ValuesIn(PlainDrawings()), NameOf);

TEST_P(PlainDrawingTailWalk, TailInTheHeadsSectorIsSeen) {
  EXPECT_EQ(Found(DeviceOf(2).Put(kFirst, Kind().head).Put(kFirst, 60, Tail())), (Hits{{kFirst, 60 + Kind().offset}}));
}

TEST_P(PlainDrawingTailWalk, TailAcrossTwoSectorsIsSeenWhereverItIsCut) {
  // A tail that touches the sector's last byte is seen in the next sector.
  for (std::size_t inFirst = 1; inFirst <= Tail().size(); ++inFirst) {
    if (Kind().isHead(Tail().substr(inFirst), 512)) continue;
    EXPECT_EQ(Found(DeviceOf(5).Put(kFirst, Kind().head).Put(kFirst + 1, 512 - inFirst, Tail())),
              (Hits{{kFirst, 1024 - inFirst + Kind().offset}}))
        << inFirst;
  }
}

TEST_P(PlainDrawingTailWalk, TailThatBreaksOffIsForgotten) {
  for (std::size_t length = 1; length < Tail().size(); ++length) {
    Device device = DeviceOf(5);
    device.Put(kFirst, Kind().head).Put(kFirst + 1, 512 - length, Tail().substr(0, length)).Put(kFirst + 3, 5, Tail());
    device.Put(kFirst + 3, Tail().substr(length).substr(0, 1) + "y");
    EXPECT_EQ(Found(device), (Hits{{kFirst, 3 * 512 + 5 + Kind().offset}})) << length;
  }
}

TEST_P(PlainDrawingTailWalk, EveryByteOfTheTailCounts) {
  for (std::size_t i = 0; i < Tail().size(); ++i) {
    std::string tail = Tail();
    tail[i] = static_cast<char>(tail[i] ^ 0x40);
    EXPECT_EQ(Found(DeviceOf(5).Put(kFirst, Kind().head).Put(kFirst + 2, 9, tail)), Hits{}) << i;
  }
}

TEST_P(PlainDrawingTailWalk, NothingBehindTheTailIsLeftToTheNextFile) {
  Device device = DeviceOf(6);
  device.Put(kFirst, Kind().head).Put(kFirst, 100, Tail()).Put(kFirst, 512 - Tail().size(), Tail());
  device.Put(kFirst + 2, Kind().head).Put(kFirst + 3, 200, Tail());
  EXPECT_EQ(Found(device), (Hits{{kFirst, 100 + Kind().offset}, {kFirst + 2, 712 + Kind().offset}}));
}

TEST_P(PlainDrawingTailWalk, TailSeenBeforeANewHeadEndsTheNewFile) {
  Device device = DeviceOf(6);
  device.Put(kFirst, Kind().head).Put(kFirst + 1, 512 - Tail().size(), Tail()).Put(kFirst + 2, Kind().head);
  EXPECT_EQ(Found(device), (Hits{{kFirst, 1024}, {kFirst + 2, Kind().offset - Tail().size()}}));
}

TEST_P(PlainDrawingTailWalk, ResetForgetsTheBeginningOfATail) {
  const Device before = DeviceOf(1).Put(kFirst, Kind().head).Put(kFirst, 512 - Tail().size(), Tail());
  const Device next = Device(1, 512, kFirst + 1, 'x').Put(kFirst + 1, Kind().head);
  const Detector detector = CreateDetector(Kind().className);
  Scan(*detector, before);
  detector->Reset();
  EXPECT_EQ(Scan(*detector, next), Hits{});
}

TEST(CKFH5TO9FileType, TailWhoseRestLooksLikeAHeadEndsTheFileThatItOpens) {
  Device device = DeviceOf(5);
  device.Put(kFirst, "AGD3").Put(kFirst + 1, 509, Literal("RVWAGD2\0"));
  EXPECT_EQ(ScanAnyCut("CKFH5TO9FileType", device), (Hits{{kFirst, 1024}, {kFirst + 2, 8}}));
}

// ---- Heads.

struct HeadCase {
  const char* className;
  std::string head;
  bool isHead;
  int sectorSize = 512;
};

TEST(DrawingHeads, AreTheseAndNoOthers) {
  const std::string freeHand = LiteralDrawings()[0].head;
  const std::string grib = Literal("GRIB\xFF\xFF\xFF\1\0\0\x1C");
  const HeadCase cases[] = {
      {"CKFH1011FileType", freeHand, true},
      {"CKFH1011FileType", freeHand, true, 51},
      {"CKFH1011FileType", freeHand, false, 50},
      {"CKFH1011FileType", freeHand.substr(0, 19), false},
      {"CKFH5TO9FileType", "AGD0", false},
      {"CKFH5TO9FileType", "AGD1", true},
      {"CKFH5TO9FileType", "AGD2", true},
      {"CKFH5TO9FileType", "AGD3", true},
      {"CKFH5TO9FileType", "AGD4", true},
      {"CKFH5TO9FileType", "AGD5", false},
      {"CKFH5TO9FileType", "AGd1", false},
      {"CKFH5TO9FileType", "AGD1", true, 51},
      {"CKFH5TO9FileType", "AGD1", false, 50},
      {"CKGXarFileType", "XARA\xA3\xA3\r", true},
      {"CKGXarFileType", "XARA\xA3\xA3\r", true, 5},
      {"CKGXarFileType", "XARA\xA3\xA3\n", false},
      {"CKGXarFileType", "XARA\xA3\xA2\r", false},
      {"CKGXarFileType", "xARA\xA3\xA3\r", false},
      {"CKGDtcFileType", "..CADEbinary", true},
      {"CKGDtcFileType",
       "\xFF\xFE"
       "CADEbinary",
       true, 7},
      {"CKGDtcFileType", "..CADEBinary", false},
      {"CKGDtcFileType", "CADEbinary", false},
      {"CKGLwsFileType", "LWSC\r\n", true},
      {"CKGLwsFileType", "LWSC\r\n", true, 1},
      {"CKGLwsFileType", "LWSC\n", false},
      {"CKGLwsFileType", "LWSc\r\n", false},
      {"CKGBinaryDxfFileType", "AutoCAD Binary DXF", true},
      {"CKGBinaryDxfFileType", "AutoCAD Binary DXF", true, 4},
      {"CKGBinaryDxfFileType", "AutoCAD Binary DX", false},
      {"CKGBinaryDxfFileType", "AutoCAD binary DXF", false},
      {"CKGGrbFileType", grib, true},
      {"CKGGrbFileType", grib, true, 3},
      {"CKGGrbFileType", "GRIb" + grib.substr(4), false},
      {"CKGGrbFileType", grib.substr(0, 7) + Literal("\2\0\0\x1C"), false},
      {"CKGGrbFileType", grib.substr(0, 7) + Literal("\1\0\0\x1D"), false},
  };
  for (const HeadCase& c : cases) {
    // A second head reports the first as it stands, whatever its tail is.
    Device device = DeviceOf(200, c.sectorSize);
    const auto next = static_cast<std::uint64_t>(40);
    device.Put(kFirst, c.head).Put(kFirst + next, c.head);
    const std::uint64_t size = next * static_cast<std::uint64_t>(c.sectorSize);
    EXPECT_EQ(Scan(*CreateDetector(c.className), device), c.isHead ? (Hits{{kFirst, size}}) : Hits{})
        << c.className << " " << c.head << " in sectors of " << c.sectorSize;
  }
}

TEST(CKGCgmBinaryFileType, HeadHasTheVersionAndDescriptionInFrontOfTheSectorsLastByte) {
  const std::string wanted = Literal("\x10\x22\x00\x01\x10\x5F\x00\x3E=\"Pr");
  const std::string tail = Literal("\x00\xA0\x00\x40");
  const auto found = [&](int sectorSize, std::size_t offset, char first = 0, const std::string& bytes = {}) {
    Device device = DeviceOf(90, sectorSize);
    device.Put(kFirst, offset, bytes.empty() ? wanted : bytes).Put(kFirst, std::string(1, first));
    return !ScanAnyCut("CKGCgmBinaryFileType", device.Put(kFirst + 80, tail)).empty();
  };
  EXPECT_TRUE(found(512, 1));
  EXPECT_TRUE(found(512, 499));
  EXPECT_FALSE(found(512, 500));
  EXPECT_FALSE(found(512, 510));
  EXPECT_FALSE(found(512, 1, 1));
  EXPECT_TRUE(found(14, 1));
  EXPECT_FALSE(found(14, 2));
  EXPECT_FALSE(found(13, 1));
  EXPECT_FALSE(found(1, 1));
  for (std::size_t i = 0; i < wanted.size(); ++i) {
    std::string other = wanted;
    other[i] = static_cast<char>(other[i] ^ 1);
    EXPECT_FALSE(found(512, 9, 0, other)) << i;
  }
}

TEST(CKGPctFileType, HeadIsFollowedBy508Zeros) {
  const std::string head = "PICT" + Zeros(508);
  const auto found = [&](const std::string& bytes, int sectorSize) {
    const std::uint64_t next = 2000 / static_cast<std::uint64_t>(sectorSize);
    Device device = DeviceOf(4000 / sectorSize, sectorSize);
    device.Put(kFirst, bytes).Put(kFirst + next, bytes);
    return !Scan(*CreateDetector("CKGPctFileType"), device).empty();
  };
  EXPECT_TRUE(found(head, 512));
  for (const int sectorSize : {1, 100, 511, 513}) EXPECT_TRUE(found(head, sectorSize)) << sectorSize;
  for (std::size_t i = 0; i < head.size(); ++i) {
    std::string other = head;
    other[i] = static_cast<char>(other[i] ^ 1);
    EXPECT_FALSE(found(other, 512)) << i;
  }
  // Bytes behind the block don't exist.
  const Detector detector = CreateDetector("CKGPctFileType");
  Scan(*detector, Device(1, 511, kFirst).Put(kFirst, head.substr(0, 511)));
  EXPECT_EQ(Scan(*detector, Device(1, 512, kFirst + 1).Put(kFirst + 1, head)), Hits{});
}

// ---- Xara drawings.

const std::string kXara = "XARA\xA3\xA3\r";
const std::string kXaraTail = Zeros(10) + "\x03" + Zeros(7);

Hits ScanXara(const Device& device) { return ScanAnyCut("CKGXarFileType", device); }

TEST(CKGXarFileType, FourZerosEndTheFileAtTheirOffsetPlus18) {
  for (const std::size_t offset : {0U, 1U, 200U, 493U, 494U}) {
    EXPECT_EQ(ScanXara(DeviceOf(4).Put(kFirst, kXara).Put(kFirst + 1, offset, Zeros(4))),
              (Hits{{kFirst, 512 + offset + 18}}))
        << offset;
  }
  EXPECT_EQ(ScanXara(DeviceOf(4).Put(kFirst, kXara + Zeros(4))), (Hits{{kFirst, 7 + 18}}));
  EXPECT_EQ(ScanXara(DeviceOf(4).Put(kFirst, kXara).Put(kFirst + 1, 100, Zeros(3))), Hits{});
  EXPECT_EQ(ScanXara(DeviceOf(4).Put(kFirst, kXara).Put(kFirst + 1, 495, Zeros(4))), Hits{});
}

TEST(CKGXarFileType, TailAcrossTwoSectorsIsComparedWhole) {
  for (std::size_t inFirst = 1; inFirst < 18; ++inFirst) {
    Device device = DeviceOf(5);
    device.Put(kFirst, kXara).Put(kFirst + 1, 512 - inFirst, kXaraTail);
    EXPECT_EQ(ScanXara(device), (Hits{{kFirst, 1024 - inFirst + 18}})) << inFirst;
    device.Put(kFirst + 2, 17 - inFirst, "y");
    // Broken off, it may leave four zeros at the next sector's start.
    EXPECT_EQ(ScanXara(device).empty(), inFirst > 13) << inFirst;
  }
}

TEST(CKGXarFileType, ZerosAtASectorsEndMatchTenBytesOfTheTailAtMost) {
  const auto found = [](const std::string& next) {
    return ScanXara(DeviceOf(4).Put(kFirst, kXara).Put(kFirst + 1, 495, Zeros(17)).Put(kFirst + 2, next));
  };
  EXPECT_EQ(found("\x03" + Zeros(7)), (Hits{{kFirst, 1024 + 8}}));
  EXPECT_EQ(found("\x03" + Zeros(3) + "x"), Hits{});
  EXPECT_EQ(found("x"), Hits{});
}

// ---- LightWave scenes.

Hits ScanScene(const Device& device) { return ScanAnyCut("CKGLwsFileType", device); }

TEST(CKGLwsFileType, ZeroPairIsSeenAtEveryOffsetOfASector) {
  for (std::size_t offset = 6; offset < 1024; ++offset) {
    ASSERT_EQ(ScanScene(DeviceOf(3).Put(kFirst, "LWSC\r\n").Put(kFirst, offset, Zeros(2))), (Hits{{kFirst, offset}}));
  }
}

TEST(CKGLwsFileType, SingleZeroAtASectorsEndLeavesTheFileOpen) {
  Device device = DeviceOf(5);
  device.Put(kFirst, "LWSC\r\n").Put(kFirst + 1, 511, Zeros(1)).Put(kFirst + 3, Zeros(1)).Put(kFirst + 3, 80, Zeros(2));
  EXPECT_EQ(ScanScene(device), (Hits{{kFirst, 3 * 512 + 80}}));
}

// ---- Gridded data.

const std::string kGrib = Literal("GRIB\0\1\2\1\0\0\x1C");

Hits ScanGrib(const Device& device) { return ScanAnyCut("CKGGrbFileType", device); }

TEST(CKGGrbFileType, TailInASectorsBodyEndsTheFileWhateverFollows) {
  for (const std::string& follow : {std::string(), std::string("GRIB")}) {
    for (const std::size_t offset : {11U, 300U, 503U}) {
      EXPECT_EQ(ScanGrib(DeviceOf(3).Put(kFirst, kGrib).Put(kFirst, offset, "7777" + follow)),
                (Hits{{kFirst, offset + 4}}))
          << offset;
    }
  }
}

TEST(CKGGrbFileType, MessagesInARowEndAtTheFirstTailAndTheNextHeadOpensAnother) {
  const std::string message = kGrib + "data7777";
  Device device = DeviceOf(6);
  device.Put(kFirst, message + message + message).Put(kFirst + 2, message);
  EXPECT_EQ(ScanGrib(device), (Hits{{kFirst, 19}, {kFirst + 2, 19}}));
}

TEST(CKGGrbFileType, TailAmongTheLastEightBytesNeedsAnotherMessageBehindIt) {
  // How many bytes of the tail and of the next message end the first sector.
  for (std::size_t inFirst = 1; inFirst <= 8; ++inFirst) {
    const auto found = [&](const std::string& bytes) {
      return ScanGrib(DeviceOf(4).Put(kFirst, kGrib).Put(kFirst + 1, 512 - inFirst, bytes));
    };
    const std::uint64_t end = 1024 - inFirst + 4;
    // Exactly at the sector's end the tail is forgotten.
    EXPECT_EQ(found("7777GRIB"), inFirst == 4 ? Hits{} : (Hits{{kFirst, end}})) << inFirst;
    EXPECT_EQ(found("7777GRIC"), Hits{}) << inFirst;
    EXPECT_EQ(found("7777"), Hits{}) << inFirst;
  }
}

TEST(CKGGrbFileType, TailThatIsNotFollowedIsForgotten) {
  Device device = DeviceOf(5);
  device.Put(kFirst, kGrib).Put(kFirst, 510, "7777GRIX").Put(kFirst + 2, 100, "7777");
  EXPECT_EQ(ScanGrib(device), (Hits{{kFirst, 1024 + 104}}));
}

TEST(CKGGrbFileType, NextMessageSeenWholeEndsEveryFileThatComes) {
  // The four bytes that were seen stay behind, and are taken from a size that has only begun.
  constexpr std::uint64_t kMinusFour = 0xFFFFFFFFFFFFFFFC;
  Device device = DeviceOf(9);
  device.Put(kFirst, kGrib).Put(kFirst + 1, 504, "7777GRIB");
  device.Put(kFirst + 3, kGrib).Put(kFirst + 4, 20, "7777").Put(kFirst + 6, kGrib);
  const Hits expected{{kFirst, 1020}, {kFirst + 3, kMinusFour}, {kFirst + 6, kMinusFour}};
  EXPECT_EQ(ScanGrib(device), expected);
  // Only Reset clears them.
  const Detector detector = CreateDetector("CKGGrbFileType");
  EXPECT_EQ(Scan(*detector, device), expected);
  const Device next = Device(2, 512, kFirst + 20, 'x').Put(kFirst + 20, kGrib + "7777");
  EXPECT_EQ(Scan(*detector, next), (Hits{{kFirst + 20, kMinusFour}}));
  detector->Reset();
  EXPECT_EQ(Scan(*detector, next), (Hits{{kFirst + 20, 15}}));
}

TEST(CKGGrbFileType, HeadLeavesWhatWasSeenOfTheNextMessage) {
  Device device = DeviceOf(5);
  device.Put(kFirst, kGrib).Put(kFirst + 1, 504, "7777GRIB").Put(kFirst + 2, kGrib);
  EXPECT_EQ(ScanGrib(device), (Hits{{kFirst, 1024}, {kFirst + 2, 0xFFFFFFFFFFFFFFFC}}));
}

TEST(CKGGrbFileType, LimitForgetsWhatWasSeenOfTheNextMessage) {
  const Detector detector = CreateDetector("CKGGrbFileType");
  Device device(1, 0x2000000, kFirst, 'x');
  EXPECT_EQ(Scan(*detector, device.Put(kFirst, kGrib).Put(kFirst, 0x2000000 - 8, "7777GRIB")),
            (Hits{{kFirst, 0x2000000}}));
  EXPECT_EQ(Scan(*detector, Device(1, 512, kFirst + 1).Put(kFirst + 1, kGrib + "7777")), (Hits{{kFirst + 1, 15}}));
}

// ---- Macintosh pictures.

const std::string kPict = "PICT" + Zeros(508);
const std::string kPiece = Literal("\x08\0\0\0\x01\0\x0A\0\0\0\0");
const std::string kWholeEnd = kPiece + "four" + Literal("\0\xFF");

Hits ScanPict(const Device& device) { return ScanAnyCut("CKGPctFileType", device); }

TEST(CKGPctFileType, PieceAndOpcodeEndTheFileWhereverTheFourBytesBetweenAre) {
  for (const std::size_t offset : {0U, 7U, 494U}) {
    EXPECT_EQ(ScanPict(DeviceOf(4).Put(kFirst, kPict).Put(kFirst + 1, offset, kWholeEnd)),
              (Hits{{kFirst, 512 + offset + 17}}))
        << offset;
  }
  for (std::size_t i = 0; i < kWholeEnd.size(); ++i) {
    std::string other = kWholeEnd;
    other[i] = static_cast<char>(other[i] ^ 0x40);
    EXPECT_EQ(ScanPict(DeviceOf(4).Put(kFirst, kPict).Put(kFirst + 1, 7, other)).size(), i > 10 && i < 15 ? 1U : 0U)
        << i;
  }
}

TEST(CKGPctFileType, EndThatTouchesTheSectorsEndIsNeverSeen) {
  EXPECT_EQ(ScanPict(DeviceOf(5).Put(kFirst, kPict).Put(kFirst + 1, 512 - 17, kWholeEnd)), Hits{});
}

TEST(CKGPctFileType, OpcodeAcrossTwoSectorsIsSeenByItsSecondByteAlone) {
  Device device = DeviceOf(5);
  device.Put(kFirst, kPict).Put(kFirst + 1, 512 - 16, kWholeEnd);
  EXPECT_EQ(ScanPict(device), (Hits{{kFirst, 1025}}));
  EXPECT_EQ(ScanPict(device.Put(kFirst + 1, 511, "z")), (Hits{{kFirst, 1025}}));
  EXPECT_EQ(ScanPict(device.Put(kFirst + 2, "\xFE\xFF")), Hits{});
}

TEST(CKGPctFileType, OpcodeInTheNextSectorBehindAWholePieceIsNotSeen) {
  for (std::size_t inFirst = 11; inFirst <= 15; ++inFirst) {
    EXPECT_EQ(ScanPict(DeviceOf(5).Put(kFirst, kPict).Put(kFirst + 1, 512 - inFirst, kWholeEnd)), Hits{}) << inFirst;
  }
}

TEST(CKGPctFileType, OpcodeBehindAPieceAcrossTwoSectorsIsSoughtAtOffset15) {
  for (std::size_t inFirst = 1; inFirst <= 10; ++inFirst) {
    Device device = DeviceOf(5);
    device.Put(kFirst, kPict).Put(kFirst + 1, 512 - inFirst, kWholeEnd);
    EXPECT_EQ(ScanPict(device), Hits{}) << inFirst;
    EXPECT_EQ(ScanPict(device.Put(kFirst + 2, 15, Literal("\0\xFF"))), (Hits{{kFirst, 1024 + 17 - inFirst}}))
        << inFirst;
  }
}

TEST(CKGPctFileType, EndBehindAPieceThatDidNotGoOnIsFound) {
  Device device = DeviceOf(5);
  device.Put(kFirst, kPict).Put(kFirst + 1, 509, kPiece.substr(0, 3)).Put(kFirst + 2, kWholeEnd);
  EXPECT_EQ(ScanPict(device), (Hits{{kFirst, 1024 + 17}}));
  device.Put(kFirst + 1, 512 - 16, kPiece);
  EXPECT_EQ(ScanPict(device), (Hits{{kFirst, 1024 + 17}}));
}

TEST(CKGPctFileType, WholePieceThatIsPassedOverDoesNotHideAnotherThatBegins) {
  // The first one would end the file with its opcode at the sector's end, which nobody looks at.
  Device device = DeviceOf(5);
  device.Put(kFirst, kPict).Put(kFirst + 1, 512 - 17, kPiece).Put(kFirst + 1, 509, kPiece);
  EXPECT_EQ(ScanPict(device.Put(kFirst + 2, 15, Literal("\0\xFF"))), (Hits{{kFirst, 1024 + 14}}));
}

}  // namespace
}  // namespace qzmtraw::test
