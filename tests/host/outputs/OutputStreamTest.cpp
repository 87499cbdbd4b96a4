#include <fcntl.h>
#include <gtest/gtest.h>

#include "host/base/Error.h"
#include "host/base/FileDescriptor.h"
#include "host/outputs/OutputStream.h"
#include "tests/host/support/Workspace.h"

namespace qzmtraw::host {
namespace {

TEST(OutputStreamTest, WritesEverythingInOrder) {
  const Workspace workspace;
  std::string expected;
  {
    const FileDescriptor file(::open((workspace / "out").c_str(), O_WRONLY | O_CREAT, 0600));
    OutputStream out(file.Get());
    for (int i = 0; i < 10000; ++i) {
      out << i << ' ';
      expected += std::to_string(i) + ' ';
    }
    out.flush();
  }
  EXPECT_EQ(ReadFile(workspace / "out"), BytesOf(expected));
}

TEST(OutputStreamTest, AFullDiskIsAFailureWithItsReason) {
  const FileDescriptor full(::open("/dev/full", O_WRONLY));
  OutputStream out(full.Get());
  out << "text";
  try {
    out.flush();
    FAIL() << "nothing was thrown";
  } catch (const Failure& failure) {
    EXPECT_NE(std::string(failure.what()).find("No space left"), std::string::npos) << failure.what();
  }
}

TEST(OutputStreamTest, OnlyWholeLinesComeBeforeAFlush) {
  const Workspace workspace;
  const FileDescriptor file(::open((workspace / "out").c_str(), O_WRONLY | O_CREAT, 0600));
  OutputStream out(file.Get());
  std::string line(100, 'x');
  line.back() = '\n';
  std::size_t count = 0;
  while (std::filesystem::file_size(workspace / "out") == 0) {
    out << line;
    ASSERT_LT(++count, 1000U);
  }
  EXPECT_EQ(std::filesystem::file_size(workspace / "out") % line.size(), 0U);
  out << "long" << std::string(100000, 'y') << '\n';
  out.flush();
  std::string expected;
  while (count-- > 0) expected += line;
  EXPECT_EQ(ReadFile(workspace / "out"), BytesOf(expected + "long" + std::string(100000, 'y') + '\n'));
}

TEST(OutputStreamTest, ALongOutputFailsBeforeTheFlush) {
  const FileDescriptor full(::open("/dev/full", O_WRONLY));
  OutputStream out(full.Get());
  EXPECT_THROW(out << std::string(100000, 'x'), Failure);
}

}  // namespace
}  // namespace qzmtraw::host
