#include <gtest/gtest.h>

#include <sstream>

#include "host/base/Error.h"
#include "host/outputs/FindList.h"
#include "host/outputs/Report.h"
#include "host/types/Registry.h"
#include "tests/host/support/Records.h"
#include "tests/host/support/Workspace.h"

namespace qzmtraw::host {
namespace {

/// A whole source line for 1000 sectors of 512 bytes.
const std::string kSource =
    R"({"type":"source","program":"qzmtraw","version":"0.1.0","path":"disk.img","size":512000,"sector_size":512,"file_types":320})"
    "\n";

const std::string kAce = R"({"type":"find","row":157,"extension":"ace","start_sector":3,"size":9})"
                         "\n";

const std::string kSummary =
    R"({"type":"summary","finds":1,"bytes":512000,"size_at_end":512000,"interrupted":false,"error":null,)"
    R"("unreadable_sectors":3,"unreadable_ranges":[{"start_sector":7,"sectors":2},{"start_sector":999,"sectors":1}]})"
    "\n";

class FindListTest : public ::testing::Test {
 protected:
  FindListReader ReaderOf(const std::string& text) {
    std::filesystem::remove(path);
    WriteFile(path, BytesOf(text));
    return {path, catalogue};
  }

  /// What reading the whole list throws; empty: nothing.
  std::string ErrorOf(const std::string& text) {
    try {
      FindListReader reader = ReaderOf(text);
      while (reader.Next()) continue;
      reader.ReadUnreadable([](const SectorRange&) {});
    } catch (const Failure& failure) {
      return failure.what();
    }
    return {};
  }

  std::string ErrorOfFind(const std::string& members) {
    return ErrorOf(kSource + R"({"type":"find",)" + members + "}\n");
  }

  static std::vector<SectorRange> UnreadableOf(FindListReader& reader) {
    std::vector<SectorRange> ranges;
    reader.ReadUnreadable([&](const SectorRange& range) { ranges.push_back(range); });
    return ranges;
  }

  Workspace workspace;
  std::string path = workspace / "list.jsonl";
  TypeCatalogue catalogue = ReadTypeCatalogue(OpenRegistry());
};

bool Has(const std::string& text, const std::string& part) { return text.find(part) != std::string::npos; }

TEST_F(FindListTest, WhatAReportWroteComesBack) {
  std::ostringstream out;
  const auto report = MakeReport(OutputFormat::kJsonLines, out);
  SourceInfo source{"disk.img", 512000, 512, 320, {}};
  source.run = {.program = "qzmtraw", .version = "1.2", .commandLine = "qzmtraw scan disk.img", .user = "me"};
  report->Begin(source);
  const TypeInfo& ace = catalogue.at(157);
  report->Add({{3, 9, 157}, &ace, {1536, 9, false, false}});
  report->Add(Recovered({{5, 0, 157}, &ace, {2560, 700, true, false}}, "out/x.ace"));
  report->Add({{6, 0, 157}, &ace, {3072, 700, true, false}});
  Summary summary;
  summary.bytesScanned = 1000;
  summary.sizeAtEnd = 511;
  summary.isInterrupted = true;
  SectorSet unreadable;
  unreadable.Add({7, 2});
  unreadable.Add({999, 1});
  report->End(summary, unreadable);

  FindListReader reader = ReaderOf(out.str());
  EXPECT_EQ(reader.Source().path, "disk.img");
  EXPECT_EQ(reader.Source().size, 512000U);
  EXPECT_EQ(reader.Source().sectorSize, 512U);
  EXPECT_EQ(reader.Source().typeCount, 320U);
  const auto first = reader.Next();
  ASSERT_TRUE(first);
  EXPECT_EQ(first->find, (Find{3, 9, 157}));
  EXPECT_EQ(first->type, &ace);
  EXPECT_FALSE(first->recovered);
  const auto second = reader.Next();
  ASSERT_TRUE(second);
  EXPECT_EQ(second->find, (Find{5, 0, 157}));
  EXPECT_EQ(second->estimatedSize, 700U);
  ASSERT_TRUE(second->recovered);
  EXPECT_EQ(second->recovered->path, "out/x.ace");
  EXPECT_EQ(reader.Next()->find, (Find{6, 0, 157}));
  EXPECT_FALSE(reader.Next());
  EXPECT_EQ(reader.End().ending, ListEnding::kInterrupted);
  EXPECT_EQ(reader.End().bytesScanned, 1000U);
  EXPECT_EQ(reader.End().sizeAtEnd, 511U);
  EXPECT_EQ(reader.End().unreadableSectors, 3U);
  EXPECT_EQ(UnreadableOf(reader), (std::vector<SectorRange>{{7, 2}, {999, 1}}));
  EXPECT_EQ(UnreadableOf(reader).size(), 2U) << "they can be read again";
}

TEST_F(FindListTest, WhatIsKnownOfAFindComesBack) {
  FindListReader reader = ReaderOf(
      kSource +
      R"({"type":"find","row":157,"extension":"ace","start_sector":3,"size":9,"confidence":"checked-end",)"
      R"("verdict":"contradicted","content":"text","notes":["a","b"],"embedded_in":{"start_sector":1,"row":144,"size":5},)"
      R"("path":null,"written":0,"sha256":"00ff","duplicate":true,"new":{"x":[1]}})"
      "\n");
  const auto find = reader.Next();
  ASSERT_TRUE(find);
  EXPECT_EQ(find->confidence, Confidence::kCheckedEnd);
  EXPECT_EQ(find->verdict, Verdict::kContradicted);
  EXPECT_EQ(find->content, "text");
  EXPECT_EQ(find->notes, (std::vector<std::string>{"a", "b"}));
  EXPECT_EQ(find->embeddedIn, (Find{1, 5, 144}));
  ASSERT_TRUE(find->recovered);
  EXPECT_FALSE(find->recovered->path);
  EXPECT_EQ(find->recovered->sha256, "00ff");
  EXPECT_TRUE(find->recovered->isDuplicate);
}

TEST_F(FindListTest, AListWithoutItsEndIsTold) {
  for (const std::string& end : {std::string(), kAce.substr(0, 30), kSummary.substr(0, kSummary.size() - 3)}) {
    FindListReader reader = ReaderOf(kSource + kAce + end);
    EXPECT_TRUE(reader.Next());
    EXPECT_FALSE(reader.Next()) << end;
    EXPECT_EQ(reader.End().ending, ListEnding::kMissing) << end;
    EXPECT_TRUE(UnreadableOf(reader).empty()) << end;
  }
  FindListReader reader = ReaderOf(kSource + kAce + kSummary.substr(0, kSummary.size() - 1));
  EXPECT_TRUE(reader.Next());
  EXPECT_FALSE(reader.Next());
  EXPECT_EQ(reader.End().ending, ListEnding::kFinished) << "only the line's end is missing";
}

TEST_F(FindListTest, AFailedScanIsTold) {
  FindListReader reader = ReaderOf(kSource + R"({"type":"summary","error":"gone","interrupted":true})" + "\n");
  EXPECT_FALSE(reader.Next());
  EXPECT_EQ(reader.End().ending, ListEnding::kFailed);
  EXPECT_EQ(reader.End().error, "gone");
}

TEST_F(FindListTest, WhatIsNotRightIsNamedWithItsLine) {
  const std::string start = "'" + path + "', line ";
  EXPECT_EQ(ErrorOf(kSource + kAce + kSummary), "");
  EXPECT_TRUE(Has(ErrorOf(""), "has no line for the source"));
  EXPECT_TRUE(Has(ErrorOf(kAce), "has no line for the source"));
  EXPECT_TRUE(ErrorOf("text\n").starts_with(start + "1: it is no JSON object"));
  EXPECT_TRUE(ErrorOf(kSource + "{\n" + kAce).starts_with(start + "2: it is no JSON object"));
  EXPECT_TRUE(ErrorOf(kSource + kAce + "[]\n").starts_with(start + "3: it is no JSON object"));
  EXPECT_TRUE(ErrorOf(kSource + "{} {}\n").starts_with(start + "2: it is no JSON object"));
  EXPECT_TRUE(ErrorOf(kSource + kSource).starts_with(start + "2: there is a second source"));
  EXPECT_TRUE(ErrorOf(kSource + kSummary + kAce).starts_with(start + "3: it goes on behind its summary"));
  EXPECT_TRUE(
      Has(ErrorOfFind(R"("row":157,"extension":"7z","start_sector":3)"), "row 157 is '7z' there and 'ace' here"));
  EXPECT_TRUE(Has(ErrorOfFind(R"("row":320,"extension":"ace","start_sector":3)"), "no file type in row 320"));
  EXPECT_TRUE(Has(ErrorOfFind(R"("row":-1,"extension":"ace","start_sector":3)"), "\"row\" is missing"));
  EXPECT_TRUE(Has(ErrorOfFind(R"("row":4294967453,"extension":"ace","start_sector":3)"), "\"row\" is missing"));
  EXPECT_TRUE(Has(ErrorOfFind(R"("row":157,"extension":"ace","start_sector":1000)"), "behind the source's end"));
  EXPECT_TRUE(Has(ErrorOfFind(R"("row":157,"extension":"ace","start_sector":18446744073709551616)"), "start_sector"));
  EXPECT_TRUE(Has(ErrorOfFind(R"("row":157,"extension":"ace","start_sector":"3")"), "start_sector"));
  EXPECT_TRUE(Has(ErrorOfFind(R"("row":157,"extension":"ace","start_sector":3,"size":9223372036854775808)"), "bytes"));
  EXPECT_TRUE(Has(ErrorOfFind(R"("row":157,"extension":"ace","start_sector":3,"size":1e400)"), "no JSON object"));
  EXPECT_TRUE(Has(ErrorOfFind(R"("row":157,"extension":"ace","start_sector":3,"confidence":"\u001b")"),
                  "there is no confidence '\\x1B'"));
  EXPECT_TRUE(Has(ErrorOfFind(R"("row":157,"extension":"ace","start_sector":3,"verdict":"?")"), "no verdict '?'"));
  EXPECT_TRUE(
      Has(ErrorOfFind(R"("row":157,"extension":"ace","start_sector":3,"embedded_in":{"start_sector":1000,"row":1})"),
          "behind the source's end"));
  EXPECT_TRUE(Has(ErrorOf(kSource + R"({"type":"summary","unreadable_ranges":[{"start_sector":999,"sectors":2}]})"
                                    "\n"),
                  "sectors that could not be read"));
  EXPECT_TRUE(Has(ErrorOf(R"({"type":"source","path":"","size":9223372036854775808,"sector_size":512})"
                          "\n"),
                  "more bytes"));
  EXPECT_TRUE(Has(ErrorOf(R"({"type":"source","path":"","size":1,"sector_size":0})"
                          "\n"),
                  "no sectors of such a size"));
}

TEST_F(FindListTest, LongAndDeepLinesAreRefused) {
  EXPECT_TRUE(Has(ErrorOf(kSource + R"({"type":")" + std::string(2U << 20U, 'x') + "\"}\n"), "line 2: is too long"));
  EXPECT_TRUE(Has(ErrorOf(kSource + R"({"x":)" + std::string(100000, '[') + "\n"), "nested too deeply"));
  std::string ranges;
  for (int i = 0; i < 50000; ++i) ranges += R"({"start_sector":7,"sectors":1},)";
  ranges.pop_back();
  FindListReader reader = ReaderOf(kSource + R"({"type":"summary","unreadable_ranges":[)" + ranges + "]}\n");
  EXPECT_FALSE(reader.Next());
  EXPECT_EQ(UnreadableOf(reader).size(), 50000U) << "ranges may be as many as they like";
}

TEST_F(FindListTest, WhatIsNoFileIsRefused) {
  EXPECT_THROW(FindListReader(workspace / "missing", catalogue), Failure);
  EXPECT_THROW(FindListReader(workspace.Path().string(), catalogue), Failure);
}

}  // namespace
}  // namespace qzmtraw::host
