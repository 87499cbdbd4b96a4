#include <gtest/gtest.h>

#include "host/recovery/ContentHash.h"
#include "host/recovery/ContentIndex.h"
#include "tests/host/support/Workspace.h"

namespace qzmtraw::host {
namespace {

ContentSum SumOf(std::string_view text) {
  ContentHash hash;
  hash.Add(BytesOf(text.substr(0, text.size() / 2)));
  hash.Add(BytesOf(text.substr(text.size() / 2)));
  return hash.Finish();
}

TEST(ContentHashTest, IsThatOfTheStandard) {
  EXPECT_EQ(HexText(SumOf("abc")), "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad");
  EXPECT_EQ(HexText(SumOf("")), "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855");
  EXPECT_EQ(SumFromHex(HexText(SumOf("abc"))), SumOf("abc"));
  EXPECT_FALSE(SumFromHex("12"));
  EXPECT_FALSE(SumFromHex(std::string(64, 'g')));
}

TEST(ContentIndexTest, KnowsWhatWasAdded) {
  ContentIndex index(1000);
  for (std::uint64_t i = 0; i < 1000; ++i) {
    const ContentSum sum = SumOf(std::to_string(i));
    EXPECT_FALSE(index.Find(sum));
    index.Add(sum, i);
  }
  for (std::uint64_t i = 0; i < 1000; ++i) EXPECT_EQ(index.Find(SumOf(std::to_string(i))), i);
  EXPECT_FALSE(index.Find(SumOf("1000")));
}

TEST(ContentIndexTest, ContentsMayFallTogether) {
  ContentIndex index(3);
  ContentSum a{};
  ContentSum b{};
  ContentSum c{};
  b[31] = 1;
  c[31] = 2;
  index.Add(a, 0);
  index.Add(b, 5);
  index.Add(c, 6);
  EXPECT_EQ(index.Find(a), 0U);
  EXPECT_EQ(index.Find(b), 5U);
  EXPECT_EQ(index.Find(c), 6U);
}

}  // namespace
}  // namespace qzmtraw::host
