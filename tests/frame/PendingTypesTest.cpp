#include <gtest/gtest.h>

#include <set>

#include "frame/Pending.h"
#include "tests/support/Rows.h"
#include "tests/support/Scanning.h"

namespace qzmtraw {
namespace {

// The rows that don't find anything yet. The list may only get shorter.
const std::set<std::int32_t> kPendingRows = {
    ,
};

TEST(PendingTypes, AreThoseInTheList) {
  std::set<std::int32_t> pending;
  for (const test::Row& row : test::Rows()) {
    const test::Detector detector = test::CreateDetector(row.index);
    if (dynamic_cast<const PendingMark*>(detector.get()) != nullptr) pending.insert(row.index);
  }
  EXPECT_EQ(pending, kPendingRows);
}

}  // namespace
}  // namespace qzmtraw
