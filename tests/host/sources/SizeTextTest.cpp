#include <gtest/gtest.h>

#include "host/sources/SizeText.h"

namespace qzmtraw::host {
namespace {

TEST(SizeTextTest, NumbersAreDecimalOrHexadecimal) {
  EXPECT_EQ(ParseNumber("0"), 0U);
  EXPECT_EQ(ParseNumber("4096"), 4096U);
  EXPECT_EQ(ParseNumber("0x1B"), 27U);
  EXPECT_EQ(ParseNumber("0XfF"), 255U);
  EXPECT_EQ(ParseNumber("18446744073709551615"), ~std::uint64_t{0});
  for (const char* text :
       {"", "0x", "-1", "+1", " 1", "1 ", "1.5", "0x-1", "18446744073709551616", "0x10000000000000000"}) {
    EXPECT_EQ(ParseNumber(text), std::nullopt) << text;
  }
}

TEST(SizeTextTest, UnitsAreThoseOfDd) {
  EXPECT_EQ(ParseSize("4096", 512), 4096U);
  EXPECT_EQ(ParseSize("0x200", 512), 512U);
  EXPECT_EQ(ParseSize("7B", 512), 7U);
  EXPECT_EQ(ParseSize("8s", 4096), 32768U);
  EXPECT_EQ(ParseSize("3K", 512), 3072U);
  EXPECT_EQ(ParseSize("3kib", 512), 3072U);
  EXPECT_EQ(ParseSize("3KB", 512), 3000U);
  EXPECT_EQ(ParseSize("100MB", 512), 100000000U);
  EXPECT_EQ(ParseSize("1GiB", 512), 1U << 30U);
  EXPECT_EQ(ParseSize("2T", 512), std::uint64_t{2} << 40U);
  EXPECT_EQ(ParseSize("15EiB", 512), std::uint64_t{15} << 60U);
  for (const char* text : {"", "s", "K", "1X", "1Ki", "1KiBB", "1 K", "1.5G", "-1K", "16EiB", "0x1K"}) {
    EXPECT_EQ(ParseSize(text, 512), std::nullopt) << text;
  }
}

}  // namespace
}  // namespace qzmtraw::host
