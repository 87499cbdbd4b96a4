// The kinds of audio and video that are known by their first bytes.

#include <gtest/gtest.h>

#include <algorithm>
#include <random>

#include "tests/media/SparseDevice.h"

namespace qzmtraw::test {
namespace {

constexpr std::uint64_t kFirst = Device::kFirstSector;
constexpr std::uint64_t kFile = SparseDevice::kFileSector;
constexpr char kFiller = '\xEE';

Hits OneHit(std::uint64_t size) { return {{kFirst + 1, size}}; }
Hits ScanHead(std::string_view className, const std::string& head) {
  return ScanAnyCut(className, Device(3).Put(kFirst + 1, head));
}

/// A head in which the bytes that aren't tested are the filler's.
struct Signature {
  std::string className;
  std::string head;
  std::uint64_t size = 0;  ///< Made from the filler where a field isn't set.
};

const std::string kEe2(2, kFiller);
const std::string kEe4(4, kFiller);

const std::vector<Signature> kSignatures = {
    {"CKMDssFileType", "\002dss"},
    {"CKMDssFileType", "\003ds2"},
    {"CKMMusFileType", "ENIGMA BINARY FILE"},
    {"CKMFlpFileType", Literal("FLhd\6\0\0\0"), 0xEEEEEEEE + 22U},
    {"CKMRnsFileType", "Propellerheads Reason Song File"},
    {"CKMSibFileType", "\017SIBELIUS"},
    {"CKMMxfFileType", "\x06\x0E\x2B\x34\x02\x05\x01\x01\x0D\x01\x02"},
    {"CKMCmfFileType", "CTMF\1\1"},
    {"CKMApeFileType", "MAC ", 0xDDDDDDDC},
    {"CKMpcFileType", "MP+"},
    {"CKMpcFileType", "MPCKSH\x10"},
    {"CKMTtaFileType", "TTA1"},
    {"CKMTtaFileType", "ID3\4" + kEe4 + kEe2 + "TIT2"},
    {"CKMTtaFileType", "TTA2", 0xEEEEEEEEEEEEEEEE},
    {"CKMVqfFileType", "TWIN97012000"},
    {"CKMBikFileType", "BIKi", 0xEEEEEEEE + 8U},
    {"CKMDcrFileType", "XFIR" + kEe2 + kFiller + Literal("\0MDGF")},
    {"CKMCdaFileType", "RIFF" + kEe4 + "CDDA" + "fmt", 0xEEEEEEEE},
    {"CKMAniFileType", "\xBA\xBE\xEB\xEA"},
    {"CKMAniFileType", "RIFF" + kEe4 + "ACON" + "anih", 0xEEEEEEEE},
    {"CKMCamFileType", "\x07\x20MM"},
    {"CKMSmkFileType", "SMK4"},
};

TEST(MediaSignatures, AreStartsAtEveryHead) {
  for (const Signature& kind : kSignatures) {
    Device device(5);
    device.Put(kFirst, kind.head).Put(kFirst + 3, kind.head).Put(kFirst + 4, kind.head);
    EXPECT_EQ(ScanAnyCut(kind.className, device),
              (Hits{{kFirst, kind.size}, {kFirst + 3, kind.size}, {kFirst + 4, kind.size}}))
        << kind.className;
    EXPECT_EQ(Scan(*CreateDetector(kind.className), Device(1, 512, 0).Put(0, kind.head)), (Hits{{0, kind.size}}))
        << kind.className;
    device = Device(2).Put(kFirst, 1, kind.head);
    EXPECT_EQ(ScanAnyCut(kind.className, device), Hits{}) << kind.className;
  }
}

TEST(MediaSignatures, NeedEveryByteOfTheirHead) {
  for (const Signature& kind : kSignatures) {
    for (std::size_t i = 0; i < kind.head.size(); ++i) {
      std::string broken = kind.head;
      if (broken[i] == kFiller) continue;
      broken[i] = static_cast<char>(broken[i] ^ 0x41);
      EXPECT_EQ(ScanHead(kind.className, broken), Hits{}) << kind.className << ", byte " << i;
    }
  }
}

TEST(MediaSignatures, NeedNoSectorOfTheirSize) {
  for (const Signature& kind : kSignatures) {
    // Sectors of one byte, the first of which begins the head.
    const auto length = static_cast<int>(kind.head.size());
    const Hits whole = Scan(*CreateDetector(kind.className), Device(length, 1).Put(kFirst, kind.head));
    ASSERT_EQ(whole.size(), 1U) << kind.className;
    EXPECT_EQ(whole.front().startSector, kFirst);
    const Device cut = Device(length - 1, 1).Put(kFirst, kind.head.substr(0, kind.head.size() - 1));
    EXPECT_EQ(Scan(*CreateDetector(kind.className), cut), Hits{}) << kind.className;
  }
}

TEST(MediaSignatures, IgnoreALimit) {
  for (const Signature& kind : kSignatures) {
    const Detector detector = CreateDetector(kind.className);
    detector->SetMaxFileSize(1);
    EXPECT_EQ(Scan(*detector, Device(1).Put(kFirst, kind.head)), (Hits{{kFirst, kind.size}})) << kind.className;
  }
}

TEST(CKMFlpFileType, Adds22BytesToItsData) {
  const auto found = [](std::uint32_t headerSize, std::uint32_t dataSize) {
    return ScanHead("CKMFlpFileType", "FLhd" + LittleU32(headerSize) + std::string(10, 'x') + LittleU32(dataSize));
  };
  EXPECT_EQ(found(6, 1000), OneHit(1022));
  EXPECT_EQ(found(6, 0), OneHit(22));
  EXPECT_EQ(found(6, 0xFFFFFFFF), OneHit(21));
  for (const std::uint32_t headerSize : {5U, 7U, 0x106U, 0x06000000U}) EXPECT_EQ(found(headerSize, 1000), Hits{});
}

TEST(CKMApeFileType, AddsTwoFieldsOf32Bits) {
  const auto found = [](std::uint32_t headerSize, std::uint32_t dataSize) {
    return ScanHead("CKMApeFileType",
                    "MAC " + std::string(20, 'x') + LittleU32(dataSize) + std::string(48, 'x') + LittleU32(headerSize));
  };
  EXPECT_EQ(found(76, 1000), OneHit(1076));
  EXPECT_EQ(found(0, 5), OneHit(5));
  EXPECT_EQ(found(0xFFFFFFFF, 1000), OneHit(999));
}

TEST(CKMBikFileType, Adds8BytesAndWrapsAt32Bits) {
  const auto found = [](std::uint32_t size) { return ScanHead("CKMBikFileType", "BIKi" + LittleU32(size)); };
  EXPECT_EQ(found(1000), OneHit(1008));
  EXPECT_EQ(found(0xFFFFFFFC), OneHit(4));
}

TEST(CKMTtaFileType, SecondVersionTellsItsSize) {
  const std::string rest = std::string(20, 'x') + LittleU64(0x123456789ABCDEF0);
  EXPECT_EQ(ScanHead("CKMTtaFileType", "TTA2" + rest), OneHit(0x123456789ABCDEF0));
  EXPECT_EQ(ScanHead("CKMTtaFileType", "TTA1" + rest), OneHit(0));
  EXPECT_EQ(ScanHead("CKMTtaFileType", "TTA3" + rest), Hits{});
}

TEST(CKMTtaFileType, TagIsOfVersion4AndBeginsWithTheTitle) {
  for (const char* head : {"ID3\3......TIT2", "ID3\4......TPE1", "ID3\4.....TIT2", "ID3\4.......TIT2"}) {
    EXPECT_EQ(ScanHead("CKMTtaFileType", head), Hits{}) << head;
  }
}

TEST(CKMpcFileType, SecondFormBeginsWithAStreamHeaderOf16Bytes) {
  for (const char* head : {"MPCK", "MPCKRG\x10", "MPCKSH\x11", "MPCKSH\x0F", "MP-", "MP7"}) {
    EXPECT_EQ(ScanHead("CKMpcFileType", head), Hits{}) << head;
  }
}

TEST(MediaSignatures, SizesOfRiffFilesAreBareAndUnsigned) {
  for (const std::uint32_t size : {0U, 36U, 0x80000000U, 0xFFFFFFFFU}) {
    EXPECT_EQ(ScanHead("CKMCdaFileType", "RIFF" + LittleU32(size) + "CDDAfmt "), OneHit(size));
    EXPECT_EQ(ScanHead("CKMAniFileType", "RIFF" + LittleU32(size) + "ACONanih"), OneHit(size));
  }
}

TEST(MediaSignatures, AnimatedCursorIsOfTwoKinds) {
  const std::string head = "RIFF" + LittleU32(5000) + "ACONanih";
  EXPECT_EQ(ScanHead("CKMAniFileType", head), OneHit(5000));
  EXPECT_EQ(ScanHead("KAniFileType", head), OneHit(5000));
}

Hits ScanAmr(const std::string& frames) {
  return ScanAnyCut("CKMAmrFileType", Device(20, 512, kFirst, 0).Put(kFirst + 1, "#!AMR\n" + frames));
}

TEST(CKMAmrFileType, BytesStepByTheirKind) {
  const std::vector<std::pair<int, std::size_t>> kinds = {{4, 13},  {12, 14}, {20, 16}, {28, 18},
                                                          {36, 20}, {44, 21}, {52, 27}, {60, 32}};
  for (int byte = 1; byte < 256; ++byte) {
    std::size_t length = 1;
    for (const auto& [kind, kindLength] : kinds) length = kind == byte ? kindLength : length;
    // Wherever else the step led there is a zero.
    std::string frames(1, static_cast<char>(byte));
    frames.resize(length);
    frames += '\4';
    EXPECT_EQ(ScanAmr(frames), OneHit(6 + length + 13)) << byte;
  }
}

TEST(CKMAmrFileType, EndsAtTheFirstZeroThatIsSteppedOn) {
  EXPECT_EQ(ScanAmr(""), OneHit(6));
  EXPECT_EQ(ScanAmr(std::string(5000, 'x')), OneHit(5006));
  std::string frames;
  for (int i = 0; i < 100; ++i) frames += '\x3C' + std::string(31, '\0');
  EXPECT_EQ(ScanAmr(frames), OneHit(3206));
  EXPECT_EQ(ScanHead("CKMAmrFileType", "#!AMR-WB\n"), Hits{});
}

TEST(CKMAmrFileType, GoesOnToTheDevicesEndWithoutALimit) {
  const Detector detector = CreateDetector("CKMAmrFileType");
  detector->SetMaxFileSize(1000);
  EXPECT_EQ(Scan(*detector, Device(2000, 512, kFirst, 0xFF).Put(kFirst, "#!AMR\n")), (Hits{{kFirst, 1024000}}));
}

TEST(CKMAmrFileType, WhatCannotBeReadIsZero) {
  const Device device = Device(2, 65536, kFirst, 'x').Put(kFirst, "#!AMR\n");
  EXPECT_EQ(Scan(*CreateDetector("CKMAmrFileType"), device), (Hits{{kFirst, 0}}));
}

std::string Voc(const std::string& blocks) {
  return "Creative Voice File\x1A" + Literal("\x1A\0\x0A\1\x29\x11") + blocks;
}
std::string VocBlock(char type, std::uint32_t length) { return type + LittleU32(length).substr(0, 3); }
Hits ScanVoc(const std::string& blocks) {
  return ScanAnyCut("CKMVocFileType", Device(20, 512, kFirst, 0).Put(kFirst + 1, Voc(blocks)));
}

TEST(CKMVocFileType, AddsBlocksAndTheTerminator) {
  EXPECT_EQ(ScanVoc(VocBlock(1, 1000) + std::string(1000, 's')), OneHit(26 + 1004 + 1));
  EXPECT_EQ(ScanVoc(""), OneHit(27));
  std::string blocks;
  for (char type = 1; type <= 9; ++type) blocks += VocBlock(type, 20) + std::string(20, 's');
  EXPECT_EQ(ScanVoc(blocks), OneHit(26 + 9 * 24 + 1));
}

TEST(CKMVocFileType, UnknownTypeEndsItLikeTheTerminator) {
  for (const char type : {'\0', '\x0A', '\x7F', '\xFF'}) {
    EXPECT_EQ(ScanVoc(VocBlock(1, 10) + std::string(10, 's') + VocBlock(type, 100)), OneHit(26 + 14 + 1));
  }
}

TEST(CKMVocFileType, NeedsEveryByteOfItsHead) {
  for (std::size_t i = 0; i < 20; ++i) {
    std::string head = Voc("");
    head[i] = static_cast<char>(head[i] ^ 0x41);
    EXPECT_EQ(ScanHead("CKMVocFileType", head), Hits{}) << i;
  }
}

TEST(CKMVocFileType, EndsBehind0x7FFFFFFFWithoutAMark) {
  SparseDevice device;
  device.Put(0, Voc(""));
  std::uint64_t place = 26;
  for (; place + 0xFFFFFF + 4 < 0x7FFFFFFF - 100; place += 0xFFFFFF + 4) device.Put(place, VocBlock(1, 0xFFFFFF));
  const auto scan = [&](std::uint64_t end) {
    device.Put(place, VocBlock(1, static_cast<std::uint32_t>(end - place - 4))).Put(end, VocBlock(1, 1000));
    const Detector detector = CreateDetector("CKMVocFileType");
    detector->SetMaxFileSize(1000);
    Hits hits = device.ScanHead(*detector);
    device.Put(end, "");
    return hits;
  };
  EXPECT_EQ(scan(0x80000000), (Hits{{kFile, 0x80000000}}));
  EXPECT_EQ(scan(0x7FFFFFFF), (Hits{{kFile, 0x800003EB}}));
  device.Put(0x7FFFFFFF, VocBlock(0, 5));
  EXPECT_EQ(scan(0x7FFFFFF0), (Hits{{kFile, 0x800003DC}}));
}

TEST(CKMVocFileType, WhatCannotBeReadEndsItLikeTheTerminator) {
  const Device device = Device(2, 65536, kFirst, 'x').Put(kFirst, Voc(VocBlock(1, 1000)));
  EXPECT_EQ(Scan(*CreateDetector("CKMVocFileType"), device), (Hits{{kFirst, 27}}));
}

const std::string kBtHead = Literal(
    "\xFF\xFE"
    "B\0l\0u\0f\0f\0T\0i\0t\0l\0e\0r\0");
Hits ScanBt(const Device& device) { return ScanAnyCut("CKMBtFileType", device); }

TEST(CKMBtFileType, EndsWithTheFirstOfTwoZeros) {
  EXPECT_EQ(ScanBt(Device(9).Put(kFirst + 1, kBtHead).Put(kFirst + 4, 100, Literal("\0\0"))), OneHit(3 * 512 + 101));
  EXPECT_EQ(ScanBt(Device(9).Put(kFirst + 1, kBtHead).Put(kFirst + 4, 101, Literal("\0\0"))), OneHit(3 * 512 + 102));
  EXPECT_EQ(ScanBt(Device(9).Put(kFirst + 1, kBtHead).Put(kFirst + 1, 24, Literal("\0"))), OneHit(24));
  EXPECT_EQ(ScanBt(Device(9).Put(kFirst + 1, kBtHead).Put(kFirst + 4, 510, Literal("\0\0"))), OneHit(3 * 512 + 511));
  EXPECT_EQ(ScanBt(Device(9).Put(kFirst + 1, kBtHead).Put(kFirst + 4, 0, Literal("\0\0"))), OneHit(3 * 512 + 1));
}

TEST(CKMBtFileType, ZerosMayStandInTwoSectors) {
  EXPECT_EQ(ScanBt(Device(9).Put(kFirst + 1, kBtHead).Put(kFirst + 4, 511, Literal("\0\0"))), OneHit(4 * 512));
  Device device(9);
  device.Put(kFirst + 1, kBtHead).Put(kFirst + 3, 511, Literal("\0")).Put(kFirst + 5, 0, Literal("\0x"));
  EXPECT_EQ(ScanBt(device), Hits{});
  EXPECT_EQ(ScanBt(device.Put(kFirst + 6, 9, Literal("\0\0"))), OneHit(5 * 512 + 10));
}

TEST(CKMBtFileType, NeedsEveryByteOfItsHead) {
  for (std::size_t i = 0; i < kBtHead.size(); ++i) {
    std::string head = kBtHead;
    head[i] = static_cast<char>(head[i] ^ 0x41);
    EXPECT_EQ(ScanBt(Device(9).Put(kFirst + 1, head).Put(kFirst + 4, 100, Literal("\0\0"))), Hits{}) << i;
  }
}

TEST(CKMBtFileType, NewHeadReportsTheFileBefore) {
  Device device(9);
  device.Put(kFirst, kBtHead).Put(kFirst + 2, kBtHead).Put(kFirst + 4, 9, Literal("\0\0"));
  EXPECT_EQ(ScanBt(device), (Hits{{kFirst, 1024}, {kFirst + 2, 1034}}));
  EXPECT_EQ(ScanBt(device.Put(kFirst + 1, 511, Literal("\0"))), (Hits{{kFirst, 1024}, {kFirst + 2, 1034}}));
}

TEST(CKMBtFileType, FileAtSector0IsNotFollowed) {
  EXPECT_EQ(ScanBt(Device(4, 512, 0).Put(0, kBtHead).Put(2, Literal("\0\0"))), Hits{});
}

TEST(CKMBtFileType, IsGivenUpAbove0x2000000) {
  // Sectors of 4 MiB, of which the file counts eight.
  constexpr int kSectorSize = 1 << 22;
  const Detector detector = CreateDetector("CKMBtFileType");
  detector->SetMaxFileSize(1000);
  Device device(1, kSectorSize, kFirst, 'x');
  EXPECT_EQ(Scan(*detector, Device(device).Put(kFirst, kBtHead)), Hits{});
  for (int i = 1; i < 8; ++i) ASSERT_EQ(Scan(*detector, device), Hits{});
  device.Put(kFirst, kSectorSize - 1, Literal("\0"));
  EXPECT_EQ(Scan(*detector, device), (Hits{{kFirst, 0x2000000}}));
  EXPECT_EQ(Scan(*detector, Device(1, 512, kFirst + 33, 0)), Hits{});
}

TEST(CKMBtFileType, ResetForgetsTheFileAndItsZero) {
  const Detector detector = CreateDetector("CKMBtFileType");
  Scan(*detector, Device(1).Put(kFirst, kBtHead).Put(kFirst, 511, Literal("\0")));
  detector->Reset();
  EXPECT_EQ(Scan(*detector, Device(1, 512, kFirst + 1, 0)), Hits{});
}

/// The rules for BluffTitler's files, byte by byte.
Hits LiteralBt(const Device& device) {
  Hits hits;
  Hit hit{};
  bool zeroPending = false;
  const auto size = static_cast<std::size_t>(device.SectorSize());
  for (std::size_t sector = 0; sector * size < device.Bytes().size(); ++sector) {
    const auto byteAt = [&](std::size_t i) { return device.Bytes()[sector * size + i]; };
    bool isHead =
        (sector + 1) * size <= device.Bytes().size() && sector * size + kBtHead.size() <= device.Bytes().size();
    for (std::size_t i = 0; isHead && i < kBtHead.size(); ++i)
      isHead = byteAt(i) == static_cast<std::uint8_t>(kBtHead[i]);
    const auto report = [&] {
      hits.push_back(hit);
      hit = {};
    };
    if (isHead) {
      if (hit.startSector != 0) report();
      hit.startSector = device.FirstSector() + sector;
    }
    if (hit.startSector == 0) continue;
    if (zeroPending) {
      zeroPending = false;
      if (byteAt(0) == 0) {
        report();
        continue;
      }
    }
    std::size_t pair = 0;
    while (pair + 1 < size && (byteAt(pair) != 0 || byteAt(pair + 1) != 0)) ++pair;
    if (pair + 1 < size) {
      hit.size += pair + 1;
      report();
      continue;
    }
    if (byteAt(size - 1) == 0) zeroPending = true;
    hit.size += size;
  }
  return hits;
}

TEST(CKMBtFileType, AgreesWithTheRulesTakenByteByByte) {
  std::size_t found = 0;
  for (std::uint32_t seed = 0; seed < 2000; ++seed) {
    std::mt19937 random(seed);
    const int sectorSize = 24 + static_cast<int>(random() % 20);
    Device device(16, sectorSize, kFirst, 'x');
    for (std::uint64_t sector = kFirst; sector < kFirst + 16; ++sector) {
      if (random() % 3 == 0) device.Put(sector, kBtHead);
      for (auto i = random() % 3; i > 0; --i) {
        device.Put(sector, random() % static_cast<std::size_t>(sectorSize), Literal("\0"));
      }
      if (random() % 3 == 0) device.Put(sector, static_cast<std::size_t>(sectorSize) - 1, Literal("\0"));
      if (random() % 3 == 0) device.Put(sector, 0, Literal("\0"));
    }
    const Hits expected = LiteralBt(device);
    ASSERT_EQ(Scan(*CreateDetector("CKMBtFileType"), device, {static_cast<int>(seed % 4)}), expected) << seed;
    found += expected.size();
  }
  EXPECT_GT(found, 2000U);
}

/// No host and no sector size may make a walk hang or read beside its block.
TEST(MediaSignatures, WalksEndWhateverTheHostDoes) {
  const std::vector<std::string> heads = {"#!AMR\n\x3C\4\1",
                                          Voc(VocBlock(1, 30)),
                                          Literal("\0\0\0\x20") + "ftyp3g2a" + Literal("\0\0\0\x10"),
                                          Literal("\0\0\0\x20") + "ftypqt  " + Literal("\0\0\0\x10") + "moov",
                                          Literal("\0\0\0\x10") + "ftypisom" + Literal("\0\0\0\1") + "mdat",
                                          Literal("\0\0\0\x10") + "ftyp3gp6" + Literal("\0\0\0\1") + "mdat",
                                          "RIFF" + LittleU32(20) + "AVI LIST",
                                          "RIFF" + LittleU32(0xFFFFFFE0) + "AVIXLIST",
                                          Literal("\x30\x26\xB2\x75\x8E\x66\xCF\x11\xA6\xD9\x00\xAA\x00\x62\xCE\x6C"),
                                          Literal("\0\0\0\0\0"),
                                          "xxxxxxx"};
  const std::vector<std::string> classes = {"KMovFileType",   "KMP4FileType",   "K3GPFileType", "KM4AFileType",
                                            "CKM3g2FileType", "CKMAmrFileType", "KAviFileType", "CKMVocFileType",
                                            "KASFileType",    "CKMBtFileType"};
  std::mt19937 random(1);
  std::size_t found = 0;
  for (const int sectorSize : {1, 3, 8, 16, 17, 100, 512, 520, 4096, 32768, 32769, 65536}) {
    for (int round = 0; round < 4; ++round) {
      Device device(std::max(3, 4096 / sectorSize), sectorSize, kFirst, round % 2 == 0 ? 0 : 'x');
      const std::size_t size = device.Bytes().size();
      for (std::size_t at = 0; at + 64 < size; at += 8 + random() % 512)
        device.Put(kFirst, at, heads[random() % heads.size()]);
      for (std::uint64_t sector = 0; sector < static_cast<std::uint64_t>(device.SectorCount()); ++sector) {
        if (sectorSize >= 100) device.Put(kFirst + sector, heads[random() % heads.size()]);
      }
      for (const Manner manner :
           {Manner::kServes, Manner::kAnswersError, Manner::kLeavesBuffer, Manner::kFillsRubbish}) {
        for (const std::string& className : classes) {
          // Rubbish without zeros makes the longest walk there is.
          if (manner == Manner::kFillsRubbish && className == "CKMAmrFileType") continue;
          found += Scan(*CreateDetector(className), device, {round}, manner).size();
        }
      }
    }
  }
  EXPECT_GT(found, 100U);
}

}  // namespace
}  // namespace qzmtraw::test
