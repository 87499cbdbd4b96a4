#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <new>
#include <random>

#include "tests/text/Faces.h"
#include "tests/text/LiteralText.h"

namespace {
bool memoryIsShort = false;
}  // namespace

// The library asks for its sector buffer in this way.
void* operator new[](std::size_t size, const std::nothrow_t& /*tag*/) noexcept {
  return memoryIsShort ? nullptr : ::operator new[](size);
}

namespace qzmtraw::test {
namespace {

const std::string kPlain = "CKNewTxtFileType";
const std::string kCSource = "CKSrcCFileType";

/// Text that shows nothing.
std::string Words(std::size_t size) {
  std::string words(size, 'z');
  return words;
}
/// A text of 300 bytes with this beginning.
std::string Long(const std::string& beginning) { return beginning + Words(300 - beginning.size()); }

class PlainText : public ::testing::Test {
 protected:
  FaceHits FeedAnyCut(const std::vector<std::string>& pieces, std::size_t sectorSize = 512) {
    return faces.FeedAnyCut(Sectors(pieces, sectorSize), sectorSize);
  }

  Faces faces{kTextFaces};
};

TEST_F(PlainText, TextOf256BytesIsReportedOneOf255IsNot) {
  EXPECT_EQ(FeedAnyCut({Words(256)}), (FaceHits{{0, kPlain, 256}}));
  EXPECT_EQ(FeedAnyCut({Words(255)}), FaceHits{});
}

TEST_F(PlainText, TheLeastSizeAlsoHoldsAcrossSectors) {
  EXPECT_EQ(FeedAnyCut({Words(256) + Literal("\0")}, 128), (FaceHits{{0, kPlain, 256}}));
  EXPECT_EQ(FeedAnyCut({Words(255) + Literal("\0")}, 128), FaceHits{});
}

TEST_F(PlainText, PlainTextIsCutTo64KiBAndStaysOpenToItsEnd) {
  EXPECT_EQ(FeedAnyCut({Words(1000000)}), (FaceHits{{0, kPlain, 65536}}));
  EXPECT_EQ(FeedAnyCut({Words(65537)}), (FaceHits{{0, kPlain, 65536}}));
  EXPECT_EQ(FeedAnyCut({Words(65536) + Literal("\0")}), (FaceHits{{0, kPlain, 65536}}));
  EXPECT_EQ(FeedAnyCut({Words(65535)}), (FaceHits{{0, kPlain, 65535}}));
}

TEST_F(PlainText, KindsFrom13OnAreNotCut) {
  EXPECT_EQ(FeedAnyCut({"<?php" + Words(100000)}), (FaceHits{{0, "CKCodeTxtPhpFileType", 65536}}));
  EXPECT_EQ(FeedAnyCut({"BegMf" + Words(999995)}), (FaceHits{{0, "CKGCgmTxtFileType", 1000000}}));
  EXPECT_EQ(FeedAnyCut({"IN;\r\n" + Words(100000)}), (FaceHits{{0, "CKGPltFileType", 100005}}));
  EXPECT_EQ(FeedAnyCut({"STARTFONT" + Words(100000)}), (FaceHits{{0, "CKDbfFileType", 100009}}));
}

TEST_F(PlainText, TheHostsLimitIsIgnored) {
  const Detector face = CreateDetector(kPlain);
  face->SetMaxFileSize(10);
  EXPECT_EQ(FeedAnyCut({Words(300)}), (FaceHits{{0, kPlain, 300}}));
}

TEST_F(PlainText, TextThatFillsItsLastSectorEndsAtTheNext) {
  EXPECT_EQ(FeedAnyCut({Words(1024), Literal("\0")}), (FaceHits{{0, kPlain, 1024}}));
}

TEST_F(PlainText, TextOpenAtTheEndIsNotReported) { EXPECT_EQ(FeedAnyCut({Words(1024)}), FaceHits{}); }

TEST_F(PlainText, TextGoesOnInALaterBlockWhereverThatIs) {
  faces.Settle();
  EXPECT_EQ(faces.FeedAt(UnusedSectors(1000), Words(512)), FaceHits{});
  const std::uint64_t later = UnusedSectors(1000);
  EXPECT_EQ(faces.FeedAt(later, Sectors({Words(10)})), (FaceHits{{-1000, kPlain, 522}}));
}

TEST_F(PlainText, StartsByItsFirstTwoBytes) {
  const auto starts = [](unsigned first, unsigned second) {
    if (first == '\t' || first == '\n' || first == '\r' || first == ' ' || first == '#') return true;
    if (first >= '/' && first <= '<') return true;
    if (first >= '@' && first <= 0x80) return true;
    return first >= 0x81 && first <= 0xFD && first != 0xEF && second != first && second >= 0xB0 && second <= 0xF7;
  };
  for (unsigned first = 0; first < 256; ++first) {
    for (const unsigned second : {0x7FU, 0x80U, 0xAFU, 0xB0U, 0xB1U, 0xF6U, 0xF7U, 0xF8U, first}) {
      if (second < 0x20 || second == 0xFF) continue;
      std::string text = Words(300);
      text[0] = static_cast<char>(first);
      text[1] = static_cast<char>(second);
      const FaceHits expected = starts(first, second) ? FaceHits{{0, kPlain, 300}} : FaceHits{};
      faces.Settle();
      EXPECT_EQ(faces.Feed(Sectors({text})), expected) << first << ", " << second;
    }
  }
}

TEST_F(PlainText, GoesOnByTheFirstByteOfItsNextSectors) {
  for (unsigned first = 0; first < 256; ++first) {
    const bool goesOn =
        first == '\t' || first == '\n' || first == '\r' || (first >= 0x20 && first <= 0xFD && first != 0xEF);
    std::string next = Words(300);
    next[0] = static_cast<char>(first);
    faces.Settle();
    // A sector that ends a text isn't taken for the start of another.
    EXPECT_EQ(faces.Feed(Sectors({Words(512), next})), (FaceHits{{0, kPlain, goesOn ? 812U : 512U}})) << first;
  }
}

TEST_F(PlainText, EndsAtTheFirstByteThatNoTextHas) {
  for (unsigned byte = 0; byte < 256; ++byte) {
    const bool isText = byte == '\t' || byte == '\n' || byte == '\r' || (byte >= 0x20 && byte != 0xFF);
    std::string text = Words(400);
    text[300] = static_cast<char>(byte);
    faces.Settle();
    EXPECT_EQ(faces.Feed(Sectors({text})), (FaceHits{{0, kPlain, isText ? 400U : 300U}})) << byte;
  }
}

TEST_F(PlainText, BytesOfAMarkEndATextOnlyAtASectorsStart) {
  for (const char* byte : {"\xEF", "\xFE"}) {
    EXPECT_EQ(FeedAnyCut({Words(512), byte + Words(100)}), (FaceHits{{0, kPlain, 512}}));
    EXPECT_EQ(FeedAnyCut({Words(512), Words(50) + byte + Words(49)}), (FaceHits{{0, kPlain, 612}}));
  }
}

TEST_F(PlainText, PunctuationDoesNotStartATextButContinuesOne) {
  for (const char* byte : {"-", "(", "!", ".", "=", ">", "?"}) {
    EXPECT_EQ(FeedAnyCut({byte + Words(300)}), FaceHits{});
    EXPECT_EQ(FeedAnyCut({Words(512), byte + Words(300)}), (FaceHits{{0, kPlain, 813}}));
  }
}

TEST_F(PlainText, WhatFollowsARefusedByteInItsSectorIsNotLookedAt) {
  EXPECT_EQ(FeedAnyCut({Words(300) + "\x01" + Words(211), Words(290)}), (FaceHits{{0, kPlain, 300}, {1, kPlain, 290}}));
}

TEST_F(PlainText, LaterSectorsDoNotChangeTheKind) {
  EXPECT_EQ(FeedAnyCut({Words(512), "#include <a>\n[InternetShortcut] TaxACT Encrypted"}),
            (FaceHits{{0, kPlain, 512 + 48}}));
}

TEST_F(PlainText, SecondByteMayStandInTheNextSector) {
  // Sectors of one byte: the byte behind the block's last one doesn't exist.
  const std::string text = "\xC4\xE3" + Words(298) + Literal("\0");
  faces.Settle();
  EXPECT_EQ(faces.Feed(text, 1), (FaceHits{{0, kPlain, 300}}));
  faces.Settle();
  EXPECT_EQ(faces.Feed(text, 1, {1}), (FaceHits{{2, kPlain, 298}}));
}

TEST_F(PlainText, HeadsNeedTheirBytesInTheSector) {
  const auto inSectorsOf = [&](std::size_t size, const std::string& beginning) {
    return FeedAnyCut({Long(beginning) + Literal("\0")}, size);
  };
  EXPECT_EQ(inSectorsOf(5, "IN;\r\n"), (FaceHits{{0, kPlain, 300}}));
  EXPECT_EQ(inSectorsOf(6, "IN;\r\n"), (FaceHits{{0, "CKGPltFileType", 300}}));
  EXPECT_EQ(inSectorsOf(5, "070707"), (FaceHits{{0, kPlain, 300}}));
  EXPECT_EQ(inSectorsOf(6, "070707"), (FaceHits{{1, kPlain, 294}}));
  EXPECT_EQ(inSectorsOf(1, "/*"), (FaceHits{{0, kPlain, 300}}));
  // Here "*/" drops the text that began with "/*", and the next one inherits two bytes.
  EXPECT_EQ(inSectorsOf(2, "/**/"), (FaceHits{{2, kPlain, 298}}));
}

// --- The kind that stays behind ---

/// What a cpio header, which has no kind of its own, comes out as: the kind that the pieces left behind.
class KindLeftBehind : public PlainText {
 protected:
  std::string After(std::vector<std::string> pieces, const std::string& header = "070707") {
    const auto sector = static_cast<std::int64_t>(pieces.size());
    pieces.push_back(Long(header));
    pieces.emplace_back(Literal("\0"));
    const FaceHits hits = FeedAnyCut(pieces);
    if (hits.empty() || hits.back().sector != sector) return "";
    EXPECT_EQ(hits.back().size, 300U);
    return hits.back().className;
  }
};

TEST_F(KindLeftBehind, CpioHeaderAfterNothingIsNoText) {
  EXPECT_EQ(After({}), "");
  EXPECT_EQ(After({Literal("\0")}), "");
  EXPECT_EQ(After({"-ab"}), "");
}

TEST_F(KindLeftBehind, CpioHeaderTakesTheKindOfTheLastShortText) {
  EXPECT_EQ(After({"ab"}), kPlain);
  EXPECT_EQ(After({"ab"}, "070702"), kPlain);
  EXPECT_EQ(After({"ab"}, "070701"), kPlain);
  EXPECT_EQ(After({"Type="}), "CKVbpFileType");
  EXPECT_EQ(After({"IN;\r\n"}), "CKGPltFileType");
  EXPECT_EQ(After({"//"}), kPlain);
  EXPECT_EQ(After({"/* */"}), kPlain);
  EXPECT_EQ(After({"/* a.h"}), "CKSrcHFileType");
  EXPECT_EQ(After({Words(255)}), kPlain);
}

TEST_F(KindLeftBehind, OnlyTheLastShortTextCounts) {
  EXPECT_EQ(After({"Type=", "ab"}), kPlain);
  EXPECT_EQ(After({"ab", "Type="}), "CKVbpFileType");
  EXPECT_EQ(After({"Type=", Literal("\0"), "-ab", "\xFF"}), "CKVbpFileType");
  EXPECT_EQ(After({"Type=", "VCPCH0"}), "");
  EXPECT_EQ(After({"VCPCH0", "Type="}), "CKVbpFileType");
}

TEST_F(KindLeftBehind, ShortCpioHeaderLeavesTheKindAlone) {
  EXPECT_EQ(After({"Type=", "070707"}), "CKVbpFileType");
  EXPECT_EQ(After({"Type=", "070701", "070702"}), "CKVbpFileType");
  EXPECT_EQ(After({"070707"}), "");
}

TEST_F(KindLeftBehind, ReportedTextLeavesNone) {
  EXPECT_EQ(After({"Type=", Words(300)}), "");
  EXPECT_EQ(After({Words(512), Literal("\0")}), "");
}

TEST_F(KindLeftBehind, ShortTextAcrossSectorsLeavesItsKind) {
  faces.Settle();
  EXPECT_EQ(faces.Feed(Sectors({"Type=" + Words(200), Long("070707"), Literal("\0")}, 100), 100),
            (FaceHits{{3, "CKVbpFileType", 300}}));
}

TEST_F(KindLeftBehind, WordsBehindAZeroAreNotSeen) {
  EXPECT_EQ(After({Literal("zz\0[InternetShortcut]")}), kPlain);
  EXPECT_EQ(After({Literal("zz\1[InternetShortcut]")}), "CKIEUrlFileType");
  EXPECT_EQ(After({"\nzz\x01" + Words(507 - 17) + "[InternetShortcut]"}), "CKIEUrlFileType");
}

TEST_F(KindLeftBehind, WordsBehindOffset278AreSeenBehindAZero) {
  const auto certificateAt = [](std::size_t offset) {
    std::string sector = Literal("zz\0") + Words(509);
    return sector.replace(offset, 31, "ESET Update Signing Certificate");
  };
  EXPECT_EQ(After({certificateAt(277)}), kPlain);
  EXPECT_EQ(After({certificateAt(278)}), "");
  EXPECT_EQ(After({certificateAt(512 - 31)}), "");
  EXPECT_EQ(After({certificateAt(400).replace(399, 1, Literal("\0"))}), kPlain);
  EXPECT_EQ(After({certificateAt(100)}), kPlain);
}

TEST_F(KindLeftBehind, OtherNumbersAreOrdinaryText) {
  EXPECT_EQ(After({"Type="}, "070700"), kPlain);
  EXPECT_EQ(After({}, "070703"), kPlain);
}

TEST_F(KindLeftBehind, IsRememberedFromBlockToBlockWhateverTheirSectors) {
  const std::string header = Sectors({Long("070707")});
  faces.Settle();
  faces.Feed(Sectors({"Type="}));
  faces.Feed(Sectors({Literal("\0"), "\xFF"}, 2048), 2048);
  EXPECT_EQ(faces.Feed(header), (FaceHits{{0, "CKVbpFileType", 300}}));
  faces.Settle();
  faces.Feed(Sectors({Words(100) + "[InternetShortcut]"}, 4096), 4096);
  faces.Feed(Sectors({Literal("\0"), "\xFF"}, 16), 16);
  EXPECT_EQ(faces.Feed(header), (FaceHits{{0, "CKIEUrlFileType", 300}}));
}

TEST_F(KindLeftBehind, IsRememberedAfterAResetOfTheFaces) {
  faces.Settle();
  faces.Feed(Sectors({"Type="}));
  for (const std::string& name : kTextFaces) {
    const Detector face = CreateDetector(std::string_view(name));
    EXPECT_EQ(face->Reset(), 1);
    EXPECT_EQ(face->ResetLight(), 1);
    EXPECT_EQ(face->ResetFull(), 1);
  }
  EXPECT_EQ(faces.Feed(Sectors({Long("070707")})), (FaceHits{{0, "CKVbpFileType", 300}}));
}

// --- The undecided kind ---

class UndecidedText : public PlainText {
 protected:
  const std::string openComment = "/*" + Words(510);
};

TEST_F(UndecidedText, NextSectorDecides) {
  EXPECT_EQ(FeedAnyCut({openComment, "#include <a>" + Words(88)}), (FaceHits{{0, kCSource, 612}}));
  EXPECT_EQ(FeedAnyCut({openComment, "IN;\r\n" + Words(95)}), (FaceHits{{0, "CKGPltFileType", 612}}));
  EXPECT_EQ(FeedAnyCut({openComment, "/* */" + Words(95)}), (FaceHits{{0, kPlain, 612}}));
  EXPECT_EQ(FeedAnyCut({openComment, "//" + Words(98)}), (FaceHits{{0, kPlain, 612}}));
}

TEST_F(UndecidedText, StaysUndecidedFromCommentToComment) {
  EXPECT_EQ(FeedAnyCut({openComment, openComment, openComment, "#include <a>" + Words(88)}),
            (FaceHits{{0, kCSource, 3 * 512 + 100}}));
}

TEST_F(UndecidedText, DecidedKindStays) {
  EXPECT_EQ(FeedAnyCut({openComment, "#include <a>" + Words(500), Words(512), "import java"}),
            (FaceHits{{0, kCSource, 3 * 512 + 11}}));
}

TEST_F(UndecidedText, CpioHeaderLeavesItUndecided) {
  EXPECT_EQ(FeedAnyCut({openComment, "070707" + Words(506), "#include <a>"}), (FaceHits{{0, kCSource, 1036}}));
}

TEST_F(UndecidedText, EndReachesNoFace) {
  EXPECT_EQ(FeedAnyCut({openComment}), FaceHits{});
  EXPECT_EQ(FeedAnyCut({openComment, Literal("\0")}), FaceHits{});
  EXPECT_EQ(FeedAnyCut({"/*" + Words(298)}), FaceHits{});
  // It was recorded, though, and so left no kind behind.
  EXPECT_EQ(FeedAnyCut({openComment, Literal("\0"), Words(300)}), (FaceHits{{2, kPlain, 300}}));
  EXPECT_EQ(FeedAnyCut({openComment, Literal("\0"), Long("070707")}), FaceHits{});
}

TEST_F(UndecidedText, PlainWordsDropItAndTheNextTextInheritsItsBytes) {
  EXPECT_EQ(FeedAnyCut({openComment, Words(100), Words(300)}), (FaceHits{{2, kPlain, 812}}));
  EXPECT_EQ(FeedAnyCut({openComment, openComment, Words(512), Words(300)}), (FaceHits{{3, kPlain, 1324}}));
}

TEST_F(UndecidedText, InheritedBytesMakeAShortTextLongEnough) {
  EXPECT_EQ(FeedAnyCut({openComment, Words(1), "zz", "zz"}), (FaceHits{{2, kPlain, 514}}));
  EXPECT_EQ(FeedAnyCut({"/*" + Words(198), "zz"}, 100), FaceHits{});
  EXPECT_EQ(FeedAnyCut({"/*" + Words(98), "z", Words(155) + Literal("\0")}, 100), FaceHits{});
  EXPECT_EQ(FeedAnyCut({"/*" + Words(98), "z", Words(156) + Literal("\0")}, 100), (FaceHits{{2, kPlain, 256}}));
}

TEST_F(UndecidedText, InheritedBytesWaitForATextThatOpens) {
  // Neither what isn't a candidate nor what belongs to no kind ends the count.
  EXPECT_EQ(FeedAnyCut({openComment, Words(1), Literal("\0"), "-ab", "VCPCH0", "070707", Words(300)}),
            (FaceHits{{6, kPlain, 812}}));
}

TEST_F(UndecidedText, InheritedBytesAreCutWithTheRest) {
  std::vector<std::string> pieces(128, openComment);
  pieces.insert(pieces.end(), {Words(1), "zz"});
  EXPECT_EQ(FeedAnyCut(pieces), (FaceHits{{129, kPlain, 65536}}));
}

TEST_F(UndecidedText, ShortOneMakesTheNextPlainCandidateNoText) {
  EXPECT_EQ(FeedAnyCut({"/*", Words(300)}), FaceHits{});
  EXPECT_EQ(FeedAnyCut({"/*", Words(300), Words(300)}), (FaceHits{{2, kPlain, 300}}));
  EXPECT_EQ(FeedAnyCut({"/*", "ab", Words(300)}), (FaceHits{{2, kPlain, 300}}));
  EXPECT_EQ(FeedAnyCut({"/*", Literal("\0"), "-ab", Words(300)}), FaceHits{});
  EXPECT_EQ(FeedAnyCut({"ab", "/*", Words(300)}), FaceHits{});
}

TEST_F(UndecidedText, ShortOneDoesNotTouchCandidatesThatShowTheirKind) {
  EXPECT_EQ(FeedAnyCut({"/*", Long("Type=")}), (FaceHits{{1, "CKVbpFileType", 300}}));
  EXPECT_EQ(FeedAnyCut({"/*", "Type=", Words(300)}), (FaceHits{{2, kPlain, 300}}));
  EXPECT_EQ(FeedAnyCut({"/*", "// ", Words(300)}), (FaceHits{{2, kPlain, 300}}));
}

TEST_F(UndecidedText, ShortPlainOneAfterAShortUndecidedOneLeavesNoKind) {
  EXPECT_EQ(FeedAnyCut({"/*", "ab", Long("070707")}), FaceHits{});
  EXPECT_EQ(FeedAnyCut({"/*", "ab", "ab", Long("070707")}), (FaceHits{{3, kPlain, 300}}));
  EXPECT_EQ(FeedAnyCut({"/*", "Type=", Long("070707")}), (FaceHits{{2, "CKVbpFileType", 300}}));
}

TEST_F(UndecidedText, ShortOneMakesACpioHeaderUndecided) {
  EXPECT_EQ(FeedAnyCut({"/*", "070707" + Words(506), "#include <a>"}), (FaceHits{{1, kCSource, 524}}));
  EXPECT_EQ(FeedAnyCut({"/*", Long("070707")}), FaceHits{});
  EXPECT_EQ(FeedAnyCut({"/*", "070707", "070707" + Words(506), "#include <a>"}), (FaceHits{{2, kCSource, 524}}));
}

// --- The lookup ---

TEST_F(PlainText, BlockWithTheStartOfTheLastOneIsNotReadAgain) {
  faces.Settle();
  const std::uint64_t first = UnusedSectors(10);
  const FaceHits hits = {{0, kPlain, 300}};
  EXPECT_EQ(faces.FeedAt(first, Sectors({Words(300)})), hits);
  EXPECT_EQ(faces.FeedAt(first, Sectors({Long("Type=")})), hits);
  EXPECT_EQ(faces.FeedAt(first + 1, Sectors({Long("Type=")})), (FaceHits{{0, "CKVbpFileType", 300}}));
}

TEST_F(PlainText, EmptyBlockCountsAsRead) {
  faces.Settle();
  const std::uint64_t first = UnusedSectors(10);
  const RawSectorBlock empty{first, nullptr, 0, 512, nullptr};
  RecordingSink sink;
  CreateDetector(kPlain)->Scan(&empty, &sink);
  EXPECT_EQ(faces.FeedAt(first, Sectors({Words(300)})), FaceHits{});
}

TEST_F(PlainText, SectorWithoutMemoryForItsCopyIsPassedOver) {
  constexpr std::size_t kSectorSize = 3000000;  // More than any test had before.
  const std::string text = Sectors({Words(300)}, kSectorSize);
  faces.Settle();
  memoryIsShort = true;
  EXPECT_EQ(faces.Feed(text, kSectorSize), FaceHits{});
  memoryIsShort = false;
  EXPECT_EQ(faces.Feed(text, kSectorSize), (FaceHits{{0, kPlain, 300}}));
}

// --- A second opinion ---

/// Makes devices of pieces that the rules are particular about.
class Pieces {
 public:
  explicit Pieces(std::uint32_t seed) : random_(seed) {}

  std::size_t Below(std::size_t end) { return random_() % end; }

  std::string Sector(std::size_t size) {
    static const std::vector<std::string> kBeginnings = {"070707",
                                                         "070701",
                                                         "070702",
                                                         "070700",
                                                         "IN;\r\n",
                                                         "/*",
                                                         "/* */",
                                                         "//",
                                                         "/* a.h",
                                                         "// a.c",
                                                         "#include <",
                                                         "#ifndef",
                                                         "#pragma once",
                                                         "# python\n",
                                                         "VCPCH0",
                                                         "TTFN",
                                                         "Type=",
                                                         "BegMf",
                                                         "STARTFONT",
                                                         "REGEDIT4\n\n[HKEY_",
                                                         ":Base a\n:Title b",
                                                         "\n;CLW file contains information for the",
                                                         "-",
                                                         "\xEF\xBB\xBF",
                                                         "\xFE",
                                                         "\xC4\xE3",
                                                         "a",
                                                         "z\n",
                                                         "import x\n",
                                                         "<?php",
                                                         "#import <",
                                                         "#import \"a",
                                                         "Date: Wed, @"};
    static const std::vector<std::string> kWords = {"[InternetShortcut]",
                                                    "TaxACT Encrypted",
                                                    "Microsoft C/C++ MSF",
                                                    "ESET Update Signing Certificate",
                                                    "TABLE \"EXCEL\"",
                                                    "#include <",
                                                    "#include \"",
                                                    "#import <",
                                                    "#pragma once",
                                                    "#pragma pack(",
                                                    "import java",
                                                    "public interface",
                                                    "function(",
                                                    "var ",
                                                    ";\n",
                                                    "class",
                                                    "class ",
                                                    "def ",
                                                    ":\n",
                                                    "use ",
                                                    "my ",
                                                    "@",
                                                    "*/",
                                                    "@interface",
                                                    "@implementation",
                                                    "NSAutoreleasePool drain];",
                                                    "From:",
                                                    "jQuery ",
                                                    "<script language=\"JavaScript\"",
                                                    ".java",
                                                    "\xFE\xFF",
                                                    "\x01",
                                                    Literal("\0")};
    switch (Below(8)) {
      case 0: {
        std::string zeros(size, '\0');
        return zeros;
      }
      case 1:
        return Noise(size);
      case 2:
        return Filled("", size);
      default:
        break;
    }
    std::string sector = Filled(kBeginnings[Below(kBeginnings.size())], size);
    const std::size_t beginning = std::min<std::size_t>(size, 20);
    for (std::size_t count = Below(4); count > 0; --count) {
      const std::string& word = kWords[Below(kWords.size())];
      const std::size_t offset = beginning + Below(size - beginning + 1);
      sector.replace(offset, std::min(word.size(), size - offset), word, 0, size - offset);
    }
    // Most texts end in their sector, many of them at once.
    if (Below(3) != 0) sector[Below(Below(2) == 0 ? size : std::min<std::size_t>(size, 10))] = Below(2) == 0 ? 0 : 1;
    return sector;
  }

 private:
  std::string Filled(const std::string& beginning, std::size_t size) {
    return (beginning + Words(size)).substr(0, size);
  }

  std::string Noise(std::size_t size) {
    std::string noise;
    while (noise.size() < size) noise += static_cast<char>(random_());
    return noise;
  }

  std::mt19937 random_;
};

/// Feeds the bytes to the library and to the literal rules in blocks of random sizes.
class BothWays {
 public:
  BothWays() { literal_.textKind = 0; }

  void Feed(const std::string& bytes, std::size_t sectorSize, Pieces& pieces) {
    const std::size_t sectorCount = bytes.size() / sectorSize;
    for (std::size_t first = 0; first < sectorCount;) {
      const std::size_t count = std::min(sectorCount - first, 1 + pieces.Below(8));
      const std::string block = bytes.substr(first * sectorSize, count * sectorSize);
      const std::uint64_t start = UnusedSectors(count);
      literal_.hits.clear();
      literal_.Scan(block, sectorSize, start);
      FaceHits expected;
      for (const LiteralText::Record& record : literal_.hits) {
        if (record.code < 2) continue;
        expected.push_back(
            {static_cast<std::int64_t>(record.fileStart - start), kTextFaces.at(record.code - 2), record.fileSize});
      }
      std::sort(expected.begin(), expected.end());
      ASSERT_EQ(faces_.FeedAt(start, block, sectorSize), expected);
      found += expected.size();
      for (const FaceHit& hit : expected) ++foundOf[hit.className];
      first += count;
    }
  }

  std::size_t found = 0;
  std::map<std::string, std::size_t> foundOf;

 private:
  Faces faces_{kTextFaces};
  LiteralText literal_;
};

TEST(PlainTextBothWays, AgreeOnDevicesOfPieces) {
  BothWays both;
  for (std::uint32_t seed = 0; seed < 3000; ++seed) {
    SCOPED_TRACE(seed);
    Pieces pieces(seed);
    static constexpr std::array<std::size_t, 9> kSizes = {512, 512, 512, 278, 279, 300, 309, 600, 0};
    std::size_t sectorSize = kSizes.at(pieces.Below(kSizes.size()));
    if (sectorSize == 0) sectorSize = 1 + pieces.Below(64);
    std::string bytes;
    for (std::size_t count = 1 + pieces.Below(30); count > 0; --count) bytes += pieces.Sector(sectorSize);
    both.Feed(bytes, sectorSize, pieces);
    if (HasFatalFailure()) return;
  }
  EXPECT_GT(both.found, 3000U);
  EXPECT_GT(both.foundOf.size(), 15U);
}

TEST(PlainTextBothWays, AgreeOnNoise) {
  BothWays both;
  Pieces pieces(1);
  std::mt19937 random(1);
  std::string noise;
  while (noise.size() < std::size_t{512} * 4000) noise += static_cast<char>(random());
  both.Feed(noise, 512, pieces);
}

/// The regular files of a folder, those in its folders included, in order of their names.
std::vector<std::string> FilesOf(const std::filesystem::path& folder, std::size_t limit) {
  std::vector<std::filesystem::path> paths;
  std::error_code error;
  const auto options = std::filesystem::directory_options::skip_permission_denied;
  for (std::filesystem::recursive_directory_iterator it(folder, options, error), end; !error && it != end;
       it.increment(error)) {
    if (it->is_regular_file(error) && it->file_size(error) < 200000) paths.push_back(it->path());
  }
  std::sort(paths.begin(), paths.end());
  if (paths.size() > limit) paths.resize(limit);
  std::vector<std::string> contents;
  for (const std::filesystem::path& path : paths) {
    std::ifstream file(path, std::ios::binary);
    contents.emplace_back(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
  }
  return contents;
}

TEST(PlainTextBothWays, AgreeOnRealFiles) {
  BothWays both;
  Pieces pieces(1);
  for (const char* folder : {"/usr/include", "/usr/share/perl", "/usr/lib/python3", "/usr/share/perl5",
                             "/usr/lib/python3.11", "/usr/share/doc", "/usr/share/javascript"}) {
    SCOPED_TRACE(folder);
    for (const std::string& contents : FilesOf(folder, 400)) {
      both.Feed(Sectors({contents, Literal("\0")}), 512, pieces);
      if (HasFatalFailure()) return;
    }
  }
  EXPECT_GT(both.foundOf["CKSrcHFileType"], 10U) << "header files in /usr/include are needed";
  EXPECT_GT(both.foundOf["CKPlFileType"], 5U) << "Perl's modules are needed";
}

}  // namespace
}  // namespace qzmtraw::test
