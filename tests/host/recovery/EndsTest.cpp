#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>
#include <string>
#include <utility>
#include <vector>

#include "host/recovery/ends/Ends.h"
#include "tests/host/support/FileOnDevice.h"

namespace qzmtraw::host {
namespace {

using End = std::optional<std::uint64_t>;

/// The end that a walk finds in `content` with something else behind it.
End EndIn(EndWalk walk, Bytes content, std::string_view behind = "something else") {
  while (content.size() % 2 != 0) content.push_back(0);
  Append(content, behind);
  content.resize(content.size() + 2000, 'x');
  FileOnDevice disk(content);
  return walk(disk.file);
}

/// What a shell command writes into the file $OUT of a folder that has files a, b and c of 1000, 513 and no bytes.
Bytes Made(const std::string& command) {
  const Workspace workspace;
  WriteFile(workspace / "a", Bytes(1000, 'a'));
  WriteFile(workspace / "b", Bytes(513, 'b'));
  WriteFile(workspace / "c", {});
  const std::string line = "cd " + workspace.Path().string() + " && OUT=out; " + command + " >/dev/null 2>&1";
  EXPECT_EQ(std::system(line.c_str()), 0) << command;
  return ReadFile(workspace / "out");
}

/// A TIFF directory's entry.
void AppendEntry(Bytes& bytes, unsigned tag, unsigned type, std::uint64_t count, std::uint64_t value) {
  Append(bytes, tag, 2);
  Append(bytes, type, 2);
  Append(bytes, count, 4);
  Append(bytes, value, 4);
}

/// A directory with one strip, and one below it with two, of which the second ends at `end`.
Bytes Tiff(std::uint64_t end) {
  Bytes tiff = BytesOf("II*");
  Append(tiff, 0, 1);
  Append(tiff, 8, 4);
  Append(tiff, 3, 2);
  AppendEntry(tiff, 0x111, 4, 1, 300);
  AppendEntry(tiff, 0x117, 3, 1, 20);
  AppendEntry(tiff, 0x14A, 4, 1, 100);
  Append(tiff, 0, 4);
  tiff.resize(100);
  Append(tiff, 2, 2);
  AppendEntry(tiff, 0x111, 4, 2, 140);
  AppendEntry(tiff, 0x117, 4, 2, 148);
  Append(tiff, 8, 4);
  tiff.resize(140);
  Append(tiff, 400, 4);
  Append(tiff, 600, 4);
  Append(tiff, 200, 4);
  Append(tiff, end - 600, 4);
  tiff.resize(900);
  return tiff;
}

TEST(EndsTest, ArchivesOfArEndBehindTheirLastMember) {
  for (const char* command : {"ar rc $OUT a", "ar rc $OUT a b", "ar rc $OUT b a c"}) {
    const Bytes archive = Made(command);
    EXPECT_EQ(EndIn(EndOfAr, archive), archive.size()) << command;
  }
  EXPECT_EQ(EndIn(EndOfAr, BytesOf("!<arch>\n")), std::nullopt);
  Bytes cut = Made("ar rc $OUT a");
  cut.resize(500);
  FileOnDevice disk(cut);
  EXPECT_EQ(EndOfAr(disk.file), 8U + 60 + 1000) << "goes on beyond the device";
}

TEST(EndsTest, ArchivesOfTarEndWithTheirLastRecord) {
  for (const char* command : {"tar -cf $OUT a b c", "tar --format=v7 -cf $OUT a", "tar -b 1 -cf $OUT b",
                              "tar --format=pax -cf $OUT a b", "ln a d; ln -s a e; mkdir f; tar -cf $OUT a d e f"}) {
    const Bytes archive = Made(command);
    EXPECT_EQ(EndIn(EndOfTar, archive), archive.size()) << command;
  }
  Bytes tar = Made("tar -cf $OUT a b");
  tar[1536] ^= 1;
  EXPECT_EQ(EndIn(EndOfTar, tar), std::nullopt) << "a member is missing";
  EXPECT_EQ(EndIn(EndOfTar, Bytes(10240)), std::nullopt) << "there is none";
}

TEST(EndsTest, RawPicturesEndBehindTheirLastStrip) {
  EXPECT_EQ(EndIn(EndOfTiff, Tiff(850)), 850U);
  EXPECT_EQ(EndIn(EndOfTiff, Tiff(601)), 601U);
  EXPECT_EQ(EndIn(EndOfTiff, Tiff(0x40000000)), std::nullopt) << "too large";
  Bytes none = Tiff(850);
  none[8] = 0;
  EXPECT_EQ(EndIn(EndOfTiff, none), std::nullopt);
  Bytes raf(84);
  for (const unsigned number : {148U, 300U, 448U, 52U, 500U, 200U}) Append(raf, number, 4, ByteOrder::kBig);
  EXPECT_EQ(EndIn(EndOfRaf, raf), 700U);
  EXPECT_EQ(EndIn(EndOfRaf, Bytes(200), ""), std::nullopt);
}

/// Files that other programs wrote, with something else behind them.
TEST(EndsTest, RealFilesEndWhereTheyDo) {
  const std::vector<std::pair<EndWalk, std::vector<const char*>>> files = {
      {EndOfGif, {"bitmaps/colour.gif", "bitmaps/magick.gif"}},
      {EndOfPng, {"bitmaps/colour.png", "bitmaps/magick.png"}},
      {EndOfIcon, {"bitmaps/one.ico", "bitmaps/two.ico"}},
      {EndOfSgi, {"bitmaps/colour.sgi", "bitmaps/magick.sgi"}},
      {EndOfTiff, {"photos/convert.tif", "photos/little.tif", "photos/big-strips.tif", "photos/little-lzw.tif"}},
      {EndOfElf, {"system/library64.so", "system/object64.o", "system/program32", "system/program64"}},
      {EndOfPe, {"system/library32.dll", "system/library64.dll", "system/program32.exe", "system/program64.exe"}},
      {EndOfType1Font, {"system/adobe.pfb", "system/sample.pfb"}},
      {EndOfTrueType, {"system/sample.ttf"}},
      {EndOfFlashVideo, {"media/clip.flv"}},
      {EndOfRegistryHive, {"system/sample.hiv"}},
      {EndOfMxf, {"media/picture.mxf"}},
      {EndOfGzip, {"archives/named.gz", "archives/unnamed.gz"}},
      {EndOfCompound, {"compound/text.doc", "compound/sheet.xls", "compound/slides.ppt", "compound/message.msg"}},
  };
  for (const auto& [walk, names] : files) {
    for (const std::string name : names) {
      const Bytes content = ReadFile(QZMTRAW_TEST_DATA "/" + name);
      EXPECT_EQ(EndIn(walk, content), content.size()) << name;
    }
  }
}

/// What a walk says of a real file of which one byte is another.
End EndWith(EndWalk walk, const char* name, std::size_t place, std::uint8_t byte) {
  Bytes content = ReadFile(std::string(QZMTRAW_TEST_DATA "/") + name);
  content.at(place) = byte;
  return EndIn(walk, content);
}

TEST(EndsTest, WhatIsDamagedHasNoEnd) {
  EXPECT_EQ(EndWith(EndOfGif, "bitmaps/colour.gif", 13 + 16 * 3, 0x22), std::nullopt) << "no block";
  EXPECT_EQ(EndWith(EndOfPng, "bitmaps/colour.png", 12, '1'), std::nullopt) << "no name of a chunk";
  EXPECT_EQ(EndWith(EndOfPng, "bitmaps/colour.png", 8, 0x20), std::nullopt) << "a chunk that is too large";
  EXPECT_EQ(EndWith(EndOfIcon, "bitmaps/one.ico", 18, 0), std::nullopt) << "an image inside of the directory";
  EXPECT_EQ(EndWith(EndOfIcon, "bitmaps/one.ico", 17, 0x7F), std::nullopt) << "an image that is too large";
  EXPECT_EQ(EndWith(EndOfElf, "system/program64", 0x2F, 1), std::nullopt) << "sections far away";
  EXPECT_EQ(EndWith(EndOfType1Font, "system/adobe.pfb", 1, 4), std::nullopt) << "no kind of a segment";
  EXPECT_EQ(EndWith(EndOfTrueType, "system/sample.ttf", 4, 2), std::nullopt) << "too many tables";
  EXPECT_EQ(EndWith(EndOfTrueType, "system/sample.ttf", 20, 0x7F), std::nullopt) << "a table far away";
  EXPECT_EQ(EndWith(EndOfFlashVideo, "media/clip.flv", 13, 7), std::nullopt) << "no kind of a tag";
  EXPECT_EQ(EndWith(EndOfSgi, "bitmaps/colour.sgi", 10, 0xFF), std::nullopt) << "too many rows";
}

TEST(EndsTest, PicturesOfSgiAreAsLargeAsTheirRows) {
  const auto picture = [](unsigned packed, unsigned channelSize, unsigned dimensions) {
    Bytes head = {1, 0xDA};
    Append(head, packed, 1);
    Append(head, channelSize, 1);
    for (const unsigned number : {dimensions, 10U, 20U, 3U}) Append(head, number, 2, ByteOrder::kBig);
    head.resize(512);
    return head;
  };
  EXPECT_EQ(EndIn(EndOfSgi, picture(0, 1, 3)), 512U + 600);
  EXPECT_EQ(EndIn(EndOfSgi, picture(0, 2, 3)), 512U + 1200);
  EXPECT_EQ(EndIn(EndOfSgi, picture(0, 1, 2)), 512U + 200);
  EXPECT_EQ(EndIn(EndOfSgi, picture(0, 1, 1)), 512U + 10);
  Bytes packed = picture(1, 1, 2);
  for (unsigned row = 0; row < 20; ++row) Append(packed, 700 + 5 * (19 - row), 4, ByteOrder::kBig);
  for (unsigned row = 0; row < 20; ++row) Append(packed, 5, 4, ByteOrder::kBig);
  EXPECT_EQ(EndIn(EndOfSgi, packed), 800U);
}

TEST(EndsTest, GzipFilesEndBehindTheirLastMember) {
  for (const char* command :
       {"gzip -c a >$OUT && true", "(gzip -c a; gzip -c b) >$OUT && true", "gzip -c c >$OUT && true",
        "head -c 3000000 /dev/urandom | gzip >$OUT && true", "head -c 30000000 /dev/zero | gzip >$OUT && true"}) {
    const Bytes file = Made(command);
    EXPECT_EQ(EndIn(EndOfGzip, file), file.size()) << command;
  }
  Bytes two = Made("gzip -n -c a >$OUT && true");
  ASSERT_LT(two.size(), 512U);
  // The name makes the first member end with a sector.
  Bytes first = {0x1F, 0x8B, 8, 8, 0, 0, 0, 0, 0, 0};
  first.resize(first.size() + 512 - two.size() - 1, 'n');
  first.push_back(0);
  first.insert(first.end(), two.begin() + 10, two.end());
  ASSERT_EQ(first.size(), 512U);
  first.insert(first.end(), two.begin(), two.end());
  EXPECT_EQ(EndIn(EndOfGzip, first), 512U) << "another file begins there";
  two[two.size() - 5] ^= 1;
  EXPECT_EQ(EndIn(EndOfGzip, two), std::nullopt) << "its sum is another";
  two.resize(two.size() - 8);
  EXPECT_EQ(EndIn(EndOfGzip, two, ""), std::nullopt) << "it was cut off";
  EXPECT_EQ(
      EndIn(EndOfGzip, Made("head -c 100000000 /dev/zero | gzip -1 >g && cat g g g g g g g g g g g >$OUT && true")),
      std::nullopt)
      << "more than a GiB isn't unpacked";
}

TEST(EndsTest, CompoundDocumentsEndBehindTheirLastSectorInUse) {
  // Two sectors of the table, of which the second one is free, and 200 sectors in use.
  const auto document = [](std::uint64_t tableCount) {
    Bytes bytes(30);
    Append(bytes, 9, 2);
    bytes.resize(44);
    Append(bytes, tableCount, 4);
    bytes.resize(76);
    for (std::uint32_t i = 0; i < 109; ++i) Append(bytes, i, 4);
    for (std::uint32_t i = 0; i < 100; ++i) Append(bytes, i + 1, 4);
    for (std::uint32_t i = 0; i < 28; ++i) Append(bytes, 0xFFFFFFFF, 4);
    bytes.resize(4 * 512, 0xFF);
    return bytes;
  };
  EXPECT_EQ(EndIn(EndOfCompound, document(1)), 101U * 512);
  EXPECT_EQ(EndIn(EndOfCompound, document(2)), 101U * 512);
  EXPECT_EQ(EndIn(EndOfCompound, document(0)), std::nullopt);
  EXPECT_EQ(EndIn(EndOfCompound, document(32769)), std::nullopt) << "more than 2 GiB";
  Bytes unused = document(2);
  std::fill(unused.begin() + 512, unused.end(), std::uint8_t{0xFF});
  EXPECT_EQ(EndIn(EndOfCompound, unused), std::nullopt);
  // A table of 110 sectors: the number of the last one stands in a sector of its own.
  Bytes large = document(110);
  Append(large, 0, 0);
  large[68] = 2;
  large.resize(4 * 512 + 512, 0xFF);
  std::fill(large.begin() + 3 * 512, large.begin() + 3 * 512 + 4, std::uint8_t{0});
  large[3 * 512] = 1;
  std::fill(large.begin() + 2 * 512, large.begin() + 3 * 512, std::uint8_t{0xFF});
  large[2 * 512] = 5;
  EXPECT_EQ(EndIn(EndOfCompound, large), (109U * 128 + 1 + 1) * 512);
  large[31] = 1;
  EXPECT_EQ(EndIn(EndOfCompound, large), std::nullopt) << "no size of a sector";
}

TEST(EndsTest, GifsMayHaveColoursForEachPicture) {
  Bytes gif = BytesOf("GIF89a");
  gif.insert(gif.end(), {1, 0, 1, 0, 0, 0, 0});
  Append(gif,
         "!\xFE\x03"
         "abc\x02"
         "de");
  gif.push_back(0);
  gif.insert(gif.end(), {0x2C, 0, 0, 0, 0, 1, 0, 1, 0, 0x81});
  gif.resize(gif.size() + 12, 0x3B);
  gif.insert(gif.end(), {2, 1, 0x44, 0, 0x3B});
  EXPECT_EQ(EndIn(EndOfGif, gif), gif.size());
}

TEST(EndsTest, FilesOfTheSystemEndWhereTheySay) {
  Bytes hive = BytesOf("regf");
  hive.resize(40);
  Append(hive, 0x3000, 4);
  EXPECT_EQ(EndIn(EndOfRegistryHive, hive), 0x4000U);
  hive[40] = 1;
  EXPECT_EQ(EndIn(EndOfRegistryHive, hive), std::nullopt);

  Bytes database = BytesOf(
      "Microsoft C/C++ MSF 7.00\r\n\x1A"
      "DS");
  database.resize(32);
  Append(database, 4096, 4);
  Append(database, 1, 4);
  Append(database, 25, 4);
  EXPECT_EQ(EndIn(EndOfProgramDatabase, database), 25U * 4096);
  database[33] = 3;
  EXPECT_EQ(EndIn(EndOfProgramDatabase, database), std::nullopt);
}

TEST(EndsTest, ShortcutsEndBehindTheirLastBlock) {
  Bytes shortcut = {0x4C};
  shortcut.resize(20);
  // A list, a link's info, a name and arguments, in two bytes a character.
  Append(shortcut, 0x01 | 0x02 | 0x04 | 0x20 | 0x80, 4);
  shortcut.resize(76);
  Append(shortcut, 10, 2);
  shortcut.resize(shortcut.size() + 10, 'l');
  Append(shortcut, 30, 4);
  shortcut.resize(shortcut.size() + 26, 'i');
  for (int i = 0; i < 2; ++i) {
    Append(shortcut, 3, 2);
    Append(shortcut, "n.a.m.");
  }
  Append(shortcut, 20, 4);
  shortcut.resize(shortcut.size() + 16, 'b');
  Append(shortcut, 0, 4);
  ASSERT_EQ(shortcut.size() % 2, 0U);
  EXPECT_EQ(EndIn(EndOfShortcut, shortcut), shortcut.size());
}

TEST(EndsTest, WindowsModulesEndBehindSymbolsAndCertificates) {
  // A head of 64 bytes, and one section of 200 bytes at 600.
  const auto module = [](bool isLong, std::uint64_t symbols, std::uint64_t certificates) {
    Bytes bytes(60);
    Append(bytes, 64, 4);
    Append(bytes, std::string_view("PE\0\0", 4));
    Append(bytes, 0, 2);
    Append(bytes, 1, 2);
    Append(bytes, 0, 4);
    Append(bytes, symbols, 4);
    Append(bytes, 3, 4);
    Append(bytes, isLong ? 240 : 224, 2);
    Append(bytes, 0, 2);
    Append(bytes, isLong ? 0x20B : 0x10B, 2);
    bytes.resize(64 + 24 + (isLong ? 112 : 96) + 4 * 8);
    Append(bytes, certificates, 4);
    Append(bytes, certificates == 0 ? 0 : 70, 4);
    bytes.resize(64 + 24 + (isLong ? 240 : 224) + 16);
    Append(bytes, 200, 4);
    Append(bytes, 600, 4);
    bytes.resize(1000);
    Append(bytes, 0, 3 * 18);
    Append(bytes, 20, 4);
    bytes.resize(1500);
    return bytes;
  };
  for (const bool isLong : {false, true}) {
    EXPECT_EQ(EndIn(EndOfPe, module(isLong, 0, 0)), 800U);
    EXPECT_EQ(EndIn(EndOfPe, module(isLong, 1000, 0)), 1074U);
    EXPECT_EQ(EndIn(EndOfPe, module(isLong, 1000, 1200)), 1270U);
    EXPECT_EQ(EndIn(EndOfPe, module(isLong, 0, 1200)), 1270U);
    EXPECT_EQ(EndIn(EndOfPe, module(isLong, 0, 100000)), std::nullopt) << "behind the device's end";
  }
  Bytes other = module(false, 0, 0);
  other[64] = 'N';
  EXPECT_EQ(EndIn(EndOfPe, other), std::nullopt);
}

TEST(EndsTest, ResourcesEndBehindTheLast) {
  Bytes resources;
  for (const unsigned size : {0U, 5U, 8U}) {
    Append(resources, size, 4);
    Append(resources, 32, 4);
    resources.resize(resources.size() + 24 + (size + 3) / 4 * 4);
  }
  EXPECT_EQ(EndIn(EndOfResources, resources), resources.size());
  resources.resize(32);
  EXPECT_EQ(EndIn(EndOfResources, resources), std::nullopt);
}

TEST(EndsTest, FilmsEndBehindTheirLastPart) {
  Bytes mxf;
  for (const std::string_view length : {std::string_view("\x05"), std::string_view("\x83\x00\x01\x2C", 4)}) {
    Append(mxf,
           "\x06\x0E\x2B\x34"
           "123456789012");
    Append(mxf, length);
    mxf.resize(mxf.size() + (length.size() == 1 ? 5 : 300), 'm');
  }
  EXPECT_EQ(EndIn(EndOfMxf, mxf), mxf.size());
  EXPECT_EQ(EndIn(EndOfMxf, BytesOf("nothing of the kind")), std::nullopt);
  Bytes movie = BytesOf("XFIR");
  Append(movie, 1000, 4);
  EXPECT_EQ(EndIn(EndOfDirectorMovie, movie), 1008U);
}

TEST(EndsTest, WalksEndWhateverIsThere) {
  for (const std::uint8_t byte : {std::uint8_t{0}, std::uint8_t{1}, std::uint8_t{0x20}, std::uint8_t{0xFF}}) {
    for (int row = 0; row < 320; ++row) {
      const EndWalk walk = EndWalkFor(row);
      if (walk == nullptr) continue;
      FileOnDevice disk(Bytes(5000, byte));
      walk(disk.file);
      FileOnDevice empty{Bytes()};
      EXPECT_EQ(walk(empty.file), std::nullopt);
    }
  }
}

TEST(EndsTest, AReaderGivesUpAfterSoManyPieces) {
  FakeSource source(Bytes(100 * 512, 7));
  Device device(source, 512);
  ByteReader file(device, 0, 100 * 512, 512, 3);
  EXPECT_EQ(file.Number<4>(510), 0x07070707U) << "in two pieces";
  EXPECT_EQ(file.Number<1>(600), 7U);
  EXPECT_EQ(file.Number<1>(1024), 7U);
  EXPECT_EQ(file.Number<1>(0), std::nullopt);
  ByteReader part(device, 98, 1000, 512, 10);
  EXPECT_EQ(part.Part(990, 100).size(), 10U);
  EXPECT_FALSE(part.Number<1>(1000));
  EXPECT_FALSE(part.Number<8>(UINT64_MAX - 3));
}

TEST(EndsTest, AReaderReadsNothingBehindItsStretch) {
  FakeSource source(Bytes(100 * 512, 7));
  source.badOffsets = {10 * 512};
  source.error = EIO;
  Device device(source, 512);
  ByteReader file(device, 8, 700, 4096, 3);
  EXPECT_EQ(file.Part(600, 200), Bytes(100, 7));
  EXPECT_EQ(device.Unreadable().Count(), 0U);
}

}  // namespace
}  // namespace qzmtraw::host
