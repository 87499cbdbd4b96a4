#include <arpa/inet.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <linux/landlock.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <functional>

#include "host/base/Sandbox.h"
#include "tests/host/support/Workspace.h"

namespace qzmtraw::host {
namespace {

/// 0: none.
long LandlockVersion() {
  return std::max(0L, ::syscall(SYS_landlock_create_ruleset, nullptr, 0, LANDLOCK_CREATE_RULESET_VERSION));
}

/// Calls `act` in a process that entered the sandbox.
/// \return What it returned, or -1 when the process can't enter.
int InSandbox(const SandboxRules& rules, const std::function<int()>& act) {
  const pid_t child = ::fork();
  if (child == 0) ::_exit(EnterSandbox(rules).empty() ? act() : 255);
  int status = 0;
  EXPECT_EQ(::waitpid(child, &status, 0), child);
  const int code = WIFEXITED(status) ? WEXITSTATUS(status) : 255;
  return code == 255 ? -1 : code;
}

/// 0 or the error number.
int Open(const std::string& path, int flags) { return ::open(path.c_str(), flags | O_CLOEXEC, 0600) < 0 ? errno : 0; }

class SandboxTest : public testing::Test {
 protected:
  void SetUp() override {
    if (LandlockVersion() == 0) GTEST_SKIP() << "the kernel has no Landlock";
    WriteFile(workspace_ / "read", {1});
    WriteFile(workspace_ / "other", {1});
    std::filesystem::create_directory(workspace_ / "into");
    rules_ = {.writableFolders = {workspace_ / "into", workspace_ / "missing"}, .readablePaths = {workspace_ / "read"}};
  }

  Workspace workspace_;
  SandboxRules rules_;
};

TEST_F(SandboxTest, OpensWhatTheRulesName) {
  EXPECT_EQ(InSandbox(rules_, [&] { return Open(workspace_ / "read", O_RDONLY); }), 0);
  EXPECT_EQ(InSandbox(rules_, [&] { return Open(workspace_ / "into/new", O_RDWR | O_CREAT | O_EXCL); }), 0);
  EXPECT_EQ(InSandbox(rules_, [&] { return Open(workspace_ / "into/new", O_RDWR | O_TRUNC); }), 0);
  EXPECT_EQ(InSandbox(rules_, [&] { return ::mkdir((workspace_ / "into/deep").c_str(), 0700) == 0 ? 0 : errno; }), 0);
  const auto rename = [&] {
    return ::rename((workspace_ / "into/new").c_str(), (workspace_ / "into/deep/old").c_str()) == 0 ? 0 : errno;
  };
  if (LandlockVersion() >= 2) {
    EXPECT_EQ(InSandbox(rules_, rename), 0);
  }
}

TEST_F(SandboxTest, OpensNothingElse) {
  EXPECT_EQ(Open("/etc/passwd", O_RDONLY), 0);
  EXPECT_EQ(InSandbox(rules_, [] { return Open("/etc/passwd", O_RDONLY); }), EACCES);
  EXPECT_EQ(InSandbox(rules_, [&] { return Open(workspace_ / "other", O_RDONLY); }), EACCES);
  EXPECT_EQ(InSandbox(rules_, [&] { return Open(workspace_ / "read", O_WRONLY); }), EACCES);
  EXPECT_EQ(InSandbox(rules_, [&] { return Open(workspace_ / "new", O_WRONLY | O_CREAT); }), EACCES);
  EXPECT_EQ(InSandbox(rules_, [&] { return ::unlink((workspace_ / "other").c_str()) == 0 ? 0 : errno; }), EACCES);
  EXPECT_EQ(InSandbox(rules_, [] { return ::execl("/bin/true", "true", nullptr) == 0 ? 0 : errno; }), EACCES);
}

TEST_F(SandboxTest, WhatIsOpenStaysOpen) {
  const int file = ::open((workspace_ / "other").c_str(), O_RDWR | O_CLOEXEC);
  char byte = 2;
  EXPECT_EQ(InSandbox(rules_, [&] { return ::pwrite(file, &byte, 1, 0) == 1 ? 0 : errno; }), 0);
  EXPECT_EQ(ReadFile(workspace_ / "other"), Bytes{2});
  ::close(file);
}

TEST_F(SandboxTest, TheNetworkIsOutOfReach) {
  if (LandlockVersion() < 4) GTEST_SKIP() << "the kernel doesn't watch the network";
  const auto connect = [] {
    const int socket = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(9);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    return ::connect(socket, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0 ? 0 : errno;
  };
  EXPECT_EQ(InSandbox(rules_, connect), EACCES);
}

}  // namespace
}  // namespace qzmtraw::host
