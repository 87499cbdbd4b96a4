#include <gtest/gtest.h>

#include <algorithm>
#include <optional>

#include "tests/support/Scanning.h"

namespace qzmtraw::test {
namespace {

constexpr std::uint64_t kFirst = Device::kFirstSector;

struct Part {
  std::size_t offset;
  std::string bytes;
};

struct SizeField {
  std::size_t offset;
  std::uint32_t factor;
  std::uint32_t added;
  bool isBig = false;
};

struct Signature {
  std::string className;
  int floor;
  std::vector<Part> head;
  std::optional<SizeField> size;
  bool reverses = false;

  std::size_t HeadEnd() const { return head.back().offset + head.back().bytes.size(); }
  bool IsInHead(std::size_t offset) const {
    return std::any_of(head.begin(), head.end(), [&](const Part& part) {
      return offset >= part.offset && offset < part.offset + part.bytes.size();
    });
  }
  /// Two sectors' worth of bytes that begin with the head and hold the number.
  std::string Bytes(std::uint32_t number = 1000) const {
    std::string bytes(1024, '\xEE');
    const auto put = [&](std::size_t offset, const std::string& part) { bytes.replace(offset, part.size(), part); };
    for (const Part& part : head) put(part.offset, part.bytes);
    if (size) put(size->offset, size->isBig ? BigU32(number) : LittleU32(number));
    return bytes;
  }
};

std::string Zeros(std::size_t count) {
  std::string zeros(count, '\0');
  return zeros;
}

const std::vector<Signature>& Signatures() {
  static const std::vector<Signature> kSignatures = {
      {"CKGDcmFileType", 51, {{128, Literal("DICM\x02\0\0\0UL")}}, std::nullopt},
      {"CKGQxdFileType", 51, {{0, "XPR3"}}, std::nullopt},
      {"CKGQxpFileType", 51, {{2, "IIXPR3"}}, std::nullopt},
      {"CKGQxpFileType", 51, {{2, "MMXPR3"}}, std::nullopt},
      {"CKGPorPicFileType", 0, {{4, LittleU16(9500)}, {19, Zeros(45)}}, SizeField{0, 1, 0}},
      {"CKGPicFileType", 0, {{0, "\x19\x91"}, {10, Literal("\x08\0")}, {16, Zeros(16)}}, SizeField{12, 1, 32}},
      {"CKGColFileType", 0, {{4, Literal("\xB1\x23\0\0")}}, SizeField{0, 1, 0}},
      {"CKGNewPicFileType", 0, {{0, Literal("\x53\x80\xF6\x34\0\0\0\0")}, {88, "PICT"}}, std::nullopt},
      {"CKGLowFileType", 0, {{0, "FORM"}, {8, "LWO"}}, SizeField{4, 1, 8, true}, true},
      {"CKG3dsFileType", 0, {{0, "MM"}, {6, LittleU16(2)}, {16, "=="}}, SizeField{2, 1, 0}},
      {"CKG3dsFileType", 0, {{0, "MM"}, {6, LittleU16(2)}, {16, Literal("\0\x40")}}, SizeField{2, 1, 0}},
      {"CKG3dMbFileType", 0, {{0, "FOR4"}, {8, "MayaFOR4"}, {22, "ADVERS"}}, SizeField{4, 1, 8, true}, true},
      {"CKGPMaxFileType", 0, {{0, "ViG"}, {5, "\x1A"}}, SizeField{184, 1, 32}},
      {"CKGCmxFileType", 0, {{0, "RIFF"}, {8, "CMX1cont"}}, SizeField{4, 1, 8}},
      {"CKGMacFileType", 0, {{0, Literal("\0\0\0\x02") + Zeros(508)}}, std::nullopt},
      {"CKGShpFileType", 0, {{0, Literal("\0\0\x27\x0A") + Zeros(20)}}, SizeField{24, 2, 0, true}, true},
  };
  return kSignatures;
}

Hits ScanBytes(std::string_view className, const std::string& bytes, int sectorSize = 512) {
  const int sectors = static_cast<int>(bytes.size()) / sectorSize;
  return Scan(*CreateDetector(className), Device(sectors, sectorSize)
                                              .Put(kFirst, bytes.substr(0, static_cast<std::size_t>(sectors) *
                                                                               static_cast<std::size_t>(sectorSize))));
}

/// A host's memory of one sector, which scans may change.
struct Memory {
  std::string bytes;

  Hits Scan(IRawFileType& detector) {
    const RawSectorBlock block{kFirst, reinterpret_cast<std::uint8_t*>(bytes.data()), 1,
                               static_cast<std::int32_t>(bytes.size()), nullptr};
    RecordingSink sink;
    detector.Scan(&block, &sink);
    return sink.Found();
  }
  Hits Scan(std::string_view className) { return Scan(*CreateDetector(className)); }
};

TEST(GraphicsSignatures, HeadIsAHitWithItsSizeInEverySector) {
  for (const Signature& kind : Signatures()) {
    const std::uint64_t size = kind.size ? 1000 * kind.size->factor + kind.size->added : 0;
    Device device(9);
    device.Put(kFirst + 1, kind.Bytes()).Put(kFirst + 5, kind.Bytes()).Put(kFirst + 6, kind.Bytes());
    EXPECT_EQ(ScanAnyCut(kind.className, device), (Hits{{kFirst + 1, size}, {kFirst + 5, size}, {kFirst + 6, size}}))
        << kind.className;
  }
}

TEST(GraphicsSignatures, EveryByteOfTheHeadCountsAndNoOther) {
  for (const Signature& kind : Signatures()) {
    const std::string bytes = kind.Bytes();
    for (std::size_t i = 0; i < 600; ++i) {
      std::string other = bytes;
      other[i] = static_cast<char>(other[i] ^ 0x11);
      EXPECT_EQ(ScanBytes(kind.className, other).size(), kind.IsInHead(i) ? 0U : 1U) << kind.className << " " << i;
    }
  }
}

TEST(GraphicsSignatures, SizeHasNoBoundsAndWrapsAt32Bits) {
  for (const Signature& kind : Signatures()) {
    if (!kind.size) continue;
    for (const std::uint32_t number : {0U, 1U, 0x2000000U, 0x7FFFFFFFU, 0x80000001U, 0xFFFFFFFFU}) {
      const std::uint32_t size = number * kind.size->factor + kind.size->added;
      const Detector detector = CreateDetector(kind.className);
      detector->SetMaxFileSize(10);
      EXPECT_EQ(Scan(*detector, Device(2).Put(kFirst, kind.Bytes(number))), (Hits{{kFirst, size}}))
          << kind.className << " " << number;
    }
  }
}

TEST(GraphicsSignatures, ThreeKindsNeedSectorsOf51BytesAndTheOthersOne) {
  for (const Signature& kind : Signatures()) {
    const int floor = std::max(kind.floor, 1);
    EXPECT_EQ(ScanBytes(kind.className, kind.Bytes(), floor).size(), 1U) << kind.className;
    if (floor == 1) continue;
    EXPECT_EQ(ScanBytes(kind.className, kind.Bytes(), floor - 1), Hits{}) << kind.className;
  }
}

TEST(GraphicsSignatures, HeadBehindTheBlockIsNone) {
  for (const Signature& kind : Signatures()) {
    if (kind.className == "CKGPMaxFileType" || kind.className == "CKGQxdFileType" ||
        kind.className == "CKGQxpFileType") {
      continue;
    }
    const int end = static_cast<int>(kind.HeadEnd());
    EXPECT_EQ(ScanBytes(kind.className, kind.Bytes(), end).size(), 1U) << kind.className;
    EXPECT_EQ(ScanBytes(kind.className, kind.Bytes().substr(0, static_cast<std::size_t>(end) - 1), end - 1), Hits{})
        << kind.className;
  }
}

TEST(GraphicsSignatures, HeadAtSector0IsAHit) {
  for (const Signature& kind : Signatures()) {
    EXPECT_EQ(ScanAnyCut(kind.className, Device(2, 512, 0).Put(0, kind.Bytes())).size(), 1U) << kind.className;
  }
}

TEST(GraphicsSignatures, OnlyThreeKindsReverseTheirFieldInTheHostsMemory) {
  for (const Signature& kind : Signatures()) {
    const std::string before = kind.Bytes(0x01020304);
    std::string after = before;
    if (kind.reverses) after.replace(kind.size->offset, 4, LittleU32(0x01020304));
    Memory memory{before};
    memory.Scan(kind.className);
    EXPECT_EQ(memory.bytes, after) << kind.className;
  }
}

TEST(GraphicsSignatures, SecondPassOverTheSameMemorySeesTheFieldReversedBack) {
  for (const Signature& kind : Signatures()) {
    if (!kind.reverses) continue;
    const std::uint32_t forwards = 0x00000102U * kind.size->factor + kind.size->added;
    const std::uint32_t backwards = 0x02010000U * kind.size->factor + kind.size->added;
    const std::string before = kind.Bytes(0x00000102);
    Memory memory{before};
    const Detector detector = CreateDetector(kind.className);
    EXPECT_EQ(memory.Scan(*detector), (Hits{{kFirst, forwards}})) << kind.className;
    EXPECT_EQ(memory.Scan(*detector), (Hits{{kFirst, backwards}})) << kind.className;
    EXPECT_EQ(memory.bytes, before) << kind.className;
  }
}

TEST(CKG3dMbFileType, AltersTheFieldThatTheOtherKindOfTheSameHeadReads) {
  const auto kind = std::find_if(Signatures().begin(), Signatures().end(),
                                 [](const Signature& s) { return s.className == "CKG3dMbFileType"; });
  Memory memory{kind->Bytes(0x00010002)};
  EXPECT_EQ(memory.Scan("KMbFileType"), (Hits{{kFirst, 0x00010002}}));
  EXPECT_EQ(memory.Scan("CKG3dMbFileType"), (Hits{{kFirst, 0x0001000A}}));
  EXPECT_EQ(memory.Scan("KMbFileType"), (Hits{{kFirst, 0x2000000}}));  // 0x02000100, cut to the kind's largest size.
}

TEST(CKG3dMbFileType, NeedsTheVersionThatTheOtherKindDoesNotAskFor) {
  const std::string bytes = "FOR4" + BigU32(5000) + "MayaFOR4" + std::string(500, 'x');
  EXPECT_EQ(ScanBytes("CKG3dMbFileType", bytes), Hits{});
  EXPECT_EQ(ScanBytes("KMbFileType", bytes), (Hits{{kFirst, 5000}}));
}

TEST(CKGShpFileType, LengthBehindTheBlockReads0AndIsLeftAlone) {
  const std::string before = Literal("\0\0\x27\x0A") + Zeros(20) + "\x01\x02\x03";
  Memory memory{before};
  EXPECT_EQ(memory.Scan("CKGShpFileType"), (Hits{{kFirst, 0}}));
  EXPECT_EQ(memory.bytes, before);
}

TEST(CKGShpFileType, ReversesALengthThatLiesInTheNextSector) {
  std::string bytes = Literal("\0\0\x27\x0A") + Zeros(20) + BigU32(700) + std::string(22, 'x');
  const RawSectorBlock block{kFirst, reinterpret_cast<std::uint8_t*>(bytes.data()), 2, 25, nullptr};
  RecordingSink sink;
  CreateDetector("CKGShpFileType")->Scan(&block, &sink);
  EXPECT_EQ(sink.Found(), (Hits{{kFirst, 1400}}));
  EXPECT_EQ(bytes.substr(24, 4), LittleU32(700));
}

TEST(CKGPMaxFileType, WithoutItsSizeFieldIsNoHit) {
  const std::string bytes = "ViG.\x01\x1A" + std::string(178, 'x') + LittleU32(5000);
  EXPECT_EQ(ScanBytes("CKGPMaxFileType", bytes, 188), (Hits{{kFirst, 5032}}));
  EXPECT_EQ(ScanBytes("CKGPMaxFileType", bytes.substr(0, 187), 187), Hits{});
  // The field may lie in a later sector.
  EXPECT_EQ(ScanBytes("CKGPMaxFileType", bytes, 94), (Hits{{kFirst, 5032}}));
}

TEST(CKG3dsFileType, RefusesOnlyTheTiffInBigEndianOrder) {
  const auto found = [](const std::string& bytesAt2) {
    std::string bytes = "MM" + bytesAt2 + "\x05\x06" + LittleU16(2) + std::string(8, 'x') + "==";
    return ScanBytes("CKG3dsFileType", bytes + std::string(494, 'x'));
  };
  EXPECT_EQ(found(Literal("\0\x2A")), Hits{});
  EXPECT_EQ(found(Literal("\0\x2B")), (Hits{{kFirst, 0x06052B00}}));
  EXPECT_EQ(found("\x01\x2A"), (Hits{{kFirst, 0x06052A01}}));
  EXPECT_EQ(found(Literal("\x2A\0")), (Hits{{kFirst, 0x0605002A}}));
}

TEST(GraphicsSignatures, FieldsThatLookWrongStayAsTheyAre) {
  // The type is 9500 in decimal, and the mark of a colour map has its high byte first.
  EXPECT_EQ(ScanBytes("CKGPorPicFileType", LittleU32(999) + LittleU16(0x9500) + Zeros(1018)), Hits{});
  EXPECT_EQ(ScanBytes("CKGColFileType", LittleU32(999) + "\x23\xB1" + Zeros(1018)), Hits{});
  EXPECT_EQ(ScanBytes("CKGColFileType", LittleU32(999) + "\xB1\x23" + Zeros(1018)), (Hits{{kFirst, 999}}));
}

TEST(GraphicsSignatures, KindsThatShareAnExtensionAreToldApartByTheirHeads) {
  const char* const classes[] = {"CKGPorPicFileType", "CKGPicFileType", "CKGNewPicFileType"};
  for (const Signature& kind : Signatures()) {
    for (const char* className : classes) {
      if (kind.className == className) continue;
      EXPECT_EQ(ScanBytes(className, kind.Bytes()), Hits{}) << kind.className << " as " << className;
    }
  }
}

}  // namespace
}  // namespace qzmtraw::test
