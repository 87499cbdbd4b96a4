// Drawings that programs wrote, each with the size that its detector gives it. tests/data/make_drawings.sh makes them.

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>

#include "tests/support/Scanning.h"

namespace qzmtraw::test {
namespace {

constexpr std::uint64_t kFirst = 50000;

std::string Read(const std::string& name) {
  std::ifstream file(std::filesystem::path(QZMTRAW_TEST_DATA) / "drawings" / name, std::ios::binary);
  if (!file) throw std::runtime_error("no file " + name);
  return {std::istreambuf_iterator<char>(file), {}};
}

/// The hits in a device of 64 sectors that holds the file from its third one on, and zeros everywhere else.
Hits ScanFile(std::string_view className, const std::string& file) {
  return ScanAnyCut(className, Device(64, 512, kFirst, 0).Put(kFirst + 3, file));
}

constexpr const char* kClasses[] = {
    "KMbFileType",     "KDWGFileType",         "KCDRFileType",      "KWmfFileType",     "KEMFFileType",
    "KSwfFileType",    "KDxfFileType",         "CKFH1011FileType",  "CKFH5TO9FileType", "CKGXarFileType",
    "CKGDtcFileType",  "CKGLwsFileType",       "CKGGrbFileType",    "CKGPctFileType",   "CKGBinaryDxfFileType",
    "CKGDcmFileType",  "CKGCgmBinaryFileType", "CKGQxdFileType",    "CKGQxpFileType",   "CKGPorPicFileType",
    "CKGPicFileType",  "CKGColFileType",       "CKGNewPicFileType", "CKGLowFileType",   "CKG3dsFileType",
    "CKG3dMbFileType", "CKGPMaxFileType",      "CKGCmxFileType",    "CKGMacFileType",   "CKGShpFileType",
};

TEST(DrawingFiles, AreFoundByTheirKindAloneWithTheirSize) {
  const struct {
    const char* file;
    const char* className;
  } cases[] = {
      {"shape.wmf", "KWmfFileType"},  {"shape.emf", "KEMFFileType"},   {"film.swf", "KSwfFileType"},
      {"area.shp", "CKGShpFileType"}, {"solid.3ds", "CKG3dsFileType"}, {"field.grib", "CKGGrbFileType"},
  };
  for (const auto& c : cases) {
    const std::string file = Read(c.file);
    for (const char* className : kClasses) {
      EXPECT_EQ(ScanFile(className, file),
                className == std::string_view(c.className) ? (Hits{{kFirst + 3, file.size()}}) : Hits{})
          << c.file << " as " << className;
    }
  }
}

TEST(DrawingFiles, TextDrawingEndsInFrontOfItsLastLineFeed) {
  const std::string file = Read("plot.dxf");
  ASSERT_EQ(file.substr(file.size() - 5), "\nEOF\n");
  EXPECT_EQ(ScanFile("KDxfFileType", file), (Hits{{kFirst + 3, file.size() - 1}}));
}

TEST(DrawingFiles, MedicalImageHasNoSize) {
  EXPECT_EQ(ScanFile("CKGDcmFileType", Read("scan.dcm")), (Hits{{kFirst + 3, 0}}));
}

TEST(DrawingFiles, MessagesInASectorEndWithTheFirst) {
  const std::string file = Read("messages.grib");
  ASSERT_EQ(file.size() % 3, 0U);
  EXPECT_EQ(ScanFile("CKGGrbFileType", file), (Hits{{kFirst + 3, file.size() / 3}}));
}

TEST(DrawingFiles, MetafileThatFollowsNoProfileIsNotFound) {
  EXPECT_EQ(ScanFile("CKGCgmBinaryFileType", Read("plot.cgm")), Hits{});
}

}  // namespace
}  // namespace qzmtraw::test
