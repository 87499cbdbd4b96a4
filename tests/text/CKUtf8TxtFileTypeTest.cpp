#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <random>

#include "tests/text/Faces.h"

namespace qzmtraw::test {
namespace {

const std::string kText = "CKNewUTF8FileType";
const std::string kCSharp = "CKCsharpFileType";
const std::string kBasic = "CKVBFileType";
const std::string kAspNet = "CKAspxFileType";
const std::string kSolution = "CKSlnFileType";
const std::string kMark = "\xEF\xBB\xBF";

class Utf8Text : public ::testing::Test {
 protected:
  FaceHits FeedAnyCut(const std::vector<std::string>& pieces, std::size_t sectorSize = 512) {
    return faces.FeedAnyCut(Sectors(pieces, sectorSize), sectorSize);
  }

  /// The face that reports a text with this string behind the mark, or nothing.
  std::string KindOf(const std::string& text) {
    const FaceHits hits = FeedAnyCut({kMark + text});
    if (hits.empty()) return "";
    EXPECT_EQ(hits, (FaceHits{{0, hits.front().className, kMark.size() + text.size()}}));
    return hits.front().className;
  }

  Faces faces{kUtf8Faces};
};

std::string At(std::size_t offset, const std::string& text) { return std::string(offset, 'z') + text; }

TEST_F(Utf8Text, GoesOnToAZeroByteAndCountsItsMark) {
  EXPECT_EQ(FeedAnyCut({kMark + "abc"}), (FaceHits{{0, kText, 6}}));
  EXPECT_EQ(FeedAnyCut({Literal("\0"), kMark + std::string(2000, '\xFF')}), (FaceHits{{1, kText, 2003}}));
}

TEST_F(Utf8Text, TextOf6BytesIsKeptOneOf5IsDropped) {
  EXPECT_EQ(FeedAnyCut({kMark + "abc"}), (FaceHits{{0, kText, 6}}));
  EXPECT_EQ(FeedAnyCut({kMark + "ab"}), FaceHits{});
  EXPECT_EQ(FeedAnyCut({kMark}), FaceHits{});
}

TEST_F(Utf8Text, DroppedTextLeavesNothing) {
  EXPECT_EQ(FeedAnyCut({kMark + "ab", kMark + "abc"}), (FaceHits{{1, kText, 6}}));
}

TEST_F(Utf8Text, OneThatFillsItsSectorGoesOn) {
  EXPECT_EQ(FeedAnyCut({kMark + At(509, "")}), FaceHits{});
  EXPECT_EQ(FeedAnyCut({kMark + At(509, ""), Literal("\0")}), (FaceHits{{0, kText, 512}}));
}

TEST_F(Utf8Text, IsNotCut) {
  EXPECT_EQ(FeedAnyCut({kMark + std::string(200000, 'a')}), (FaceHits{{0, kText, 200003}}));
}

TEST_F(Utf8Text, NeedsSectorsOf51Bytes) {
  EXPECT_EQ(FeedAnyCut({kMark + At(60, Literal("\0"))}, 51), (FaceHits{{0, kText, 63}}));
  EXPECT_EQ(FeedAnyCut({kMark + At(60, Literal("\0"))}, 50), FaceHits{});
}

TEST_F(Utf8Text, OtherMarksAreNoHead) {
  EXPECT_EQ(FeedAnyCut({"\xEF\xBB\xBE"
                        "abcdef",
                        "\xEF\xBB", "abcdef",
                        "\xFF\xFE"
                        "abcdef"}),
            FaceHits{});
}

TEST_F(Utf8Text, NewHeadGivesTheTextBeforeItsOwnKindWhateverItsSize) {
  EXPECT_EQ(FeedAnyCut({kMark + At(509, ""), kMark + "Public Sub"}), (FaceHits{{0, kBasic, 512}, {1, kBasic, 13}}));
  EXPECT_EQ(FeedAnyCut({kMark + At(509, ""), At(512, ""), kMark + "abc"}), (FaceHits{{0, kText, 1024}, {2, kText, 6}}));
  EXPECT_EQ(FeedAnyCut({kMark + At(48, ""), kMark + Literal("a\0")}, 51), (FaceHits{{0, kText, 51}}));
}

TEST_F(Utf8Text, HeadOfNoKindLeavesTheOpenTextAlone) {
  // In blocks of one sector, so that the first text is sorted without the second's words.
  faces.Settle();
  EXPECT_EQ(faces.Feed(Sectors({kMark + "Public Sub" + At(499, ""), kMark + "<?xml"}), 512, {1}),
            (FaceHits{{0, kBasic, 520}}));
}

TEST_F(Utf8Text, XmlBringsNoText) {
  EXPECT_EQ(KindOf("<?xml version"), "");
  EXPECT_EQ(KindOf(At(300, "<?xml using System class ")), "");
}

TEST_F(Utf8Text, XmlBehindTheSectorCountsUpToTheNextZero) {
  faces.Settle();
  EXPECT_EQ(faces.Feed(Sectors({kMark + At(600, "<?xml")})), FaceHits{});
  faces.Settle();
  EXPECT_EQ(faces.Feed(Sectors({kMark + At(600, Literal("\0<?xml"))})), (FaceHits{{0, kText, 603}}));
  // Nothing is seen behind the block.
  faces.Settle();
  EXPECT_EQ(faces.Feed(Sectors({kMark + At(600, "<?xml")}), 512, {1}), (FaceHits{{0, kText, 608}}));
  faces.Settle();
  EXPECT_EQ(faces.Feed(Sectors({kMark + At(507, "<?xml")}), 512, {1}), (FaceHits{{0, kText, 515}}));
}

TEST_F(Utf8Text, DoctypeAtOffset3BringsNoText) {
  EXPECT_EQ(KindOf(" \r\n<!DOCTYPE html>"), "");
  EXPECT_EQ(KindOf("\r\n<!DOCTYPE html>"), kText);
  EXPECT_EQ(KindOf("  \r\n<!DOCTYPE html>"), kText);
  EXPECT_EQ(KindOf("<!DOCTYPE html>"), kText);
}

TEST_F(Utf8Text, CSharpUsesSystemBelowOffset200) {
  EXPECT_EQ(KindOf("using System;\r\nclass A"), kCSharp);
  EXPECT_EQ(KindOf(At(199, "using System class ")), kCSharp);
  EXPECT_EQ(KindOf(At(200, "using System class ")), kText);
  EXPECT_EQ(KindOf(At(250, "using System class ")), kText);
  EXPECT_EQ(KindOf(At(250, "using System class Public Class")), kBasic);
  EXPECT_EQ(KindOf("using System;\r\nclassA"), kText);
}

TEST_F(Utf8Text, AspNet) {
  for (const char* word : {"<%@LANGUAGE=", "<%@ Page", "<%@ Import Namespace", "<%@ OutputCache", "<%@ Register",
                           "<%@ Implements Interface"}) {
    EXPECT_EQ(KindOf(At(400, word)), kAspNet) << word;
  }
  EXPECT_EQ(KindOf("<%@ page"), kText);
}

TEST_F(Utf8Text, VisualBasic) {
  for (const char* word : {"Private Sub", "Public Class", "Public Sub", "Private Class"}) {
    EXPECT_EQ(KindOf(At(400, word)), kBasic) << word;
  }
}

TEST_F(Utf8Text, SolutionNamesItsFormatAtOffset2) {
  const std::string line = "Microsoft Visual Studio Solution File, Format Version 11.00";
  EXPECT_EQ(KindOf("\r\n" + line), kSolution);
  EXPECT_EQ(KindOf("\r\n\r\n" + line), kText);
  EXPECT_EQ(KindOf(line), kText);
  EXPECT_EQ(KindOf("\n" + line), kText);
}

TEST_F(Utf8Text, OrderOfKinds) {
  EXPECT_EQ(KindOf("using System class <%@ Page"), kCSharp);
  EXPECT_EQ(KindOf("<%@ Page Public Class"), kAspNet);
  EXPECT_EQ(KindOf("\r\nMicrosoft Visual Studio Solution File, Format Version Public Sub"), kBasic);
}

TEST_F(Utf8Text, AtTheDevicesFirstSectorItIsNotSeen) {
  faces.Settle();
  EXPECT_EQ(faces.FeedAt(0, Sectors({kMark + At(600, "")})), FaceHits{});
  faces.Settle();
  EXPECT_EQ(faces.FeedAt(0, Sectors({kMark + At(509, ""), At(512, ""), kMark + "abc"})), (FaceHits{{2, kText, 6}}));
}

TEST_F(Utf8Text, OutlivesAResetOfTheFaces) {
  faces.Settle();
  const std::uint64_t first = UnusedSectors(2);
  faces.FeedAt(first, kMark + At(509, ""));
  for (const std::string& name : kUtf8Faces) EXPECT_EQ(CreateDetector(std::string_view(name))->Reset(), 1);
  EXPECT_EQ(faces.FeedAt(first + 1, Sectors({"a"})), (FaceHits{{-1, kText, 513}}));
}

TEST_F(Utf8Text, BlockWithTheStartOfTheLastOneIsNotReadAgain) {
  faces.Settle();
  const std::uint64_t first = UnusedSectors(1);
  EXPECT_EQ(faces.FeedAt(first, Sectors({kMark + "abc"})), (FaceHits{{0, kText, 6}}));
  EXPECT_EQ(faces.FeedAt(first, Sectors({kMark + "abcd"})), (FaceHits{{0, kText, 6}}));
}

TEST_F(Utf8Text, TextsWithoutEndDoNotMakeTheirSearchesGrow) {
  // Every sector begins a text that reaches to the block's end: the searches together must stay near the block's size.
  std::string bytes;
  for (int i = 0; i < 20000; ++i) bytes += kMark + At(509, "");
  faces.Settle();
  EXPECT_EQ(faces.Feed(bytes).size(), 19999U);
}

/// The rules step by step, each text sorted by searches of its own.
class LiteralUtf8Text {
 public:
  /// The hits of a block.
  FaceHits Scan(const std::string& block, std::size_t sectorSize, std::uint64_t startSector) {
    FaceHits hits;
    const auto append = [&] {
      static const std::map<int, std::string> kNames = {
          {1, kText}, {2, kCSharp}, {4, kBasic}, {5, kAspNet}, {6, kSolution}};
      hits.push_back({static_cast<std::int64_t>(start_ - startSector), kNames.at(code_), size_});
    };
    for (std::size_t i = 0; i < block.size() / sectorSize; ++i) {
      const std::string sector = block.substr(i * sectorSize, sectorSize);
      if (sectorSize >= 51 && sector.substr(0, 3) == kMark) {
        const int code = CodeOf(block.substr(i * sectorSize + 3));
        if (code != 0) {
          code_ = code;
          if (size_ != 0) append();
          start_ = startSector + i;
          size_ = 0;
          open_ = true;
        }
      }
      if (!open_ || start_ == 0) continue;
      const std::size_t zero = sector.find('\0');
      size_ += std::min(zero, sectorSize);
      if (zero == std::string::npos) continue;
      open_ = false;
      if (size_ >= 6) append();
      start_ = size_ = 0;
    }
    std::sort(hits.begin(), hits.end());
    return hits;
  }

 private:
  static int CodeOf(const std::string& rest) {
    const std::string s = rest.substr(0, rest.find('\0'));
    const auto contains = [&](const char* literal) { return s.find(literal) != std::string::npos; };
    if (contains("<?xml")) return 0;
    if (s.find("<!DOCTYPE ") == 3) return 0;
    if (s.find("using System") < 200 && contains("class ")) return 2;
    for (const char* word : {"<%@LANGUAGE=", "<%@ Page", "<%@ Import Namespace", "<%@ OutputCache", "<%@ Register",
                             "<%@ Implements Interface"}) {
      if (contains(word)) return 5;
    }
    for (const char* word : {"Private Sub", "Public Class", "Public Sub", "Private Class"}) {
      if (contains(word)) return 4;
    }
    return s.find("Microsoft Visual Studio Solution File, Format Version") == 2 ? 6 : 1;
  }

  bool open_ = false;
  std::uint64_t start_ = 0;
  std::uint64_t size_ = 0;
  int code_ = 0;
};

TEST_F(Utf8Text, AgreesWithTheRulesTakenStepByStep) {
  const std::vector<std::string> words = {"<?xml",
                                          "using System",
                                          "class ",
                                          "<%@ Page",
                                          "<%@ Register",
                                          "Private Sub",
                                          "Public Class",
                                          "abc",
                                          Literal("\0"),
                                          Literal("\0"),
                                          "\xEF\xBB\xBF",
                                          "\r\n<!DOCTYPE ",
                                          "\r\nMicrosoft Visual Studio Solution File, Format Version"};
  faces.Settle();
  LiteralUtf8Text rules;
  std::size_t found = 0;
  for (std::uint32_t seed = 0; seed < 3000; ++seed) {
    std::mt19937 random(seed);
    const std::size_t sectorSize = 49 + random() % 80;
    const std::size_t sectorCount = 1 + random() % 12;
    std::string block;
    while (block.size() < sectorCount * sectorSize) {
      std::string sector = random() % 2 == 0 ? kMark : "";
      if (random() % 3 == 0) sector += words[random() % words.size()];
      sector.resize(sectorSize, 'z');
      if (random() % 3 == 0) {
        const std::string& word = words[random() % words.size()];
        const std::size_t offset = 5 + random() % (sectorSize - 5);
        sector.replace(offset, std::min(word.size(), sectorSize - offset), word, 0, sectorSize - offset);
      }
      block += sector;
    }
    const std::uint64_t start = UnusedSectors(sectorCount);
    const FaceHits expected = rules.Scan(block, sectorSize, start);
    ASSERT_EQ(faces.FeedAt(start, block, sectorSize), expected) << "seed " << seed;
    found += expected.size();
  }
  EXPECT_GT(found, 3000U);
}

}  // namespace
}  // namespace qzmtraw::test
