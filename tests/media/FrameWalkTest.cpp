// The kinds that are walked from frame to frame while the sectors pass: CKMMp2FileType, CKMMpgFileType, CKMWvFileType.

#include <gtest/gtest.h>

#include <array>
#include <functional>
#include <random>

#include "tests/support/Scanning.h"

namespace qzmtraw::test {
namespace {

constexpr std::uint64_t kFirst = Device::kFirstSector;

/// A header, padded with `filler` to a frame of `length` bytes.
std::string Frame(const std::string& header, std::size_t length, char filler = 'x') {
  std::string frame = header;
  frame.resize(length, filler);
  return frame;
}

std::string BigU16(std::uint32_t value) { return {static_cast<char>(value >> 8), static_cast<char>(value)}; }

/// A Layer II header: the bit rate's and the sample rate's index and the padding in one byte.
std::string Mp2Header(int rates) { return Literal("\xFF\xFD") + static_cast<char>(rates) + Literal("\x04"); }
std::string WvHeader(std::uint32_t length) { return "wvpk" + LittleU32(length - 8); }
/// A packet of video; as a system header it may begin a file.
std::string PacketHeader(std::uint32_t length, char code = '\xBB') {
  return Literal("\0\0\x01") + code + BigU16(length - 6) + std::string(8, 'x');
}

/// What the walks have in common, said with frames of each kind.
struct Kind {
  const char* className;
  std::size_t headerSize;
  std::string shortHead;  ///< The header of a frame of 96 bytes, which may begin a file.
  std::string longFrame;  ///< The header of a frame of `longLength` bytes.
  std::size_t longLength;
};

const std::array<Kind, 3> kKinds{{
    {"CKMMp2FileType", 4, Mp2Header(0x14), Mp2Header(0xB8), 1008},
    {"CKMMpgFileType", 14, PacketHeader(96), PacketHeader(960, '\xE0'), 960},
    {"CKMWvFileType", 8, WvHeader(96), WvHeader(960), 960},
}};

TEST(FrameWalk, GoesFromFrameToFrameAndEndsAtTheFirstThatIsNone) {
  for (const Kind& kind : kKinds) {
    Device device(9, 512, kFirst, 0);
    const std::size_t length = kind.longLength;
    device.Put(kFirst + 1, Frame(kind.shortHead, 96) + Frame(kind.longFrame, length) + Frame(kind.longFrame, length));
    EXPECT_EQ(ScanAnyCut(kind.className, device), (Hits{{kFirst + 1, 96 + 2 * length}})) << kind.className;
  }
}

TEST(FrameWalk, HeaderMayStraddleTwoSectorsWhereverItIsCut) {
  for (const Kind& kind : kKinds) {
    for (std::size_t inFirst = 1; inFirst <= kind.headerSize; ++inFirst) {
      for (const bool isLong : {false, true}) {
        Device device(20, static_cast<int>(96 + inFirst), kFirst, 0);
        const std::string frame = isLong ? Frame(kind.longFrame, kind.longLength) : Frame(kind.shortHead, 96);
        device.Put(kFirst + 2, Frame(kind.shortHead, 96) + frame + Frame(kind.shortHead, 96));
        EXPECT_EQ(ScanAnyCut(kind.className, device), (Hits{{kFirst + 2, 96 + frame.size() + 96}}))
            << kind.className << ", " << inFirst << (isLong ? ", long" : ", short");
      }
    }
  }
}

TEST(FrameWalk, HeaderBehindAStraddlingOneMayStraddleTheNextSectorsEnd) {
  for (const Kind& kind : kKinds) {
    for (std::size_t sectorSize = 97; sectorSize < 96 + kind.headerSize; ++sectorSize) {
      Device device(30, static_cast<int>(sectorSize), kFirst, 0);
      std::string file;
      for (int i = 0; i < 20; ++i) file += Frame(kind.shortHead, 96);
      EXPECT_EQ(ScanAnyCut(kind.className, device.Put(kFirst + 2, file)), (Hits{{kFirst + 2, 20 * 96}}))
          << kind.className << ", " << sectorSize;
    }
  }
}

TEST(FrameWalk, FileAtSector0IsNotFollowed) {
  for (const Kind& kind : kKinds) {
    Device device(9, 512, 0, 0);
    device.Put(0, Frame(kind.shortHead, 96)).Put(3, Frame(kind.shortHead, 96));
    EXPECT_EQ(ScanAnyCut(kind.className, device), (Hits{{3, 96}})) << kind.className;
  }
}

TEST(FrameWalk, NoHeadIsLookedForInAnOpenFile) {
  for (const Kind& kind : kKinds) {
    Device device(9, 512, kFirst, 0);
    device.Put(kFirst, Frame(kind.shortHead, 96) + Frame(kind.longFrame, kind.longLength));
    device.Put(kFirst + 1, kind.shortHead).Put(kFirst + 2, kind.shortHead);
    EXPECT_EQ(ScanAnyCut(kind.className, device), (Hits{{kFirst, 96 + kind.longLength}})) << kind.className;
  }
}

TEST(CKMWvFileType, HeadInTheSectorWhereAFileEndedIsNotSeen) {
  // A block of length 0 is a head, and ends the file before it.
  Device device(9, 96, kFirst, 0);
  device.Put(kFirst, Frame(WvHeader(96), 96)).Put(kFirst + 1, WvHeader(0)).Put(kFirst + 3, WvHeader(0));
  EXPECT_EQ(ScanAnyCut("CKMWvFileType", device), (Hits{{kFirst, 96}, {kFirst + 3, 0}}));
}

TEST(FrameWalk, FileOpenWhenTheScanEndsIsNotReported) {
  for (const Kind& kind : kKinds) {
    Device device(1, 512, kFirst, 0);
    device.Put(kFirst, Frame(kind.shortHead, 96) + kind.longFrame);
    EXPECT_EQ(ScanAnyCut(kind.className, device), Hits{}) << kind.className;
  }
}

TEST(FrameWalk, LimitOfTheHostIsIgnored) {
  for (const Kind& kind : kKinds) {
    const Detector detector = CreateDetector(kind.className);
    detector->SetMaxFileSize(10);
    EXPECT_EQ(Scan(*detector, Device(2, 512, kFirst, 0).Put(kFirst, Frame(kind.shortHead, 96))), (Hits{{kFirst, 96}}));
  }
}

TEST(FrameWalk, ResetForgetsTheFileAndWhereItsNextFrameIs) {
  for (const Kind& kind : kKinds) {
    for (const std::size_t sectorSize : {512U, 98U}) {
      // In sectors of 98 bytes the second header straddles the sector's end.
      const auto size = static_cast<int>(sectorSize);
      const std::string file = Frame(kind.shortHead, 96) + Frame(kind.longFrame, kind.longLength);
      const Detector detector = CreateDetector(kind.className);
      Scan(*detector, Device(1, size, kFirst, 0).Put(kFirst, file.substr(0, sectorSize)));
      detector->Reset();
      const Device next = Device(30, size, kFirst + 1, 0).Put(kFirst + 1, Frame(kind.shortHead, 96));
      EXPECT_EQ(Scan(*detector, next), (Hits{{kFirst + 1, 96}})) << kind.className;
    }
  }
}

TEST(FrameWalk, FileEndsAtOnceInSectorsSmallerThanAHeader) {
  for (const Kind& kind : kKinds) {
    const auto headerSize = static_cast<int>(kind.headerSize);
    const std::string file = Frame(kind.shortHead, 96, '\0');
    EXPECT_EQ(Scan(*CreateDetector(kind.className), Device(99, headerSize - 1, kFirst, 0).Put(kFirst, file)),
              (Hits{{kFirst, 0}}))
        << kind.className;
    EXPECT_EQ(Scan(*CreateDetector(kind.className), Device(99, headerSize, kFirst, 0).Put(kFirst, file)),
              (Hits{{kFirst, 96}}))
        << kind.className;
  }
}

TEST(FrameWalk, SectorsThatGetSmallerEndTheFile) {
  for (const Kind& kind : kKinds) {
    const Detector detector = CreateDetector(kind.className);
    const std::string file = Frame(kind.shortHead, 96) + kind.longFrame;
    EXPECT_EQ(Scan(*detector, Device(2, 512, kFirst, 0).Put(kFirst, file)), Hits{});
    EXPECT_EQ(Scan(*detector, Device(2, 20, kFirst + 2, 0)), (Hits{{kFirst, 96 + kind.longLength}}));
  }
}

TEST(CKMMp2FileType, HeadIsLayerIIWithoutCrcCopyrightedNotAtAllAndOriginal) {
  for (const std::string& head :
       {Literal("\xFF\xFD\x14\x04"), Literal("\xFF\xFD\x80\x04"), Literal("\xFF\xFD\0\x04")}) {
    EXPECT_EQ(ScanAnyCut("CKMMp2FileType", Device(4, 512, kFirst, 0).Put(kFirst, head)).size(), 1U);
  }
  for (const std::string& head : {Literal("\xFF\xFC\x14\x04"), Literal("\xFF\xFB\x14\x04"), Literal("\xFE\xFD\x14\x04"),
                                  Literal("\xFF\xFD\x14\x05"), Literal("\xFF\xFD\x14\x44")}) {
    EXPECT_EQ(ScanAnyCut("CKMMp2FileType", Device(4, 512, kFirst, 0).Put(kFirst, head)), Hits{});
  }
}

TEST(CKMMp2FileType, FramesOf417BytesLieWhereTheyAdd) {
  const std::string frame = Frame(Mp2Header(0x80), 417);
  EXPECT_EQ(ScanAnyCut("CKMMp2FileType", Device(9, 512, kFirst, 0).Put(kFirst, frame)), (Hits{{kFirst, 417}}));
  EXPECT_EQ(ScanAnyCut("CKMMp2FileType", Device(9, 512, kFirst, 0).Put(kFirst, frame + frame)), (Hits{{kFirst, 834}}));
  EXPECT_EQ(ScanAnyCut("CKMMp2FileType", Device(9, 512, kFirst, 0).Put(kFirst, frame + frame + frame)),
            (Hits{{kFirst, 1251}}));
}

TEST(CKMMp2FileType, HeaderAtOffset510HasTwoBytesOnEachSide) {
  // 112 kbit/s at 44100 Hz, and 48 kbit/s at 48000 Hz with padding.
  const std::string file = Frame(Mp2Header(0x70), 365) + Frame(Mp2Header(0x26), 145) + Frame(Mp2Header(0x80), 417);
  EXPECT_EQ(ScanAnyCut("CKMMp2FileType", Device(9, 512, kFirst, 0).Put(kFirst, file)), (Hits{{kFirst, 510 + 417}}));
}

/// The length of a frame by the formulas of the standards' sections, and the rates in their tables.
std::uint32_t LiteralMp2Length(const std::uint8_t* b) {
  constexpr std::uint32_t kRates[16][5] = {
      {1, 1, 1, 1, 1},           {32, 32, 32, 32, 8},       {64, 48, 40, 48, 16},      {96, 56, 48, 56, 24},
      {128, 64, 56, 64, 32},     {160, 80, 64, 80, 40},     {192, 96, 80, 96, 48},     {224, 112, 96, 112, 56},
      {256, 128, 112, 128, 64},  {288, 160, 128, 144, 80},  {320, 192, 160, 160, 96},  {352, 224, 192, 176, 112},
      {384, 256, 224, 192, 128}, {416, 320, 256, 224, 144}, {448, 384, 320, 256, 160}, {1, 1, 1, 1, 1},
  };
  constexpr std::uint32_t kSamples[4][4] = {
      {11025, 12000, 8000, 0}, {}, {22050, 24000, 16000, 0}, {44100, 48000, 32000, 0}};
  const int version = b[1] / 8 % 4;
  const int layer = b[1] / 2 % 4;
  const std::uint32_t* row = kRates[b[2] / 16];
  const std::uint32_t samples = kSamples[version][b[2] / 4 % 4];
  const std::uint32_t padded = b[2] / 2 % 2;
  if (samples == 0) return 0;
  if (version == 3 && layer == 3) return 48000 * row[0] / samples + 4 * padded;
  if (version == 3 && layer == 2) return 144000 * row[1] / samples + padded;
  if (version == 3 && layer == 1) return 144000 * row[2] / samples + padded;
  if (version == 2 && layer == 3) return 24000 * row[3] / samples + 4 * padded;
  if (version == 2 && layer > 0) return 72000 * row[4] / samples + padded;
  return 0;
}

TEST(CKMMp2FileType, EveryVersionLayerAndRateGivesItsLength) {
  // A few worked by hand.
  const struct {
    const char* header;
    std::uint32_t length;
  } cases[] = {
      {"\xFF\xFF\xE4", 448}, {"\xFF\xFF\xE6", 452}, {"\xFF\xFB\x50", 208}, {"\xFF\xFB\x52", 209}, {"\xFF\xF7\x10", 34},
      {"\xFF\xF7\x12", 38},  {"\xFF\xF5\xE4", 480}, {"\xFF\xF3\x18", 36},  {"\xFF\xF9\x14", 0},   {"\xFF\xF1\x14", 0},
      {"\xFF\xE5\x14", 0},   {"\xFF\xE3\x14", 0},   {"\xFF\xED\x14", 0},   {"\xFF\xFD\x1C", 0},   {"\xFF\xFD\x04", 3},
      {"\xFF\xFD\xF4", 3},   {"\xFF\xFD\xF6", 4},   {"\xFF\xF5\xF4", 3},   {"\xFF\xFF\xF4", 1},   {"\xFF\xFF\xF6", 5},
      {"\x11\x1D\x14", 96},
  };
  for (const auto& [header, length] : cases) {
    EXPECT_EQ(LiteralMp2Length(reinterpret_cast<const std::uint8_t*>(header)), length);
  }
  const Detector detector = CreateDetector("CKMMp2FileType");
  for (int second = 0; second < 256; ++second) {
    for (int third = 0; third < 256; third += 2) {
      const std::array<std::uint8_t, 4> header{0x11, static_cast<std::uint8_t>(second),
                                               static_cast<std::uint8_t>(third), 0};
      Device device(7, 512, kFirst, 0);
      device.Put(kFirst, Frame(Mp2Header(0x14), 96)).Put(kFirst, 96, {reinterpret_cast<const char*>(header.data()), 4});
      const std::uint32_t length = LiteralMp2Length(header.data());
      // Frames of less than four bytes lead to the last bytes of their own header, which end the file.
      if (length > 0 && length < 4) continue;
      ASSERT_EQ(Scan(*detector, device), (Hits{{kFirst, 96 + length}})) << second << ", " << third;
    }
  }
}

TEST(CKMMp2FileType, FrameWithoutABitRateIsShortAndNoEnd) {
  const std::string file = Frame(Mp2Header(0x14), 96) + Literal("\xFF\xFD\x04") + Frame(Mp2Header(0x14), 96) +
                           Literal("\xFF\xFD\xF4") + Frame(Mp2Header(0x14), 96);
  EXPECT_EQ(ScanAnyCut("CKMMp2FileType", Device(3, 512, kFirst, 0).Put(kFirst, file)), (Hits{{kFirst, 3 * 96 + 6}}));
}

TEST(CKMMp2FileType, StraddlingFrameThatEndsInFrontOfItsSecondSectorIsNeverLeft) {
  // A Layer I frame of one byte: in front of the sector's end by one byte, the next header begins the sector; by more,
  // the way to it wraps at 32 bits.
  for (std::size_t inFirst = 1; inFirst <= 3; ++inFirst) {
    Device device(200, static_cast<int>(96 + inFirst), kFirst, 0);
    device.Put(kFirst, Frame(Mp2Header(0x14), 96) + Literal("\xFF\xFF\x04"));
    EXPECT_EQ(ScanAnyCut("CKMMp2FileType", device), inFirst == 1 ? (Hits{{kFirst, 97}}) : Hits{}) << inFirst;
  }
}

/// The length of a packet by its rules.
std::uint32_t LiteralMpgLength(const std::uint8_t* p) {
  const auto bit = [&](int byte, int number) { return (p[byte] >> number & 1) != 0; };
  if (p[0] != 0 || p[1] != 0 || p[2] != 1) return 0;
  const int code = p[3];
  if (code == 0xBA) {
    if (bit(4, 6) && !bit(4, 7) && bit(4, 2) && bit(6, 2) && bit(8, 2) && bit(9, 0) && bit(12, 0) && bit(12, 1)) {
      return 14 + p[13] % 8U;
    }
    return p[4] / 16 == 2 && bit(4, 0) && bit(6, 0) && bit(8, 0) && bit(9, 7) && bit(11, 0) ? 12 : 0;
  }
  if (code == 0xB3) return bit(10, 5) ? (p[11] % 4 != 0 ? 76 : 12) : 0;
  if (code == 0xB5) {
    if (p[4] / 16 == 1) return bit(7, 0) ? 10 : 0;
    if (p[4] / 16 == 2) return bit(4, 0) ? (bit(9, 1) ? 12 : 0) : (bit(6, 1) ? 9 : 0);
    if (p[4] / 16 == 4) return bit(8, 6) ? 11 : 9;
    return 0;
  }
  if (code == 0xB8) return bit(5, 6) ? 8 : 0;
  if (code == 0xB9) return 4;
  if (code == 0xBB || (code >= 0xBD && code <= 0xEF)) return p[4] * 256U + p[5] + 6;
  return 0;
}

struct PacketCase {
  int code;
  const char* rest;  ///< What follows the start code, in hexadecimal.
  std::uint32_t length;
};

const std::vector<PacketCase> kPacketCases = {
    {0xBA, "440004000401000003F8", 14},  {0xBA, "440004000401000003FB", 17},    {0xBA, "7C0004000401000003FF", 21},
    {0xBA, "400004000401000003F8", 0},   {0xBA, "040004000401000003F8", 0},     {0xBA, "C40004000401000003F8", 0},
    {0xBA, "44000B000401000003F8", 0},   {0xBA, "44000400FB01000003F8", 0},     {0xBA, "4400040004FE000003F8", 0},
    {0xBA, "440004000401000002F8", 0},   {0xBA, "440004000401000001F8", 0},     {0xBA, "2100010001800001FFFF", 12},
    {0xBA, "2F00010001800001FFFF", 12},  {0xBA, "2000010001800001FFFF", 0},     {0xBA, "3100010001800001FFFF", 0},
    {0xBA, "2100FE0001800001FFFF", 0},   {0xBA, "21000100FE800001FFFF", 0},     {0xBA, "21000100017F0001FFFF", 0},
    {0xBA, "21000100018000FEFFFF", 0},   {0xB3, "FFFFFFFFFFFF2000FFFF", 12},    {0xB3, "FFFFFFFFFFFF2001FFFF", 76},
    {0xB3, "FFFFFFFFFFFF2002FFFF", 76},  {0xB3, "FFFFFFFFFFFFFFFCFFFF", 12},    {0xB3, "FFFFFFFFFFFFDF00FFFF", 0},
    {0xB5, "10FFFF01FFFFFFFFFFFF", 10},  {0xB5, "1FFFFFFEFFFFFFFFFFFF", 0},     {0xB5, "20FF02FFFFFFFFFFFFFF", 9},
    {0xB5, "2EFFFDFFFFFFFFFFFFFF", 0},   {0xB5, "21FFFFFFFF02FFFFFFFF", 12},    {0xB5, "2FFFFFFFFFFDFFFFFFFF", 0},
    {0xB5, "40FFFFFFBFFFFFFFFFFF", 9},   {0xB5, "4FFFFFFF40FFFFFFFFFF", 11},    {0xB5, "30FFFFFFFFFFFFFFFFFF", 0},
    {0xB5, "8FFFFFFFFFFFFFFFFFFF", 0},   {0xB8, "FF40FFFFFFFFFFFFFFFF", 8},     {0xB8, "FFBFFFFFFFFFFFFFFFFF", 0},
    {0xB9, "FFFFFFFFFFFFFFFFFFFF", 4},   {0xBB, "000AFFFFFFFFFFFFFFFF", 16},    {0xBD, "000AFFFFFFFFFFFFFFFF", 16},
    {0xBE, "010AFFFFFFFFFFFFFFFF", 272}, {0xBF, "000AFFFFFFFFFFFFFFFF", 16},    {0xC0, "0000FFFFFFFFFFFFFFFF", 6},
    {0xDF, "000AFFFFFFFFFFFFFFFF", 16},  {0xEF, "FFFFFFFFFFFFFFFFFFFF", 65541},
};

std::string FromHex(const char* digits) {
  std::string bytes;
  std::string pair;
  for (; *digits != 0; ++digits) {
    pair += *digits;
    if (pair.size() < 2) continue;
    bytes += static_cast<char>(std::stoi(pair, nullptr, 16));
    pair.clear();
  }
  return bytes;
}

/// A file of one pack of 12 bytes and this packet, on a device of zeros.
Device DeviceWithPacket(const std::string& packet) {
  Device device(132, 512, kFirst, 0);
  device.Put(kFirst, Literal("\0\0\x01\xBA") + FromHex("2100010001800001") + packet);
  return device;
}

TEST(CKMMpgFileType, PacketsHaveTheLengthsOfTheirKinds) {
  for (const auto& [code, rest, length] : kPacketCases) {
    const std::string packet = Literal("\0\0\x01") + static_cast<char>(code) + FromHex(rest);
    ASSERT_EQ(packet.size(), 14U) << rest;
    EXPECT_EQ(Scan(*CreateDetector("CKMMpgFileType"), DeviceWithPacket(packet)), (Hits{{kFirst, 12 + length}}))
        << std::hex << code << " " << rest;
    EXPECT_EQ(LiteralMpgLength(reinterpret_cast<const std::uint8_t*>(packet.data())), length) << code << " " << rest;
  }
}

TEST(CKMMpgFileType, OtherCodesHaveNoLength) {
  const std::vector<int> other = {0x00, 0x01, 0xAF, 0xB0, 0xB1, 0xB2, 0xB4, 0xB6, 0xB7, 0xBC, 0xF0, 0xFF};
  for (const int code : other) {
    const std::string packet = Literal("\0\0\x01") + static_cast<char>(code) + FromHex("000A");
    EXPECT_EQ(Scan(*CreateDetector("CKMMpgFileType"), DeviceWithPacket(packet)), (Hits{{kFirst, 12}})) << code;
  }
  for (const std::string& mark :
       {Literal("\x01\0\x01"), Literal("\0\x01\x01"), Literal("\0\0\0"), Literal("\0\0\x02")}) {
    EXPECT_EQ(Scan(*CreateDetector("CKMMpgFileType"), DeviceWithPacket(mark + '\xB9')), (Hits{{kFirst, 12}}));
  }
}

TEST(CKMMpgFileType, FourStartCodesBeginAFile) {
  for (int code = 0; code < 256; ++code) {
    Device device(4, 512, kFirst, 0);
    device.Put(kFirst + 1, Literal("\0\0\x01") + static_cast<char>(code));
    const bool isHead = code == 0xB3 || code == 0xB5 || code == 0xBA || code == 0xBB;
    EXPECT_EQ(ScanAnyCut("CKMMpgFileType", device).size(), isHead ? 1U : 0U) << code;
  }
}

TEST(CKMMpgFileType, PackHeaderWithThreeBytesOfStuffingTakes17) {
  Device device(4, 512, kFirst, 0);
  device.Put(kFirst, Literal("\0\0\x01\xBA") + FromHex("440004000401000003FBFFFFFF"));
  EXPECT_EQ(ScanAnyCut("CKMMpgFileType", device), (Hits{{kFirst, 17}}));
}

TEST(CKMMpgFileType, PacketWithFiveBytesLeftInTheSectorIsPutTogether) {
  const std::string file =
      Frame(PacketHeader(507), 507) + Frame(PacketHeader(300, '\xE0'), 300) + Frame(PacketHeader(200, '\xC0'), 200);
  EXPECT_EQ(ScanAnyCut("CKMMpgFileType", Device(4, 512, kFirst, 0).Put(kFirst, file)), (Hits{{kFirst, 1007}}));
}

TEST(CKMMpgFileType, BareVideoEndsAtItsFirstPicture) {
  Device device(4, 512, kFirst, 0);
  device.Put(kFirst, Literal("\0\0\x01\xB3") + FromHex("04003023FFFFE018") + Literal("\0\0\x01\0"));
  EXPECT_EQ(ScanAnyCut("CKMMpgFileType", device), (Hits{{kFirst, 12}}));
}

TEST(CKMWvFileType, BlockIsItsSizeAndEightBytesMore) {
  Device device(9, 512, kFirst, 0);
  device.Put(kFirst, "wvpk" + LittleU32(1000)).Put(kFirst + 1, 496, "wvpk" + LittleU32(100));
  EXPECT_EQ(ScanAnyCut("CKMWvFileType", device), (Hits{{kFirst, 1008 + 108}}));
}

TEST(CKMWvFileType, LengthWrapsAt32Bits) {
  Device device(9, 512, kFirst, 0);
  device.Put(kFirst, "wvpk" + LittleU32(0xFFFFFFF8));
  EXPECT_EQ(ScanAnyCut("CKMWvFileType", device), (Hits{{kFirst, 0}}));
}

TEST(CKMWvFileType, OffsetWrapsAt32BitsAndMayLeadBack) {
  Device device(9, 512, kFirst, 0);
  device.Put(kFirst, WvHeader(16) + WvHeader(100) + WvHeader(0xFFFFFFF8));
  EXPECT_EQ(ScanAnyCut("CKMWvFileType", device), (Hits{{kFirst, std::uint64_t{0xFFFFFFF8} + 116}}));
}

TEST(CKMWvFileType, WalkThatComesBackToWhereItWasEnds) {
  Device device(9, 512, kFirst, 0);
  device.Put(kFirst, WvHeader(8) + WvHeader(0xFFFFFFF8));
  EXPECT_EQ(ScanAnyCut("CKMWvFileType", device), (Hits{{kFirst, 0x100000000}}));
  Device other(9, 512, kFirst, 0);
  other.Put(kFirst, WvHeader(8) + WvHeader(8) + WvHeader(8) + WvHeader(0xFFFFFFF8)).Put(kFirst + 1, WvHeader(0));
  EXPECT_EQ(ScanAnyCut("CKMWvFileType", other).size(), 2U);
}

/// The rules of the walk taken on the device as one string of bytes.
Hits WalkLiterally(const Device& device, std::size_t headerSize, const std::function<bool(const std::uint8_t*)>& isHead,
                   const std::function<std::uint32_t(const std::uint8_t*)>& lengthOf) {
  Hits hits;
  std::vector<std::uint8_t> bytes = device.Bytes();
  const std::size_t deviceSize = bytes.size();
  bytes.resize(deviceSize + headerSize, 1);
  const auto sectorSize = static_cast<std::size_t>(device.SectorSize());
  for (std::size_t sector = 0; sector < deviceSize / sectorSize; ++sector) {
    const std::uint64_t number = device.FirstSector() + sector;
    if (number == 0 || !isHead(&bytes[sector * sectorSize])) continue;
    if (sectorSize < headerSize) {
      hits.push_back({number, 0});
      continue;
    }
    std::uint64_t size = 0;
    for (std::size_t at = sector * sectorSize;;) {
      const std::size_t room = sectorSize - at % sectorSize;
      const bool straddles = room < headerSize;
      // Where the length is known, and how much of the frame has passed there.
      const std::size_t here = straddles ? at + room : at;
      if (here >= deviceSize) return hits;
      const std::uint32_t length = lengthOf(&bytes[at]);
      if (length == 0) {
        hits.push_back({number, size});
        sector = here / sectorSize;
        break;
      }
      size += length;
      if (straddles && length < room) return hits;
      at += length;
      if (at >= deviceSize) return hits;
    }
  }
  return hits;
}

TEST(FrameWalk, AgreesWithTheRulesTakenOnOneStringOfBytes) {
  const struct {
    const char* className;
    std::size_t headerSize;
    std::function<bool(const std::uint8_t*)> isHead;
    std::function<std::uint32_t(const std::uint8_t*)> lengthOf;
    std::vector<std::string> headers;
  } kinds[] = {
      {"CKMMp2FileType",
       4,
       [](const std::uint8_t* b) { return b[0] == 0xFF && b[1] == 0xFD && b[3] == 4; },
       LiteralMp2Length,
       {Mp2Header(0x14), Mp2Header(0x10), Mp2Header(0x04), Mp2Header(0xF6), Literal("\xFF\xFF\x04\x04"),
        Literal("\xFF\xF7\x10\x04"), Literal("\xFF\xF3\x18\x01"), Mp2Header(0x1C)}},
      {"CKMMpgFileType",
       14,
       [](const std::uint8_t* b) {
         return b[0] == 0 && b[1] == 0 && b[2] == 1 && (b[3] == 0xB3 || b[3] == 0xB5 || b[3] == 0xBA || b[3] == 0xBB);
       },
       LiteralMpgLength,
       {PacketHeader(6), PacketHeader(20), PacketHeader(21, '\xE0'), PacketHeader(90, '\xC0'),
        Literal("\0\0\x01\xBA") + FromHex("440004000401000003FB"),
        Literal("\0\0\x01\xBA") + FromHex("2100010001800001"), Literal("\0\0\x01\xB3") + FromHex("FFFFFFFFFFFF2000"),
        Literal("\0\0\x01\xB5") + FromHex("10FFFF01"), Literal("\0\0\x01\xB9"),
        Literal("\0\0\x01\xB8") + FromHex("FF40FFFF")}},
      {"CKMWvFileType",
       8,
       [](const std::uint8_t* b) { return b[0] == 'w' && b[1] == 'v' && b[2] == 'p' && b[3] == 'k'; },
       [](const std::uint8_t* b) -> std::uint32_t {
         if (b[0] != 'w' || b[1] != 'v' || b[2] != 'p' || b[3] != 'k') return 0;
         return b[4] + b[5] * 0x100U + b[6] * 0x10000U + b[7] * 0x1000000U + 8U;
       },
       {WvHeader(8), WvHeader(9), WvHeader(30), WvHeader(77), WvHeader(200), WvHeader(3), WvHeader(7), WvHeader(0)}},
  };
  for (const auto& kind : kinds) {
    std::size_t found = 0;
    std::uint64_t longest = 0;
    for (std::uint32_t seed = 0; seed < 2500; ++seed) {
      std::mt19937 random(seed);
      const std::size_t sectorSize = 1 + random() % 60;
      const std::size_t sectorCount = 1 + random() % 60;
      std::string bytes;
      while (bytes.size() < sectorSize * sectorCount) {
        const std::string& header = kind.headers[random() % kind.headers.size()];
        const std::uint32_t length =
            kind.lengthOf(reinterpret_cast<const std::uint8_t*>((header + "xxxxxxxxxx").data()));
        const unsigned choice = random() % 16;
        if (choice < 13) {
          bytes += Frame(header, std::max<std::size_t>(length, 1));
        } else if (choice == 13) {
          bytes += header.substr(0, random() % header.size());
        } else if (choice == 14) {
          bytes += std::string(random() % 20, 'x');
        } else {
          bytes.resize((bytes.size() / sectorSize + 1) * sectorSize, 'x');
        }
      }
      bytes.resize(sectorSize * sectorCount);
      Device device(static_cast<int>(sectorCount), static_cast<int>(sectorSize), random() % 8 == 0 ? 0 : kFirst);
      device.Put(device.FirstSector(), bytes);
      const Hits expected = WalkLiterally(device, kind.headerSize, kind.isHead, kind.lengthOf);
      ASSERT_EQ(Scan(*CreateDetector(kind.className), device), expected) << kind.className << ", seed " << seed;
      if (sectorSize >= kind.headerSize) {
        ASSERT_EQ(Scan(*CreateDetector(kind.className), device, {1}), expected) << kind.className << ", seed " << seed;
      }
      found += expected.size();
      for (const Hit& hit : expected) longest = std::max(longest, hit.size);
    }
    EXPECT_GT(found, 1000U) << kind.className;
    EXPECT_GT(longest, 300U) << kind.className;
  }
}

}  // namespace
}  // namespace qzmtraw::test
