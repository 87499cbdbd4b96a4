#include <gtest/gtest.h>

#include <set>

#include "frame/Pending.h"
#include "tests/support/Rows.h"
#include "tests/support/Scanning.h"

namespace qzmtraw {
namespace {

// The rows that don't find anything yet. The list may only get shorter.
const std::set<std::int32_t> kPendingRows = {
    19,  23,  28,  29,  33,  36,  37,  40,  41,  42,  45,  46,  63,  66,  67,  68,  69,  70,  73,  75,  76,  77,
    78,  79,  80,  81,  82,  83,  84,  85,  86,  87,  88,  89,  90,  91,  95,  97,  101, 102, 103, 104, 105, 110,
    111, 114, 116, 118, 119, 120, 121, 122, 145, 146, 148, 149, 150, 151, 152, 153, 154, 156, 158, 160, 161, 162,
    164, 165, 166, 167, 168, 169, 170, 171, 172, 174, 175, 176, 177, 178, 179, 180, 181, 182, 183, 184, 185, 186,
    187, 188, 189, 190, 191, 192, 193, 194, 195, 196, 197, 199, 200, 201, 202, 203, 204, 205, 207, 208, 209, 210,
    211, 212, 213, 214, 215, 216, 217, 218, 219, 220, 221, 222, 223, 224, 225, 226, 227, 230, 231, 232, 233, 235,
    237, 238, 239, 241, 243, 244, 245, 246, 247, 248, 249, 250, 251, 254, 255, 256, 257, 259, 261, 262, 263, 266,
    267, 268, 271, 272, 273, 274, 275, 277, 278, 282, 283, 284, 285, 286, 287, 288, 289, 290, 291, 292, 293, 294,
    295, 296, 297, 299, 300, 301, 302, 304, 306, 311, 312, 313, 314, 316, 317, 318, 319,
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
