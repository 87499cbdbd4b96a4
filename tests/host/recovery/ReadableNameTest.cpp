#include <gtest/gtest.h>

#include "host/recovery/CopyNames.h"
#include "host/recovery/names/ReadableName.h"
#include "host/recovery/names/Titles.h"
#include "tests/host/support/TitledFiles.h"

namespace qzmtraw::host {
namespace {

std::string NameOf(const Bytes& content) {
  FileOnDevice disk(content);
  ByteReader file(disk.device, 0, content.size(), kTitlePieceSize, kMostTitlePieces);
  std::string name = ReadableName(file);
  EXPECT_TRUE(name.empty() || MayHaveReadableName(content)) << name;
  return name;
}

Bytes Pdf(const std::string& info) {
  return BytesOf("%PDF-1.4\n1 0 obj <</Title (Chapter)>> endobj\n" + info + "\ntrailer <</Info 2 0 R>>\n%%EOF\n");
}

/// \param title  With its encoding in front.
Bytes Mp3(const Bytes& title, int version = 3) {
  Bytes tag = BytesOf("ID3");
  Append(tag, static_cast<std::uint64_t>(version), 2);
  Append(tag, 0, 1);
  Append(tag, 200, 4, ByteOrder::kBig);
  tag[8] = 1;
  tag[9] = 72;
  Append(tag, "TPE1");
  Append(tag, 4, 4, ByteOrder::kBig);
  Append(tag, 0, 3);
  Append(tag, "Who");
  Append(tag, "TIT2");
  Append(tag, title.size(), 4, ByteOrder::kBig);
  Append(tag, 0, 2);
  tag.insert(tag.end(), title.begin(), title.end());
  tag.resize(500);
  return tag;
}

void AppendComments(Bytes& bytes, const std::vector<std::string>& comments) {
  Append(bytes, 3, 4);
  Append(bytes, "me!");
  Append(bytes, comments.size(), 4);
  for (const std::string& comment : comments) {
    Append(bytes, comment.size(), 4);
    Append(bytes, comment);
  }
}

Bytes Ogg() {
  Bytes ogg = BytesOf("OggS something \x03vorbis");
  AppendComments(ogg, {"ARTIST=Who", "title=Some song"});
  return ogg;
}

Bytes Flac() {
  Bytes flac = BytesOf("fLaC");
  Append(flac, 0x22000000, 4);
  flac[4] = 0;
  flac[7] = 34;
  flac.resize(8 + 34);
  Append(flac, 0x84, 1);
  Append(flac, 0, 3);
  AppendComments(flac, {"TITLE=Other song"});
  return flac;
}

/// A picture of which EXIF is the whole.
Bytes Tiff() {
  const Bytes jpeg = DatedJpeg();
  return {jpeg.begin() + 12, jpeg.end() - 2};
}

TEST(ReadableNameTest, PicturesHaveTheDateOnWhichTheyWereTaken) {
  EXPECT_EQ(NameOf(DatedJpeg()), "2004-02-29_12-30-00");
  Bytes behind = DatedJpeg();
  const Bytes other = {0xFF, 0xE0, 0, 4, 0, 0};
  behind.insert(behind.begin() + 2, other.begin(), other.end());
  EXPECT_EQ(NameOf(behind), "2004-02-29_12-30-00") << "behind another segment";
  EXPECT_EQ(NameOf(Tiff()), "2004-02-29_12-30-00");
  EXPECT_EQ(NameOf(DatedJpeg("0000:00:00 00:00:00")), "");
  EXPECT_EQ(NameOf(DatedJpeg("../../../../etc/pas")), "");
}

TEST(ReadableNameTest, DocumentsHaveTheirTitles) {
  EXPECT_EQ(NameOf(StoredZip("docProps/core.xml", TitlePart("My report"))), "My-report");
  EXPECT_EQ(NameOf(StoredZip("meta.xml", TitlePart("../evil&#47;name"))), "evil-name");
  EXPECT_EQ(NameOf(StoredZip("other.xml", TitlePart("My report"))), "");
  EXPECT_EQ(NameOf(StoredZip("meta.xml", TitlePart(std::string(200, 'x')))), std::string(60, 'x'));
}

TEST(ReadableNameTest, XmlThatDeclaresThingsIsLeftAlone) {
  const std::string bomb = R"(<!DOCTYPE a [<!ENTITY b "bbbb">]>)" + TitlePart("&b;").substr(21);
  EXPECT_EQ(XmlTitle(BytesOf(TitlePart("fine"))), "fine");
  EXPECT_EQ(XmlTitle(BytesOf(bomb)), "");
  EXPECT_EQ(XmlTitle(BytesOf("<dc:title>")), "");
  EXPECT_EQ(XmlTitle({}), "");
}

TEST(ReadableNameTest, PdfsHaveTheirTitles) {
  EXPECT_EQ(NameOf(Pdf("2 0 obj <</Producer (p) /Title (A \\(good\\)\\040one)>> endobj")), "A-good-one");
  EXPECT_EQ(NameOf(Pdf("2 0 obj <</Title <FEFF00480069> /Creator (c)>> endobj")), "Hi");
  EXPECT_EQ(NameOf(Pdf("2 0 obj <</Subject (s)>> endobj")), "") << "a chapter's";
  EXPECT_EQ(NameOf(Pdf("2 0 obj <</Producer (p) /Title (x)>> endobj /Encrypt 3 0 R")), "");
  EXPECT_EQ(NameOf(Pdf("2 0 obj <</Producer (p) /Title (never ends")), "");
}

TEST(ReadableNameTest, MusicHasItsTitle) {
  EXPECT_EQ(NameOf(Mp3(BytesOf(std::string("\0Song 1", 7)))), "Song-1");
  EXPECT_EQ(NameOf(Mp3(BytesOf(std::string("\1\xFF\xFES\0o\0", 7)), 4)), "So");
  EXPECT_EQ(NameOf(Mp3(BytesOf(std::string("\3Song 3", 7)), 4)), "Song-3");
  EXPECT_EQ(NameOf(Ogg()), "Some-song");
  EXPECT_EQ(NameOf(Flac()), "Other-song");
}

TEST(ReadableNameTest, OtherFilesHaveNone) {
  EXPECT_EQ(NameOf({}), "");
  EXPECT_EQ(NameOf(BytesOf("GIF89a")), "");
  EXPECT_FALSE(MayHaveReadableName({}));
  EXPECT_FALSE(MayHaveReadableName(BytesOf("GIF89a")));
  EXPECT_FALSE(MayHaveReadableName(BytesOf("%PDF")));
  EXPECT_TRUE(MayHaveReadableName(BytesOf("%PDF-")));
}

TEST(ReadableNameTest, FilesMayBeCutOffOrChangedAnywhere) {
  for (const Bytes& whole :
       {DatedJpeg(), Tiff(), StoredZip("docProps/core.xml", TitlePart("My report")),
        Pdf("2 0 obj <</Producer (p) /Title (x\\1)>> endobj"), Mp3(BytesOf("\3Song 3")), Ogg(), Flac()}) {
    for (std::size_t size = 0; size < whole.size(); ++size) {
      NameOf({whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size)});
      for (const std::uint8_t value : {std::uint8_t{0}, std::uint8_t{0x7F}, std::uint8_t{0xFF}}) {
        Bytes changed = whole;
        changed[size] = value;
        EXPECT_LE(NameOf(changed).size(), kMostReadableBytes);
      }
    }
  }
}

TEST(ReadableNameTest, Utf16IsTakenAsItIs) {
  EXPECT_EQ(
      Utf16ToUtf8(BytesOf(std::string("\x41\x00\xE4\x00\xAC\x20\x3D\xD8\x00\xDE\x00\xD8", 12)), ByteOrder::kLittle),
      "A\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80?");
}

}  // namespace
}  // namespace qzmtraw::host
