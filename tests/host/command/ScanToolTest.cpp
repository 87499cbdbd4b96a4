#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>
#include <csignal>
#include <filesystem>
#include <map>

#include "tests/host/support/Image.h"
#include "tests/host/support/Tool.h"

namespace qzmtraw::host {
namespace {

using nlohmann::json;

/// A workspace with an image of 1 MiB: a 7z of 1132 bytes at sector 128, an ACE at 300, and a 7z in the last 8 sectors
/// that says it has 100000 bytes.
class ScanToolTest : public ::testing::Test {
 protected:
  ScanToolTest() {
    WriteFile(image, Image(1U << 20U)
                         .Put(std::size_t{128} * 512, SevenZip(1132))
                         .Put(std::size_t{300} * 512, Ace())
                         .Put(std::size_t{2040} * 512, SevenZip(100000))
                         .Content());
  }

  std::vector<json> ScanLines(std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), {"scan", "--format", "jsonl"});
    const ToolResult result = RunTool(arguments);
    EXPECT_EQ(result.exitCode, 0) << result.err;
    EXPECT_EQ(result.err, "");
    std::vector<json> lines = JsonLines(result.out);
    EXPECT_EQ(lines.front()["type"], "source");
    EXPECT_EQ(lines.back()["type"], "summary");
    EXPECT_EQ(lines.back()["finds"], lines.size() - 2);
    return lines;
  }

  Workspace workspace;
  std::string image = workspace / "disk.img";
};

TEST_F(ScanToolTest, FindsFilesWithPlaceAndSize) {
  const std::vector<json> lines = ScanLines({image});
  ASSERT_EQ(lines.size(), 5U);
  EXPECT_EQ(lines[0]["path"], image);
  EXPECT_EQ(lines[0]["size"], 1U << 20U);
  EXPECT_EQ(lines[0]["sector_size"], 512);
  EXPECT_EQ(lines[1]["row"], 144);
  EXPECT_EQ(lines[1]["start_sector"], 128);
  EXPECT_EQ(lines[1]["offset"], 65536);
  EXPECT_EQ(lines[1]["size"], 1132);
  EXPECT_EQ(lines[1]["truncated"], false);
  EXPECT_EQ(lines[2]["row"], 157);
  EXPECT_EQ(lines[2]["start_sector"], 300);
  EXPECT_TRUE(lines[2]["size"].is_null());
  EXPECT_EQ(lines[3]["start_sector"], 2040);
  EXPECT_EQ(lines[3]["size"], 100000);
  EXPECT_EQ(lines[3]["truncated"], true);
  EXPECT_EQ(lines[4]["bytes"], 1U << 20U);
  EXPECT_EQ(lines[4]["interrupted"], false);
}

TEST_F(ScanToolTest, ACompoundDocumentAtSector0IsFound) {
  const Bytes document = ReadFile(QZMTRAW_TEST_DATA "/compound/text.doc");
  WriteFile(workspace / "first.img", Image(std::size_t{64} << 10U).Put(0, document).Content());
  const std::vector<json> lines = ScanLines({workspace / "first.img"});
  ASSERT_EQ(lines.size(), 3U);
  EXPECT_EQ(lines[1]["extension"], "doc");
  EXPECT_EQ(lines[1]["start_sector"], 0);
}

TEST_F(ScanToolTest, UnreadableSectorsAreTakenAsZerosAndTold) {
  ToolSetup setup;
  setup.faults = {{"FILE", image}, {"UNREADABLE", "102500-104448"}};
  const ToolResult result = RunTool({"scan", "--format", "jsonl", image}, setup);
  EXPECT_EQ(result.exitCode, 3);
  const std::string start = "qzmtraw: '" + image + "': ";
  EXPECT_EQ(result.err, start + "4 sectors could not be read and were taken as zeros: 200-203\n" + start +
                            "copy it with a tool for failing drives before it gets worse, and scan the copy\n");
  const std::vector<json> lines = JsonLines(result.out);
  ASSERT_EQ(lines.size(), 5U);
  EXPECT_EQ(lines[1]["start_sector"], 128);
  EXPECT_EQ(lines[3]["start_sector"], 2040);
  EXPECT_EQ(lines[4]["unreadable_sectors"], 4);
  EXPECT_EQ(lines[4]["unreadable_ranges"], json::parse(R"([{"start_sector": 200, "sectors": 4}])"));
}

TEST_F(ScanToolTest, AFileInAnUnreadableSectorIsLost) {
  ToolSetup setup;
  setup.faults = {{"FILE", image}, {"UNREADABLE", "153600-154112"}};
  const ToolResult result = RunTool({"scan", "--format", "jsonl", image}, setup);
  EXPECT_EQ(result.exitCode, 3);
  EXPECT_EQ(JsonLines(result.out).size(), 4U);
}

TEST_F(ScanToolTest, ATableIsTheDefault) {
  const ToolResult result = RunTool({"scan", image});
  EXPECT_EQ(result.exitCode, 0);
  EXPECT_NE(result.out.find("         128             65536  1.1 KiB (1132)                  from-header  7z "),
            std::string::npos)
      << result.out;
  EXPECT_NE(result.out.find("\n3 finds (2 7z, 1 ace); scanned 1.0 MiB (1048576 of 1048576 bytes) for 320 file types"),
            std::string::npos)
      << result.out;
}

TEST_F(ScanToolTest, OnlyTheSelectedTypesAreLookedFor) {
  const std::vector<json> aces = ScanLines({image, "--types", "ACE"});
  ASSERT_EQ(aces.size(), 3U);
  EXPECT_EQ(aces[0]["file_types"], 1);
  EXPECT_EQ(aces[1]["row"], 157);
  EXPECT_EQ(ScanLines({image, "--types", "144,doc"}).size(), 4U);
}

TEST_F(ScanToolTest, TypesAreChosenByCategoryClassAndProfile) {
  EXPECT_EQ(ScanLines({image, "--category", "arch"}).size(), 5U);
  EXPECT_EQ(ScanLines({image, "--category", "arch", "--exclude", "7z"}).size(), 3U);
  EXPECT_EQ(ScanLines({image, "--exclude", "archives"}).size(), 2U);
  EXPECT_EQ(ScanLines({image, "--types", "ckaacefiletype"}).size(), 3U);
  EXPECT_EQ(ScanLines({image, "--profile", "photos"}).size(), 2U);
  WriteFile(workspace / "mine.conf", BytesOf("types = ace\n"));
  EXPECT_EQ(ScanLines({image, "--profile", workspace / "mine.conf"}).size(), 3U);
  EXPECT_EQ(ScanLines({image, "--profile", workspace / "mine.conf", "--types", "7z"}).size(), 5U);
}

TEST_F(ScanToolTest, AGreatestSizeIsSet) {
  const std::vector<json> lines = ScanLines({image, "--max-size", "7z=1000", "--all"});
  ASSERT_EQ(lines.size(), 5U);
  EXPECT_EQ(lines[1]["size"], 1000);
  EXPECT_EQ(lines[1]["notes"], json{"clipped to the greatest size of its type"});
  EXPECT_EQ(lines[1]["confidence"], "start-only");
  const ToolResult result = RunTool({"scan", image, "--max-size", "ace=1MiB"});
  EXPECT_EQ(result.exitCode, 0);
  EXPECT_EQ(result.err,
            "qzmtraw: --max-size: 'ace=1MiB' has no effect on row 157, whose sizes have no limit that can be set\n");
}

/// A 7z of 30000 bytes with a 7z of 1132 in it, and a cabinet, which two rows report.
class JudgedScanToolTest : public ScanToolTest {
 protected:
  JudgedScanToolTest() {
    Bytes cabinet(600, 'x');
    const Bytes head = {'M', 'S', 'C', 'F', 0, 0, 0, 0, 0x58, 0x02, 0, 0};
    std::copy(head.begin(), head.end(), cabinet.begin());
    WriteFile(judged, Image(1U << 20U)
                          .Put(std::size_t{128} * 512, SevenZip(30000))
                          .Put(std::size_t{140} * 512, SevenZip(1132))
                          .Put(std::size_t{300} * 512, cabinet)
                          .Content());
  }

  std::string judged = workspace / "judged.img";
};

TEST_F(JudgedScanToolTest, OneFindForEachStartIsListed) {
  const std::vector<json> lines = ScanLines({judged});
  ASSERT_EQ(lines.size(), 5U);
  EXPECT_EQ(lines[1]["class"], "K7ZipFileType");
  EXPECT_EQ(lines[1]["confidence"], "from-header");
  EXPECT_EQ(lines[1]["embedded_in"], nullptr);
  EXPECT_EQ(lines[2]["start_sector"], 140);
  EXPECT_EQ(lines[2]["embedded_in"], (json{{"start_sector", 128}, {"row", 144}}));
  EXPECT_EQ(lines[3]["row"], 146);
  const std::vector<json> all = ScanLines({judged, "--all"});
  ASSERT_EQ(all.size(), 6U);
  EXPECT_EQ(all[2]["embedded_in"], nullptr);
  EXPECT_EQ(all[3]["row"], 146);
  EXPECT_EQ(all[4]["row"], 282);
  EXPECT_EQ(ScanLines({judged, "--all"}).size(), 6U);
}

TEST_F(JudgedScanToolTest, EmbeddedFindsAreCopiedWhereTheyAreWanted) {
  for (const auto& [option, copies] : std::map<std::string, std::size_t>{{"", 2}, {"--embedded", 3}, {"--all", 4}}) {
    const std::string out = workspace / ("out" + option);
    std::vector<std::string> arguments = {"recover", judged, "--out", out, "--format", "jsonl"};
    if (!option.empty()) arguments.push_back(option);
    const ToolResult result = RunTool(arguments);
    EXPECT_EQ(result.exitCode, 0) << result.err;
    const std::vector<json> lines = JsonLines(result.out);
    EXPECT_EQ(lines.back()["files_written"], copies) << option;
    EXPECT_EQ(lines.size(), option == "--all" ? 6U : 5U);
    EXPECT_EQ(std::filesystem::exists(out + "/archives/7z/000000000140.7z"), !option.empty()) << option;
  }
}

TEST_F(JudgedScanToolTest, VerifyingLooksIntoFinds) {
  Bytes picture = BytesOf(std::string_view("\x89PNG\r\n\x1A\n\0\0\0\rIHDR\0\0\0\1\0\0\0\1\x08\0\0\0\0", 29));
  picture.resize(300);
  const Bytes end = BytesOf("IEND\xAE\x42\x60\x82");
  picture.insert(picture.end(), end.begin(), end.end());
  WriteFile(judged, Image(40000).Put(512, picture).Put(std::size_t{20} * 512, SevenZip(300)).Content());
  const std::vector<json> lines = ScanLines({judged, "--verify"});
  ASSERT_EQ(lines.size(), 4U);
  EXPECT_EQ(lines[1]["extension"], "png");
  EXPECT_EQ(lines[1]["verdict"], "confirmed");
  EXPECT_EQ(lines[1]["confidence"], "checked-end");
  EXPECT_EQ(lines[2]["extension"], "7z");
  EXPECT_NE(lines[2]["verdict"], "contradicted");
  EXPECT_EQ(ScanLines({judged})[1]["verdict"], nullptr);
}

TEST_F(ScanToolTest, SectorsMayHaveAnotherSize) {
  // 65536 is sector 16 of 4096 bytes; the others don't start on such a sector, or do: 2040 * 512 = 255 * 4096.
  const std::vector<json> lines = ScanLines({image, "--sector-size", "4096"});
  ASSERT_EQ(lines.size(), 4U);
  EXPECT_EQ(lines[0]["sector_size"], 4096);
  EXPECT_EQ(lines[1]["start_sector"], 16);
  EXPECT_EQ(lines[1]["offset"], 65536);
  EXPECT_EQ(lines[1]["size"], 1132);
  EXPECT_EQ(lines[2]["start_sector"], 255);
}

TEST_F(ScanToolTest, TheFirstAndAnIncompleteLastSectorCount) {
  WriteFile(workspace / "odd.img", Image(5160).Put(0, SevenZip(300)).Put(5120, SevenZip(400)).Content());
  const std::vector<json> lines = ScanLines({workspace / "odd.img"});
  ASSERT_EQ(lines.size(), 4U);
  EXPECT_EQ(lines[1]["start_sector"], 0);
  EXPECT_EQ(lines[2]["start_sector"], 10);
  EXPECT_EQ(lines[2]["truncated"], true);
  EXPECT_EQ(lines[3]["bytes"], 5160);
}

TEST_F(ScanToolTest, AnEmptyImageIsNoError) {
  WriteFile(workspace / "empty.img", {});
  const ToolResult result = RunTool({"scan", workspace / "empty.img"});
  EXPECT_EQ(result.exitCode, 0);
  EXPECT_NE(result.err.find("nothing to scan"), std::string::npos) << result.err;
  EXPECT_NE(result.out.find("Nothing found"), std::string::npos) << result.out;
}

TEST_F(ScanToolTest, NothingFoundDoesNotLookLikeNothingDone) {
  WriteFile(workspace / "blank.img", Image(1000).Content());
  const ToolResult result = RunTool({"scan", workspace / "blank.img"});
  EXPECT_EQ(result.exitCode, 0);
  EXPECT_NE(result.out.find("Nothing found; scanned 1000 B (1000 of 1000 bytes) for 320 file types"), std::string::npos)
      << result.out;
}

TEST_F(ScanToolTest, TheImageStaysAsItWas) {
  const Bytes before = ReadFile(image);
  struct stat earlier {};
  ASSERT_EQ(::stat(image.c_str(), &earlier), 0);
  ASSERT_EQ(::chmod(image.c_str(), 0400), 0);
  RunTool({"scan", image});
  struct stat later {};
  ASSERT_EQ(::stat(image.c_str(), &later), 0);
  EXPECT_EQ(earlier.st_mtim.tv_sec, later.st_mtim.tv_sec);
  EXPECT_EQ(earlier.st_mtim.tv_nsec, later.st_mtim.tv_nsec);
  EXPECT_EQ(ReadFile(image), before);
}

TEST_F(ScanToolTest, TheCurrentDirectoryStaysAsItWas) {
  const Workspace temporary;
  RunTool({"scan", image}, {.directory = workspace.Path(), .temporaryDirectory = temporary.Path()});
  EXPECT_EQ(NamesIn(workspace.Path()), (std::vector<std::string>{"disk.img"}));
  EXPECT_EQ(NamesIn(temporary.Path()), std::vector<std::string>{}) << "the temporary directory was left";

  WriteFile(workspace / "qzmtraw.log", BytesOf("the user's"));
  EXPECT_EQ(RunTool({"scan", "disk.img"}, {.directory = workspace.Path()}).exitCode, 0) << "relative path";
  EXPECT_EQ(ReadFile(workspace / "qzmtraw.log"), BytesOf("the user's"));
}

TEST_F(ScanToolTest, WithoutATemporaryDirectoryItFails) {
  const ToolResult result = RunTool({"scan", image}, {.temporaryDirectory = workspace / "missing"});
  EXPECT_EQ(result.exitCode, 1);
  EXPECT_NE(result.err.find("TMPDIR"), std::string::npos) << result.err;
}

TEST_F(ScanToolTest, WhatIsNoImageIsNamed) {
  const ToolResult missing = RunTool({"scan", workspace / "missing.img"});
  EXPECT_EQ(missing.exitCode, 1);
  EXPECT_NE(missing.err.find(workspace / "missing.img"), std::string::npos) << missing.err;
  EXPECT_EQ(missing.out, "");
  const ToolResult directory = RunTool({"scan", workspace.Path()});
  EXPECT_EQ(directory.exitCode, 1);
  EXPECT_NE(directory.err.find("is a directory"), std::string::npos) << directory.err;
}

TEST_F(ScanToolTest, AFullDiskAndAClosedPipeAreFailures) {
  const ToolResult full = RunTool({"scan", image}, {.outputPath = "/dev/full"});
  EXPECT_EQ(full.exitCode, 1);
  EXPECT_NE(full.err.find("No space left"), std::string::npos) << full.err;
  const ToolResult closed = RunTool({"scan", image}, {.hasBrokenPipe = true});
  EXPECT_EQ(closed.exitCode, 1);
  EXPECT_NE(closed.err.find("Broken pipe"), std::string::npos) << closed.err;
}

TEST_F(ScanToolTest, AHostilePathBreaksNothing) {
  const std::string path = workspace / "a\x1B[2J\xFF\n.img";
  WriteFile(path, Image(512).Content());
  const std::vector<json> lines = ScanLines({path});
  EXPECT_TRUE(lines[0]["path"].get<std::string>().ends_with("/a\\x1B[2J\\xFF\\x0A.img"));
  const ToolResult table = RunTool({"scan", path});
  EXPECT_EQ(table.out.find('\x1B'), std::string::npos);
}

TEST_F(ScanToolTest, AnInterruptedScanListsWhatWasFound) {
  // A hole of 1 TiB, which takes far longer to scan than the signal to arrive.
  std::filesystem::resize_file(image, std::uint64_t{1} << 40U);
  for (const int signal : {SIGINT, SIGTERM}) {
    const ToolResult result = RunTool({"scan", image, "--format", "jsonl"}, {.signal = signal});
    EXPECT_EQ(result.exitCode, 130) << result.err;
    const std::vector<json> lines = JsonLines(result.out);
    ASSERT_GE(lines.size(), 2U);
    EXPECT_EQ(lines.back()["type"], "summary");
    EXPECT_EQ(lines.back()["interrupted"], true);
    EXPECT_LT(lines.back()["bytes"], std::uint64_t{1} << 40U);
  }
}

}  // namespace
}  // namespace qzmtraw::host
