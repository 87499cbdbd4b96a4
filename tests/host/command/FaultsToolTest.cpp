#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "tests/host/support/Image.h"
#include "tests/host/support/Tool.h"

#if defined(__has_feature)
#if __has_feature(address_sanitizer)
#define QZMTRAW_TEST_MEMORY_IS_OBSERVED
#endif
#endif

namespace qzmtraw::host {
namespace {

using nlohmann::json;
using Faults = std::map<std::string, std::string>;
using Names = std::vector<std::string>;

constexpr std::uint64_t kMiB = 1U << 20U;

/// Far more than can be scanned before a signal arrives.
constexpr std::uint64_t kEndless = std::uint64_t{1} << 40U;

bool Has(const std::string& text, const std::string& part) { return text.find(part) != std::string::npos; }

/// An image of archives, and what fails while it is read.
class FaultsToolTest : public ::testing::Test {
 protected:
  FaultsToolTest() { WriteFile(image, ImageOfArchives().Content()); }

  /// An image all sectors of which start like an ACE, with the faults that make it so.
  Faults FillWithHeads(std::uint64_t size) {
    WriteFile(image, Image(512).Put(0, Ace()).Content());
    std::filesystem::resize_file(image, size);
    return {{"REPEAT", "512"}};
  }

  ToolSetup With(const Faults& faults) const {
    ToolSetup setup;
    setup.faults = faults;
    setup.faults["FILE"] = image;
    return setup;
  }

  ToolResult Table(const ToolSetup& setup) { return RunTool({"scan", image, "--types", "7z,ace"}, setup); }

  ToolResult Lines(const ToolSetup& setup) {
    const ToolResult result = RunTool({"scan", image, "--types", "7z,ace", "--format", "jsonl"}, setup);
    lines = JsonLines(result.out);
    return result;
  }

  /// The same with finds as they come.
  ToolResult AllLines(const ToolSetup& setup) {
    const ToolResult result = RunTool({"scan", image, "--types", "7z,ace", "--format", "jsonl", "--all"}, setup);
    lines = JsonLines(result.out);
    return result;
  }

  /// Recovers into `out`.
  ToolResult Recover(const ToolSetup& setup) {
    const ToolResult result =
        RunTool({"recover", image, "--out", out, "--types", "7z,ace", "--format", "jsonl", "--jobs", "1"}, setup);
    lines = JsonLines(result.out);
    return result;
  }

  /// A scan, and a recovery, with JSON lines.
  using Run = std::function<ToolResult(const ToolSetup&)>;
  std::vector<Run> BothCommands() {
    return {[this](const ToolSetup& setup) { return Lines(setup); },
            [this](const ToolSetup& setup) { return Recover(setup); }};
  }

  /// Where the finds of `lines` start.
  std::vector<int> FindSectors() const {
    std::vector<int> sectors;
    for (const json& line : lines) {
      if (line["type"] == "find") sectors.push_back(line["start_sector"]);
    }
    return sectors;
  }

  std::string MessageStart() const { return "qzmtraw: '" + image + "': "; }

  /// Everything below `out` but directories and the lists of what is there.
  Names Files() const {
    Names names;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(out)) {
      if (!entry.is_directory() && entry.path().parent_path() != out) {
        names.push_back(entry.path().lexically_relative(out));
      }
    }
    std::ranges::sort(names);
    return names;
  }

  Workspace workspace;
  std::string image = workspace / "disk.img";
  std::string out = workspace / "out";
  const std::vector<int> allSectors = {128, 300, 1000, 8000};
  /// Of the last run.
  std::vector<json> lines;
};

TEST_F(FaultsToolTest, UnreadableSectorsAreReportedEverywhere) {
  // Sectors 200 to 203, and 1500, which lies in the 7z at 1000.
  for (const auto& [from, to, sector, count] : {std::tuple{102500, 104448, 200, 4}, {768000, 768001, 1500, 1}}) {
    const ToolSetup setup = With({{"UNREADABLE", std::to_string(from) + "-" + std::to_string(to)}});
    const std::string countText = std::to_string(count) + (count == 1 ? " sector" : " sectors");
    const std::string message = MessageStart() + countText + " could not be read and ";

    const ToolResult table = Table(setup);
    EXPECT_EQ(table.exitCode, 3);
    EXPECT_TRUE(Has(table.out, "  Could not be read\n" + std::string(9 - (sector > 999 ? 1 : 0), ' ') +
                                   std::to_string(sector) + "            " + std::to_string(sector * 512) + "  " +
                                   countText + "\n\n4 finds"))
        << table.out;
    EXPECT_TRUE(Has(table.out, "; " + countText + " could not be read.\n")) << table.out;
    EXPECT_TRUE(table.err.starts_with(message)) << table.err;

    const json ranges = {{{"start_sector", sector}, {"sectors", count}}};
    std::filesystem::remove_all(out);
    for (const ToolResult& result : {Lines(setup), Recover(setup)}) {
      EXPECT_EQ(result.exitCode, 3);
      EXPECT_TRUE(result.err.starts_with(message)) << result.err;
      lines = JsonLines(result.out);
      EXPECT_EQ(FindSectors(), allSectors);
      EXPECT_EQ(lines.back()["unreadable_sectors"], count);
      EXPECT_EQ(lines.back()["unreadable_ranges"], ranges);
      EXPECT_EQ(lines.back()["bytes"], 4 * kMiB);
      EXPECT_EQ(lines.back()["error"], nullptr);
    }
  }
  Bytes expected = SevenZip(kMiB);
  std::fill_n(expected.begin() + 500 * 512, 512, std::uint8_t{0});
  EXPECT_EQ(ReadFile(out + "/archives/7z/000000001000.7z"), expected);
}

TEST_F(FaultsToolTest, EverySecondSectorMayBeUnreadable) {
  const ToolSetup setup = With({{"UNREADABLE", "512-1024/1024"}});
  const ToolResult table = Table(setup);
  EXPECT_EQ(table.exitCode, 3);
  EXPECT_TRUE(Has(table.out, "\n           1               512  1 sector\n           3")) << table.out;
  EXPECT_TRUE(Has(table.out, "\n        8191           4193792  1 sector\n\n4 finds")) << table.out;
  EXPECT_TRUE(Has(table.err, ": 4096 sectors could not be read and were taken as zeros: 1, 3, ")) << table.err;
  EXPECT_TRUE(Has(table.err, ", 39 and 4076 more ranges, see the list\n")) << table.err;

  EXPECT_EQ(Lines(setup).exitCode, 3);
  EXPECT_EQ(FindSectors(), allSectors);
  EXPECT_EQ(lines.back()["unreadable_sectors"], 4096);
  const json& ranges = lines.back()["unreadable_ranges"];
  ASSERT_EQ(ranges.size(), 4096U);
  for (std::size_t i = 0; i < ranges.size(); ++i) {
    EXPECT_EQ(ranges[i], (json{{"start_sector", 2 * i + 1}, {"sectors", 1}}));
  }
}

TEST_F(FaultsToolTest, LanesDoNotChangeWhatIsUnreadable) {
  const ToolSetup setup = With({{"UNREADABLE", "70000-71000/100000"}});
  std::vector<json> summaries;
  for (const char* jobs : {"1", "3"}) {
    const ToolResult result = RunTool({"scan", image, "--format", "jsonl", "--jobs", jobs}, setup);
    EXPECT_EQ(result.exitCode, 3);
    summaries.push_back(JsonLines(result.out).back());
    for (const char* when : {"seconds", "ended"}) summaries.back().erase(when);
  }
  EXPECT_EQ(summaries[0], summaries[1]);
  EXPECT_EQ(summaries[0]["unreadable_ranges"].size(), 42U);
}

TEST_F(FaultsToolTest, AnImageThatShrinksLosesItsEnd) {
  // Sector 5120 is the first that isn't whole any more.
  const ToolSetup setup = With({{"RESIZE", "2100000-2621540"}});
  const std::string message = MessageStart() + "had 4194304 bytes at the start and has 2621540 now: scan it again";
  for (const Run& run : BothCommands()) {
    std::filesystem::resize_file(image, 4 * kMiB);
    const ToolResult result = run(setup);
    EXPECT_EQ(result.exitCode, 3);
    EXPECT_EQ(FindSectors(), (std::vector<int>{128, 300, 1000}));
    EXPECT_EQ(lines.back()["unreadable_ranges"], (json{{{"start_sector", 5120}, {"sectors", 3072}}}));
    EXPECT_EQ(lines.back()["size_at_end"], 2621540);
    EXPECT_TRUE(Has(result.err, message)) << result.err;
    EXPECT_TRUE(Has(result.err, ": 5120-8191\n")) << result.err;
  }
  EXPECT_EQ(ReadFile(out + "/archives/7z/000000001000.7z"), SevenZip(kMiB));
  std::filesystem::resize_file(image, 4 * kMiB);
  const ToolResult table = Table(setup);
  EXPECT_EQ(table.exitCode, 3);
  EXPECT_TRUE(Has(table.out, "; 3072 sectors could not be read; the source now has 2621540 bytes.\n")) << table.out;
}

TEST_F(FaultsToolTest, AnImageThatGrowsIsScannedAsFarAsItWent) {
  const ToolSetup setup = With({{"RESIZE", "2000000-9000000"}});
  const std::string message = MessageStart() + "had 4194304 bytes at the start and has 9000000 now: scan it again";
  EXPECT_EQ(Lines(setup).exitCode, 3);
  EXPECT_EQ(FindSectors(), allSectors);
  EXPECT_EQ(lines.back()["bytes"], 4 * kMiB);
  EXPECT_EQ(lines.back()["size_at_end"], 9000000);
  EXPECT_EQ(lines.back()["unreadable_sectors"], 0);
  std::filesystem::resize_file(image, 4 * kMiB);
  const ToolResult table = Table(setup);
  EXPECT_EQ(table.exitCode, 3);
  EXPECT_TRUE(Has(table.err, message)) << table.err;
  EXPECT_TRUE(Has(table.out, "; the source now has 9000000 bytes.\n")) << table.out;
}

TEST_F(FaultsToolTest, ADriveThatGoesAwayEndsIt) {
  const ToolSetup setup = With({{"UNREADABLE", "3000000-4194304"}, {"ERROR", std::to_string(ENODEV)}});
  const std::string reason = "'" + image +
                             "': reading at byte 3000000 failed: No such device: see whether the drive is still "
                             "connected; the list holds what was found before";
  for (const Run& run : BothCommands()) {
    const ToolResult result = run(setup);
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(FindSectors(), (std::vector<int>{128, 300, 1000}));
    EXPECT_EQ(lines.back()["error"], reason);
    EXPECT_LE(lines.back()["bytes"], 3000000);
    EXPECT_EQ(result.err, "qzmtraw: " + reason + "\n");
  }
  EXPECT_EQ(lines.back()["files_written"], 0);
  const ToolResult table = Table(setup);
  EXPECT_EQ(table.exitCode, 1);
  EXPECT_TRUE(Has(table.out, "\nFailed. 3 finds (2 7z, 1 ace); scanned ")) << table.out;
}

/// The drive goes away in the middle of the copy of a file of 3 MiB, when the first copy is done.
TEST_F(FaultsToolTest, ADriveThatGoesAwayWhileItIsCopiedLeavesWholeCopies) {
  WriteFile(image, Image(8 * kMiB)
                       .Put(std::size_t{128} * 512, SevenZip(1132))
                       .Put(std::size_t{1000} * 512, SevenZip(3 * kMiB))
                       .Put(std::size_t{8000} * 512, SevenZip(500))
                       .Content());
  const ToolResult result =
      Recover(With({{"UNREADABLE", "2000000-8388608"}, {"ERROR", std::to_string(ENODEV)}, {"LATER", "1000000"}}));
  EXPECT_EQ(result.exitCode, 1);
  EXPECT_EQ(FindSectors(), (std::vector<int>{128, 1000, 8000}));
  EXPECT_EQ(lines.back()["bytes"], 8 * kMiB) << "the scan was over";
  EXPECT_EQ(lines.back()["files_written"], 1);
  EXPECT_TRUE(Has(result.err,
                  "': reading at byte 2000000 failed: No such device: see whether the drive is still "
                  "connected; the list holds what was found before\n"))
      << result.err;
  EXPECT_EQ(Files(), (Names{"archives/7z/000000000128.7z"}));
  EXPECT_EQ(ReadFile(out + "/archives/7z/000000000128.7z"), SevenZip(1132));
}

TEST_F(FaultsToolTest, AListThatDoesNotFitOntoTheDiskIsToldOf) {
  ToolSetup setup = With(FillWithHeads(kMiB));
  setup.faults["ROOM"] = "200000";
  setup.outputPath = workspace / "list";
  WriteFile(setup.outputPath, {});
  const ToolResult result = Lines(setup);
  EXPECT_EQ(result.exitCode, 1);
  EXPECT_TRUE(Has(result.err, "qzmtraw: cannot write the standard output: No space left on device after "))
      << result.err;
  EXPECT_TRUE(Has(result.err, "on a disk with room\n")) << result.err;
  const Bytes list = ReadFile(setup.outputPath);
  EXPECT_GT(list.size(), 100000U);
  const std::string text(list.begin(), list.end());
  const std::size_t end = text.rfind('\n') + 1;
  EXPECT_EQ(JsonLines(text.substr(0, end)).size(), static_cast<std::size_t>(std::ranges::count(text, '\n')));
}

/// With 32 MiB of memory 87381 finds are kept in it; the disk has room for them once.
TEST_F(FaultsToolTest, WithoutRoomForMoreFindsThoseSoFarAreListed) {
  ToolSetup setup = With(FillWithHeads(128 * kMiB));
  setup.faults["ROOM"] = "4000000";
  const ToolResult result = RunTool({"scan", image, "--types", "ace", "--memory", "32MiB"}, setup);
  EXPECT_EQ(result.exitCode, 1);
  EXPECT_TRUE(Has(result.err, "cannot write a temporary file in '")) << result.err;
  EXPECT_TRUE(Has(result.err, "No space left on device: set TMPDIR")) << result.err;
  EXPECT_TRUE(Has(result.out, "\nFailed. 174762 finds (174762 ace); scanned "))
      << result.out.substr(result.out.size() - 300);
  EXPECT_TRUE(Has(result.out, "\n           0 "));
  EXPECT_TRUE(Has(result.out, "\n       87381 "));
  EXPECT_TRUE(Has(result.out, "\n      174761 "));
}

TEST_F(FaultsToolTest, WithoutRoomForUnreadableSectorsItFails) {
  const ToolResult result = Lines(With({{"UNREADABLE", "2000000-2000001"}, {"ROOM", "0"}}));
  EXPECT_EQ(result.exitCode, 1);
  EXPECT_TRUE(result.err.starts_with(MessageStart() + "cannot write a temporary file in ")) << result.err;
  EXPECT_EQ(FindSectors(), (std::vector<int>{128, 300, 1000}));
}

TEST_F(FaultsToolTest, AFullDiskKeepsTheCopiesThatAreWhole) {
  std::filesystem::resize_file(image, 8 * kMiB);
  const ToolResult result = Recover(With({{"ROOM", "600000"}}));
  EXPECT_EQ(result.exitCode, 1);
  EXPECT_TRUE(Has(result.err, "cannot write '" + out + "/archives/7z/000000001000.7z': No space left on device after "))
      << result.err;
  EXPECT_TRUE(Has(result.err, "make room")) << result.err;
  EXPECT_EQ(Files(), (Names{"archives/7z/000000000128.7z", "archives/ace/000000000300.ace"}));
  EXPECT_EQ(ReadFile(out + "/archives/7z/000000000128.7z"), SevenZip(1132));
  EXPECT_EQ(FindSectors(), allSectors);
  EXPECT_EQ(lines.back()["files_written"], 2);
}

TEST_F(FaultsToolTest, AClosedPipeEndsARecovery) {
  const ToolResult result = RunTool({"recover", image, "--out", out}, {.hasBrokenPipe = true});
  EXPECT_EQ(result.exitCode, 1);
  EXPECT_TRUE(Has(result.err, "Broken pipe after 0 bytes: the program that reads it has ended\n")) << result.err;
}

TEST_F(FaultsToolTest, AnInterruptedScanListsWhatWasFound) {
  std::filesystem::resize_file(image, kEndless);
  for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
    // The lanes are at most 16 MiB behind.
    const ToolSetup setup = With({{"SIGNAL", std::to_string(signal)}, {"SIGNAL_READ", std::to_string(64 * kMiB)}});
    for (const Run& run : BothCommands()) {
      std::filesystem::remove_all(out);
      const ToolResult result = run(setup);
      EXPECT_EQ(result.exitCode, 130);
      EXPECT_EQ(FindSectors(), allSectors);
      EXPECT_EQ(lines.back()["interrupted"], true);
      const std::uint64_t bytes = lines.back()["bytes"];
      EXPECT_GE(bytes, 8 * kMiB);
      EXPECT_LT(bytes, kEndless);
      EXPECT_EQ(result.err, MessageStart() + "interrupted when " + std::to_string(bytes) + " of " +
                                std::to_string(kEndless) +
                                " bytes were scanned; the list holds what was found there\n");
    }
    EXPECT_EQ(Files(), Names{});
    const ToolResult table = Table(setup);
    EXPECT_EQ(table.exitCode, 130);
    EXPECT_TRUE(Has(table.out, "\nInterrupted. 4 finds (3 7z, 1 ace); scanned ")) << table.out;
  }
}

TEST_F(FaultsToolTest, AnInterruptedRecoveryLeavesWholeCopies) {
  for (const int signal : {SIGINT, SIGTERM}) {
    std::filesystem::remove_all(out);
    const ToolResult result =
        Recover(With({{"SIGNAL", std::to_string(signal)}, {"SIGNAL_WRITE", std::to_string(600000)}}));
    EXPECT_EQ(result.exitCode, 130);
    EXPECT_EQ(FindSectors(), allSectors);
    EXPECT_EQ(lines.back()["interrupted"], true);
    EXPECT_TRUE(std::ranges::none_of(Files(), [](const std::string& name) { return name.ends_with(".part"); }));
    ASSERT_EQ(lines.back()["files_written"], Files().size());
    EXPECT_LT(Files().size(), 4U);
    EXPECT_EQ(ReadFile(out + "/archives/7z/000000000128.7z"), SevenZip(1132));
  }
}

TEST_F(FaultsToolTest, AKilledRecoveryLeavesNothingHalfUnderItsName) {
  const ToolResult killed =
      Recover(With({{"SIGNAL", std::to_string(SIGKILL)}, {"SIGNAL_WRITE", std::to_string(600000)}}));
  EXPECT_EQ(killed.exitCode, 1000 + SIGKILL);
  const Names left = {"archives/7z/000000000128.7z", "archives/7z/000000001000.7z.part",
                      "archives/ace/000000000300.ace"};
  EXPECT_EQ(Files(), left);
  EXPECT_EQ(ReadFile(out + "/archives/7z/000000000128.7z"), SevenZip(1132));

  EXPECT_EQ(Recover({}).exitCode, 0);
  EXPECT_EQ(Files().size(), 4U);
  EXPECT_EQ(ReadFile(out + "/archives/7z/000000001000.7z"), SevenZip(kMiB));
}

TEST_F(FaultsToolTest, AKilledScanHasWrittenWholeLines) {
  ToolSetup setup = With(FillWithHeads(kEndless));
  setup.signal = SIGKILL;
  setup.signalBehind = 300000;
  const ToolResult result = AllLines(setup);
  EXPECT_EQ(result.exitCode, 1000 + SIGKILL);
  EXPECT_GT(result.out.size(), setup.signalBehind);
  EXPECT_TRUE(result.out.ends_with("\n"));
  const std::vector<int> sectors = FindSectors();
  EXPECT_EQ(sectors.size(), lines.size() - 1);
  for (std::size_t i = 0; i < sectors.size(); ++i) EXPECT_EQ(sectors[i], static_cast<int>(i));
}

TEST_F(FaultsToolTest, FindsAreWrittenWhileTheScanGoesOn) {
  const std::string whole = AllLines({}).out;
  std::filesystem::resize_file(image, kEndless);
  ToolSetup setup;
  setup.signal = SIGKILL;
  setup.signalBehind = whole.find("{\"type\":\"summary\"") - 1;
  EXPECT_EQ(AllLines(setup).exitCode, 1000 + SIGKILL);
  EXPECT_EQ(FindSectors(), allSectors);
}

TEST_F(FaultsToolTest, ManyFindsStayWithinTheMemory) {
  ToolSetup setup = With(FillWithHeads(640 * kMiB));
  setup.outputPath = "/dev/null";
  const ToolResult result = RunTool({"scan", image, "--types", "ace", "--memory", "32MiB"}, setup);
  EXPECT_EQ(result.exitCode, 0) << result.err;
#ifndef QZMTRAW_TEST_MEMORY_IS_OBSERVED
  EXPECT_LT(result.peakMemory, 32 * kMiB);
#endif
}

TEST_F(FaultsToolTest, ManyUnreadableSectorsStayWithinTheMemory) {
  WriteFile(image, {});
  std::filesystem::resize_file(image, 128 * kMiB);
  ToolSetup setup = With({{"UNREADABLE", "512-1024/1024"}});
  setup.outputPath = "/dev/null";
  const ToolResult result = RunTool({"scan", image, "--types", "ace", "--format", "jsonl", "--memory", "32MiB"}, setup);
  EXPECT_EQ(result.exitCode, 3);
  EXPECT_TRUE(Has(result.err, ": 131072 sectors could not be read")) << result.err;
#ifndef QZMTRAW_TEST_MEMORY_IS_OBSERVED
  EXPECT_LT(result.peakMemory, 32 * kMiB);
#endif
}

}  // namespace
}  // namespace qzmtraw::host
