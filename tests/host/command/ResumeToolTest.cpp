#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <filesystem>
#include <string>
#include <vector>

#include "host/scan/ScanState.h"
#include "tests/host/support/FileImage.h"
#include "tests/host/support/Image.h"

namespace qzmtraw::host {
namespace {

using nlohmann::json;
using Arguments = std::vector<std::string>;

constexpr std::size_t kMiB = 1U << 20U;

bool Has(const std::string& text, const std::string& part) { return text.find(part) != std::string::npos; }

/// An image of 8 MiB with a 7z every 100 KiB, and an ACE behind each. The state is saved as often as can be.
class ResumeToolTest : public ::testing::Test {
 protected:
  ResumeToolTest() {
    Image content(8 * kMiB);
    for (std::size_t place = 0; place + 100 * 1024 < 8 * kMiB; place += 100 * 1024) {
      content.Put(place, SevenZip(33 + static_cast<std::uint32_t>(place / 200))).Put(place + 50 * 1024, Ace());
    }
    WriteFile(image, content.Content());
  }

  ToolResult Scan(const ToolSetup& setup = {}, const Arguments& options = {}) const {
    Arguments arguments = {"scan", image, "--format", "jsonl", "--resume", state, "--save-interval", "0"};
    arguments.insert(arguments.end(), types.begin(), types.end());
    arguments.insert(arguments.end(), options.begin(), options.end());
    return RunTool(arguments, setup);
  }

  std::string WholeListing() const {
    Arguments options = types;
    options.insert(options.end(), {"--format", "jsonl"});
    return Listing(image, options);
  }

  /// The source is slow, and the process is killed when it has written so many bytes.
  ToolSetup KilledAt(std::size_t bytes) const {
    return {.faults = {{"FILE", image},
                       {"DELAY", "10"},
                       {"SIGNAL", std::to_string(SIGKILL)},
                       {"SIGNAL_WRITE", std::to_string(bytes)}}};
  }

  /// How far the progress of a scan says that it began.
  static std::uint64_t BeginOf(const ToolResult& result) {
    if (result.exitCode != 0) return 0;
    const std::vector<json> lines = JsonLines(result.err);
    return lines.empty() ? 0 : lines.front().value("bytes", std::uint64_t{0});
  }

  Workspace workspace;
  std::string image = workspace / "disk.img";
  std::string state = workspace / "state";
  Arguments types = {"--types", "7z,ace"};
};

TEST_F(ResumeToolTest, AKilledScanGoesOnAndFindsTheSame) {
  const std::string expected = WholeListing();
  ASSERT_GT(std::ranges::count(expected, '\n'), 150);
  std::size_t resumed = 0;
  // To make the state takes some 25000 bytes, and to save it some 17000 each time.
  for (const std::size_t bytes : {1U, 5000U, 24000U, 45000U, 60000U, 75000U}) {
    std::filesystem::remove(state);
    std::filesystem::remove(state + "-journal");
    const ToolResult killed = Scan(KilledAt(bytes));
    EXPECT_EQ(killed.exitCode, 1000 + SIGKILL) << bytes;
    const ToolResult result = Scan({}, {"--rewind", "1MiB", "--progress", "json"});
    EXPECT_EQ(result.exitCode, 0) << result.err;
    EXPECT_EQ(WithoutEnds(result.out), expected) << bytes;
    EXPECT_EQ(JsonLines(result.out).back()["bytes"], 8 * kMiB);
    resumed += BeginOf(result) > 0 ? 1U : 0U;
  }
  EXPECT_GE(resumed, 2U) << "some must have gone on behind the start";
}

TEST_F(ResumeToolTest, AScanMayBeKilledAgainAndAgain) {
  const std::string expected = WholeListing();
  for (const std::size_t bytes : {50000U, 30000U}) {
    EXPECT_EQ(Scan(KilledAt(bytes), {"--rewind", "0"}).exitCode, 1000 + SIGKILL);
  }
  const ToolResult result = Scan({}, {"--rewind", "0", "--progress", "json"});
  const std::uint64_t begin = BeginOf(result);
  EXPECT_GT(begin, 0U);
  EXPECT_EQ(begin % (64 * 512), 0U);
  EXPECT_EQ(WithoutEnds(result.out), expected);
}

TEST_F(ResumeToolTest, AllTypesAreFoundAsIfNothingHadHappened) {
  std::filesystem::remove(image);
  Bytes content;
  for (const unsigned seed : {6U, 7U, 8U, 9U}) {
    const Bytes part = ImageOfFiles(seed);
    content.insert(content.end(), part.begin(), part.end());
  }
  ASSERT_GT(content.size(), 2 * kMiB);
  WriteFile(image, content);
  types.clear();
  const std::string expected = WholeListing();
  EXPECT_EQ(Scan(KilledAt(45000)).exitCode, 1000 + SIGKILL);
  const ToolResult result = Scan({}, {"--jobs", "3"});
  EXPECT_EQ(result.exitCode, 0) << result.err;
  EXPECT_EQ(WithoutEnds(result.out), expected);
}

TEST_F(ResumeToolTest, AnInterruptedScanGoesOn) {
  const std::string expected = WholeListing();
  const std::uintmax_t size = std::filesystem::file_size(image);
  const ToolSetup setup = {.faults = {{"FILE", image}, {"SIGNAL", std::to_string(SIGINT)}, {"SIGNAL_READ", "5000000"}}};
  const ToolResult first = Scan(setup);
  EXPECT_EQ(first.exitCode, 130);
  EXPECT_TRUE(Has(first.err, "; the same command goes on from there\n")) << first.err;
  EXPECT_EQ(std::filesystem::file_size(image), size);
  EXPECT_EQ(WithoutEnds(Scan().out), expected);
}

TEST_F(ResumeToolTest, AFinishedScanIsListedWithoutReading) {
  const std::string expected = WholeListing();
  EXPECT_EQ(WithoutEnds(Scan().out), expected);
  // Nothing but the beginning and the end, which tell whether it is the same source.
  const ToolSetup setup = {.faults = {{"FILE", image}, {"UNREADABLE", "70000-8000000"}}};
  const ToolResult again = Scan(setup);
  EXPECT_EQ(again.exitCode, 0) << again.err;
  EXPECT_EQ(WithoutEnds(again.out), expected);

  Arguments table = {"scan", image, "--resume", state};
  table.insert(table.end(), types.begin(), types.end());
  EXPECT_EQ(WithoutEnds(RunTool(table).out), Listing(image, types));
}

TEST_F(ResumeToolTest, ARecoveryGoesOnFromTheState) {
  EXPECT_EQ(Scan(KilledAt(50000)).exitCode, 1000 + SIGKILL);
  Arguments arguments = {"recover", image, "--resume", state, "--out", workspace / "out", "--format", "jsonl"};
  arguments.insert(arguments.end(), types.begin(), types.end());
  const ToolResult result = RunTool(arguments);
  EXPECT_EQ(result.exitCode, 0) << result.err;
  EXPECT_EQ(JsonLines(result.out).back()["files_written"], JsonLines(result.out).back()["finds"]);
}

TEST_F(ResumeToolTest, WhatCouldNotBeReadIsRemembered) {
  ToolSetup setup = KilledAt(50000);
  setup.faults["UNREADABLE"] = "102500-104448";
  EXPECT_EQ(Scan(setup).exitCode, 1000 + SIGKILL);
  const ToolResult result = Scan();
  EXPECT_EQ(result.exitCode, 3);
  EXPECT_EQ(JsonLines(result.out).back()["unreadable_ranges"], (json{{{"start_sector", 200}, {"sectors", 4}}}));
}

TEST_F(ResumeToolTest, AnotherScanIsRefused) {
  EXPECT_EQ(Scan().exitCode, 0);
  const Bytes before = ReadFile(state);
  const auto expectRefusal = [&](const ToolResult& result, const std::string& part) {
    EXPECT_EQ(result.exitCode, 2) << part;
    EXPECT_EQ(result.out, "") << part;
    EXPECT_TRUE(Has(result.err, "qzmtraw: --resume: '" + state + "' belongs to another scan; ")) << result.err;
    EXPECT_TRUE(Has(result.err, part)) << result.err;
    EXPECT_EQ(ReadFile(state), before);
  };
  expectRefusal(Scan({}, {"--sector-size", "4096"}), "; the sector size was 512 and is 4096");
  expectRefusal(Scan({}, {"--shard", "1/2"}), "; the shard was 1/1 and is 1/2");
  expectRefusal(Scan({}, {"--max-size", "7z=4KiB"}), "; the list of greatest sizes was none and is 144=4096");
  types = {"--types", "7z,doc,157"};
  expectRefusal(Scan(), "; the list of file types was 144,157 and is ");
  types = {"--types", "7z,ace"};
  std::filesystem::resize_file(image, 9 * kMiB);
  expectRefusal(Scan(), "; the size of the source was 8388608 and is 9437184");
}

TEST_F(ResumeToolTest, NoFileOfAnybodyElseIsTouched) {
  const Bytes before = ReadFile(image);
  state = image;
  const ToolResult result = Scan();
  EXPECT_EQ(result.exitCode, 2);
  EXPECT_TRUE(Has(result.err, "is not the state of a scan")) << result.err;
  EXPECT_EQ(ReadFile(image), before);
  state = workspace / "missing/state";
  const ToolResult missing = Scan();
  EXPECT_EQ(missing.exitCode, 1);
  EXPECT_TRUE(Has(missing.err, "cannot open '" + state + "': ")) << missing.err;
}

TEST_F(ResumeToolTest, AStateMayHaveAnyName) {
  for (const std::string name : {":memory:", "file:state?mode=memory"}) {
    state = name;
    EXPECT_EQ(Scan({.directory = workspace.Path()}).exitCode, 0) << name;
    EXPECT_TRUE(std::filesystem::exists(workspace.Path() / name));
    EXPECT_EQ(Scan({.directory = workspace.Path()}, {"--types", "png"}).exitCode, 2) << "it belongs to another scan";
  }
}

TEST_F(ResumeToolTest, TwoRunsAtOnceAreRefused) {
  const ScanState open(state, {});
  const ToolResult result = Scan();
  EXPECT_EQ(result.exitCode, 1);
  EXPECT_EQ(result.out, "");
  EXPECT_TRUE(Has(result.err, "'" + state + "' is in use by another run")) << result.err;
}

TEST_F(ResumeToolTest, AFullDiskCostsTheStateAndNotTheScan) {
  const std::string expected = WholeListing();
  const ToolResult full = Scan({.faults = {{"FILE", image}, {"DELAY", "10"}, {"ROOM", "50000"}}});
  EXPECT_EQ(full.exitCode, 1);
  EXPECT_EQ(WithoutEnds(full.out), expected);
  EXPECT_EQ(JsonLines(full.out).back()["error"], nullptr);
  EXPECT_TRUE(Has(full.err, "cannot write '" + state + "': ")) << full.err;
  EXPECT_TRUE(Has(full.err, "; the scan goes on without saving, and the file keeps what was saved before\n"))
      << full.err;
  EXPECT_EQ(std::ranges::count(full.err, '\n'), 1) << full.err;
  EXPECT_EQ(WithoutEnds(Scan().out), expected);

  std::filesystem::remove(state);
  const ToolResult none = Scan({.faults = {{"ROOM", "0"}}});
  EXPECT_EQ(none.exitCode, 1);
  EXPECT_EQ(none.out, "");
}

TEST_F(ResumeToolTest, RewindingWantsAState) {
  const ToolResult result = RunTool({"scan", image, "--rewind", "1MiB"});
  EXPECT_EQ(result.exitCode, 2);
  EXPECT_TRUE(Has(result.err, "--resume")) << result.err;
  EXPECT_EQ(RunTool({"scan", image, "--resume", ""}).exitCode, 2);
}

TEST_F(ResumeToolTest, ProgramsAreToldOfProgress) {
  Arguments arguments = {"scan", image, "--format", "jsonl", "--progress", "json"};
  arguments.insert(arguments.end(), types.begin(), types.end());
  const ToolResult result = RunTool(arguments);
  const std::vector<json> lines = JsonLines(result.err);
  ASSERT_GE(lines.size(), 2U);
  EXPECT_EQ(lines.front()["phase"], "scanning");
  const json& last = lines.back();
  const json summary = JsonLines(result.out).back();
  EXPECT_EQ(last["type"], "progress");
  EXPECT_EQ(last["bytes"], 8 * kMiB);
  EXPECT_EQ(last["total"], 8 * kMiB);
  EXPECT_EQ(last["seconds_left"], 0);
  EXPECT_EQ(last["finds"], summary["finds"]);
  EXPECT_EQ(last["finds_by_category"], (json{{"archives", summary["finds"]}}));

  arguments[0] = "recover";
  arguments.insert(arguments.end(), {"--out", workspace / "out"});
  const std::vector<json> copying = JsonLines(RunTool(arguments).err);
  EXPECT_EQ(copying.back()["phase"], "copying");
  EXPECT_EQ(copying.back()["finds_by_category"], json::object());

  arguments = {"scan", image, "--progress", "line"};
  EXPECT_EQ(RunTool(arguments).err, "") << "it didn't take ten seconds";
  EXPECT_EQ(RunTool({"scan", image, "--progress", "loud"}).exitCode, 2);
}

}  // namespace
}  // namespace qzmtraw::host
