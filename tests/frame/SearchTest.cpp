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
  EXPECT_EQ(Find(kHaystack, ByteView(), kHaystack.Size()), kHaystack.Size());
  EXPECT_EQ(Find(kHaystack, ByteView(), kHaystack.Size() + 1), std::nullopt);
}

TEST(Find, AgreesWithAPlainSearch) {
  std::mt19937 random(2);
  for (int round = 0; round < 20000; ++round) {
    std::vector<std::uint8_t> haystack(random() % 300);
    std::vector<std::uint8_t> needle(1 + random() % 6);
    // Letters of both cases, and bytes that differ from others by the bit of the case without being letters.
    const std::uint8_t bytes[] = {'a', 'A', '<', '\x1C', 'z', 'Z', '[', '{'};
    const auto kinds = 2 + random() % 7;
    const std::size_t from = random() % 4 == 0 ? random() % (haystack.size() + 2) : 0;
    for (std::uint8_t& byte : haystack) byte = bytes[random() % kinds];
    for (std::uint8_t& byte : needle) byte = bytes[random() % kinds];
    for (const LetterCase letterCase : {LetterCase::kCounts, LetterCase::kIgnored}) {
      const auto fold = [&](std::uint8_t byte) {
        return letterCase == LetterCase::kIgnored && byte >= 'A' && byte <= 'Z' ? byte + 0x20 : int{byte};
      };
      const auto begin = haystack.begin() + static_cast<std::ptrdiff_t>(std::min(from, haystack.size()));
      const auto plain = std::search(begin, haystack.end(), needle.begin(), needle.end(),
                                     [&](std::uint8_t a, std::uint8_t b) { return fold(a) == fold(b); });
      const std::optional<std::size_t> found = Find(haystack, needle, from, letterCase);
      ASSERT_EQ(found.has_value(), plain != haystack.end());
      if (found) {
        ASSERT_EQ(*found, static_cast<std::size_t>(plain - haystack.begin()));
      }
    }
  }
}

TEST(Find, SeesATextWhereverItStands) {
  for (std::size_t size = 7; size < 200; ++size) {
    for (std::size_t offset = 0; offset + 7 <= size; ++offset) {
      std::vector<std::uint8_t> haystack(size, '<');
      const auto needle = Bytes("</hTmL>");
      std::copy(needle.bytes.begin(), needle.bytes.end(), haystack.begin() + static_cast<std::ptrdiff_t>(offset));
      ASSERT_EQ(Find(haystack, Bytes("</HTML>"), 0, LetterCase::kIgnored), offset) << size;
      ASSERT_EQ(Find(haystack, Bytes("</HTML>")), std::nullopt);
    }
  }
}

}  // namespace
}  // namespace qzmtraw
