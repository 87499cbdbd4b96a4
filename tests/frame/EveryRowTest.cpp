#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <utility>

#include "tests/support/Rows.h"
#include "tests/support/Scanning.h"

namespace qzmtraw::test {
namespace {

/// When all tests run in one process: whether among them every row of the table has found a file.
class EveryRowFinds final : public ::testing::Environment {
 public:
  void TearDown() override {
    if (std::getenv("QZMTRAW_EXPECT_EVERY_ROW") == nullptr) return;
    for (const Row& row : Rows()) {
      EXPECT_TRUE(RowsThatFound().contains(row.index)) << "row " << row.index << ", " << row.className;
    }
  }
};

const ::testing::Environment* const kEveryRowFinds = ::testing::AddGlobalTestEnvironment(new EveryRowFinds);

TEST(HeadTailRows, FindTheirFiles) {
  const std::pair<std::int32_t, std::string> heads[] = {{93, Literal("\0\x06\0\x02\x38\x42\x49\x4D")},
                                                        {94,
                                                         "\x10"
                                                         "CaxaEbForWindows"},
                                                        {270, "PCFFGRA"}};
  for (const auto& [row, head] : heads) {
    Device device(3);
    device.Put(Device::kFirstSector, head).Put(Device::kFirstSector + 2, head);
    EXPECT_EQ(Scan(*CreateDetector(row), device), (Hits{{Device::kFirstSector, 1024}})) << row;
  }
}

}  // namespace
}  // namespace qzmtraw::test
