// Bitmaps whose head tells their size: BMP files, cursors, icons, TGA and SGI files.

#include <gtest/gtest.h>

#include <optional>

#include "tests/support/Scanning.h"

namespace qzmtraw::test {
namespace {

constexpr std::uint64_t kFirst = Device::kFirstSector;

/// The hits of a head in the second sector of a device, behind a sector that ends with the word 0.
Hits ScanHead(std::string_view className, const std::string& head) {
  return ScanAnyCut(className, Device(4, 4096, kFirst - 1, 0).Put(kFirst, head));
}

struct SizeCase {
  const char* className;
  std::string head;
  std::optional<std::uint64_t> size;
};

void ExpectSizes(const std::vector<SizeCase>& cases) {
  for (std::size_t i = 0; i < cases.size(); ++i) {
    const Hits expected = cases[i].size ? Hits{{kFirst, *cases[i].size}} : Hits{};
    EXPECT_EQ(ScanHead(cases[i].className, cases[i].head), expected) << cases[i].className << " " << i;
  }
}

std::string Bmp(std::uint32_t size, std::uint32_t headerSize = 40) {
  return "BM" + LittleU32(size) + LittleU32(0) + LittleU32(54) + LittleU32(headerSize);
}

std::string Cursor(std::uint32_t size) { return Literal("\0\0\2\0\1\0\x20\x20\0\0\0\0\0\0") + LittleU32(size); }

/// A directory of images of 32 by 32 points.
std::string Icon(const std::vector<std::uint32_t>& sizes) {
  std::string directory = Literal("\0\0\1\0") + LittleU16(static_cast<std::uint16_t>(sizes.size()));
  for (const std::uint32_t size : sizes) {
    directory += Literal("\x20\x20\0\0\0\0\0\0") + LittleU32(size) + LittleU32(1000);
  }
  return directory;
}

std::string Tga(unsigned depth, unsigned width, unsigned height) {
  return Literal("\0\0\2\0\0\0\0\0\0\0\0\0") + LittleU16(static_cast<std::uint16_t>(width)) +
         LittleU16(static_cast<std::uint16_t>(height)) + LittleU16(static_cast<std::uint16_t>(depth));
}

/// The high bytes of the dimensions are 1, and don't count.
std::string Sgi(unsigned width, unsigned height, unsigned channels) {
  return Literal("\x01\xDA\0\1\0\3\1") + static_cast<char>(width) + "\1" + static_cast<char>(height) + Literal("\0") +
         static_cast<char>(channels);
}

TEST(BitmapSizes, BmpTellsItsSize) {
  constexpr std::uint64_t kLimit = 0x3200000;
  ExpectSizes({{"KBmpFileType", Bmp(0x12345), 0x12345},
               {"KBmpFileType", Bmp(0x12345, 12), std::nullopt},
               {"KBmpFileType", Bmp(255), std::nullopt},
               {"KBmpFileType", Bmp(256), 256},
               {"KBmpFileType", Bmp(kLimit), kLimit},
               {"KBmpFileType", Bmp(kLimit + 1), kLimit},
               {"KBmpFileType", Bmp(0x7FFFFFFF), kLimit},
               {"KBmpFileType", Bmp(0x80000000), std::nullopt}});
}

TEST(BitmapSizes, CursorIsItsImageAnd22Bytes) {
  ExpectSizes({{"KCurFileType", Cursor(70000), 70022},
               {"KCurFileType", Cursor(105), std::nullopt},
               {"KCurFileType", Cursor(106), 128},
               {"KCurFileType", Cursor(0x100000 - 22), 0x100000},
               {"KCurFileType", Cursor(0x100000 - 21), 0x100000},
               {"KCurFileType", Cursor(0x7FFFFFFF), std::nullopt},
               {"KCurFileType", Cursor(0xFFFFFFFF), std::nullopt}});
}

TEST(BitmapSizes, IconLeavesOutItsLastImage) {
  ExpectSizes({{"KIcoFileType", Icon({5000}), std::nullopt},
               {"KIcoFileType", Icon({5000, 300}), 5000 + 44},
               {"KIcoFileType", Icon({5000, 300, 7000}), 5300 + 66},
               {"KIcoFileType", Icon({300, 5000, 7}), 5300 + 66}});
}

TEST(BitmapSizes, IconAddsTheLowHalvesOfItsImagesSizes) {
  ExpectSizes({{"KIcoFileType", Icon({0x51234, 300}), 0x1234 + 44}});
  std::string head = Icon({5000, 300});
  head[22 + 8] = 1;
  // What stands beside a size doesn't count.
  ExpectSizes({{"KIcoFileType", head, 5044}});
}

TEST(BitmapSizes, IconIsReportedFrom128BytesOn) {
  ExpectSizes({{"KIcoFileType", Icon({83, 9}), std::nullopt},
               {"KIcoFileType", Icon({84, 9}), 128},
               {"KIcoFileType", Literal("\0\0\1\0\0\0\x20\x20"), std::nullopt},
               {"KIcoFileType", Literal("\0\0\1\0\x80\0") + std::string(2100, 1), std::nullopt}});
}

TEST(BitmapSizes, IconIsClipped) {
  // 127 entries of 0xFFFF bytes each.
  ExpectSizes({{"KIcoFileType", Icon(std::vector<std::uint32_t>(127, 0xFFFF)), 0x100000}});
  std::vector<std::uint32_t> sizes(17, 0xFFFF);
  sizes[3] -= 16 * 0xFFFF + 17 * 22 - 0x100000;
  ExpectSizes({{"KIcoFileType", Icon(sizes), 0x100000}});
  ++sizes[3];
  ExpectSizes({{"KIcoFileType", Icon(sizes), 0x100000}});
}

TEST(BitmapSizes, IconAddsTheTwoBytesInFrontOfItsSector) {
  const auto scan = [](Cut cut) {
    Device device(3, 512, kFirst, 0);
    device.Put(kFirst, Icon({9})).Put(kFirst, 509, "\1\x02\x03").Put(kFirst + 1, Icon({9}));
    return Scan(*CreateDetector("KIcoFileType"), device, cut);
  };
  EXPECT_EQ(scan({}), (Hits{{kFirst + 1, 0x0302 + 22}}));
  // In front of the block there is nothing.
  EXPECT_EQ(scan({1}), Hits{});
}

TEST(BitmapSizes, TgaIsThePlainPictureWithItsHead) {
  ExpectSizes({{"CKGTgaFileType", Tga(24, 1, 1), 3 + 18},
               {"CKGTgaFileType", Tga(32, 40, 30), 4800 + 18},
               {"CKGTgaFileType", Tga(16, 256, 512), 0x40000 + 18},
               {"CKGTgaFileType", Tga(16, 0xFFFF, 1), 0x1FFFE + 18},
               // The number of bits has no sign, and wraps.
               {"CKGTgaFileType", Tga(32, 0x8000, 0x1000), 0 + 18},
               {"CKGTgaFileType", Tga(24, 0x8000, 0x1000), (0xC0000000 >> 3) + 18},
               {"CKGTgaFileType", Tga(32, 0x8000, 0x1001), (0x100000 >> 3) + 18}});
}

TEST(BitmapSizes, TgaIsFoundInTheSmallestSectors) {
  for (const int sectorSize : {1, 2, 3}) {
    const std::uint64_t sector = kFirst + 12 / static_cast<std::uint64_t>(sectorSize);
    const Device device = Device(40, sectorSize).Put(sector, Tga(24, 3, 1).substr(0, 18));
    EXPECT_EQ(Scan(*CreateDetector("CKGTgaFileType"), device), (Hits{{sector, 9 + 18}})) << sectorSize;
  }
}

TEST(BitmapSizes, SgiDoublesTheLowBytesOfItsDimensions) {
  ExpectSizes({{"CKGSgiFileType", Sgi(1, 1, 1), 257 * 257 * 257 + 512},
               {"CKGSgiFileType", Sgi(0, 30, 3), 512},
               {"CKGSgiFileType", Sgi(2, 5, 3), std::uint64_t{30} * 257 * 257 * 257 + 512},
               // 40 * 30 * 3 * 257 to the third power wraps.
               {"CKGSgiFileType", Sgi(40, 30, 3), std::uint64_t{3600} * 257 * 257 * 257 % 0x100000000 + 512}});
}

TEST(BitmapSizes, LimitOfTheHostClipsWhereThereIsOne) {
  const auto scan = [](std::string_view className, const std::string& head, std::uint64_t limit) {
    const Detector detector = CreateDetector(className);
    detector->SetMaxFileSize(limit);
    return Scan(*detector, Device(4, 4096, kFirst - 1, 0).Put(kFirst, head));
  };
  EXPECT_EQ(scan("KBmpFileType", Bmp(5000), 5000), (Hits{{kFirst, 5000}}));
  EXPECT_EQ(scan("KBmpFileType", Bmp(5000), 4999), (Hits{{kFirst, 4999}}));
  EXPECT_EQ(scan("KCurFileType", Cursor(5000), 5021), (Hits{{kFirst, 5021}}));
  EXPECT_EQ(scan("KIcoFileType", Icon({5000, 9}), 5043), (Hits{{kFirst, 5043}}));
  EXPECT_EQ(scan("CKGTgaFileType", Tga(24, 40, 30), 100), (Hits{{kFirst, 3618}}));
  EXPECT_EQ(scan("CKGSgiFileType", Sgi(1, 1, 1), 100), (Hits{{kFirst, 257 * 257 * 257 + 512}}));
}

}  // namespace
}  // namespace qzmtraw::test
