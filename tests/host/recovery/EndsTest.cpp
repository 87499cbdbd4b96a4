#include <gtest/gtest.h>

#include <array>
#include <cerrno>
#include <cstdlib>

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
