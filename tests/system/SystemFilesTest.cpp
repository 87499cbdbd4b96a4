// Files that programs wrote, each with the size that its detector gives it. tests/data/make_system_files.sh makes them.

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>

#include "tests/system/Faces.h"

namespace qzmtraw::test {
namespace {

constexpr std::uint64_t kFirst = 90000;

std::string Read(const std::string& name) {
  std::ifstream file(std::filesystem::path(QZMTRAW_TEST_DATA) / "system" / name, std::ios::binary);
  if (!file) throw std::runtime_error("no file " + name);
  return {std::istreambuf_iterator<char>(file), {}};
}

/// A device with the file from its third sector on, and zeros everywhere else.
Device DeviceWith(const std::string& file, int sectorSize = 512) {
  return Device(40, sectorSize, kFirst, 0).Put(kFirst + 2, file);
}

const std::vector<std::string> kModuleFaces = {"CKEExeFileType", "CKEDllFileType", "CKEOcxFileType", "CKTlbFileType",
                                               "CKFonFileType"};
const std::vector<std::string> kElfFaces = {"CKEElfExeFileType", "CKEElfLibFileType", "CKElfModuleFileType"};

TEST(SystemFiles, ModulesWithSectorsOfTheirAlignmentHaveTheirSize) {
  // ld's headers take 0x80 bytes of stub and, with the sections' headers, less than 512 bytes; the sector that is added
  // stands for the headers' first one.
  for (const auto& [name, face] : {std::pair{"program64.exe", "CKEExeFileType"},
                                   {"program32.exe", "CKEExeFileType"},
                                   {"library64.dll", "CKEDllFileType"},
                                   {"library32.dll", "CKEDllFileType"}}) {
    const std::string file = Read(name);
    for (int blockSectors = 0; blockSectors <= 3; ++blockSectors) {
      EXPECT_EQ(ScanFaces(kModuleFaces, DeviceWith(file), {blockSectors}), (FaceHits{{face, kFirst + 2, file.size()}}))
          << name;
    }
    EXPECT_EQ(ScanFaces(kModuleFaces, DeviceWith(file, 4096)), (FaceHits{{face, kFirst + 2, file.size() + 4096 - 512}}))
        << name;
  }
}

TEST(SystemFiles, ElfFilesCountTheirSegmentsAndSectionsBoth) {
  struct Case {
    const char* name;
    const char* face;
    std::uint64_t size;  ///< As readelf's listing of segments, sections and header sizes adds up.
  };
  const Case kCases[] = {
      {"program64", "CKEElfExeFileType", 72 + (8 + 64 + 39 + 36) + 2 * 56 + 5 * 64 + 64},
      {"program32", "CKEElfExeFileType", 72 + (8 + 64 + 39 + 36) + 2 * 32 + 5 * 40 + 52},
      {"library64.so", "CKElfModuleFileType",
       (1256 + 240 + 36) + (56 + 144 + 32 + 24 + 32 + 14 + 36 + 100 + 240 + 32 + 39 + 104) + 4 * 56 + 13 * 64 + 64},
      {"object64.o", "CKEElfLibFileType", (8 + 40 + 64 + 48 + 120 + 22 + 84) + 11 * 64 + 64},
  };
  for (const Case& test : kCases) {
    for (int blockSectors = 0; blockSectors <= 3; ++blockSectors) {
      EXPECT_EQ(ScanFaces(kElfFaces, DeviceWith(Read(test.name)), {blockSectors}),
                (FaceHits{{test.face, kFirst + 2, test.size}}))
          << test.name;
    }
  }
}

TEST(SystemFiles, OthersEndWhereTheirKindSays) {
  struct Case {
    const char* name;
    const char* className;
    std::uint64_t size;
  };
  const Case kCases[] = {
      {"Sample.class", "CKEJavaClassFileType", 0},
      {"sample.pfm", "CKPfmFileType", 292},
      {"adobe.pfb", "CKPfbFileType", 2422},
      {"sample.hiv", "CKOHivFileType", 0},
      {"display.icc", "CKOIcmFileType", 588},
      {"folder.lnk", "CKOLnkFileType", 0},
      // The table FFTM, fontforge's own, comes first in the directory and last in the file.
      {"sample.ttf", "CKTtfFileType", 1520},
  };
  for (const Case& test : kCases) {
    const std::string file = Read(test.name);
    EXPECT_TRUE(test.size == 0 || test.size == file.size()) << test.name;
    EXPECT_EQ(ScanAnyCut(test.className, DeviceWith(file)), (Hits{{kFirst + 2, test.size}})) << test.name;
  }
}

TEST(SystemFiles, FontWithoutAdobesLastLineGoesOnToTheNextOne) {
  Device device = DeviceWith(Read("sample.pfb"));
  EXPECT_EQ(ScanAnyCut("CKPfbFileType", device), Hits{});
  device.Put(kFirst + 12, Read("adobe.pfb"));
  EXPECT_EQ(ScanAnyCut("CKPfbFileType", device), (Hits{{kFirst + 2, 10 * 512}, {kFirst + 12, 2422}}));
}

}  // namespace
}  // namespace qzmtraw::test
