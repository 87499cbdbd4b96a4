#include <gtest/gtest.h>
#include <linux/landlock.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>

#include "host/scan/GiveUpRights.h"
#include "tests/host/support/Image.h"
#include "tests/host/support/Tool.h"
#include "tests/host/support/Workspace.h"

namespace qzmtraw::host {
namespace {

constexpr std::size_t kImageSize = 1U << 20U;

/// Large enough that its end is read when the scan has begun.
std::string MakeImage(const Workspace& workspace) {
  WriteFile(workspace / "image", Image(kImageSize).Content());
  return workspace / "image";
}

/// The probe's file stands where the tool has no business.
ToolSetup Probing(const Workspace& workspace, const std::string& image) {
  std::filesystem::create_directory(workspace / "temporary");
  WriteFile(workspace / "secret", {1});
  return {.temporaryDirectory = workspace / "temporary",
          .faults = {{"FILE", image}, {"PROBE", workspace / "secret"}, {"PROBE_READ", std::to_string(kImageSize - 1)}}};
}

TEST(SandboxToolTest, WhatReadsTheSourceCanOpenNothingElse) {
  if (::syscall(SYS_landlock_create_ruleset, nullptr, 0, LANDLOCK_CREATE_RULESET_VERSION) < 1) {
    GTEST_SKIP() << "the kernel has no Landlock";
  }
  const Workspace workspace;
  const std::string image = MakeImage(workspace);
  const ToolSetup setup = Probing(workspace, image);
  const ToolResult scan = RunTool({"scan", image}, setup);
  EXPECT_EQ(scan.exitCode, 0) << scan.err;
  EXPECT_EQ(scan.err, "probe: not opened, not made\n");
  const ToolResult recovery = RunTool({"recover", image, "--out", workspace / "out"}, setup);
  EXPECT_EQ(recovery.exitCode, 0) << recovery.err;
  EXPECT_EQ(recovery.err, "probe: not opened, not made\n");
}

TEST(SandboxToolTest, RightsAreKeptWhereAskedFor) {
  const Workspace workspace;
  const std::string image = MakeImage(workspace);
  const ToolResult result = RunTool({"scan", image, "--no-sandbox"}, Probing(workspace, image));
  EXPECT_EQ(result.exitCode, 0);
  EXPECT_EQ(result.err, "probe: opened, made\n");
}

TEST(SandboxToolTest, AKernelWithoutLandlockIsTold) {
  const Workspace workspace;
  const std::string image = MakeImage(workspace);
  const ToolSetup setup{.faults = {{"NO_LANDLOCK", "1"}}};
  const ToolResult told = RunTool({"scan", image}, setup);
  EXPECT_EQ(told.exitCode, 0);
  EXPECT_EQ(told.err,
            "qzmtraw: running without a sandbox: the kernel has no Landlock; --no-sandbox leaves out this message\n");
  EXPECT_EQ(RunTool({"scan", image, "--no-sandbox"}, setup).err, "");
}

TEST(SandboxToolTest, AFolderIsKnownByTheFileInIt) {
  EXPECT_EQ(FolderOf("state"), ".");
  EXPECT_EQ(FolderOf("a/b/state"), "a/b");
  EXPECT_EQ(FolderOf("/state"), "/");
}

TEST(SandboxToolTest, FilesOfAnImageAreKnownByTheirNames) {
  const Workspace workspace;
  for (const char* name : {"disk.E01", "disk.E02", "disk.vmdk", "disk-s001.vmdk", "disk2.E01", "other"}) {
    WriteFile(workspace / name, {1});
  }
  const auto names = [&](const std::string& name) {
    std::vector<std::string> found;
    for (const std::string& file : FilesOfImage(workspace / name)) {
      found.push_back(std::filesystem::path(file).filename().string());
    }
    std::sort(found.begin() + 1, found.end());
    return found;
  };
  EXPECT_EQ(names("disk.E01"), (std::vector<std::string>{"disk.E01", "disk.E02", "disk.vmdk"}));
  EXPECT_EQ(names("disk.vmdk"), (std::vector<std::string>{"disk.vmdk", "disk-s001.vmdk", "disk.E01", "disk.E02"}));
  EXPECT_EQ(names("other"), std::vector<std::string>{"other"});
  EXPECT_EQ(FilesOfImage("/dev/null"), std::vector<std::string>{"/dev/null"});
}

}  // namespace
}  // namespace qzmtraw::host
