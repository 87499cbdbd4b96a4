#include <gtest/gtest.h>

#include <array>
#include <cstdlib>
#include <optional>

#include "host/base/Error.h"
#include "host/base/TemporaryFile.h"
#include "tests/host/support/Workspace.h"

namespace qzmtraw::host {
namespace {

class TemporaryFileTest : public ::testing::Test {
 protected:
  TemporaryFileTest() {
    if (const char* before = std::getenv("TMPDIR")) before_ = before;
  }
  ~TemporaryFileTest() override {
    if (before_) ::setenv("TMPDIR", before_->c_str(), 1);
    if (!before_) ::unsetenv("TMPDIR");
  }

  Workspace workspace;

 private:
  std::optional<std::string> before_;
};

TEST_F(TemporaryFileTest, KeepsBytesAndHasNoName) {
  ::setenv("TMPDIR", workspace.Path().c_str(), 1);
  TemporaryFile file;
  EXPECT_EQ(NamesIn(workspace.Path()), std::vector<std::string>{});
  const std::array<std::byte, 3> bytes = {std::byte{1}, std::byte{2}, std::byte{3}};
  file.WriteAt(10000, bytes);
  file.Forget(0, 4096);
  std::array<std::byte, 3> read{};
  file.ReadAt(10000, read);
  EXPECT_EQ(read, bytes);
}

TEST_F(TemporaryFileTest, FailuresNameTheDirectory) {
  ::setenv("TMPDIR", (workspace / "missing").c_str(), 1);
  try {
    const TemporaryFile file;
    FAIL() << "there is no such directory";
  } catch (const Failure& failure) {
    EXPECT_NE(std::string(failure.what()).find(workspace / "missing"), std::string::npos) << failure.what();
    EXPECT_NE(std::string(failure.what()).find("TMPDIR"), std::string::npos) << failure.what();
  }
}

TEST_F(TemporaryFileTest, WhatWasNotWrittenCannotBeRead) {
  const TemporaryFile file;
  std::array<std::byte, 1> read{};
  EXPECT_THROW(file.ReadAt(0, read), Failure);
}

}  // namespace
}  // namespace qzmtraw::host
