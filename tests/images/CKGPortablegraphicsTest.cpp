#include <gtest/gtest.h>

#include "tests/support/Scanning.h"

namespace qzmtraw::test {
namespace {

const std::vector<const char*> kFaces = {"CKGPpmFileType", "CKGPbmFileType", "CKGPgmFileType"};

/// A hit, its start counted from the block's first sector.
struct FaceHit {
  std::string className;
  std::uint64_t index;
  std::int64_t size;
  bool operator==(const FaceHit&) const = default;
};
using FaceHits = std::vector<FaceHit>;

std::ostream& operator<<(std::ostream& out, const FaceHit& hit) {
  return out << "{" << hit.className << ", index " << hit.index << ", " << hit.size << " bytes}";
}

/// The first of some sector numbers that no block had yet, because a block that has been read isn't read again.
std::uint64_t UnusedSector() {
  static std::uint64_t next = 5000000;
  return next += 100;
}

void ScanFace(const char* className, const Device& device, FaceHits& hits) {
  for (const Hit& hit : Scan(*CreateDetector(std::string_view(className)), device)) {
    hits.push_back({className, hit.startSector - device.FirstSector(), static_cast<std::int64_t>(hit.size)});
  }
}

/// What all faces find in a block that holds these sectors.
FaceHits ScanSectors(const std::vector<std::string>& sectors, int sectorSize = 512) {
  const std::uint64_t first = UnusedSector();
  Device device(static_cast<int>(sectors.size()), sectorSize, first, 0);
  for (std::size_t i = 0; i < sectors.size(); ++i) device.Put(first + i, sectors[i]);
  FaceHits hits;
  for (const char* className : kFaces) ScanFace(className, device, hits);
  return hits;
}

FaceHits ScanMap(const std::string& sector) { return ScanSectors({sector}); }

/// The size of a graymap whose dimensions are read from this text behind the line of its dimensions.
FaceHits Graymap(std::int64_t size) { return {{"CKGPgmFileType", 0, size}}; }

TEST(CKGPortablegraphics, DimensionsAreReadFromBehindTheirLine) {
  // In front of a file's samples stands its largest value, here 255.
  EXPECT_EQ(ScanMap("P2\n640 480\n255\n7 9 "), Graymap(3 + 255 * 9 + 1));
}

TEST(CKGPortablegraphics, DigitTellsTheKindAndTheBytesOfAPoint) {
  const auto scan = [](const std::string& digit) { return ScanMap("P" + digit + "\n40 30\n20 10 x"); };
  for (const char* digit : {"0", "1"}) EXPECT_EQ(scan(digit), (FaceHits{{"CKGPbmFileType", 0, 3 + 2 * 200 + 1}}));
  for (const char* digit : {"2", "5"}) EXPECT_EQ(scan(digit), (FaceHits{{"CKGPgmFileType", 0, 3 + 200 + 1}}));
  for (const char* digit : {"3", "6"}) EXPECT_EQ(scan(digit), (FaceHits{{"CKGPpmFileType", 0, 3 + 3 * 200 + 1}}));
  for (const char* digit : {"4", "7", "/", "8", "A"}) EXPECT_EQ(scan(digit), FaceHits{}) << digit;
}

TEST(CKGPortablegraphics, CommentMovesTheLine) {
  const std::string comment = "P5\n# a comment\n";
  EXPECT_EQ(ScanMap(comment + "40 30\n20 10 x"), Graymap(static_cast<std::int64_t>(comment.size()) + 200 + 1));
  // A comment elsewhere is none, and neither is a second one.
  EXPECT_EQ(ScanMap("P5\n #\n20 10 x"), Graymap(3 + 200 + 1));
  EXPECT_EQ(ScanMap("P5\n#\n#\n20 10 x"), Graymap(5 + 200 + 1));
  EXPECT_EQ(ScanMap("P5\n\n20 10 x"), Graymap(3 + 200 + 1));
}

TEST(CKGPortablegraphics, WithoutLineEndTheWholeSectorIsTheText) {
  // The text begins with the P, which is no number.
  EXPECT_EQ(ScanMap("P5\n40 30 x"), Graymap(3 + 0 + 1));
  EXPECT_EQ(ScanMap("P5\n#40 30 x"), Graymap(0 + 0 + 1));
  EXPECT_EQ(ScanMap("P5\n#x\n40 30 x"), Graymap(6 + 0 + 1));
}

TEST(CKGPortablegraphics, LineEndsLieInTheSector) {
  // The line's end and all behind it stand in the next sector.
  EXPECT_EQ(ScanSectors({"P5\n4 5 678", "\n20 10 x"}, 10), Graymap(3 + 0 + 1));
  // A sector of three bytes has no line, and no blanks either.
  EXPECT_EQ(ScanSectors({"P5\n", "4 5", "\n20", " 10", " x "}, 3), FaceHits{});
  EXPECT_EQ(ScanSectors({"P5", "\n ", "4 "}, 2), FaceHits{});
}

TEST(CKGPortablegraphics, TwoBlanksMustStandInFrontOfAZeroByte) {
  EXPECT_EQ(ScanMap("P5\n40 30\n255\n"), FaceHits{});
  EXPECT_EQ(ScanMap("P5\n40 30\n20 10"), FaceHits{});
  EXPECT_EQ(ScanMap(Literal("P5\n40 30\n20\0 10 x")), FaceHits{});
  EXPECT_EQ(ScanMap(Literal("P5\n40 30\n20 1\0 x")), FaceHits{});
  EXPECT_EQ(ScanMap(Literal("P5\n40 30\n20 10 \0")), Graymap(3 + 200 + 1));
  // Other white space is no blank.
  EXPECT_EQ(ScanMap("P5\n40 30\n20\t10\n5\v\f\r"), FaceHits{});
}

TEST(CKGPortablegraphics, TextEndsWithItsSector) {
  const std::string text = "P5\n40 30\n20 10";
  const std::string blanks = "        ";
  EXPECT_EQ(ScanSectors({text, blanks}, static_cast<int>(text.size())), FaceHits{});
  EXPECT_EQ(ScanSectors({text + " ", blanks}, static_cast<int>(text.size() + 1)), Graymap(3 + 200 + 1));
}

TEST(CKGPortablegraphics, TwoBlanksDoNotFitIntoTheSmallestSectors) {
  EXPECT_EQ(ScanSectors({"P2\n1", " 1 1", " 1 1"}, 4), FaceHits{});
  for (const char* last : {"P2\n", "P/\n", "P2 ", "Q2\n"}) EXPECT_EQ(ScanSectors({"P2\n", " 1 ", last}, 3), FaceHits{});
}

TEST(CKGPortablegraphics, NumbersAreReadLikeThoseOfC) {
  const auto scan = [](const std::string& text) { return ScanMap("P5\n40 30\n" + text); };
  EXPECT_EQ(scan("\n\t\v\f\r20 10 "), Graymap(3 + 200 + 1));
  EXPECT_EQ(scan("20 \n\t10 "), Graymap(3 + 200 + 1));
  EXPECT_EQ(scan("+20 +10 "), Graymap(3 + 200 + 1));
  EXPECT_EQ(scan("-20 10 "), Graymap(3 - 200 + 1));
  EXPECT_EQ(scan("20x9 10x9 "), Graymap(3 + 200 + 1));
  EXPECT_EQ(scan("x20 10 "), Graymap(3 + 1));
  EXPECT_EQ(scan("+-20 10 "), Graymap(3 + 1));
  EXPECT_EQ(scan("4294967316 8589934602 "), Graymap(3 + 200 + 1));
}

TEST(CKGPortablegraphics, SecondNumberIsReadFromBehindTheFirstBlank) {
  // Two blanks in a row stand in front of it; it needn't end at the second blank.
  EXPECT_EQ(ScanMap("P5\n40 30\n20  10"), Graymap(3 + 200 + 1));
  EXPECT_EQ(ScanMap("P5\n40 30\n 20 10"), Graymap(3 + 0 + 1));
}

TEST(CKGPortablegraphics, SizeWrapsAt32BitsAndKeepsItsSign) {
  EXPECT_EQ(ScanMap("P5\n40 30\n65536 32767 "), Graymap(0x7FFF0000 + 4));
  EXPECT_EQ(ScanMap("P5\n40 30\n65536 32768 "), Graymap(-0x80000000LL + 4));
  EXPECT_EQ(ScanMap("P5\n40 30\n65536 65536 "), Graymap(4));
  EXPECT_EQ(ScanMap("P6\n40 30\n65536 21846 "), (FaceHits{{"CKGPpmFileType", 0, 0x20000 + 4}}));
}

TEST(CKGPortablegraphics, FacesAgreeInAnyOrderAndAskForTheBlockOnce) {
  const std::uint64_t first = UnusedSector();
  Device device(3, 512, first, 0);
  device.Put(first, "P5\n40 30\n20 10 ").Put(first + 1, "P6\n40 30\n20 10 ").Put(first + 2, "P1\n40 30\n20 10 ");
  const FaceHits expected = {
      {"CKGPgmFileType", 0, 204}, {"CKGPpmFileType", 1, 604}, {"CKGPbmFileType", 2, 404}, {"CKGPgmFileType", 0, 204}};
  FaceHits hits;
  for (const char* face : {"CKGPgmFileType", "CKGPpmFileType", "CKGPbmFileType", "CKGPgmFileType"}) {
    ScanFace(face, device, hits);
    // A block with the same start isn't read again.
    device.Put(first, Literal("\0"));
  }
  EXPECT_EQ(hits, expected);
}

TEST(CKGPortablegraphics, EveryMapOfABlockIsFoundInOrder) {
  const std::string map = "P5\n40 30\n20 10 ";
  EXPECT_EQ(ScanSectors({map, "x", map, map}),
            (FaceHits{{"CKGPgmFileType", 0, 204}, {"CKGPgmFileType", 2, 204}, {"CKGPgmFileType", 3, 204}}));
}

TEST(CKGPortablegraphics, FirstBlockAtSector0IsRead) {
  // No other test shows this classifier a block there.
  FaceHits hits;
  ScanFace("CKGPgmFileType", Device(1, 512, 0, 0).Put(0, "P5\n40 30\n20 10 "), hits);
  EXPECT_EQ(hits, Graymap(204));
}

TEST(CKGPortablegraphics, LimitOfTheHostIsIgnored) {
  const Detector detector = CreateDetector("CKGPgmFileType");
  detector->SetMaxFileSize(1);
  const std::uint64_t first = UnusedSector();
  EXPECT_EQ(Scan(*detector, Device(1, 512, first, 0).Put(first, "P5\n40 30\n20 10 ")), (Hits{{first, 204}}));
}

}  // namespace
}  // namespace qzmtraw::test
