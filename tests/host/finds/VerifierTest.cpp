#include <gtest/gtest.h>

#include <cerrno>

#include "host/finds/Verifier.h"
#include "tests/host/support/FakeSource.h"
#include "tests/host/support/Image.h"

namespace qzmtraw::host {
namespace {

TEST(VerifierTest, MimeTypesSpeakForOrAgainstExtensions) {
  EXPECT_EQ(VerdictOnMimeType("png", "image/png"), Verdict::kConfirmed);
  EXPECT_EQ(VerdictOnMimeType("docx", "application/zip"), Verdict::kConfirmed);
  EXPECT_EQ(VerdictOnMimeType("doc", "application/vnd.ms-office"), Verdict::kConfirmed);
  EXPECT_EQ(VerdictOnMimeType("png", "image/jpeg"), Verdict::kContradicted);
  for (const char* type : {"", "application/octet-stream", "text/plain", "text/x-c", "application/x-empty"}) {
    EXPECT_EQ(VerdictOnMimeType("png", type), Verdict::kUndecided) << type;
  }
  EXPECT_EQ(VerdictOnMimeType("never-heard-of", "image/png"), Verdict::kUndecided);
}

TEST(VerifierTest, EndMarksStandAtTheEnd) {
  EXPECT_EQ(EndMarkIn("jpg", BytesOf("....\xFF\xD9")), EndMark::kPresent);
  EXPECT_EQ(EndMarkIn("jpg", BytesOf("...\xFF\xD9.")), EndMark::kMissing);
  EXPECT_EQ(EndMarkIn("jpg", BytesOf("\xD9")), EndMark::kMissing);
  EXPECT_EQ(EndMarkIn("pdf", BytesOf("%%EOF\r\n  \n")), EndMark::kPresent);
  EXPECT_EQ(EndMarkIn("gif", BytesOf(".;")), EndMark::kPresent);
  EXPECT_EQ(EndMarkIn("7z", BytesOf("....")), EndMark::kNotKnown);
  const std::string end = "PK\x05\x06xxxxxxxxxxxxxxxxxx";
  EXPECT_EQ(EndMarkIn("docx", BytesOf(".." + end)), EndMark::kPresent);
  EXPECT_EQ(EndMarkIn("docx", BytesOf(".." + end + ".")), EndMark::kMissing);
}

/// A picture of 600 bytes at byte 512 of a device.
class LookTest : public ::testing::Test {
 protected:
  static Bytes Picture() {
    Bytes picture = BytesOf("\xFF\xD8\xFF\xE0");
    const Bytes rest = BytesOf(std::string_view("\0\x10JFIF\0\1\1", 9));
    picture.insert(picture.end(), rest.begin(), rest.end());
    picture.resize(600, 1);
    picture[598] = 0xFF;
    picture[599] = 0xD9;
    return picture;
  }

  FindRecord Look(std::uint64_t length, bool isEstimated = false) {
    Device device(source, 512);
    FindRecord record{{1, length, 69}, &type, {512, length, isEstimated, false}};
    record.confidence = Confidence::kFromHeader;
    Verifier(device).Look(record, {});
    return record;
  }

  FakeSource source{Image(8192).Put(512, Picture()).Content()};
  TypeInfo type = [] {
    TypeInfo jpeg;
    jpeg.extension = "jpg";
    return jpeg;
  }();
};

TEST_F(LookTest, AnEndThatIsThereRaisesTheConfidence) {
  const FindRecord record = Look(600);
  EXPECT_EQ(record.verdict, Verdict::kConfirmed);
  EXPECT_EQ(record.confidence, Confidence::kCheckedEnd);
  EXPECT_TRUE(record.notes.empty());
}

TEST_F(LookTest, AMissingEndLowersTheConfidence) {
  const FindRecord record = Look(610);
  EXPECT_EQ(record.confidence, Confidence::kStartOnly);
  EXPECT_EQ(record.notes, (std::vector<std::string>{kNoteNoEndMark}));
}

TEST_F(LookTest, TheEndOfAnEstimateSaysNothing) { EXPECT_EQ(Look(610, true).confidence, Confidence::kFromHeader); }

TEST_F(LookTest, OtherContentMakesAFindDoubtful) {
  type.extension = "pdf";
  const FindRecord record = Look(600);
  if (record.content.empty()) GTEST_SKIP() << "built without libmagic";
  EXPECT_EQ(record.content, "image/jpeg");
  EXPECT_EQ(record.verdict, Verdict::kContradicted);
  EXPECT_EQ(record.confidence, Confidence::kDoubtful);
}

TEST_F(LookTest, WhatCannotBeReadChangesNothing) {
  source.badOffsets = {600};
  source.error = EIO;
  const FindRecord record = Look(600);
  EXPECT_EQ(record.verdict, Verdict::kNotLooked);
  EXPECT_EQ(record.confidence, Confidence::kFromHeader);
}

}  // namespace
}  // namespace qzmtraw::host
