// Pictures that programs wrote, each with the size that its detector gives it. tests/data/make_photos.sh makes them.

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <stdexcept>

#include "tests/support/Scanning.h"

namespace qzmtraw::test {
namespace {

std::string Read(const std::string& name) {
  std::ifstream file(std::filesystem::path(QZMTRAW_TEST_DATA) / "photos" / name, std::ios::binary);
  if (!file) throw std::runtime_error("no file " + name);
  return {std::istreambuf_iterator<char>(file), {}};
}

using Sizes = std::map<std::string, std::uint64_t>;

/// The sizes with which the kinds of pictures report the file, which begins at a device's third sector.
Sizes SizesOf(const std::string& name, Cut cut) {
  // The classifier of TIFF files remembers the block before, so no two blocks begin at the same sector.
  static std::uint64_t first = std::uint64_t{1} << 36;
  Sizes sizes;
  for (const char* kind :
       {"KJPGFileType", "KExifJpgFileType", "KTifFileType", "KNefFileType", "KPefFileType", "KDcrFileType",
        "KSr2FileType", "KArwFileType", "KCR2FileType", "KDngFileType", "KGMefFileType", "KOrfFileType"}) {
    first += 100;
    const Device device = Device(20, 512, first).Put(first + 2, Read(name));
    const Hits hits = Scan(*CreateDetector(kind), device, cut);
    if (hits.empty()) continue;
    EXPECT_EQ(hits, (Hits{{first + 2, hits.front().size}})) << name << ' ' << kind;
    sizes[kind] = hits.front().size;
  }
  return sizes;
}

TEST(Photos, HaveTheSizesThatTheirRulesGiveThem) {
  const std::map<std::string, Sizes> photos = {
      // To the end of the file. The previews in the cameras' files are no end.
      {"baseline.jpg", {{"KJPGFileType", 1510}}},
      {"restarts.jpg", {{"KJPGFileType", 1208}}},
      {"progressive.jpg", {{"KJPGFileType", 1424}}},
      {"both.jpg", {{"KJPGFileType", 2356}}},
      {"camera.jpg", {{"KExifJpgFileType", 2454}}},
      {"camera-progressive.jpg", {{"KExifJpgFileType", 2252}}},
      // To the end of the one strip, which stands at offset 8. The directory behind it is left out.
      {"little.tif", {{"KTifFileType", 8 + 2640}}},
      {"little-lzw.tif", {{"KTifFileType", 8 + 2908}}},
      {"convert.tif", {{"KTifFileType", 8 + 5844}}},
      // The same two numbers, turned round and so cut to the largest size.
      {"big.tif", {{"KTifFileType", 0x2000000}}},
      {"little-strips.tif", {{"KTifFileType", 0}}},
      {"big-strips.tif", {{"KTifFileType", 0}}},
      {"nikon.tif", {{"KNefFileType", 0}}},
      {"negative.tif", {{"KDngFileType", 0}}},
  };
  for (const auto& [name, sizes] : photos) {
    EXPECT_EQ(SizesOf(name, {0}), sizes) << name;
    EXPECT_EQ(SizesOf(name, {1}), sizes) << name;
    EXPECT_EQ(SizesOf(name, {3}), sizes) << name;
  }
  EXPECT_EQ(Read("both.jpg").size(), 2356U);
  EXPECT_EQ(Read("camera.jpg").size(), 2454U);
}

}  // namespace
}  // namespace qzmtraw::test
