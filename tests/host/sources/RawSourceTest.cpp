#include <gtest/gtest.h>
#include <sys/stat.h>

#include <array>

#include "host/base/Error.h"
#include "host/sources/RawSource.h"
#include "tests/host/support/Workspace.h"

namespace qzmtraw::host {
namespace {

std::string MessageFor(const std::string& path) {
  try {
    const RawSource source(path);
  } catch (const Failure& failure) {
    return failure.what();
  }
  return {};
}

TEST(RawSourceTest, ReadsAFile) {
  const Workspace workspace;
  WriteFile(workspace / "image", BytesOf("0123456789"));
  RawSource source(workspace / "image");
  EXPECT_EQ(source.Size(), 10U);
  std::array<std::uint8_t, 4> buffer{};
  const ReadResult result = source.ReadAt(3, buffer);
  EXPECT_EQ(result.count, 4U);
  EXPECT_EQ(result.error, 0);
  EXPECT_EQ(std::string(buffer.begin(), buffer.end()), "3456");
}

TEST(RawSourceTest, AFileThatShrankGivesLess) {
  const Workspace workspace;
  WriteFile(workspace / "image", BytesOf("0123456789"));
  RawSource source(workspace / "image");
  std::filesystem::resize_file(workspace / "image", 5);
  std::array<std::uint8_t, 4> buffer{};
  EXPECT_EQ(source.ReadAt(3, buffer).count, 2U);
  EXPECT_EQ(source.ReadAt(6, buffer).count, 0U);
}

TEST(RawSourceTest, RefusesWhatIsNoImage) {
  const Workspace workspace;
  EXPECT_NE(MessageFor(workspace / "missing").find("missing"), std::string::npos);
  EXPECT_NE(MessageFor(workspace.Path()).find("is a directory"), std::string::npos);
  ASSERT_EQ(::mkfifo((workspace / "pipe").c_str(), 0600), 0);
  EXPECT_NE(MessageFor(workspace / "pipe").find("neither a file nor a block device"), std::string::npos);
  EXPECT_NE(MessageFor("/dev/zero").find("neither a file nor a block device"), std::string::npos);
}

}  // namespace
}  // namespace qzmtraw::host
