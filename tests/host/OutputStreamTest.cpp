#include <fcntl.h>
#include <gtest/gtest.h>

#include "host/Error.h"
#include "host/FileDescriptor.h"
#include "host/OutputStream.h"
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

TEST(OutputStreamTest, ALongOutputFailsBeforeTheFlush) {
  const FileDescriptor full(::open("/dev/full", O_WRONLY));
  OutputStream out(full.Get());
  EXPECT_THROW(out << std::string(100000, 'x'), Failure);
}

}  // namespace
}  // namespace qzmtraw::host
