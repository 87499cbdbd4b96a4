// Kinds that are told by a fixed head and decided inside one sector.

#include <gtest/gtest.h>

#include <utility>

#include "tests/support/Scanning.h"

namespace qzmtraw::test {
namespace {

constexpr std::uint64_t kFirst = Device::kFirstSector;

/// How the size is read: not at all, from one field, or as the sum of two neighbours.
enum class Size { kNone, kLittle, kBig, kSumOfTwo };

struct Kind {
  const char* className;
  std::vector<std::pair<std::size_t, std::string>> head;
  Size size = Size::kNone;
  std::size_t sizeAt = 0;

  /// The bytes from the sector's start to the head's last one, with `filler` where the head asks for nothing.
  std::string Head(char filler) const {
    std::string bytes;
    for (const auto& [offset, string] : head) {
      if (bytes.size() < offset + string.size()) bytes.resize(offset + string.size(), filler);
      bytes.replace(offset, string.size(), string);
    }
    return bytes;
  }
};

std::string Zeros(std::size_t count) {
  std::string zeros;
  zeros.resize(count);
  return zeros;
}

const Kind kKinds[] = {
    {"CKLibFileType", {{0, "!<arch>\n/"}}},
    {"CKOmfLibFileType", {{0, "\xF0\x0D"}, {16, "\x80"}}},
    {"CKResFileType", {{0, Zeros(4) + Literal("\x20\0\0\0\xFF\xFF\0\0\xFF\xFF\0\0") + Zeros(16)}}},
    {"CKPchFileType", {{0, "VCPC"}, {4, LittleU32(0x3048)}, {8, LittleU32(0)}}},
    {"CKTpuFileType", {{0, "TPU9"}, {4, LittleU32(0)}, {8, LittleU32(0x5000D2)}}},
    {"CKEJavaClassFileType", {{0, "\xCA\xFE\xBA\xBE"}}},
    {"CKDelphi6DcuFileType", {{0, Literal("\xDD\0\0\x0E")}}, Size::kLittle, 4},
    {"CKDelphi7DcuFileType", {{0, Literal("\xDF\0\0\x0F")}}, Size::kLittle, 4},
    {"CKXptFileType", {{0, "XPCOM\x0ATypeLib\x0D\x0A\x1A"}}, Size::kLittle, 20},
    {"CKPfmFileType", {{0, Literal("\0\1")}, {6, "Copyright (c)"}}, Size::kLittle, 2},
    {"CKOLnkFileType", {{0, Literal("\x4C\0\0\0\1\x14\2\0\0\0\0\0\xC0\0\0\0")}}},
    {"CKOBffFileType",
     {{0, Literal("\x09\0\x6B\xEA")},
      {16,
       "\xFF\xFF\xFF\x7F"
       "by name"}}},
    {"CKOIdxFileType", {{0, LittleU32(0)}, {4, LittleU32(0x5D02)}, {8, Zeros(1)}}},
    {"CKONupFileType", {{278, "ESET Update Signing Certificate\x89"}}},
    {"CKOP3tFileType", {{0, "P3TF"}, {4, Literal("\0\0\1\x10")}}},
    {"CKOClpFileType", {{0, "\x50\xC3"}, {3, Zeros(1)}, {6, LittleU32(4)}, {12, Zeros(2)}}},
    {"CKONlsFileType", {{0, Literal("\x0D\0")}, {4, Literal("\1\0")}, {6, Literal("?\0?\0?\0?\0")}}},
    {"CKONlsFileType", {{0, Literal("\x0D\0")}, {4, Literal("\2\0")}, {6, Literal("?\0?\0?\0?\0")}}},
    {"CKONlsFileType", {{0, Literal("\x0D\0")}, {4, Literal("\1\0")}, {6, Literal("o\0?\0?\0o\0")}}},
    {"CKONlsFileType", {{0, Literal("\x0D\0")}, {4, Literal("\2\0")}, {6, Literal("o\0?\0?\0o\0")}}},
    {"CKOKdcFileType", {{0, "KDC1"}, {4, Literal("\0\1\x0A\0")}}, Size::kSumOfTwo, 20},
    {"CKORptFileType", {{0, "RPD2"}, {4, LittleU32(2)}}, Size::kLittle, 32},
    {"CKOCntFileType", {{0, "MSCF"}, {4, LittleU32(0)}}, Size::kLittle, 8},
    {"CKOPfFileType", {{0, LittleU32(23)}, {4, "SCCA"}, {8, LittleU32(17)}}, Size::kLittle, 12},
    {"CKOIcmFileType", {{12, "scnrRGB "}}, Size::kBig, 0},
    {"CKOIcmFileType", {{12, "prtrRGB "}}, Size::kBig, 0},
    {"CKOIcmFileType", {{12, "prtrCMYK"}}, Size::kBig, 0},
    {"CKOIcmFileType", {{12, "mntrRGB "}}, Size::kBig, 0},
};

/// The head with its size's fields full of `size`'s bytes, in a sector of its own.
Device SectorWith(const Kind& kind, std::uint32_t size, std::uint32_t secondSize = 0) {
  Device device(1, 512);
  device.Put(kFirst, kind.Head('\x5A'));
  if (kind.size == Size::kBig) device.Put(kFirst, kind.sizeAt, BigU32(size));
  if (kind.size == Size::kLittle || kind.size == Size::kSumOfTwo) device.Put(kFirst, kind.sizeAt, LittleU32(size));
  if (kind.size == Size::kSumOfTwo) device.Put(kFirst, kind.sizeAt + 4, LittleU32(secondSize));
  return device;
}

std::vector<std::uint64_t> SectorsOf(const Hits& hits) {
  std::vector<std::uint64_t> sectors;
  for (const Hit& hit : hits) sectors.push_back(hit.startSector);
  return sectors;
}

TEST(Signatures, EveryHeadIsAHitWhateverStandsBetweenItsBytes) {
  for (const Kind& kind : kKinds) {
    for (const char filler : {'\0', '\xFF'}) {
      Device device(6);
      for (const std::uint64_t i : std::vector<std::uint64_t>{0, 1, 4}) device.Put(kFirst + i, kind.Head(filler));
      EXPECT_EQ(SectorsOf(ScanAnyCut(kind.className, device)),
                (std::vector<std::uint64_t>{kFirst, kFirst + 1, kFirst + 4}))
          << kind.className;
    }
    EXPECT_EQ(SectorsOf(ScanAnyCut(kind.className, Device(1, 512, 0).Put(0, kind.Head('x')))),
              std::vector<std::uint64_t>{0});
    EXPECT_EQ(ScanAnyCut(kind.className, Device(2).Put(kFirst, 1, kind.Head('x'))), Hits{}) << kind.className;
  }
}

TEST(Signatures, EveryByteOfAHeadIsAskedFor) {
  for (const Kind& kind : kKinds) {
    const Detector detector = CreateDetector(kind.className);
    for (const auto& [offset, string] : kind.head) {
      for (std::size_t i = offset; i < offset + string.size(); ++i) {
        std::string head = kind.Head('x');
        head[i] = static_cast<char>(head[i] ^ 0x80);
        EXPECT_EQ(Scan(*detector, Device(1).Put(kFirst, head)), Hits{}) << kind.className << ", byte " << i;
      }
    }
  }
}

TEST(Signatures, HeadMayRunOverItsSectorButNotOverTheBlock) {
  for (const Kind& kind : kKinds) {
    const std::string head = kind.Head('x');
    const auto reach = static_cast<int>(head.size());
    const Detector detector = CreateDetector(kind.className);
    EXPECT_EQ(SectorsOf(Scan(*detector, Device(1, reach).Put(kFirst, head))), std::vector<std::uint64_t>{kFirst})
        << kind.className;
    EXPECT_EQ(Scan(*detector, Device(1, reach - 1).Put(kFirst, head.substr(0, head.size() - 1))), Hits{})
        << kind.className;
    EXPECT_EQ(SectorsOf(Scan(*detector, Device(reach, 1, kFirst, 'y').Put(kFirst, head))),
              std::vector<std::uint64_t>{kFirst})
        << kind.className;
  }
}

TEST(Signatures, SizesComeOutAsTheyStandWithoutLeastOrLimit) {
  for (const Kind& kind : kKinds) {
    const Detector detector = CreateDetector(kind.className);
    detector->SetMaxFileSize(100);
    for (const std::uint32_t size :
         std::vector<std::uint32_t>{0U, 1U, 255U, 0x12345678U, 0x7FFFFFFFU, 0x80000000U, 0xFFFFFFFFU}) {
      const std::uint64_t expected = kind.size == Size::kNone ? 0 : size;
      EXPECT_EQ(Scan(*detector, SectorWith(kind, size)), (Hits{{kFirst, expected}})) << kind.className;
    }
    if (kind.size == Size::kSumOfTwo) {
      EXPECT_EQ(Scan(*detector, SectorWith(kind, 0xFFFFFFFF, 0x80000001)), (Hits{{kFirst, 0x180000000}}));
    }
  }
}

TEST(Signatures, SizeBehindTheBlockReadsZero) {
  for (const Kind& kind : kKinds) {
    const std::string head = kind.Head('x');
    if (kind.size == Size::kNone || kind.sizeAt < head.size()) continue;
    Device device(1, static_cast<int>(kind.sizeAt) + 3, kFirst, 1);
    EXPECT_EQ(ScanAnyCut(kind.className, device.Put(kFirst, head)), (Hits{{kFirst, 0}})) << kind.className;
  }
}

struct NoHead {
  const char* className;
  std::string bytes;
};

TEST(Signatures, NeighboursOfHeadsAreNone) {
  const std::string nls = Literal("\x0D\0xx\3\0?\0?\0?\0?\0");
  const NoHead kCases[] = {
      {"CKLibFileType", "!<arch>\nfirst.o/"},
      {"CKONlsFileType", nls},
      {"CKOIcmFileType", "size" + Zeros(8) + "scnrCMYK"},
      {"CKOIcmFileType", "size" + Zeros(8) + "mntrCMYK"},
      {"CKOIcmFileType", "size" + Zeros(8) + "spacRGB XYZ " + Zeros(12) + "acsp"},
      {"CKOPfFileType", LittleU32(26) + "SCCA" + LittleU32(17)},
      {"CKDelphi6DcuFileType", Literal("\xDF\0\0\x0F")},
      {"CKDelphi7DcuFileType", Literal("\xDD\0\0\x0E")},
  };
  for (const NoHead& noHead : kCases) {
    EXPECT_EQ(ScanAnyCut(noHead.className, Device(2).Put(kFirst, noHead.bytes)), Hits{}) << noHead.bytes;
  }
}

}  // namespace
}  // namespace qzmtraw::test
