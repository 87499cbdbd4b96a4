#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <map>

#include "tests/host/support/Image.h"
#include "tests/host/support/TitledFiles.h"
#include "tests/host/support/Tool.h"

namespace qzmtraw::host {
namespace {

using nlohmann::json;
using Strings = std::vector<std::string>;

bool Has(const std::string& text, const std::string& part) { return text.find(part) != std::string::npos; }

/// An image with 40 files of 3 to 120 KB, every fourth of which is the same, between pictures and others.
class RecoverOnToolTest : public ::testing::Test {
 protected:
  RecoverOnToolTest() {
    Image disk(4U << 20U);
    for (std::uint32_t i = 0; i < 40; ++i) {
      disk.Put(std::size_t{i} * 200 * 512, SevenZip(i % 4 == 0 ? 5000 : 2600 * (i + 1)));
    }
    WriteFile(image, disk.Content());
  }

  ToolResult Recover(const std::string& directory, Strings options = {}, const ToolSetup& setup = {}) const {
    Strings arguments = {"recover", image, "--out", directory, "--types", "7z,jpg,ace,deb", "--format", "jsonl"};
    arguments.insert(arguments.end(), options.begin(), options.end());
    return RunTool(arguments, setup);
  }

  ToolSetup Killed(int bytes) const {
    ToolSetup setup;
    setup.faults = {{"SIGNAL", std::to_string(SIGKILL)}, {"SIGNAL_WRITE", std::to_string(bytes)}};
    return setup;
  }

  /// All files below a directory with their contents.
  static std::map<std::string, Bytes> Tree(const std::string& directory) {
    std::map<std::string, Bytes> files;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(directory)) {
      if (!entry.is_directory()) files[entry.path().lexically_relative(directory)] = ReadFile(entry.path());
    }
    return files;
  }

  std::vector<json> Manifest(const std::string& directory) const {
    const Bytes text = ReadFile(directory + "/manifest.jsonl");
    return JsonLines({text.begin(), text.end()});
  }

  Workspace workspace;
  std::string image = workspace / "disk.img";
  std::string out = workspace / "out";
  std::string other = workspace / "other";
};

TEST_F(RecoverOnToolTest, TheNumberOfThreadsChangesNothing) {
  const ToolResult one = Recover(out, {"--jobs", "1", "--dedupe"});
  ASSERT_EQ(one.exitCode, 0) << one.err;
  const ToolResult four = Recover(other, {"--jobs", "4", "--dedupe"});
  ASSERT_EQ(four.exitCode, 0) << four.err;
  EXPECT_EQ(Tree(out), Tree(other));
  std::vector<json> lists[] = {JsonLines(one.out), JsonLines(four.out)};
  for (std::size_t i = 1; i + 1 < lists[0].size(); ++i) {
    EXPECT_EQ(lists[0][i]["start_sector"], lists[1][i]["start_sector"]);
    EXPECT_EQ(std::string(lists[0][i]["path"]).substr(out.size()),
              std::string(lists[1][i]["path"]).substr(other.size()));
  }
}

TEST_F(RecoverOnToolTest, TheManifestTellsWhatWasCopied) {
  ASSERT_EQ(Recover(out).exitCode, 0);
  const std::vector<json> manifest = Manifest(out);
  ASSERT_EQ(manifest.size(), 41U);
  EXPECT_EQ(manifest[0]["type"], "recovery");
  EXPECT_EQ(manifest[0]["source_size"], 4 << 20);
  EXPECT_EQ(manifest[2]["path"], "archives/7z/000000000200.7z");
  EXPECT_EQ(manifest[2]["length"], 5200);
  EXPECT_EQ(manifest[2]["start_sector"], 200);
  EXPECT_EQ(manifest[2]["unreadable_bytes"], 0);
  EXPECT_EQ(manifest[2]["duplicate"], false);
  EXPECT_EQ(std::system(("cd " + out + " && sha256sum --quiet -c SHA256SUMS").c_str()), 0);
  WriteFile(out + "/archives/7z/x", {});
  std::filesystem::rename(out + "/archives/7z/x", out + "/archives/7z/000000000200.7z");
  EXPECT_NE(std::system(("cd " + out + " && sha256sum --status -c SHA256SUMS").c_str()), 0);
}

TEST_F(RecoverOnToolTest, IdenticalContentsAreKeptOnce) {
  const ToolResult result = Recover(out, {"--dedupe"});
  ASSERT_EQ(result.exitCode, 0) << result.err;
  EXPECT_EQ(NamesIn(out + "/archives/7z").size(), 31U);
  EXPECT_EQ(JsonLines(result.out).back()["files_written"], 31);
  const std::vector<json> manifest = Manifest(out);
  ASSERT_EQ(manifest.size(), 41U);
  EXPECT_EQ(manifest[1]["duplicate"], false);
  EXPECT_EQ(manifest[5]["duplicate"], true);
  EXPECT_EQ(manifest[5]["start_sector"], 800);
  EXPECT_EQ(manifest[5]["path"], manifest[1]["path"]);
  EXPECT_EQ(JsonLines(result.out)[5]["path"], out + "/archives/7z/000000000000.7z");
}

TEST_F(RecoverOnToolTest, WhatWasKilledGoesOn) {
  const Strings options = {"--dedupe", "--jobs", "3"};
  ASSERT_EQ(Recover(other, options).exitCode, 0);
  for (const int bytes : {1, 100000, 900000}) {
    std::filesystem::remove_all(out);
    ASSERT_EQ(Recover(out, options, Killed(bytes)).exitCode, 1000 + SIGKILL);
    std::map<std::string, std::filesystem::file_time_type> before;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(out)) {
      if (entry.path().extension() == ".7z") before[entry.path()] = entry.last_write_time();
    }
    const ToolResult again = Recover(out, options);
    EXPECT_EQ(again.exitCode, 0) << again.err;
    EXPECT_EQ(Tree(out), Tree(other)) << bytes;
    EXPECT_EQ(JsonLines(again.out).back()["files_written"], 31);
    for (const auto& [path, time] : before) EXPECT_EQ(std::filesystem::last_write_time(path), time) << path;
  }
  EXPECT_EQ(Recover(out, options).exitCode, 0) << "once more, with nothing to do";
  EXPECT_EQ(Tree(out), Tree(other));
}

TEST_F(RecoverOnToolTest, ACopyWhoseLineWasLostIsTakenOver) {
  ASSERT_EQ(Recover(out).exitCode, 0);
  ASSERT_EQ(Recover(other).exitCode, 0);
  // As if the run had ended between the name and the line of the second copy.
  Bytes lines = ReadFile(out + "/manifest.jsonl");
  auto end = lines.begin();
  for (int i = 0; i < 2; ++i) end = std::find(end, lines.end(), '\n') + 1;
  std::filesystem::resize_file(out + "/manifest.jsonl", static_cast<std::uintmax_t>(end - lines.begin()) + 10);
  for (int i = 2; i < 40; ++i)
    std::filesystem::remove(out + "/" + std::string(Manifest(other)[static_cast<std::size_t>(i) + 1]["path"]));
  EXPECT_EQ(Recover(out).exitCode, 0);
  EXPECT_EQ(Tree(out), Tree(other));

  // What stands there is not ours when it is something else.
  std::filesystem::resize_file(out + "/manifest.jsonl", static_cast<std::uintmax_t>(end - lines.begin()));
  std::filesystem::resize_file(out + "/archives/7z/000000000200.7z", 5);
  const ToolResult result = Recover(out);
  EXPECT_EQ(result.exitCode, 1);
  EXPECT_TRUE(Has(result.err, "because there is such a file")) << result.err;
  EXPECT_EQ(ReadFile(out + "/archives/7z/000000000200.7z").size(), 5U);
}

TEST_F(RecoverOnToolTest, OnlyTheSameGoesOn) {
  ASSERT_EQ(Recover(out).exitCode, 0);
  const auto before = Tree(out);
  EXPECT_TRUE(Has(Recover(out, {"--dedupe"}).err, "--dedupe must be as before"));
  EXPECT_TRUE(Has(Recover(out, {"--sector-size", "1024"}).err, "in sectors of 512 bytes, and this one has"));
  WriteFile(workspace / "moved", SevenZip(3000));
  std::filesystem::rename(out + "/archives/7z/000000000200.7z", workspace / "away");
  const ToolResult missing = Recover(out);
  EXPECT_EQ(missing.exitCode, 1);
  EXPECT_TRUE(Has(missing.err, "was copied before, but is missing")) << missing.err;
  std::filesystem::rename(workspace / "away", out + "/archives/7z/000000000200.7z");
  EXPECT_EQ(Tree(out), before);

  Image disk(4U << 20U);
  disk.Put(std::size_t{7} * 512, SevenZip(5000));
  std::filesystem::remove(image);
  WriteFile(image, disk.Content());
  const ToolResult different = Recover(out);
  EXPECT_EQ(different.exitCode, 1);
  EXPECT_TRUE(Has(different.err, "was copied from other finds than these, from sector 7 on")) << different.err;
  EXPECT_EQ(Tree(out), before);
}

TEST_F(RecoverOnToolTest, AListStandsInForAScan) {
  const ToolResult scan = RunTool({"scan", image, "--types", "7z", "--format", "jsonl"});
  const std::string list = workspace / "finds.jsonl";
  WriteFile(list, BytesOf(scan.out));
  ASSERT_EQ(Recover(out, {"--from", list}).exitCode, 0);
  ASSERT_EQ(Recover(other).exitCode, 0);
  EXPECT_EQ(Tree(out), Tree(other));

  const ToolResult few = RunTool({"recover", image, "--out", workspace / "few", "--from", list, "--types", "ace"});
  EXPECT_EQ(few.exitCode, 0) << few.err;
  EXPECT_TRUE(Has(few.out, "Nothing found, 0 files written")) << few.out;

  const ToolResult wrong = Recover(workspace / "none", {"--from", list, "--sector-size", "1024"});
  EXPECT_EQ(wrong.exitCode, 1);
  EXPECT_TRUE(Has(wrong.err, "is about a source of 4194304 bytes in sectors of 512 bytes, and this one has"))
      << wrong.err;
  EXPECT_FALSE(std::filesystem::exists(workspace / "none"));

  WriteFile(workspace / "cut", BytesOf(scan.out.substr(0, scan.out.rfind("{"))));
  const ToolResult cut = Recover(workspace / "part", {"--from", workspace / "cut"});
  EXPECT_EQ(cut.exitCode, 0);
  EXPECT_TRUE(Has(cut.err, "did not come to its end")) << cut.err;
}

TEST_F(RecoverOnToolTest, RoomIsLookedForFirst) {
  ToolSetup setup;
  setup.faults = {{"FREE", "1000000"}};
  const ToolResult result = Recover(out, {}, setup);
  EXPECT_EQ(result.exitCode, 1);
  EXPECT_TRUE(Has(result.err, "the copies have up to ")) << result.err;
  EXPECT_TRUE(Has(result.err, "--ignore-free-space")) << result.err;
  EXPECT_EQ(NamesIn(out), Strings{"manifest.jsonl"});
  const std::vector<json> lines = JsonLines(result.out);
  ASSERT_EQ(lines.size(), 42U) << "the finds are listed all the same";
  EXPECT_TRUE(lines[1]["path"].is_null());
  EXPECT_EQ(Recover(out, {"--ignore-free-space"}, setup).exitCode, 0);
  EXPECT_EQ(NamesIn(out + "/archives/7z").size(), 40U);
}

TEST_F(RecoverOnToolTest, WhatIsThereNeedsNoMoreRoom) {
  ASSERT_EQ(Recover(out).exitCode, 0);
  ToolSetup setup;
  setup.faults = {{"FREE", "1000"}};
  const ToolResult again = Recover(out, {}, setup);
  EXPECT_EQ(again.exitCode, 0) << again.err;
}

TEST_F(RecoverOnToolTest, TheSumIsThatOfAllPieces) {
  std::filesystem::remove(image);
  WriteFile(image, Image(4U << 20U).Put(std::size_t{100} * 512, SevenZip((5U << 19U) + 7)).Content());
  ASSERT_EQ(Recover(out).exitCode, 0);
  ASSERT_EQ(Manifest(out).size(), 2U);
  EXPECT_EQ(std::system(("cd " + out + " && sha256sum --quiet -c SHA256SUMS").c_str()), 0);
}

TEST_F(RecoverOnToolTest, UnreadableBytesAreCountedForEachCopy) {
  const ToolResult scan = RunTool({"scan", image, "--types", "7z", "--format", "jsonl"});
  WriteFile(workspace / "list", BytesOf(scan.out));
  ToolSetup setup;
  // The last sector of the file at 200, of which 80 bytes are its own, and the one before it.
  setup.faults = {{"FILE", image}, {"UNREADABLE", std::to_string(209 * 512) + "-" + std::to_string(211 * 512)}};
  EXPECT_EQ(Recover(out, {"--from", workspace / "list"}, setup).exitCode, 3);
  EXPECT_EQ(Manifest(out)[2]["unreadable_bytes"], 512 + 80);
  EXPECT_EQ(Manifest(out)[1]["unreadable_bytes"], 0);
  Bytes expected = SevenZip(5200);
  std::fill(expected.begin() + 9 * 512, expected.end(), std::uint8_t{0});
  EXPECT_EQ(ReadFile(out + "/archives/7z/000000000200.7z"), expected);
  const ToolResult again = Recover(out, {"--from", workspace / "list"});
  EXPECT_EQ(again.exitCode, 3);
  EXPECT_TRUE(Has(again.err, "592 bytes of the copies could not be read by an earlier run")) << again.err;
}

TEST_F(RecoverOnToolTest, NamesAndEndsComeFromTheFiles) {
  Bytes picture = DatedJpeg();
  Bytes pixels = {0xFF, 0xDA, 0, 8};
  pixels.resize(40000, 'p');
  picture.insert(picture.end() - 2, pixels.begin(), pixels.end());
  Bytes archive = BytesOf("!<arch>\nfile            0           0     0     644     3001      `\n");
  archive.resize(archive.size() + 3002, 'x');
  std::filesystem::remove(image);
  WriteFile(image, Image(1U << 20U)
                       .Put(std::size_t{100} * 512, picture)
                       .Put(std::size_t{300} * 512, archive)
                       .Put(std::size_t{400} * 512, Ace())
                       .Content());
  const ToolResult result = Recover(out);
  EXPECT_EQ(result.exitCode, 0) << result.err;
  EXPECT_EQ(NamesIn(out + "/graphics/jpg"), Strings{"000000000100_2004-02-29_12-30-00.jpg"});
  EXPECT_EQ(ReadFile(out + "/archives/deb/000000000300.deb"), archive);
  const json find = JsonLines(result.out)[2];
  EXPECT_EQ(find["size"], archive.size());
  EXPECT_EQ(find["size_estimated"], false);
}

}  // namespace
}  // namespace qzmtraw::host
