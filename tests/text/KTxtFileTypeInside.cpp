#include <gtest/gtest.h>

#include "tests/support/Scanning.h"
#include "text/KTxtFileType.h"

namespace qzmtraw {
namespace {

using test::Hits;

/// What no face reaches: the classifier's texts, and its Reset.
class TextClassifier : public ::testing::Test {
 protected:
  /// Feeds one sector, and returns what was found of a kind.
  Hits Feed(std::uint64_t sector, std::string bytes, std::uint32_t kind = kPlainText, std::size_t sectorSize = 512) {
    bytes.resize(sectorSize);
    const RawSectorBlock block{sector, reinterpret_cast<std::uint8_t*>(bytes.data()), 1,
                               static_cast<std::int32_t>(sectorSize), nullptr};
    test::RecordingSink sink;
    classifier.Lookup(&block, &sink, kind);
    return sink.Found();
  }

  KTxtFileType classifier;
};

TEST_F(TextClassifier, HasTextsOfItsOwn) {
  char buffer[16] = {};
  classifier.GetDescription(buffer, sizeof buffer);
  EXPECT_STREQ(buffer, "text file");
  classifier.GetExtension(buffer, sizeof buffer);
  EXPECT_STREQ(buffer, "txt");
}

TEST_F(TextClassifier, StartsWithoutAKind) {
  EXPECT_EQ(Feed(0, "070707" + std::string(300, 'z')), Hits{});
  EXPECT_EQ(Feed(1, std::string(300, 'z')), (Hits{{1, 300}}));
}

TEST_F(TextClassifier, RemembersTheKindLeftBehindWhenSectorsGrow) {
  Feed(1, "Type=");
  Feed(2, "", kPlainText, 1 << 20);
  EXPECT_EQ(Feed(3, "070707" + std::string(300, 'z'), kVisualBasicProject), (Hits{{3, 306}}));
}

TEST_F(TextClassifier, TakesABlockAtTheLastSectorForRead) {
  EXPECT_EQ(Feed(~std::uint64_t{0}, std::string(300, 'z')), Hits{});
}

TEST_F(TextClassifier, ReportsUndecidedTextsToNoFace) {
  EXPECT_EQ(Feed(1, "/*" + std::string(300, 'z'), kUndecided), (Hits{{1, 302}}));
}

TEST_F(TextClassifier, ResetClosesTheTextAndPutsTheLimitBack) {
  classifier.SetMaxFileSize(400);
  Feed(1, std::string(512, 'z'));
  EXPECT_EQ(Feed(2, std::string("z")), (Hits{{1, 400}}));
  Feed(3, std::string(512, 'z'));
  classifier.Reset();
  EXPECT_EQ(Feed(4, std::string(1, '\0')), Hits{});
  EXPECT_EQ(Feed(5, std::string(500, 'z')), (Hits{{5, 500}}));
}

TEST_F(TextClassifier, ResetForgetsTheLastBlock) {
  EXPECT_EQ(Feed(1, std::string(300, 'z')), (Hits{{1, 300}}));
  classifier.Reset();
  EXPECT_EQ(Feed(1, std::string(301, 'z')), (Hits{{1, 301}}));
}

TEST_F(TextClassifier, ResetForgetsTheBytesOfADroppedText) {
  Feed(1, "/*" + std::string(510, 'z'));
  Feed(2, "z");
  classifier.Reset();
  EXPECT_EQ(Feed(3, std::string(300, 'z')), (Hits{{3, 300}}));
}

TEST_F(TextClassifier, ResetLeavesTheKindBehind) {
  Feed(1, "Type=");
  classifier.Reset();
  EXPECT_EQ(Feed(2, "070707" + std::string(300, 'z'), kVisualBasicProject), (Hits{{2, 306}}));
  Feed(3, "/*");
  classifier.Reset();
  EXPECT_EQ(Feed(4, std::string(300, 'z')), Hits{});
}

TEST_F(TextClassifier, ScansAfterAReset) {
  Feed(1, "z");
  classifier.Reset();
  classifier.Reset();
  EXPECT_EQ(Feed(2, std::string(300, 'z')), (Hits{{2, 300}}));
}

}  // namespace
}  // namespace qzmtraw
