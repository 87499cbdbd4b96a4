#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <sstream>
#include <string>
#include <tuple>
#include <vector>

#include "tests/host/support/FileImage.h"
#include "tests/host/support/Image.h"

namespace qzmtraw::host {
namespace {

using nlohmann::json;
using Arguments = std::vector<std::string>;

/// Everything as it is reported, whatever the tool makes of it.
const Arguments kRawLines = {"--all", "--format", "jsonl"};

bool Has(const std::string& text, const std::string& part) { return text.find(part) != std::string::npos; }

std::vector<std::string> LinesOf(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream stream(text);
  for (std::string line; std::getline(stream, line);) lines.push_back(line);
  return lines;
}

/// By place, as lists for people are.
std::vector<json> ByPlace(const std::string& list) {
  std::vector<json> finds = JsonLines(list);
  const auto place = [](const json& find) {
    const auto size = find["size"].is_null() ? 0 : find["size"].get<std::uint64_t>();
    return std::tuple(find["start_sector"].get<std::uint64_t>(), find["row"].get<int>(), size);
  };
  std::ranges::sort(finds, {}, place);
  return finds;
}

class MergeToolTest : public ::testing::Test {
 protected:
  MergeToolTest() { WriteFile(image, ImageOfFiles(7)); }

  ToolResult Scan(const Arguments& options, const ToolSetup& setup = {}) const {
    Arguments arguments = {"scan", image};
    arguments.insert(arguments.end(), kRawLines.begin(), kRawLines.end());
    arguments.insert(arguments.end(), options.begin(), options.end());
    return RunTool(arguments, setup);
  }

  /// Keeps a list in a file of its own.
  std::string Kept(const std::string& list) {
    const std::string path = workspace / ("list-" + std::to_string(++listCount));
    WriteFile(path, BytesOf(list));
    return path;
  }

  Workspace workspace;
  std::string image = workspace / "disk.img";
  int listCount = 0;
};

TEST_F(MergeToolTest, AllShardsTogetherFindWhatOneScanDoes) {
  const std::string whole = WithoutEnds(Scan({}).out);
  std::vector<std::string> expected = LinesOf(whole);
  ASSERT_GT(expected.size(), 50U);
  std::ranges::sort(expected);
  for (const std::size_t count : {1U, 2U, 3U, 5U, 8U}) {
    std::vector<std::string> found;
    int types = 0;
    Arguments merge = {"merge", "--all", "--format", "jsonl"};
    for (std::size_t number = 1; number <= count; ++number) {
      const ToolResult result = Scan({"--shard", std::to_string(number) + "/" + std::to_string(count)});
      EXPECT_EQ(result.exitCode, 0) << result.err;
      types += JsonLines(result.out).front()["file_types"].get<int>();
      const std::vector<std::string> finds = LinesOf(WithoutEnds(result.out));
      found.insert(found.end(), finds.begin(), finds.end());
      merge.push_back(Kept(result.out));
    }
    std::ranges::sort(found);
    EXPECT_EQ(found, expected) << count;
    EXPECT_EQ(types, 320) << count;

    const ToolResult merged = RunTool(merge);
    EXPECT_EQ(merged.exitCode, 0) << merged.err;
    EXPECT_EQ(JsonLines(WithoutEnds(merged.out)), ByPlace(whole)) << count;
    const json summary = JsonLines(merged.out).back();
    EXPECT_EQ(summary["finds"], expected.size());
    EXPECT_EQ(summary["interrupted"], false);
    EXPECT_EQ(JsonLines(merged.out).front()["file_types"], 320);
  }
}

TEST_F(MergeToolTest, AMergedTableIsThatOfOneScan) {
  const ToolResult merged = RunTool({"merge", Kept(Scan({"--shard", "1/2"}).out), Kept(Scan({"--shard", "2/2"}).out)});
  EXPECT_EQ(merged.exitCode, 0) << merged.err;
  EXPECT_EQ(WithoutEnds(merged.out), Listing(image, {}));
}

TEST_F(MergeToolTest, WhatSeveralListsHaveComesOnce) {
  const std::string list = Scan({"--types", "txt,jpg,zip"}).out;
  const ToolResult merged = RunTool({"merge", Kept(list), Kept(list), Kept(list), "--all", "--format", "jsonl"});
  EXPECT_EQ(merged.exitCode, 0) << merged.err;
  EXPECT_EQ(JsonLines(WithoutEnds(merged.out)), ByPlace(WithoutEnds(list)));
  const json summary = JsonLines(merged.out).back();
  EXPECT_EQ(summary["finds_by_extension"], JsonLines(list).back()["finds_by_extension"]);
  EXPECT_EQ(summary["bytes"], JsonLines(list).back()["bytes"]);
}

TEST_F(MergeToolTest, UnreadableSectorsAreThoseOfAllLists) {
  const auto scanWith = [&](const std::string& bad) {
    return Kept(Scan({"--types", "ace"}, {.faults = {{"FILE", image}, {"UNREADABLE", bad}}}).out);
  };
  const ToolResult merged = RunTool(
      {"merge", scanWith("102400-104448"), scanWith("103424-105472"), scanWith("204800-204801"), "--format", "jsonl"});
  EXPECT_EQ(merged.exitCode, 3);
  EXPECT_TRUE(Has(merged.err, "could not be read")) << merged.err;
  const json summary = JsonLines(merged.out).back();
  EXPECT_EQ(summary["unreadable_sectors"], 7);
  EXPECT_EQ(summary["unreadable_ranges"],
            (json{{{"start_sector", 200}, {"sectors", 6}}, {{"start_sector", 400}, {"sectors", 1}}}));
}

TEST_F(MergeToolTest, AnUnfinishedPartMakesTheWholeUnfinished) {
  const std::string list = Scan({"--types", "jpg"}).out;
  const std::string whole = Kept(list);
  const std::string killed = Kept(list.substr(0, list.size() - 100));
  const std::string interrupted = Kept(
      Scan({"--types", "7z"}, {.faults = {{"FILE", image}, {"SIGNAL", std::to_string(SIGINT)}, {"SIGNAL_READ", "1"}}})
          .out);
  for (const auto& [path, how] : {std::pair{killed, "its end is missing"}, {interrupted, "was interrupted"}}) {
    const ToolResult merged = RunTool({"merge", whole, path, "--format", "jsonl"});
    EXPECT_EQ(merged.exitCode, 3);
    EXPECT_TRUE(Has(merged.err, "qzmtraw: '" + path + "' is unfinished, and so is the whole: ")) << merged.err;
    EXPECT_TRUE(Has(merged.err, how)) << merged.err;
    EXPECT_EQ(JsonLines(merged.out).back()["interrupted"], true);
    EXPECT_EQ(JsonLines(WithoutEnds(merged.out)), ByPlace(WithoutEnds(list)));
  }
}

TEST_F(MergeToolTest, ListsOfDifferentSourcesAreRefused) {
  const std::string list = Kept(Scan({"--types", "7z"}).out);
  const ToolResult sectors = RunTool({"merge", list, Kept(Scan({"--types", "7z", "--sector-size", "4096"}).out)});
  EXPECT_EQ(sectors.exitCode, 2);
  EXPECT_EQ(sectors.out, "");
  EXPECT_TRUE(Has(sectors.err, "in sectors of 4096, '" + list + "' of one of ")) << sectors.err;
  WriteFile(workspace / "other.img", Image(1000).Content());
  image = workspace / "other.img";
  const ToolResult sizes = RunTool({"merge", list, Kept(Scan({"--types", "7z"}).out)});
  EXPECT_EQ(sizes.exitCode, 2);
  EXPECT_TRUE(Has(sizes.err, "is the list of a source of 1000 bytes")) << sizes.err;
}

TEST_F(MergeToolTest, WhatIsNoListIsTold) {
  const ToolResult none = RunTool({"merge", Kept("no list\n")});
  EXPECT_EQ(none.exitCode, 1);
  EXPECT_EQ(none.out, "");
  EXPECT_TRUE(Has(none.err, workspace / "list-1")) << none.err;
  EXPECT_EQ(RunTool({"merge", workspace / "missing"}).exitCode, 1);
  EXPECT_EQ(RunTool({"merge"}).exitCode, 2);
  for (const char* shard : {"0/2", "3/2", "2", "1/1000"}) {
    const ToolResult result = Scan({"--shard", shard});
    EXPECT_EQ(result.exitCode, 2) << shard;
    EXPECT_TRUE(Has(result.err, "--shard: ")) << result.err;
  }
}

}  // namespace
}  // namespace qzmtraw::host
