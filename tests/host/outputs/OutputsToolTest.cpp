#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <filesystem>

#include "host/outputs/FindList.h"
#include "host/types/Registry.h"
#include "tests/host/support/Image.h"
#include "tests/host/support/Tool.h"

namespace qzmtraw::host {
namespace {

using nlohmann::json;
using Names = std::vector<std::string>;

bool Has(const std::string& text, const std::string& part) { return text.find(part) != std::string::npos; }

/// An image of 1 MiB: a 7z of 1132 bytes at sector 128, an ACE at 300, a 7z in the last 8 sectors that says it has
/// 100000 bytes. The current directory is the workspace.
class OutputsToolTest : public ::testing::Test {
 protected:
  OutputsToolTest() {
    WriteFile(image, Image(1U << 20U)
                         .Put(std::size_t{128} * 512, SevenZip(1132))
                         .Put(std::size_t{300} * 512, Ace())
                         .Put(std::size_t{2040} * 512, SevenZip(100000))
                         .Content());
    setup.directory = workspace.Path();
  }

  ToolResult Scan(std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), {"scan", "disk.img", "--types", "7z,ace"});
    return RunTool(arguments, setup);
  }

  /// Makes an image all sectors of which start like an ACE.
  void FillWithHeads(std::uint64_t size) {
    std::filesystem::remove(image);
    WriteFile(image, Image(512).Put(0, Ace()).Content());
    std::filesystem::resize_file(image, size);
    setup.faults = {{"FILE", image}, {"REPEAT", "512"}};
  }

  /// What a shell's command says, in the workspace.
  std::string Shell(const std::string& command) const {
    FILE* pipe = ::popen(("cd '" + workspace.Path().string() + "'\n" + command).c_str(), "r");
    std::string text;
    std::array<char, 4096> buffer{};
    while (const std::size_t count = std::fread(buffer.data(), 1, buffer.size(), pipe)) {
      text.append(buffer.data(), count);
    }
    ::pclose(pipe);
    return text;
  }

  std::string Content(const std::string& name) const {
    const Bytes bytes = ReadFile(workspace / name);
    return {bytes.begin(), bytes.end()};
  }

  Workspace workspace;
  std::string image = workspace / "disk.img";
  ToolSetup setup;
};

TEST_F(OutputsToolTest, SeveralListsAreWrittenAtOnce) {
  const ToolResult result = Scan({"--output", "a.txt", "--output", "a.jsonl", "--output", "a.csv", "--output=a.xml",
                                  "--output", "a.sqlite", "--output", "csv:b"});
  EXPECT_EQ(result.exitCode, 0) << result.err;
  EXPECT_EQ(result.err, "");
  EXPECT_EQ(NamesIn(workspace.Path()), (Names{"a.csv", "a.jsonl", "a.sqlite", "a.txt", "a.xml", "b", "disk.img"}));
  EXPECT_TRUE(Has(result.out, "\n3 finds (2 7z, 1 ace)")) << result.out;
  EXPECT_EQ(Content("a.txt"), result.out);
  EXPECT_EQ(Content("a.csv"), Content("b"));

  const std::vector<json> lines = JsonLines(Content("a.jsonl"));
  ASSERT_EQ(lines.size(), 5U);
  EXPECT_EQ(lines[0]["program"], "qzmtraw");
  EXPECT_TRUE(lines[0]["command_line"].get<std::string>().ends_with(" --output csv:b"));
  EXPECT_TRUE(lines[0]["libraries"].contains("sqlite"));
  EXPECT_TRUE(lines[4].contains("ended"));

  EXPECT_EQ(Shell("xmllint --noout --nonet --schema '" QZMTRAW_TEST_DATA "/dfxml.xsd' a.xml 2>&1"),
            "a.xml validates\n");
  EXPECT_EQ(Shell("xmllint --xpath 'count(//*[local-name()=\"fileobject\"])' a.xml").substr(0, 1), "3");

  EXPECT_EQ(Shell("python3 -c 'import csv\nfor row in csv.DictReader(open(\"a.csv\", newline=\"\")): "
                  "print(row[\"start_sector\"], row[\"size\"], row[\"extension\"], row[\"truncated\"])'"),
            "128 1132 7z false\n300  ace false\n2040 100000 7z true\n");

  EXPECT_EQ(Shell("sqlite3 a.sqlite 'SELECT start_sector, size, extension, truncated, state FROM list'"),
            "128|1132|7z|0|final\n300||ace|0|final\n2040|100000|7z|1|final\n");
  EXPECT_EQ(Shell("sqlite3 a.sqlite 'SELECT r.state, s.path, s.size, m.finds FROM run r, source s, summary m'"),
            "finished|disk.img|1048576|3\n");
}

TEST_F(OutputsToolTest, NothingNeedGoToTheStandardOutput) {
  const ToolResult result = Scan({"--format", "none", "--output", "a.jsonl"});
  EXPECT_EQ(result.exitCode, 0) << result.err;
  EXPECT_EQ(result.out, "");
  EXPECT_EQ(JsonLines(Content("a.jsonl")).size(), 5U);
  const ToolResult csv = Scan({"--format", "csv"});
  EXPECT_TRUE(csv.out.starts_with("row,class,")) << csv.out;
  EXPECT_TRUE(Scan({"--format", "dfxml"}).out.starts_with("<?xml "));
}

TEST_F(OutputsToolTest, NothingIsOverwritten) {
  WriteFile(workspace / "old.csv", BytesOf("the user's"));
  const ToolResult result = Scan({"--output", "new.jsonl", "--output", "old.csv"});
  EXPECT_EQ(result.exitCode, 1);
  EXPECT_EQ(result.err, "qzmtraw: the output 'old.csv' is there already: give a new name\n");
  EXPECT_EQ(result.out, "");
  EXPECT_EQ(NamesIn(workspace.Path()), (Names{"disk.img", "old.csv"})) << "what was made is gone again";
  EXPECT_EQ(Content("old.csv"), "the user's");
  EXPECT_EQ(Scan({"--output", "twice.csv", "--output", "csv:twice.csv"}).exitCode, 1);
  EXPECT_EQ(Scan({"--output", "missing/a.csv"}).exitCode, 1);
  EXPECT_EQ(NamesIn(workspace.Path()), (Names{"disk.img", "old.csv"}));
}

TEST_F(OutputsToolTest, AnUnknownFormatIsAUsageError) {
  const ToolResult result = Scan({"--output", "a\x1B.doc"});
  EXPECT_EQ(result.exitCode, 2);
  EXPECT_TRUE(Has(result.err, "qzmtraw: --output: 'a\\x1B.doc' doesn't tell its format")) << result.err;
  EXPECT_EQ(Scan({"--format", "sqlite"}).exitCode, 2);
  EXPECT_EQ(RunTool({"types", "--format", "csv"}).exitCode, 2);
}

TEST_F(OutputsToolTest, WhenADiskIsFullTheOtherListsAreEnded) {
  ASSERT_EQ(::system(("ln -s /dev/full '" + workspace / "full.csv" + "'").c_str()), 0);
  // A link isn't followed to make a file.
  EXPECT_EQ(Scan({"--output", "full.csv"}).exitCode, 1);

  FillWithHeads(16U << 20U);
  setup.fileSizeLimit = 1000000;
  const ToolResult result = Scan({"--output", "a.jsonl", "--output", "a.csv"});
  EXPECT_EQ(result.exitCode, 1);
  EXPECT_TRUE(Has(result.err, "qzmtraw: cannot write 'a.jsonl': File too large after 1000000 bytes: ")) << result.err;
  EXPECT_TRUE(Has(result.err, "qzmtraw: cannot write 'a.csv': File too large after 1000000 bytes: ")) << result.err;
  EXPECT_TRUE(Has(result.out, "\nFailed. 32768 finds (32768 ace)")) << result.out.substr(result.out.size() - 300);
}

TEST_F(OutputsToolTest, AClosedPipeLeavesTheFilesWhole) {
  setup.hasBrokenPipe = true;
  const ToolResult result = Scan({"--output", "a.jsonl"});
  EXPECT_EQ(result.exitCode, 1);
  EXPECT_TRUE(Has(result.err, "Broken pipe")) << result.err;
  const std::vector<json> lines = JsonLines(Content("a.jsonl"));
  EXPECT_EQ(lines.back()["type"], "summary");
  EXPECT_TRUE(Has(lines.back()["error"], "Broken pipe"));
}

TEST_F(OutputsToolTest, TheDatabaseCanBeReadWhileTheScanGoesOn) {
  std::filesystem::resize_file(image, std::uint64_t{1} << 40U);
  // The 7z at the end of what was 1 MiB is a whole one now.
  EXPECT_EQ(Shell("'" QZMTRAW_TOOL "' scan disk.img --types 7z,ace --format none --output live.sqlite 2>messages &\n"
                  "tool=$!\n"
                  "for try in $(seq 100); do\n"
                  "  state=$(sqlite3 -readonly live.sqlite \"SELECT count(*), min(state) FROM list\" 2>/dev/null)\n"
                  "  [ \"$state\" = '3|provisional' ] && break\n"
                  "  sleep 0.05\n"
                  "done\n"
                  "echo $state\n"
                  "kill -TERM $tool\n"
                  "wait $tool\n"
                  "echo $?\n"
                  "sqlite3 live.sqlite 'SELECT r.state, count(*), min(l.state) FROM run r, list l'"),
            "3|provisional\n130\ninterrupted|3|final\n");
}

TEST_F(OutputsToolTest, WhatAKilledScanLeavesCanBeRead) {
  FillWithHeads(std::uint64_t{1} << 40U);
  // With so little memory at most 32768 finds wait, and every 10000 are stored at once.
  setup.faults["SIGNAL"] = "9";
  setup.faults["SIGNAL_READ"] = std::to_string(64U << 20U);
  EXPECT_EQ(Scan({"--format", "none", "--output", "a.sqlite", "--memory", "32MiB"}).exitCode, 1009);
  const TypeCatalogue catalogue = ReadTypeCatalogue(OpenRegistry());
  FindListReader reader(workspace / "a.sqlite", catalogue);
  std::uint64_t count = 0;
  while (const auto find = reader.Next()) ASSERT_EQ(find->find, (Find{count++, 0, 157}));
  EXPECT_GE(count, 10000U);
  EXPECT_EQ(reader.End().ending, ListEnding::kMissing);
}

TEST_F(OutputsToolTest, ManyFindsGoIntoADatabase) {
  // So many that SQLite needs temporary files, which the tool has to leave within reach.
  FillWithHeads(64U << 20U);
  const ToolResult result = Scan({"--format", "none", "--output", "a.sqlite"});
  EXPECT_EQ(result.exitCode, 0) << result.err;
  EXPECT_EQ(Shell("sqlite3 a.sqlite 'SELECT count(*), max(start_sector) FROM list'"), "131072|131071\n");
}

TEST_F(OutputsToolTest, RecoveredFilesAreInEveryList) {
  const ToolResult result = RunTool({"recover", "disk.img", "--out", "out", "--types", "7z,ace", "--output", "a.jsonl",
                                     "--output", "a.sqlite", "--output", "a.xml"},
                                    setup);
  EXPECT_EQ(result.exitCode, 0) << result.err;
  EXPECT_EQ(Shell("sqlite3 a.sqlite 'SELECT path, written FROM list LIMIT 1'"),
            "out/archives/7z/000000000128.7z|1132\n");
  EXPECT_TRUE(Has(Content("a.xml"), "<filename>out/archives/7z/000000000128.7z</filename>"));
  const TypeCatalogue catalogue = ReadTypeCatalogue(OpenRegistry());
  for (const char* name : {"a.jsonl", "a.sqlite"}) {
    FindListReader reader(workspace / name, catalogue);
    EXPECT_EQ(reader.Next()->recovered->path, "out/archives/7z/000000000128.7z") << name;
    const auto second = reader.Next();
    EXPECT_EQ(second->find, (Find{300, 0, 157})) << name;
    EXPECT_EQ(second->estimatedSize, std::uint64_t{1740} * 512) << name;
    EXPECT_TRUE(reader.Next()) << name;
    EXPECT_FALSE(reader.Next()) << name;
    EXPECT_EQ(reader.End().ending, ListEnding::kFinished) << name;
  }
}

}  // namespace
}  // namespace qzmtraw::host
