// Pictures that programs wrote, each with the size that its detector gives it. tests/data/make_bitmaps.sh makes them.

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <optional>
#include <stdexcept>

#include "tests/support/Scanning.h"

namespace qzmtraw::test {
namespace {

std::string Read(const std::string& name) {
  std::ifstream file(std::filesystem::path(QZMTRAW_TEST_DATA) / "bitmaps" / name, std::ios::binary);
  if (!file) throw std::runtime_error("no file " + name);
  return {std::istreambuf_iterator<char>(file), {}};
}

constexpr std::uint64_t kWholeFile = ~std::uint64_t{0};

struct FileCase {
  const char* name;
  const char* className;
  std::optional<std::uint64_t> size;
};

TEST(BitmapFiles, HaveTheirSizes) {
  // The images of an icon but the last one: 3240 bytes of 32 by 32 points in 24 bits.
  constexpr std::uint64_t kTwoIcons = 2 * 22 + 3240;
  // 40 by 30 points in 24 bits, and the head.
  constexpr std::uint64_t kPlainTga = 40 * 30 * 3 + 18;
  // 40 by 30 points of three channels, each number doubled and the product wrapped.
  constexpr std::uint64_t kSgi = (std::uint64_t{40 * 257} * (30 * 257) * (3 * 257)) % 0x100000000 + 512;
  const std::vector<FileCase> cases = {
      {"colour.png", "KPngFileType", kWholeFile},
      {"magick.png", "KPngFileType", kWholeFile},
      {"colour.gif", "KGIFFileType", 0},
      {"magick.gif", "KGIFFileType", 0},
      {"info.bmp", "KBmpFileType", kWholeFile},
      {"v5.bmp", "KBmpFileType", kWholeFile},
      {"os2.bmp", "KBmpFileType", std::nullopt},
      {"one.cur", "KCurFileType", kWholeFile},
      {"one.ico", "KIcoFileType", std::nullopt},
      {"two.ico", "KIcoFileType", kTwoIcons},
      {"colour.tga", "CKGTgaFileType", kPlainTga},
      {"rle.tga", "CKGTgaFileType", kPlainTga},
      {"magick.tga", "CKGTgaFileType", kPlainTga},
      {"colour.sgi", "CKGSgiFileType", kSgi},
      {"magick.sgi", "CKGSgiFileType", kSgi},
      {"colour.xpm", "CKGXpmFileType", kWholeFile},
      {"magick.xpm", "CKGXpmFileType", kWholeFile},
      {"rle.psd", "KPSDFileType", kWholeFile},
      {"gimp.psd", "KPSDFileType", kWholeFile},
      {"raw.psd", "KPSDFileType", std::nullopt},
      {"colour.xcf", "KXCFFileType", 0},
      // The line behind the dimensions holds the largest value, which is followed by the first samples.
      {"plain.pgm", "CKGPgmFileType", 3 + 255 * 6 + 1},
      {"plain.ppm", "CKGPpmFileType", 3 + 3 * 255 * 4 + 1},
      {"magick.pbm", "CKGPbmFileType", 3 + 2 * 1 * 1 + 1},
      {"plain.pbm", "CKGPbmFileType", std::nullopt},
      {"grey.pgm", "CKGPgmFileType", std::nullopt},
      {"commented.pgm", "CKGPgmFileType", std::nullopt},
      {"colour.ppm", "CKGPpmFileType", std::nullopt},
      {"packed.pbm", "CKGPbmFileType", std::nullopt},
  };
  // The GIF walk begins at the head only where the block begins at sector 512; no classifier sees a block twice.
  for (const FileCase& file : cases) {
    static std::uint64_t unused = 300000;
    const std::uint64_t first = std::string_view(file.className) == "KGIFFileType" ? 512 : unused += 1000;
    const std::string bytes = Read(file.name);
    const Device device = Device(60, 512, first, 0).Put(first + 3, bytes);
    const std::uint64_t size = file.size == kWholeFile ? bytes.size() : file.size.value_or(0);
    EXPECT_EQ(Scan(*CreateDetector(std::string_view(file.className)), device),
              file.size ? (Hits{{first + 3, size}}) : Hits{})
        << file.name;
  }
}

TEST(BitmapFiles, PcxWithoutItsTailRunsToTheNextOne) {
  const std::string file = Read("colour.pcx");
  const Device device = Device(60, 512, 1000, 0).Put(1003, file).Put(1020, file);
  EXPECT_EQ(ScanAnyCut("KPCXFileType", device), (Hits{{1003, 17 * 512}}));
}

}  // namespace
}  // namespace qzmtraw::test
