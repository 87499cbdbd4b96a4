// The heads of all kinds that are decided inside one sector, byte by byte.

#include <gtest/gtest.h>

#include <algorithm>

#include "tests/support/Scanning.h"

namespace qzmtraw::test {
namespace {

constexpr std::uint64_t kFirst = Device::kFirstSector;

struct Piece {
  std::size_t offset;
  std::string bytes;
};
using Pieces = std::vector<Piece>;

struct HeadCase {
  std::string className;
  int floor;  ///< 0: there is none.
  Pieces head;
  Pieces fields = {};  ///< What gives a file of the kind its size.
  std::uint64_t size = 0;
};

std::ostream& operator<<(std::ostream& out, const HeadCase& head) { return out << head.className; }

const std::string kFileMaker = Literal("\0\1\0\0\0\2\0\1\0\5\0\2\0\2\xC0");
const std::string kHelpId = Literal("\xFD\x01\x7C\xAA\x7B\xD0\x11\x9E\x0C\0\xA0\xC9\x22\xE6\xEC");

const HeadCase kHeads[] = {
    // Mail stores.
    {"KPSTFileType", 192, {{0, "!BDN"}}, {{168, LittleU32(5000)}, {184, LittleU32(4000)}}, 5000},
    {"KDBXFileType",
     128,
     {{0, "\xCF\xAD\x12\xFE"}, {5, Literal("\xFDtof\xE3\xD1\x11\x9AN\0\xC0")}},
     {{124, LittleU32(904)}},
     5000},
    {"CKIEWabFileType", 0, {{0, Literal("\x9C\xCB\xCB\x8D\x13u\xD2\x11\x91X\0\xC0OyV\xA4")}}},
    {"CKIEAbdFileType", 0, {{0, Literal("\x91\x89\x98\x19\x44\0\0\0")}}},
    {"CKIETbbFileType", 0, {{0, Literal("\x20\x06\x79\x19\x08\x0C\0\0")}}, {}, 3080},
    {"CKIEEdbFileType", 0, {{4, Literal("\xEF\xCD\xAB\x89\x20\x06\0\0")}}},
    {"CKIENsfFileType", 0, {{0, Literal("\x1A\0\0\4\0\0")}, {16, "%"}}},
    {"CKIEIindexDatFileType",
     0,
     {{0, Literal("Client UrlCache MMF Ver 5.2\0")}},
     {{28, LittleU32(0xFEDCBA98)}},
     0xFEDCBA98},
    // Databases.
    {"KMdbFileType", 41, {{0, Literal("\0\1\0\0Standard Jet DB\0")}}},
    {"KMdbFileType", 41, {{0, Literal("\0\1\0\0Standard ACE DB\0")}}},
    {"KMdfFileType",
     105,
     {{0, LittleU32(3841)}, {8, std::string(12, '\0')}, {22, LittleU32(0x00630001)}, {96, LittleU32(0x00080030)}}},
    {"CKDFp5FileType", 0, {{0, kFileMaker}}},
    {"CKDFp7FileType", 0, {{0, kFileMaker + "HBAM7"}}},
    {"CKDLdfFileType", 0, {{0, LittleU32(3841)}, {8, std::string(14, '\0')}, {22, Literal("\2\0\x63\0\0\0")}}},
    {"CKDGbkFileType", 0, {{0, Literal("\0\2\4\6\0\0\0\4\4\1\0\0\0\5\4\1")}}},
    {"CKDGdbFileType", 0, {{0, Literal("\1\0\x39\x30")}, {17, "\x10"}}},
    {"CKDSas7bdatFileType", 0, {{12, Literal("\xC2\xEA\x81\x60\xB3\x14\x11\xCF\xBD\x92\x08\0")}, {84, "SAS FILE"}}},
    {"CKDSavFileType", 0, {{0, "$FL2@(#) IBM SPSS STATISTICS DATA FILE MS Windows"}}},
    {"CKDTa5FileType", 0, {{0, "TaxACT Encrypted Data"}}},
    {"CKDIlkFileType", 0, {{0, "Microsoft Linker Database\n"}}},
    {"CKDPdbFileType", 0, {{0, "Microsoft C/C++ MSF"}}},
    {"CKDDbfFileType", 0, {{0, "\x30\x0F\x07\x03"}}, {{8, Literal("\x20\0\5\0\0\0")}}, 33},
    {"CKDFxpFileType", 0, {{0, Literal("\xFE\xF2\xFF\x20\2\1\0\0\0")}}, {{9, LittleU32(4975)}}, 5000},
    {"CKDMyiFileType", 0, {{0, Literal("\xFE\xFE\7\1\0")}}, {{64, BigU32(0x12345678)}}, 0x12345678},
    {"CKDFrmFileType",
     0,
     {{0, "\xFE\1"}, {5, Literal("\0")}, {32, Literal("\0\5")}, {41, std::string(6, '\0')}},
     {{6, Literal("\x40\0")}, {64, Literal("\xFF\0")}},
     66},
    // Documents.
    {"KOneFileType", 200, {{0, "\xE4R\\{\x8C\xD8\xA7M\xAE\xB1Sx\xD0)\x96\xD3"}}, {{196, LittleU32(5000)}}, 5000},
    {"KWpdFileType",
     17,
     {{0, "\xFFWPC"}, {8, Literal("\1\x0A\2\1")}, {12, Literal("\0\0\0\2")}},
     {{20, LittleU32(5000)}},
     5000},
    {"CKWpgFileType", 0, {{0, "\xFFWPC"}, {7, Literal("\0\1\x16")}}, {{20, LittleU32(0xFEDCBA98)}}, 0xFEDCBA98},
    {"CKLitFileType", 0, {{0, "ITOLITLS"}}, {{40, LittleU32(48)}, {56, LittleU32(0xFEDCBA98)}}, 0xFEDCBA98},
    {"CKQBWFileType", 0, {{15, Literal("\0\3\0\0\0\x5E\xBA\x7A\xDA")}}, {{26, "\2"}, {200, LittleU32(1250)}}, 5000},
    {"CKFmFeileType", 51, {{0, "<MakerFile"}}},
    {"CKWksFeileType", 51, {{0, Literal("\0\0\2\0\4\4\6\0")}, {9, Literal("\0")}}, {{20, Literal("\1\0\0\0\0")}}, 24},
    {"CKWq1FeileType", 51, {{0, Literal("\0\0\2\0\x20\x51\xCC\0\2\0\0\4\6\0\x10\0\0\0\0\0")}}},
    {"CKMnyFeileType", 51, {{0, Literal("\0\1\0\0MSISAM")}}},
    {"KHLPFileType", 17, {{0, Literal("\x3F\x5F\3\0")}}, {{12, LittleU32(5000)}}, 5000},
    {"KCHMFileType",
     257,
     {{0, "ITSF"}, {24, "\x10" + kHelpId}, {40, "\x11" + kHelpId}, {57, std::string(7, '\0')}, {96, LittleU32(510)}},
     {{56, "`"}, {104, LittleU32(5000)}},
     5000},
    {"KIccFileType", 17, {{36, "acsp"}}, {{0, BigU32(5000)}}, 5000},
    {"KIccFileType", 17, {{4, "APPL"}, {8, LittleU32(0x4002)}, {12, "prtr"}}, {{0, BigU32(5000)}}, 5000},
};

class Heads : public testing::TestWithParam<HeadCase> {
 protected:
  static void Put(Device& device, std::uint64_t sector, const Pieces& pieces) {
    for (const Piece& piece : pieces) device.Put(sector, piece.offset, piece.bytes);
  }

  /// A device with a file in its second sector, in which nothing else is like any head.
  static Device WithFile(int sectorCount, int sectorSize, std::uint8_t filler) {
    Device device(sectorCount, sectorSize, kFirst, filler);
    Put(device, kFirst + 1, GetParam().head);
    Put(device, kFirst + 1, GetParam().fields);
    return device;
  }
  static Hits TheFile() { return {{kFirst + 1, GetParam().size}}; }
};

TEST_P(Heads, AreFoundWhateverStandsAroundThem) {
  for (const std::uint8_t filler : {std::uint8_t{0xEE}, std::uint8_t{0x55}}) {
    EXPECT_EQ(ScanAnyCut(GetParam().className, WithFile(20, 512, filler)), TheFile()) << int{filler};
  }
}

TEST_P(Heads, NeedEachOfTheirBytes) {
  for (const Piece& piece : GetParam().head) {
    for (std::size_t i = 0; i < piece.bytes.size(); ++i) {
      for (const int bit : {0x01, 0x80}) {
        Device device = WithFile(20, 512, 0xEE);
        const auto other = static_cast<char>(piece.bytes[i] ^ bit);
        device.Put(kFirst + 1, piece.offset + i, std::string(1, other));
        EXPECT_EQ(Scan(*CreateDetector(GetParam().className), device), Hits{}) << piece.offset + i;
      }
    }
  }
}

TEST_P(Heads, StandAtTheStartOfASectorOnly) {
  Device device(20);
  for (Pieces pieces : {GetParam().head, GetParam().fields}) {
    for (Piece& piece : pieces) piece.offset += 256;
    Put(device, kFirst + 1, pieces);
  }
  EXPECT_EQ(Scan(*CreateDetector(GetParam().className), device), Hits{});
}

TEST_P(Heads, NeedSectorsOfTheirFloor) {
  const int floor = std::max(GetParam().floor, 5);
  EXPECT_EQ(Scan(*CreateDetector(GetParam().className), WithFile(2000, floor, 0xEE)), TheFile());
  if (GetParam().floor == 0) return;
  EXPECT_EQ(Scan(*CreateDetector(GetParam().className), WithFile(2000, floor - 1, 0xEE)), Hits{});
}

TEST_P(Heads, AreFoundAgainAndAtBothEndsOfADevice) {
  const Device device = WithFile(20, 512, 0xEE);
  const Detector detector = CreateDetector(GetParam().className);
  EXPECT_EQ(Scan(*detector, device), TheFile());
  EXPECT_EQ(Scan(*detector, device), TheFile());
  Device end(20, 512, 9000);
  Put(end, 9019, GetParam().head);
  Put(end, 9019, GetParam().fields);
  EXPECT_EQ(Scan(*detector, end), (Hits{{9019, GetParam().size}}));
  if (GetParam().className == "CKWksFeileType") return;  // It isn't followed at sector 0.
  Device start(20, 512, 0);
  Put(start, 0, GetParam().head);
  Put(start, 0, GetParam().fields);
  EXPECT_EQ(Scan(*detector, start), (Hits{{0, GetParam().size}}));
}

TEST_P(Heads, AreNoneWhereTheBlockEndsBeforeThem) {
  std::size_t reach = 0;
  for (const Piece& piece : GetParam().head) reach = std::max(reach, piece.offset + piece.bytes.size());
  if (GetParam().floor >= static_cast<int>(reach)) return;
  Device device(1, static_cast<int>(reach) - 1);
  for (const Piece& piece : GetParam().head) {
    const std::size_t room = device.Bytes().size() - std::min(piece.offset, device.Bytes().size());
    device.Put(kFirst, std::min(piece.offset, device.Bytes().size()), piece.bytes.substr(0, room));
  }
  EXPECT_EQ(Scan(*CreateDetector(GetParam().className), device), Hits{});
}

INSTANTIATE_TEST_SUITE_P(Stores, Heads, testing::ValuesIn(kHeads),
                         [](const auto& test) { return test.param.className + std::to_string(test.index); });

TEST(HeadsThatFitSeveralKinds, AreReportedByEach) {
  const Device fileMaker = Device(2).Put(kFirst, kFileMaker + "HBAM7");
  EXPECT_EQ(ScanAnyCut("CKDFp5FileType", fileMaker), (Hits{{kFirst, 0}}));
  EXPECT_EQ(ScanAnyCut("CKDFp7FileType", fileMaker), (Hits{{kFirst, 0}}));
}

TEST(HeadsOfDBX, TakeAnyByteAtOffset4) {
  for (const char byte : {'\xC5', '\xC6', '\0', '\xFF'}) {
    Device device(2);
    device.Put(kFirst, "\xCF\xAD\x12\xFE" + std::string(1, byte) + Literal("\xFDtof\xE3\xD1\x11\x9AN\0\xC0"));
    device.Put(kFirst, 124, LittleU32(904));
    EXPECT_EQ(ScanAnyCut("KDBXFileType", device), (Hits{{kFirst, 5000}})) << int{byte};
  }
}

}  // namespace
}  // namespace qzmtraw::test
