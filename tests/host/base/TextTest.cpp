#include <gtest/gtest.h>

#include <limits>

#include "host/base/Text.h"

namespace qzmtraw::host {
namespace {

TEST(TextTest, Latin1BecomesUtf8) {
  EXPECT_EQ(Latin1ToUtf8("Iso 9660 \xA8"), "Iso 9660 \xC2\xA8");
  EXPECT_EQ(Latin1ToUtf8("\x7F\x80\xFF"), "\x7F\xC2\x80\xC3\xBF");
}

TEST(TextTest, TellsWellFormedUtf8) {
  EXPECT_TRUE(IsUtf8(""));
  EXPECT_TRUE(IsUtf8("a\n\xC2\xA8\xE2\x82\xAC\xF0\x9F\x98\x80"));
  EXPECT_FALSE(IsUtf8("\x80")) << "stray continuation";
  EXPECT_FALSE(IsUtf8("\xC2")) << "cut";
  EXPECT_FALSE(IsUtf8("\xE2\x82")) << "cut";
  EXPECT_FALSE(IsUtf8("\xC2z")) << "no continuation";
  EXPECT_FALSE(IsUtf8("\xC0\xAF")) << "overlong";
  EXPECT_FALSE(IsUtf8("\xE0\x80\xAF")) << "overlong";
  EXPECT_FALSE(IsUtf8("\xED\xA0\x80")) << "surrogate";
  EXPECT_FALSE(IsUtf8("\xF4\x90\x80\x80")) << "above U+10FFFF";
  EXPECT_FALSE(IsUtf8("\xFF"));
}

TEST(TextTest, HarmfulBytesAreEscaped) {
  EXPECT_EQ(Printable("/a b/\xC3\xA9.img"), "/a b/\xC3\xA9.img");
  EXPECT_EQ(Printable("a\x1B[31m\n"), "a\\x1B[31m\\x0A");
  EXPECT_EQ(Printable("\x7F"), "\\x7F");
  EXPECT_EQ(Printable("x\xFFy\xC3"), "x\\xFFy\\xC3");
  EXPECT_EQ(Printable("\xC2\x9B"), "\\xC2\\x9B") << "a control character beyond ASCII";
  EXPECT_EQ(Printable(std::string{'\xE2', '\x80', '\xAE'}), "\\xE2\\x80\\xAE") << "right-to-left override";
  EXPECT_EQ(Printable("a\\x41"), "a\\\\x41") << "an escape in the text itself stays apart";
  EXPECT_EQ(Printable(std::string_view("a\0b", 3)), "a\\x00b");
  EXPECT_EQ(Printable("\xEF\xBB\xBF\xEF\xBF\xBE\xEF\xBF\xBF"), "\\xEF\\xBB\\xBF\\xEF\\xBF\\xBE\\xEF\\xBF\\xBF")
      << "the mark of byte order, and what is no character";
  EXPECT_EQ(Printable("\xEF\xBF\xBD"), "\xEF\xBF\xBD");
  EXPECT_EQ(Quoted("a\n"), "'a\\x0A'");
}

TEST(TextTest, PadsByCharacters) {
  EXPECT_EQ(PadRight("\xC2\xA8", 3), "\xC2\xA8  ");
  EXPECT_EQ(PadLeft("\xC2\xA8", 3), "  \xC2\xA8");
  EXPECT_EQ(PadRight("abcd", 3), "abcd");
  EXPECT_EQ(PadLeft("abcd", 3), "abcd");
}

TEST(TextTest, SizesAreForPeople) {
  EXPECT_EQ(FormatSize(0), "0 B");
  EXPECT_EQ(FormatSize(1023), "1023 B");
  EXPECT_EQ(FormatSize(1024), "1.0 KiB");
  EXPECT_EQ(FormatSize(1536), "1.5 KiB");
  EXPECT_EQ(FormatSize((1U << 20U) - 1), "1.0 MiB") << "never 1024.0 KiB";
  EXPECT_EQ(FormatSize(1U << 20U), "1.0 MiB");
  EXPECT_EQ(FormatSize(0x64000000), "1.6 GiB");
  EXPECT_EQ(FormatSize(std::uint64_t{5} << 40U), "5.0 TiB");
  EXPECT_EQ(FormatSize(std::numeric_limits<std::uint64_t>::max()), "16.0 EiB");
}

TEST(TextTest, DurationsAreForPeople) {
  EXPECT_EQ(FormatDuration(-1), "0.0 s");
  EXPECT_EQ(FormatDuration(0.44), "0.4 s");
  EXPECT_EQ(FormatDuration(59.96), "1:00");
  EXPECT_EQ(FormatDuration(61), "1:01");
  EXPECT_EQ(FormatDuration(3599.6), "1:00:00");
  EXPECT_EQ(FormatDuration(100 * 3600 + 62), "100:01:02");
  EXPECT_EQ(FormatDuration(std::numeric_limits<double>::quiet_NaN()), "0.0 s");
}

TEST(TextTest, TimesAreIso8601) {
  const auto leapDay = std::chrono::sys_days(std::chrono::year(2024) / 2 / 29) + std::chrono::hours(12);
  EXPECT_EQ(FormatUtc(leapDay), "2024-02-29T12:00:00Z");
}

}  // namespace
}  // namespace qzmtraw::host
