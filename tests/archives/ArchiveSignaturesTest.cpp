#include <gtest/gtest.h>

#include <set>

#include "tests/support/Scanning.h"

namespace qzmtraw::test {
namespace {

constexpr std::uint64_t kFirst = Device::kFirstSector;

struct Piece {
  std::size_t offset;
  std::string bytes;
};

/// A head in all its bytes.
struct Signature {
  const char* className;
  std::vector<Piece> pieces;
  int floor = 1;
  /// Offsets of bytes for which others do as well.
  std::set<std::size_t> loose = {};
};

std::vector<Signature> Signatures() {
  return {
      {"CKBakOrPrtFileType", {{0, Literal("\xA5\x0F\xF0\x5A\x1E\x02\0\0\x30\x4D\x33\x43\x0B\0\xFF\0")}}},
      {"CKARdbFileType", {{0, "531E98204F8542F0"}}},
      {"CKAAceFileType", {{7, "**ACE**"}}},
      {"CKABagFileType", {{1, "gab"}, {5, "%%"}}},
      {"CKABhFileType", {{0, "\x42\x48\x05\x07"}, {6, Literal("\x25\xDA\x04\0")}}},
      {"CKABhFileType", {{1, "\x42\x48\x05\x07"}, {6, Literal("\x25\xDA\x04\0")}}},
      {"CKADebFileType", {{0, "!<arch>"}}},
      {"CKAHaFileType", {{0, "HA"}, {21, Literal("\0")}}},
      {"CKALzoFileType", {{0, Literal("\x89\x4C\x5A\x4F\0\x0D\x0A\x1A\x0A")}}},
      {"CKAZFileType", {{0, "\x1F\x9D\x90"}}},
      {"CKAZFileType", {{0, Literal("\x1F\x8B\x08\0")}}},
      {"CKABz2FileType", {{0, "BZh9"}, {4, "1AY&SY"}}, 1, {3}},
      {"CKATarFileType", {{0, Literal("\0")}, {257, Literal("ustar\0")}}},
      {"CKATarFileType", {{0, Literal("\0")}, {257, Literal("ustar  \0")}}},
      {"CKAImpFileType", {{0, "IMP\n"}, {20, LittleU32(0)}, {42, "IMPLH"}}, 1, {20, 21, 22, 23}},
      {"CKAIsoFileType", {{0, "\1CD001"}, {80, LittleU32(0)}}, 133, {80, 81, 82, 83}},
  };
}

void PutHead(Device& device, std::uint64_t sector, const Signature& signature) {
  for (const Piece& piece : signature.pieces) device.Put(sector, piece.offset, piece.bytes);
}

std::size_t EndOf(const Signature& signature) {
  return signature.pieces.back().offset + signature.pieces.back().bytes.size();
}

/// Sectors between the hit and the head's sector, of 512 bytes.
std::uint64_t Lead(const Signature& signature) { return signature.className == std::string("CKAIsoFileType") ? 64 : 0; }

TEST(ArchiveSignatures, EveryHeadIsAHitOfSize0) {
  for (const Signature& signature : Signatures()) {
    Device device(6);
    for (const std::uint64_t at : {0U, 3U, 4U}) PutHead(device, kFirst + at, signature);
    const std::uint64_t start = kFirst - Lead(signature);
    EXPECT_EQ(ScanAnyCut(signature.className, device), (Hits{{start, 0}, {start + 3, 0}, {start + 4, 0}}))
        << signature.className;
  }
}

TEST(ArchiveSignatures, EveryByteCounts) {
  for (const Signature& signature : Signatures()) {
    for (const Piece& piece : signature.pieces) {
      for (std::size_t i = 0; i < piece.bytes.size(); ++i) {
        const std::size_t offset = piece.offset + i;
        Device device(2);
        PutHead(device, kFirst, signature);
        device.Put(kFirst, offset, std::string(1, static_cast<char>(piece.bytes[i] ^ 0x41)));
        EXPECT_EQ(ScanAnyCut(signature.className, device).size(), signature.loose.count(offset))
            << signature.className << ' ' << offset;
      }
    }
  }
}

TEST(ArchiveSignatures, HeadsStandNowhereElse) {
  for (const Signature& signature : Signatures()) {
    for (const std::size_t shift : {2U, 3U, 512U - 16U}) {
      Device device(3);
      for (const Piece& piece : signature.pieces) device.Put(kFirst, piece.offset + shift, piece.bytes);
      EXPECT_EQ(ScanAnyCut(signature.className, device), Hits{}) << signature.className << ' ' << shift;
    }
  }
}

TEST(ArchiveSignatures, AreFoundAtTheDevicesStart) {
  for (const Signature& signature : Signatures()) {
    if (Lead(signature) != 0) continue;
    Device device(3, 512, 0);
    PutHead(device, 0, signature);
    EXPECT_EQ(ScanAnyCut(signature.className, device), (Hits{{0, 0}})) << signature.className;
  }
}

TEST(ArchiveSignatures, HeadMustLieInTheBlock) {
  for (const Signature& signature : Signatures()) {
    const auto end = static_cast<int>(EndOf(signature));
    for (const int missing : {0, 1}) {
      if (end < signature.floor) continue;
      Device whole(2, end);
      PutHead(whole, kFirst, signature);
      const std::string bytes(whole.Bytes().begin(), whole.Bytes().end());
      const Device device =
          Device(1, end - missing).Put(kFirst, bytes.substr(0, static_cast<std::size_t>(end - missing)));
      EXPECT_EQ(Scan(*CreateDetector(signature.className), device).size(), missing == 0 ? 1U : 0U)
          << signature.className;
    }
  }
}

TEST(ArchiveSignatures, HeadMayReachIntoLaterSectors) {
  for (const Signature& signature : Signatures()) {
    if (signature.floor > 1 || signature.className == std::string("CKATarFileType")) continue;
    Device device(60, 1);
    PutHead(device, kFirst, signature);
    EXPECT_EQ(Scan(*CreateDetector(signature.className), device), (Hits{{kFirst, 0}})) << signature.className;
  }
}

TEST(ArchiveSignatures, LimitOfTheHostIsIgnored) {
  for (const Signature& signature : Signatures()) {
    const Detector detector = CreateDetector(signature.className);
    detector->SetMaxFileSize(1);
    Device device(1);
    PutHead(device, kFirst, signature);
    EXPECT_EQ(Scan(*detector, device), (Hits{{kFirst - Lead(signature), 0}})) << signature.className;
  }
}

TEST(CKABz2FileType, BlockSizeIsADigitOrAbove) {
  for (const char size : {'/', '\0', '0', '9', 'A', '\x7F', '\x80', '\xFF'}) {
    Device device(2);
    device.Put(kFirst, std::string("BZh") + size + "1AY&SY");
    const bool isHead = static_cast<unsigned char>(size) >= '0';
    EXPECT_EQ(ScanAnyCut("CKABz2FileType", device), isHead ? (Hits{{kFirst, 0}}) : Hits{}) << int{size};
  }
}

/// A first member with a name of less than a hundred bytes.
Hits ScanTar(const std::string& name, const std::string& mark) {
  Device device(2);
  device.Put(kFirst, name + Literal("\0")).Put(kFirst, 257, mark);
  return ScanAnyCut("CKATarFileType", device);
}

TEST(CKATarFileType, FirstSlashOfTheNameIsItsLastByte) {
  const std::string mark = Literal("ustar\0");
  for (const char* name : {"box/", "/", "a box/", ""}) EXPECT_EQ(ScanTar(name, mark), (Hits{{kFirst, 0}})) << name;
  for (const char* name : {"box", "box/file", "box/folder/", "/box/", "//", "x"}) {
    EXPECT_EQ(ScanTar(name, mark), Hits{}) << name;
  }
}

TEST(CKATarFileType, MarkEndsWithAZeroOrTwoBlanksAndAZero) {
  for (const std::string& mark : {Literal("ustar\0\xEE"),
                                  Literal("ustar\0"
                                          "00"),
                                  Literal("ustar  \0")}) {
    EXPECT_EQ(ScanTar("box/", mark), (Hits{{kFirst, 0}}));
  }
  for (const std::string& mark : {Literal("ustar "), Literal("ustar \0"), Literal("ustar  x"), Literal("ustar   \0"),
                                  Literal("ustarx"), Literal("Ustar\0")}) {
    EXPECT_EQ(ScanTar("box/", mark), Hits{}) << mark;
  }
}

TEST(CKATarFileType, NameEndsWithItsSector) {
  // The mark stands in the third sector.
  const Device device = Device(3, 128, kFirst, 'x').Put(kFirst, 257, Literal("ustar\0"));
  const auto scanWithSlashAt = [&](std::size_t offset) {
    return Scan(*CreateDetector("CKATarFileType"), Device(device).Put(kFirst, offset, "/"));
  };
  EXPECT_EQ(scanWithSlashAt(127), (Hits{{kFirst, 0}}));
  EXPECT_EQ(scanWithSlashAt(126), Hits{});
  EXPECT_EQ(scanWithSlashAt(128), Hits{});
}

TEST(CKAImpFileType, ReportsTheHeadsSizeWhateverItIs) {
  for (const std::uint32_t size : {0U, 1U, 255U, 1000U, 0x64000001U, 0x80000000U, 0xFFFFFFFFU}) {
    Device device(2);
    device.Put(kFirst, "IMP\n").Put(kFirst, 20, LittleU32(size)).Put(kFirst, 42, "IMPLH");
    EXPECT_EQ(ScanAnyCut("CKAImpFileType", device), (Hits{{kFirst, size}}));
  }
}

Device DeviceWithDescriptor(std::uint64_t sector, int sectorSize, std::uint32_t blocks, std::uint16_t blockSize) {
  Device device(1, sectorSize, sector);
  device.Put(sector, "\1CD001").Put(sector, 80, LittleU32(blocks)).Put(sector, 128, LittleU16(blockSize));
  return device;
}

TEST(CKAIsoFileType, Starts32768BytesBeforeTheDescriptor) {
  const std::pair<int, std::uint64_t> sectorsBefore[] = {{133, 246}, {512, 64},  {2048, 16}, {4096, 8},
                                                         {6000, 5},  {32768, 1}, {32769, 0}, {65536, 0}};
  for (const auto& [sectorSize, before] : sectorsBefore) {
    EXPECT_EQ(Scan(*CreateDetector("CKAIsoFileType"), DeviceWithDescriptor(kFirst, sectorSize, 300, 2048)),
              (Hits{{kFirst - before, 614400}}))
        << sectorSize;
  }
}

TEST(CKAIsoFileType, MustNotStartBeforeTheDevice) {
  const auto scanAt = [](std::uint64_t sector) {
    return Scan(*CreateDetector("CKAIsoFileType"), DeviceWithDescriptor(sector, 512, 300, 2048));
  };
  EXPECT_EQ(scanAt(0), Hits{});
  EXPECT_EQ(scanAt(63), Hits{});
  EXPECT_EQ(scanAt(64), (Hits{{0, 614400}}));
  constexpr std::uint64_t kFirstNegative = std::uint64_t{1} << 63;
  EXPECT_EQ(scanAt(kFirstNegative + 63), (Hits{{kFirstNegative - 1, 614400}}));
  EXPECT_EQ(scanAt(kFirstNegative + 64), Hits{});
}

TEST(CKAIsoFileType, SizeIsAnUnsignedProductOf32Bits) {
  const auto sizeOf = [](std::uint32_t blocks, std::uint16_t blockSize) {
    return Scan(*CreateDetector("CKAIsoFileType"), DeviceWithDescriptor(kFirst, 2048, blocks, blockSize)).at(0).size;
  };
  EXPECT_EQ(sizeOf(0, 2048), 0U);
  EXPECT_EQ(sizeOf(1, 1), 1U);
  EXPECT_EQ(sizeOf(0x100000, 2048), 0x80000000U);
  EXPECT_EQ(sizeOf(0x80000001, 2048), 2048U);
  EXPECT_EQ(sizeOf(0xFFFFFFFF, 0xFFFF), 0xFFFF0001U);
}

TEST(CKAIsoFileType, NeedsSectorsOf133Bytes) {
  Device device = Device(2, 132).Put(kFirst, "\1CD001").Put(kFirst, 80, LittleU32(7)).Put(kFirst, 128, LittleU16(3));
  EXPECT_EQ(Scan(*CreateDetector("CKAIsoFileType"), device), Hits{});
  EXPECT_EQ(Scan(*CreateDetector("CKAIsoFileType"), DeviceWithDescriptor(kFirst, 133, 7, 3)),
            (Hits{{kFirst - 246, 21}}));
}

}  // namespace
}  // namespace qzmtraw::test
