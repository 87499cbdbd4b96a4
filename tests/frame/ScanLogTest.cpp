#include <gtest/gtest.h>

#include <filesystem>

#include "tests/support/Programs.h"

namespace qzmtraw::test {
namespace {

TEST(ScanLog, HoldsOneLineForTheFirstCallAndOneForTheProcessEnd) {
  const TemporaryFolder folder;
  folder.Write("qzmtraw.log", "an earlier log, longer than the one that replaces it");
  ASSERT_TRUE(folder.Run(QZMTRAW_SCAN_LOG_HOST));
  EXPECT_EQ(folder.Read("during.log"), "Raw scan begin\r\n");
  EXPECT_EQ(folder.Read("qzmtraw.log"), "Raw scan begin\r\nRaw scan end\r\n");
}

TEST(ScanLog, IsDoneWithoutWhereItCannotBeWritten) {
  const TemporaryFolder folder;
  std::filesystem::create_directory(folder.Path() / "qzmtraw.log");
  EXPECT_TRUE(folder.Run(QZMTRAW_SCAN_LOG_HOST));
}

}  // namespace
}  // namespace qzmtraw::test
