#include <gtest/gtest.h>

#include <algorithm>
#include <nlohmann/json.hpp>
#include <sstream>

#include "host/outputs/JsonReport.h"
#include "tests/host/support/Records.h"

namespace qzmtraw::host {
namespace {

using nlohmann::json;

class JsonReportTest : public ::testing::Test {
 protected:
  json Taken() {
    const std::string text = out.str();
    out.str("");
    EXPECT_EQ(std::ranges::count(text, '\n'), 1) << text;
    EXPECT_TRUE(std::ranges::all_of(text, [](char c) { return c == '\n' || (c >= ' ' && c <= '~'); })) << text;
    return json::parse(text, nullptr, false);
  }

  json LineFor(const FindRecord& record) {
    report.Add(record);
    return Taken();
  }

  std::ostringstream out;
  JsonReport report{out};
  TypeInfo ace = AceType();
};

TEST_F(JsonReportTest, TheSourceStatesWhereItComesFrom) {
  SourceInfo source = HostileSource();
  source.sha256 = "00ff";
  source.run = {.program = "qzmtraw",
                .version = "1.2",
                .compiler = "GCC 12",
                .libraries = {{"sqlite", "3"}},
                .commandLine = "qzmtraw scan",
                .host = "machine",
                .user = "me",
                .uid = 7};
  report.Begin(source);
  EXPECT_EQ(out.str().find(R"({"type":"source",)"), 0U);
  const json expected = {{"type", "source"},
                         {"program", "qzmtraw"},
                         {"version", "1.2"},
                         {"path", "a\\x1B[2J\\xFF.img"},
                         {"size", 1048576},
                         {"sector_size", 512},
                         {"file_types", 320},
                         {"started", "1970-01-01T00:00:00Z"},
                         {"sha256", "00ff"},
                         {"compiler", "GCC 12"},
                         {"libraries", {{"sqlite", "3"}}},
                         {"command_line", "qzmtraw scan"},
                         {"host", "machine"},
                         {"user", "me"},
                         {"uid", 7}};
  EXPECT_EQ(Taken(), expected);
}

TEST_F(JsonReportTest, AUtf8PathIsGivenAsItIs) {
  SourceInfo source = HostileSource();
  source.path = "a\x1B\n\"\\\xC3\xA9";
  report.Begin(source);
  EXPECT_EQ(Taken()["path"], "a\x1B\n\"\\\xC3\xA9");
}

TEST_F(JsonReportTest, AFindHasItsFacts) {
  const json expected = {{"type", "find"},
                         {"row", 157},
                         {"class", "CKAAceFileType"},
                         {"extension", "ace"},
                         {"category", "archives"},
                         {"description", "ACE Archive \xC2\xA8"},
                         {"start_sector", 1},
                         {"offset", 512},
                         {"size", 9},
                         {"size_estimated", false},
                         {"truncated", true},
                         {"confidence", "start-only"},
                         {"embedded_in", nullptr},
                         {"verdict", nullptr},
                         {"content", nullptr},
                         {"notes", json::array()}};
  EXPECT_EQ(LineFor({{1, 9, 157}, &ace, {512, 5, false, true}}), expected);
}

TEST_F(JsonReportTest, WhatIsKnownBeyondTheFactsIsTold) {
  FindRecord record{{5, 9, 157}, &ace, {2560, 4, true, false}};
  record.confidence = Confidence::kCheckedEnd;
  record.embeddedIn = Find{1, 100000, 143};
  record.verdict = Verdict::kContradicted;
  record.content = "text/\xFFhtml";
  record.notes = {"clipped", "size estimated"};
  const json line = LineFor(record);
  EXPECT_EQ(line["size"], 4) << "what is told is an estimate";
  EXPECT_EQ(line["size_estimated"], true);
  EXPECT_EQ(line["confidence"], "checked-end");
  EXPECT_EQ(line["embedded_in"], (json{{"start_sector", 1}, {"row", 143}}));
  EXPECT_EQ(line["verdict"], "contradicted");
  EXPECT_EQ(line["content"], "text/\\xFFhtml");
  EXPECT_EQ(line["notes"], (json{"clipped", "size estimated"}));
}

TEST_F(JsonReportTest, AnUnknownSizeIsNull) {
  const json line = LineFor({{1, 0, 157}, &ace, {512, 5120, true, false}});
  EXPECT_TRUE(line["size"].is_null());
  EXPECT_EQ(line["size_estimated"], false);
  EXPECT_EQ(line["size_min"], 256);
  EXPECT_EQ(line["size_max"], 0x64000000);
  ace.hints.reset();
  EXPECT_TRUE(LineFor({{1, 0, 157}, &ace, {512, 5120, true, false}})["size_max"].is_null());
}

TEST_F(JsonReportTest, ARecoveredFindTellsWhatWasWritten) {
  const json line = LineFor(Recovered({{1, 0, 157}, &ace, {512, 5120, true, false}}, "out/x.ace"));
  EXPECT_EQ(line["size"], 5120);
  EXPECT_EQ(line["size_estimated"], true);
  EXPECT_EQ(line["path"], "out/x.ace");
  EXPECT_EQ(line["written"], 5120);
  const json lost = LineFor(Recovered({{1, 0, 157}, &ace, {512, 5120, true, false}}, std::nullopt));
  EXPECT_TRUE(lost["path"].is_null());
  EXPECT_EQ(lost["written"], 0);
}

TEST_F(JsonReportTest, TheSummaryClosesTheList) {
  Summary summary;
  summary.findCount = 3;
  summary.findsByExtension = {{"7z", 2}, {"ace", 1}};
  summary.bytesScanned = 1000;
  summary.seconds = 0.5;
  summary.sizeAtEnd = 999;
  summary.isInterrupted = true;
  SectorSet unreadable;
  unreadable.Add({7, 2});
  unreadable.Add({10, 1});
  report.End(summary, unreadable);
  const json expected = {{"type", "summary"},
                         {"finds", 3},
                         {"finds_by_extension", {{"7z", 2}, {"ace", 1}}},
                         {"bytes", 1000},
                         {"seconds", 0.5},
                         {"unreadable_sectors", 3},
                         {"unreadable_ranges",
                          json::array({{{"start_sector", 7}, {"sectors", 2}}, {{"start_sector", 10}, {"sectors", 1}}})},
                         {"size_at_end", 999},
                         {"ended", "1970-01-01T00:00:00Z"},
                         {"interrupted", true},
                         {"error", nullptr}};
  EXPECT_EQ(Taken(), expected);
}

}  // namespace
}  // namespace qzmtraw::host
