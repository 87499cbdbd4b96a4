#include <gtest/gtest.h>

#include <algorithm>

#include "tests/host/support/Tool.h"

namespace qzmtraw::host {
namespace {

TEST(TypesToolTest, ListsAllRows) {
  const ToolResult result = RunTool({"types", "--format", "jsonl"});
  EXPECT_EQ(result.exitCode, 0) << result.err;
  const auto lines = JsonLines(result.out);
  ASSERT_EQ(lines.size(), 321U);
  for (std::size_t i = 0; i < 320; ++i) EXPECT_EQ(lines[i]["row"], i);
  const nlohmann::json ace = {{"type", "file_type"},
                              {"row", 157},
                              {"extension", "ace"},
                              {"class", "CKAAceFileType"},
                              {"category", "archives"},
                              {"group", nullptr},
                              {"group_guid", nullptr},
                              {"size_source", "none"},
                              {"size_reliable", false},
                              {"size_min", 256},
                              {"size_max", 0x64000000},
                              {"size_limit", nullptr},
                              {"size_limit_settable", false},
                              {"container", true},
                              {"start_rule", "\"**ACE**\" at 7."},
                              {"size_rule", "Not told."},
                              {"description", "ACE Archive"}};
  EXPECT_EQ(lines[157], ace);
  EXPECT_EQ(lines[0]["group"], "A");
  EXPECT_EQ(lines[320]["type"], "summary");
  EXPECT_EQ(lines[320]["file_types"], 320);
}

TEST(TypesToolTest, ATableIsForPeople) {
  const ToolResult result = RunTool({"types"});
  EXPECT_EQ(result.exitCode, 0) << result.err;
  EXPECT_EQ(std::ranges::count(result.out, '\n'), 323);
  EXPECT_NE(
      result.out.find(" 157  ace         CKAAceFileType              archives                  none     "
                      "256 B to 1.6 GiB        ACE Archive                                   \"**ACE**\" at 7.\n"),
      std::string::npos)
      << result.out;
}

TEST(TypesToolTest, ListsWhatIsChosen) {
  const auto lines = JsonLines(RunTool({"types", "--format", "jsonl", "--category", "fonts", "--exclude", "ttf",
                                        "--types", "png", "--max-size", "png=1GiB"})
                                   .out);
  ASSERT_GE(lines.size(), 3U);
  EXPECT_EQ(lines[0]["row"], 73);
  EXPECT_EQ(lines[0]["size_limit"], 1U << 30U);
  EXPECT_EQ(lines[0]["size_source"], "tail");
  EXPECT_EQ(lines.back()["file_types"], lines.size() - 1);
  for (std::size_t i = 1; i + 1 < lines.size(); ++i) {
    EXPECT_EQ(lines[i]["category"], "fonts");
    EXPECT_NE(lines[i]["extension"], "ttf");
  }
}

TEST(TypesToolTest, OneTypeIsOne) {
  const std::string table = RunTool({"types", "--types", "ace"}).out;
  EXPECT_NE(table.find("\n\n1 file type. "), std::string::npos) << table;
}

TEST(TypesToolTest, AFullDiskIsAFailure) { EXPECT_EQ(RunTool({"types"}, {.outputPath = "/dev/full"}).exitCode, 1); }

}  // namespace
}  // namespace qzmtraw::host
