#include <gtest/gtest.h>

#include "tests/support/Scanning.h"

namespace qzmtraw::test {
namespace {

constexpr std::uint64_t kFirst = Device::kFirstSector;

Device DeviceOf(int sectors, int sectorSize = 512) { return Device(sectors, sectorSize, kFirst, 'x'); }

// ---- Kinds whose head tells the size.

struct SizedKind {
  const char* className;
  int floor;
  std::uint64_t largest;
  std::uint32_t factor;
  std::uint32_t added;
  bool isBig;
  std::size_t fieldOffset;
  std::string head;  ///< A dot stands for a byte that isn't looked at.

  std::string Bytes(std::uint32_t field) const {
    std::string bytes = head;
    bytes.resize(std::max(bytes.size(), fieldOffset + 4), '.');
    return bytes.replace(fieldOffset, 4, isBig ? BigU32(field) : LittleU32(field));
  }
};

const std::vector<SizedKind>& SizedKinds() {
  static const std::vector<SizedKind> kKinds = {
      {"KCDRFileType", 17, 0x7FFFFFFF, 1, 8, false, 4, "RIFF....CDR.vrsn"},
      {"KCDRFileType", 17, 0x7FFFFFFF, 1, 8, false, 4, "RIFF....CDr.vrsn"},
      {"KWmfFileType", 33, 0x200000, 2, 22, false, 28, "\xD7\xCD\xC6\x9A"},
      {"KEMFFileType", 89, 0x200000, 1, 0, false, 48, Literal("\1\0\0\0") + std::string(36, '.') + " EMF"},
      {"KSwfFileType", 9, 0x200000, 1, 0, false, 4, "FWS"},
      {"KSwfFileType", 9, 0x200000, 1, 0, false, 4, "CWS"},
      {"KMbFileType", 17, 0x2000000, 1, 0, true, 4, "FOR4....MayaFOR4"},
  };
  return kKinds;
}

Hits ScanField(const SizedKind& kind, std::uint32_t field) {
  return ScanAnyCut(kind.className, DeviceOf(4).Put(kFirst + 1, kind.Bytes(field)));
}

TEST(SizedDrawings, SizeIsInTheHead) {
  for (const SizedKind& kind : SizedKinds()) {
    EXPECT_EQ(ScanField(kind, 1000), (Hits{{kFirst + 1, 1000 * kind.factor + kind.added}})) << kind.className;
  }
}

TEST(SizedDrawings, AreReportedFrom256BytesOn) {
  for (const SizedKind& kind : SizedKinds()) {
    const std::uint32_t least = (256 - kind.added) / kind.factor;
    EXPECT_EQ(ScanField(kind, least), (Hits{{kFirst + 1, 256}})) << kind.className;
    EXPECT_EQ(ScanField(kind, least - 1), Hits{}) << kind.className;
    EXPECT_EQ(ScanField(kind, 0), Hits{}) << kind.className;
  }
}

TEST(SizedDrawings, AreClippedToTheKindsLargestSize) {
  for (const SizedKind& kind : SizedKinds()) {
    const auto fieldAt = static_cast<std::uint32_t>((kind.largest - kind.added) / kind.factor);
    EXPECT_EQ(ScanField(kind, fieldAt), (Hits{{kFirst + 1, fieldAt * kind.factor + kind.added}})) << kind.className;
    const Hits above = kind.largest == 0x7FFFFFFF ? Hits{} : Hits{{kFirst + 1, kind.largest}};
    EXPECT_EQ(ScanField(kind, fieldAt + 1), above) << kind.className;
  }
}

TEST(SizedDrawings, SizeFrom0x80000000OnIsNegativeAndNoHit) {
  for (const SizedKind& kind : SizedKinds()) {
    const std::uint32_t negative = (0x80000000 - kind.added) / kind.factor;
    EXPECT_EQ(ScanField(kind, negative), Hits{}) << kind.className;
    EXPECT_EQ(ScanField(kind, 0x7FFFFFFF), kind.added == 0 ? (Hits{{kFirst + 1, kind.largest}}) : Hits{})
        << kind.className;
    EXPECT_EQ(ScanField(kind, 0xFFFFFFFF), Hits{}) << kind.className;
  }
}

TEST(KWmfFileType, SumWrapsAt32Bits) {
  EXPECT_EQ(ScanField(SizedKinds()[2], 0x80000000 + 200), (Hits{{kFirst + 1, 422}}));
}

TEST(SizedDrawings, LimitOfTheHostClipsUntilReset) {
  for (const SizedKind& kind : SizedKinds()) {
    const Detector detector = CreateDetector(kind.className);
    const Device device = DeviceOf(1).Put(kFirst, kind.Bytes(1000));
    const std::uint64_t size = 1000 * kind.factor + kind.added;
    detector->SetMaxFileSize(size - 1);
    EXPECT_EQ(Scan(*detector, device), (Hits{{kFirst, size - 1}})) << kind.className;
    detector->Reset();
    EXPECT_EQ(Scan(*detector, device), (Hits{{kFirst, size}})) << kind.className;
  }
}

TEST(SizedDrawings, NothingStaysOpenBetweenHeads) {
  for (const SizedKind& kind : SizedKinds()) {
    Device device = DeviceOf(9);
    device.Put(kFirst, kind.Bytes(1)).Put(kFirst + 4, kind.Bytes(300)).Put(kFirst + 5, kind.Bytes(400));
    EXPECT_EQ(ScanAnyCut(kind.className, device),
              (Hits{{kFirst + 4, 300 * kind.factor + kind.added}, {kFirst + 5, 400 * kind.factor + kind.added}}))
        << kind.className;
  }
}

TEST(SizedDrawings, EveryByteOfTheHeadCountsAndNoOther) {
  for (const SizedKind& kind : SizedKinds()) {
    const std::string bytes = kind.Bytes(0x00010100);
    for (std::size_t i = 0; i < bytes.size(); ++i) {
      std::string other = bytes;
      other[i] = static_cast<char>(other[i] ^ 0x40);
      // The field's bytes make other sizes, some of which are negative.
      if (i >= kind.fieldOffset && i < kind.fieldOffset + 4) continue;
      const bool counts = i < kind.head.size() && kind.head[i] != '.';
      EXPECT_EQ(ScanAnyCut(kind.className, DeviceOf(1).Put(kFirst, other)).size(), counts ? 0U : 1U)
          << kind.className << " " << i;
    }
  }
}

TEST(SizedDrawings, HaveTheirLeastSectorSizes) {
  for (const SizedKind& kind : SizedKinds()) {
    for (const int sectorSize : {kind.floor - 1, kind.floor}) {
      EXPECT_EQ(Scan(*CreateDetector(kind.className), DeviceOf(20, sectorSize).Put(kFirst, kind.Bytes(1000))).size(),
                sectorSize == kind.floor ? 1U : 0U)
          << kind.className;
    }
  }
}

TEST(SizedDrawings, OtherHeadsAreNone) {
  const auto found = [](const char* className, std::string head) {
    head.resize(100, '\2');
    return !ScanAnyCut(className, DeviceOf(2).Put(kFirst, head)).empty();
  };
  EXPECT_TRUE(found("KSwfFileType", Literal("CWS\x09\0\1\0\0")));
  EXPECT_FALSE(found("KSwfFileType", Literal("ZWS\x09\0\1\0\0")));
  EXPECT_FALSE(found("KSwfFileType", Literal("fws\x09\0\1\0\0")));
  EXPECT_FALSE(found("KCDRFileType", Literal("RIFF\0\1\0\0cdr9vrsn")));
  // A metafile without the placeable header.
  EXPECT_FALSE(found("KWmfFileType", Literal("\1\0\x09\0\0\3") + LittleU32(500) + Literal("\1\0\0\1\0\0\0\0")));
}

// ---- Drawings of AutoCAD, binary.

const std::string kDwg = "AC1015" + std::string(5, '\0');
const std::string kSentinel = "\x2B\x84\xDE\x31\xD7\x6C\x60\x40\xAC\xDB\xBF\xF6\xED\xC3\x55\xFE";

Hits ScanDwg(const Device& device) { return ScanAnyCut("KDWGFileType", device); }

TEST(KDWGFileType, EndsFourBytesBehindTheSentinel) {
  EXPECT_EQ(ScanDwg(DeviceOf(6).Put(kFirst + 1, kDwg).Put(kFirst + 3, 70, kSentinel)),
            (Hits{{kFirst + 1, 1024 + 70 + 20}}));
}

TEST(KDWGFileType, EndDoesNotTouchTheSectorsLastByte) {
  EXPECT_EQ(ScanDwg(DeviceOf(4).Put(kFirst, kDwg).Put(kFirst + 1, 491, kSentinel)), (Hits{{kFirst, 512 + 511}}));
  for (std::size_t offset = 492; offset < 512; ++offset) {
    EXPECT_EQ(ScanDwg(DeviceOf(4).Put(kFirst, kDwg).Put(kFirst + 1, offset, kSentinel)), Hits{}) << offset;
  }
}

TEST(KDWGFileType, EveryByteOfTheSentinelCounts) {
  for (std::size_t i = 0; i < kSentinel.size(); ++i) {
    std::string other = kSentinel;
    other[i] = static_cast<char>(other[i] ^ 1);
    EXPECT_EQ(ScanDwg(DeviceOf(4).Put(kFirst, kDwg).Put(kFirst + 1, 10, other)), Hits{}) << i;
  }
}

TEST(KDWGFileType, HeadHasTwoDigitsAndFiveZeros) {
  const auto found = [](const std::string& head) {
    return !ScanDwg(DeviceOf(4).Put(kFirst, head).Put(kFirst + 1, 10, kSentinel)).empty();
  };
  for (const char* version : {"AC1000", "AC1099", "AC1009", "AC1090"})
    EXPECT_TRUE(found(version + std::string(5, '\0')));
  for (const char* version : {"AC10/5", "AC10:5", "AC101/", "AC101:", "AC1A15", "AC1115", "ac1015"}) {
    EXPECT_FALSE(found(version + std::string(5, '\0'))) << version;
  }
  for (std::size_t i = 6; i < 11; ++i) {
    std::string head = kDwg;
    head[i] = 1;
    EXPECT_FALSE(found(head)) << i;
  }
}

TEST(KDWGFileType, NeedsSectorsOf9Bytes) {
  for (const int sectorSize : {8, 9}) {
    // Nothing ends a file in such sectors; the next head reports it.
    EXPECT_EQ(Scan(*CreateDetector("KDWGFileType"), DeviceOf(60, sectorSize).Put(kFirst, kDwg).Put(kFirst + 40, kDwg)),
              sectorSize == 9 ? (Hits{{kFirst, 360}}) : Hits{});
  }
}

TEST(KDWGFileType, FileWithoutASentinelEndsAbove0x7FFFFFFF) {
  constexpr std::int32_t kSectorSize = 0x1000000;
  std::vector<std::uint8_t> memory(kSectorSize, 'x');
  std::copy(kDwg.begin(), kDwg.end(), memory.begin());
  const Detector detector = CreateDetector("KDWGFileType");
  RecordingSink sink;
  for (std::uint64_t i = 0; i < 128; ++i) {
    const RawSectorBlock block{kFirst + i, memory.data(), 1, kSectorSize, nullptr};
    EXPECT_EQ(sink.Found(), Hits{}) << i;
    detector->Scan(&block, &sink);
    memory[0] = 'x';
  }
  EXPECT_EQ(sink.Found(), (Hits{{kFirst, 0x7FFFFFFF}}));
}

// ---- Drawings of AutoCAD in text.

const std::string kDxf = "  0\r\nSECTION\r\n  2\r\nHEADER\r\n";

Hits ScanDxf(const Device& device) { return ScanAnyCut("KDxfFileType", device); }
bool IsDxf(const std::string& head, int sectorSize = 512) {
  const Device device = DeviceOf(25, sectorSize).Put(kFirst, head).Put(kFirst + 20, 7, "\nEOF");
  return !Scan(*CreateDetector("KDxfFileType"), device).empty();
}

TEST(KDxfFileType, EndsBehindItsLastValue) {
  EXPECT_EQ(ScanDxf(DeviceOf(6).Put(kFirst + 1, kDxf).Put(kFirst + 3, 70, "\r\nEOF\r\n")),
            (Hits{{kFirst + 1, 1024 + 70 + 5}}));
}

TEST(KDxfFileType, TailThatEndsOnTheSectorsLastByteIsNotSeen) {
  EXPECT_EQ(ScanDxf(DeviceOf(4).Put(kFirst, kDxf).Put(kFirst + 1, 507, "\nEOF")), (Hits{{kFirst, 512 + 511}}));
  for (std::size_t offset = 508; offset < 512; ++offset) {
    EXPECT_EQ(ScanDxf(DeviceOf(4).Put(kFirst, kDxf).Put(kFirst + 1, offset, "\nEOF")), Hits{}) << offset;
  }
}

TEST(KDxfFileType, TailIsALineFeedAndThreeCapitals) {
  for (const char* tail : {"\rEOF", "\nEoF", "xEOF", "\nEO"}) {
    EXPECT_EQ(ScanDxf(DeviceOf(4).Put(kFirst, kDxf).Put(kFirst + 1, 9, tail)), Hits{}) << tail;
  }
}

TEST(KDxfFileType, HeadHasBothWordsInThisOrderWithinItsFirst70Bytes) {
  const auto at = [](std::size_t section, std::size_t header, const std::string& start = "") {
    std::string head(120, ' ');
    head.replace(section, 7, "SECTION").replace(header, 6, "HEADER");
    return IsDxf(head.replace(0, start.size(), start));
  };
  for (std::size_t section = 0; section <= 57; ++section) EXPECT_TRUE(at(section, 64)) << section;
  EXPECT_TRUE(at(0, 7));
  EXPECT_TRUE(at(57, 64));
  EXPECT_FALSE(at(57, 65));
  EXPECT_FALSE(at(0, 65));
  EXPECT_FALSE(at(63, 80));
  EXPECT_FALSE(at(20, 5));
  // The first of several decides.
  EXPECT_FALSE(IsDxf("999\nHEADER\n  0\nSECTION\n  2\nHEADER\n"));
  EXPECT_TRUE(IsDxf("  0\nSECTION\n  2\nHEADER\nSECTION"));
  EXPECT_FALSE(IsDxf("  0\nSECTION\n  2\nTABLES\n"));
  EXPECT_FALSE(IsDxf("  0\nsection\n  2\nHEADER\n"));
  EXPECT_FALSE(IsDxf("  0\nSECTION\n  2\nHeader\n"));
}

TEST(KDxfFileType, ZeroAmongTheFirstTenBytesMustStandInFrontOfTheSection) {
  EXPECT_TRUE(IsDxf("0SECTIONHEADER"));
  EXPECT_FALSE(IsDxf("SECTION0HEADER"));
  EXPECT_FALSE(IsDxf("  SECTION0HEADER"));
  EXPECT_TRUE(IsDxf("   SECTION0HEADER"));
  EXPECT_TRUE(IsDxf("999\ntext, the code comes later\n  0\nSECTION\n  2\nHEADER\n"));
  EXPECT_TRUE(IsDxf("SECTIONHEADER"));
}

TEST(KDxfFileType, TextEndsAtItsFirstZeroByte) {
  for (std::size_t i = 0; i < kDxf.size(); ++i) {
    std::string head = kDxf;
    head[i] = '\0';
    EXPECT_EQ(IsDxf(head), i >= kDxf.find("HEADER") + 6) << i;
  }
}

TEST(KDxfFileType, HeadRunsOnIntoTheBlockInSmallSectors) {
  EXPECT_TRUE(IsDxf(kDxf, 17));
  EXPECT_FALSE(IsDxf(kDxf, 16));
  // The block's end is the text's end as well.
  const Detector detector = CreateDetector("KDxfFileType");
  const auto headOf = [&](std::size_t length) {
    detector->Reset();
    detector->SetMaxFileSize(1);
    return !Scan(*detector, Device(1, static_cast<int>(length), kFirst).Put(kFirst, kDxf.substr(0, length))).empty();
  };
  EXPECT_TRUE(headOf(kDxf.find("HEADER") + 6));
  EXPECT_FALSE(headOf(kDxf.find("HEADER") + 5));
}

TEST(KDxfFileType, FileWithoutATailEndsAbove0x2000000) {
  constexpr std::int32_t kSectorSize = 0x1000000;
  std::vector<std::uint8_t> memory(kSectorSize, 'x');
  std::copy(kDxf.begin(), kDxf.end(), memory.begin());
  const Detector detector = CreateDetector("KDxfFileType");
  RecordingSink sink;
  for (std::uint64_t i = 0; i < 3; ++i) {
    const RawSectorBlock block{kFirst + i, memory.data(), 1, kSectorSize, nullptr};
    EXPECT_EQ(sink.Found(), Hits{}) << i;
    detector->Scan(&block, &sink);
    memory[0] = '\0';
  }
  EXPECT_EQ(sink.Found(), (Hits{{kFirst, 0x2000000}}));
}

// ---- What both kinds of head and tail have in common.

struct HeadTailKind {
  const char* className;
  std::string head;
  std::string tail;
  std::size_t added;
};

TEST(HeadTailDrawings, FollowTheCommonSteps) {
  for (const HeadTailKind& kind :
       {HeadTailKind{"KDWGFileType", kDwg, kSentinel, 20}, HeadTailKind{"KDxfFileType", kDxf, "\nEOF", 4}}) {
    const auto found = [&](const Device& device) { return ScanAnyCut(kind.className, device); };
    // The least size.
    EXPECT_EQ(found(DeviceOf(3).Put(kFirst, kind.head).Put(kFirst, 256 - kind.added, kind.tail)),
              (Hits{{kFirst, 256}}));
    EXPECT_EQ(found(DeviceOf(3).Put(kFirst, kind.head).Put(kFirst, 255 - kind.added, kind.tail)), Hits{});
    // A head closes the file before it.
    EXPECT_EQ(found(DeviceOf(9).Put(kFirst, kind.head).Put(kFirst + 2, kind.head).Put(kFirst + 3, kind.tail)),
              (Hits{{kFirst, 1024}, {kFirst + 2, 512 + kind.added}}));
    EXPECT_EQ(found(Device(40, 100, kFirst, 'x').Put(kFirst, kind.head).Put(kFirst + 2, kind.head)), Hits{});
    EXPECT_EQ(found(Device(40, 128, kFirst, 'x').Put(kFirst, kind.head).Put(kFirst + 2, kind.head)),
              (Hits{{kFirst, 256}}));
    // A file at sector 0 is followed.
    EXPECT_EQ(found(Device(3, 512, 0, 'x').Put(0, kind.head).Put(1, kind.tail)), (Hits{{0, 512 + kind.added}}));
    EXPECT_EQ(found(DeviceOf(5).Put(kFirst, kind.head)), Hits{});
    // The host's limit clips, and ends a file that passes it.
    const Detector detector = CreateDetector(kind.className);
    detector->SetMaxFileSize(1024);
    EXPECT_EQ(Scan(*detector, DeviceOf(2).Put(kFirst, kind.head)), Hits{});
    EXPECT_EQ(Scan(*detector, Device(2, 512, kFirst + 2, 'x').Put(kFirst + 3, kind.tail)), (Hits{{kFirst, 1024}}));
    EXPECT_EQ(Scan(*detector, DeviceOf(3).Put(kFirst, kind.head).Put(kFirst + 2, kind.tail)), (Hits{{kFirst, 1024}}));
    // Reset forgets the file and the limit.
    Scan(*detector, DeviceOf(1).Put(kFirst, kind.head));
    detector->Reset();
    EXPECT_EQ(Scan(*detector, Device(1, 512, kFirst + 1, 'x').Put(kFirst + 1, 300, kind.tail)), Hits{});
    EXPECT_EQ(Scan(*detector, DeviceOf(4).Put(kFirst, kind.head).Put(kFirst + 3, kind.tail)),
              (Hits{{kFirst, 1536 + kind.added}}));
  }
}

}  // namespace
}  // namespace qzmtraw::test
