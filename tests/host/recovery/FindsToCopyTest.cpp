#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "host/recovery/FindsToCopy.h"
#include "host/types/Registry.h"
#include "tests/host/support/FakeSource.h"
#include "tests/host/support/Image.h"

namespace qzmtraw::host {
namespace {

/// A device with a GIF at sector 1, a GIF without an end at 10, a TrueType font at 20, a file of gzip at 30, and a Word
/// document at 40.
class FindsToCopyTest : public ::testing::Test {
 protected:
  FindsToCopyTest() {
    for (const Find& find : {Find{1, 5000, 70}, Find{10, 5000, 70}, Find{20, 100, 318}, Find{30, 60, 148}})
      finds.Add(find);
  }

  /// \param wordSize  What the detector tells of the document.
  void SortWith(std::uint64_t wordSize) {
    finds.Add({40, wordSize, 0});
    finds.Sort();
  }

  static Bytes FileNamed(const std::string& name) { return ReadFile(QZMTRAW_TEST_DATA "/" + name); }

  static const TypeCatalogue& Catalogue() {
    static const TypeCatalogue kCatalogue = ReadTypeCatalogue(OpenRegistry());
    return kCatalogue;
  }

  std::vector<FindRecord> Records(JudgedFinds::Listing listing = JudgedFinds::Listing::kJudged) {
    FindsToCopy next(finds, judge, listing, device, ends);
    std::vector<FindRecord> records;
    while (const auto record = next.Next()) records.push_back(*record);
    return records;
  }

  Bytes gif = FileNamed("bitmaps/colour.gif");
  Bytes font = FileNamed("system/sample.ttf");
  Bytes gzip = FileNamed("archives/named.gz");
  Bytes word = FileNamed("compound/text.doc");
  FakeSource source{Image(std::size_t{200} * 512)
                        .Put(512, gif)
                        .Put(std::size_t{10} * 512, Bytes(gif.begin(), gif.begin() + 100))
                        .Put(std::size_t{20} * 512, font)
                        .Put(std::size_t{30} * 512, gzip)
                        .Put(std::size_t{40} * 512, word)
                        .Content()};
  Device device{source, 512};
  FindStore finds{0};
  FindJudge judge{Catalogue(), source.Size(), 512};
  WalkedEnds ends;
};

TEST_F(FindsToCopyTest, EndsAreLookedForWhereSizesAreNotToBeReliedOn) {
  SortWith(word.size() + 7168);
  const std::vector<FindRecord> records = Records();
  ASSERT_EQ(records.size(), 5U);
  EXPECT_EQ(records[0].find, (Find{1, gif.size(), 70}));
  EXPECT_EQ(records[0].plan.length, gif.size());
  EXPECT_FALSE(records[0].plan.isEstimated);
  EXPECT_EQ(records[0].confidence, Confidence::kFromHeader);
  EXPECT_EQ(records[0].notes, std::vector<std::string>{});
  EXPECT_EQ(records[1].find, (Find{10, 5000, 70}));
  EXPECT_EQ(records[1].plan.length, 5000U);
  EXPECT_TRUE(records[1].plan.isEstimated);
  EXPECT_EQ(records[2].find, (Find{20, font.size(), 318}));
  EXPECT_EQ(records[2].plan.length, font.size());
  EXPECT_EQ(records[3].find, (Find{30, gzip.size(), 148}));
  EXPECT_EQ(records[3].plan.length, gzip.size());
  EXPECT_EQ(records[3].confidence, Confidence::kFromHeader);
  EXPECT_EQ(records[4].find, (Find{40, word.size(), 0}));
  EXPECT_EQ(records[4].plan.length, word.size());
}

TEST_F(FindsToCopyTest, WhatIsListedAsItWasToldStaysSo) {
  finds.Add({50, 0, 70});
  SortWith(word.size() + 7168);
  const std::vector<FindRecord> records = Records(JudgedFinds::Listing::kAll);
  ASSERT_EQ(records.size(), 6U);
  EXPECT_EQ(records[0].plan.length, 5000U);
  EXPECT_EQ(records[3].plan.length, 60U);
  EXPECT_EQ(records[4].plan.length, word.size() + 7168);
  EXPECT_EQ(ends.size(), 1U) << "but an end that wasn't told is looked for";
}

TEST_F(FindsToCopyTest, AnEndFarBeforeTheToldOneIsNone) {
  SortWith(word.size() + 65537);
  EXPECT_EQ(Records()[4].find.size, word.size() + 65537);
  EXPECT_EQ(Records()[4].plan.length, word.size() + 65537);
}

TEST_F(FindsToCopyTest, OfFilesInsideOfOthersSizesStayAsTheyAre) {
  finds.Add({39, 30001, 143});
  SortWith(word.size() + 100);
  const std::vector<FindRecord> records = Records();
  ASSERT_TRUE(records[5].embeddedIn);
  EXPECT_EQ(records[5].find.size, word.size() + 100);
}

TEST_F(FindsToCopyTest, NoEndIsLookedForTwice) {
  SortWith(word.size());
  const std::vector<FindRecord> first = Records();
  const int readCount = source.readCount;
  EXPECT_GT(readCount, 0);
  const std::vector<FindRecord> second = Records();
  EXPECT_EQ(source.readCount, readCount);
  ASSERT_EQ(second.size(), first.size());
  for (std::size_t i = 0; i < first.size(); ++i) {
    EXPECT_EQ(second[i].find, first[i].find);
    EXPECT_EQ(second[i].plan.length, first[i].plan.length);
  }
  ends.resize(1);
  EXPECT_EQ(Records()[2].find, first[2].find) << "those that weren't come to are looked for";
  EXPECT_GT(source.readCount, readCount);
}

}  // namespace
}  // namespace qzmtraw::host
