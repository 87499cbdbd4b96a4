#include <gtest/gtest.h>

#include <array>
#include <cerrno>

#include "host/base/Error.h"
#include "host/sources/EwfSegments.h"
#include "host/sources/ImageFormat.h"
#include "host/sources/SplitSource.h"
#include "tests/host/support/Workspace.h"

namespace qzmtraw::host {
namespace {

using Names = std::vector<std::string>;

TEST(SplitNameTest, FirstPartsCountFromTheStart) {
  for (const char* name : {"a.00", "a.01", "a.000", "/b.c/a.001", "a.aa", "a.aaa", "a.AA"}) {
    EXPECT_TRUE(IsFirstPartName(name)) << name;
  }
  for (const char* name : {"a.0", "a.1", "a.a", "a.002", "a.10", "a.ab", "a.img", "a", ".", "", "a.aA", "b.001/a",
                           "a.0000000001", "a.00x"}) {
    EXPECT_FALSE(IsFirstPartName(name)) << name;
  }
}

TEST(SplitNameTest, CountsUp) {
  EXPECT_EQ(NextPartNames("a.001"), Names{"a.002"});
  EXPECT_EQ(NextPartNames("a.009"), Names{"a.010"});
  EXPECT_EQ(NextPartNames("a.89"), (Names{"a.90", "a.9000"}));
  EXPECT_EQ(NextPartNames("a.9899"), (Names{"a.9900", "a.990000"}));
  EXPECT_EQ(NextPartNames("a.999"), Names{"a.1000"});
  EXPECT_EQ(NextPartNames("a.az"), Names{"a.ba"});
  EXPECT_EQ(NextPartNames("a.yz"), (Names{"a.za", "a.zaaa"}));
  EXPECT_EQ(NextPartNames("a.zz"), Names{});
  EXPECT_EQ(NextPartNames("a.img"), Names{"a.imh"});
  EXPECT_EQ(NextPartNames("a.x1"), Names{});
}

class SplitSourceTest : public ::testing::Test {
 protected:
  void Put(const std::string& name, const std::string& content) { WriteFile(workspace / name, BytesOf(content)); }

  std::string Message(const std::string& name) {
    try {
      const SplitSource source(PartsOf(workspace / name));
    } catch (const Failure& failure) {
      return failure.what();
    }
    return {};
  }

  Workspace workspace;
};

TEST_F(SplitSourceTest, ReadsAcrossParts) {
  Put("a.000", "01234");
  Put("a.001", "56789");
  Put("a.002", "ab");
  Put("b.003", "other");
  SplitSource source(PartsOf(workspace / "a.000"));
  ASSERT_EQ(source.Size(), 12U);
  std::string text;
  while (text.size() < 12) {
    std::array<std::uint8_t, 12> buffer{};
    const ReadResult result = source.ReadAt(text.size(), std::span(buffer).first(12 - text.size()));
    ASSERT_GT(result.count, 0U);
    text.append(buffer.begin(), buffer.begin() + static_cast<std::ptrdiff_t>(result.count));
  }
  EXPECT_EQ(text, "0123456789ab");
  EXPECT_EQ(source.Notes(), Names{"is read with the parts behind it, 3 in all, up to '" + (workspace / "a.002") + "'"});
}

TEST_F(SplitSourceTest, AMissingPartIsToldOf) {
  for (const char* name : {"a.001", "a.002", "a.004", "a.007"}) Put(name, "x");
  EXPECT_EQ(Message("a.001"), "the part '" + (workspace / "a.003") + "' of the split image '" + (workspace / "a.001") +
                                  "' is missing, but '" + (workspace / "a.004") +
                                  "' is there: put all parts into one folder, or scan this part alone with --raw");
  Put("b.aa", "x");
  Put("b.ac", "x");
  EXPECT_NE(Message("b.aa").find("b.ab' of the split"), std::string::npos) << Message("b.aa");
  EXPECT_EQ(FirstPartFor(workspace / "a.007"), workspace / "a.001");
  EXPECT_EQ(FirstPartFor(workspace / "a.001"), "");
  EXPECT_EQ(FirstPartFor(workspace / "c.007"), "");
}

TEST_F(SplitSourceTest, APartThatIsNoFileIsToldOf) {
  Put("a.001", "x");
  std::filesystem::create_directory(workspace / "a.002");
  EXPECT_NE(Message("a.001").find("a.002' of the split image '"), std::string::npos) << Message("a.001");
  EXPECT_NE(Message("a.001").find("is no file"), std::string::npos);
}

TEST_F(SplitSourceTest, PartsOfOddSizesAreToldOf) {
  Put("a.001", "xxx");
  Put("a.002", "xx");
  Put("a.003", "xxx");
  const Names notes = SplitSource(PartsOf(workspace / "a.001")).Notes();
  ASSERT_EQ(notes.size(), 2U);
  EXPECT_EQ(notes[1],
            "the part '" + (workspace / "a.002") + "' has 2 bytes and the first one has 3: see whether they are whole");
  Put("b.aa", "xxx");
  Put("b.ab", "xxxx");
  EXPECT_EQ(SplitSource(PartsOf(workspace / "b.aa")).Notes().size(), 2U);
}

TEST_F(SplitSourceTest, APartThatShrankIsABadPlaceAndNotTheEnd) {
  Put("a.001", "01234");
  Put("a.002", "56789");
  SplitSource source(PartsOf(workspace / "a.001"));
  std::filesystem::resize_file(workspace / "a.001", 2);
  std::array<std::uint8_t, 5> buffer{};
  EXPECT_EQ(source.ReadAt(3, std::span(buffer).first(2)).error, ENODATA);
  EXPECT_EQ(source.ReadAt(5, buffer).count, 5U);
  EXPECT_EQ(source.SizeNow(), 7U);
}

TEST(EwfSegmentsTest, NamesGoFromDigitsToLetters) {
  EXPECT_EQ(NextSegmentName("a.E01"), "a.E02");
  EXPECT_EQ(NextSegmentName("a.E09"), "a.E10");
  EXPECT_EQ(NextSegmentName("a.E99"), "a.EAA");
  EXPECT_EQ(NextSegmentName("a.EAZ"), "a.EBA");
  EXPECT_EQ(NextSegmentName("a.EZZ"), "a.FAA");
  EXPECT_EQ(NextSegmentName("a.ZZZ"), "");
  EXPECT_EQ(NextSegmentName("a.s99"), "a.saa");
  EXPECT_EQ(NextSegmentName("a.E1"), "");
  EXPECT_EQ(NextSegmentName("a.Ea1"), "");
  EXPECT_EQ(NextSegmentName(""), "");
}

TEST(ImageFormatTest, TellsFormatsByTheirStart) {
  using Reading = ImageFormat::Reading;
  const auto reading = [](const std::string& start) { return FormatOf(BytesOf(start)).reading; };
  EXPECT_EQ(reading(std::string("EVF\x09\x0D\x0A\xFF\0rest", 12)), Reading::kEwf);
  EXPECT_EQ(reading(std::string("AFF10\x0D\x0A\0", 8)), Reading::kAff);
  EXPECT_EQ(reading("KDMV"), Reading::kVmdk);
  EXPECT_EQ(reading("# Disk DescriptorFile\n"), Reading::kVmdk);
  EXPECT_EQ(reading("conectix"), Reading::kVhd);
  EXPECT_EQ(reading("QFI\xFB"), Reading::kNot);
  EXPECT_EQ(reading(std::string(64, 'x') + "\x7F\x10\xDA\xBE"), Reading::kNot);
  EXPECT_EQ(reading(std::string("EVF\x09\x0D\x0A\xFF", 7)), Reading::kAsItIs) << "cut";
  EXPECT_EQ(reading("xKDMV"), Reading::kAsItIs);
  EXPECT_EQ(reading(""), Reading::kAsItIs);
}

}  // namespace
}  // namespace qzmtraw::host
