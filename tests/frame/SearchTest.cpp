#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <vector>

#include "frame/Search.h"

namespace qzmtraw {
namespace {

constexpr auto kHaystack = Bytes("abcabcabd\0abd");

TEST(Find, GivesTheFirstPlace) { EXPECT_EQ(Find(kHaystack, Bytes("abd")), 6U); }
TEST(Find, StartsAtAnOffset) { EXPECT_EQ(Find(kHaystack, Bytes("abd"), 7), 10U); }
TEST(Find, SeesTheLastBytes) { EXPECT_EQ(Find(kHaystack, Bytes("\0abd")), 9U); }
TEST(Find, GivesNothingForPartOfAString) { EXPECT_EQ(Find(kHaystack, Bytes("abde")), std::nullopt); }
TEST(Find, GivesNothingBehindTheEnd) { EXPECT_EQ(Find(kHaystack, Bytes("a"), 14), std::nullopt); }
TEST(Find, GivesNothingForAStringLongerThanAll) {
  EXPECT_EQ(Find(Bytes("ab"), Bytes("abc")), std::nullopt);
  EXPECT_EQ(Find(ByteView(), Bytes("a")), std::nullopt);
}
TEST(Find, GivesNoBytesAtOnce) {
  EXPECT_EQ(Find(kHaystack, ByteView(), 3), 3U);
  EXPECT_EQ(Find(ByteView(), ByteView()), 0U);
}

TEST(Find, AgreesWithAPlainSearch) {
  std::mt19937 random(1);
  for (int round = 0; round < 20000; ++round) {
    std::vector<std::uint8_t> haystack(random() % 40);
    std::vector<std::uint8_t> needle(1 + random() % 4);
    for (std::uint8_t& byte : haystack) byte = random() % 2;
    for (std::uint8_t& byte : needle) byte = random() % 2;
    const auto plain = std::search(haystack.begin(), haystack.end(), needle.begin(), needle.end());
    const std::optional<std::size_t> found = Find(haystack, needle);
    ASSERT_EQ(found.has_value(), plain != haystack.end());
    if (found) {
      ASSERT_EQ(*found, static_cast<std::size_t>(plain - haystack.begin()));
    }
  }
}

}  // namespace
}  // namespace qzmtraw
