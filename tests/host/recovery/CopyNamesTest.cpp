#include <gtest/gtest.h>

#include "host/recovery/CopyNames.h"

namespace qzmtraw::host {
namespace {

TypeInfo TypeCalled(const std::string& extension) { return {5, extension, "", 3, "", "", {}}; }

TEST(CopyNamesTest, NamesAreHarmless) {
  EXPECT_EQ(HarmlessName("Annual Report (2004).final", 60), "Annual-Report-2004-.final");
  EXPECT_EQ(HarmlessName("../../etc/passwd", 60), "etc-passwd");
  EXPECT_EQ(HarmlessName("a/../b\\c:d", 60), "a-.-b-c-d");
  EXPECT_EQ(HarmlessName("a...b", 60), "a.b");
  EXPECT_EQ(HarmlessName("-rf", 60), "rf");
  EXPECT_EQ(HarmlessName(".hidden.", 60), "hidden");
  EXPECT_EQ(HarmlessName("\x1B[2J\xFF\xC3\xA4\n", 60), "2J");
  EXPECT_EQ(HarmlessName("\xD0\x94\xD0\xB0", 60), "");
  EXPECT_EQ(HarmlessName("12345678", 4), "1234");
  EXPECT_EQ(HarmlessName("123-5678", 4), "123");
  EXPECT_EQ(HarmlessName(std::string_view("a\0b", 3), 60), "a-b");
}

TEST(CopyNamesTest, FoldersAreNoDevices) {
  EXPECT_EQ(FolderName("jpg"), "jpg");
  EXPECT_EQ(FolderName("audio and video"), "audio-and-video");
  EXPECT_EQ(FolderName("con"), "_con");
  EXPECT_EQ(FolderName("Lpt1.x"), "_Lpt1.x");
  EXPECT_EQ(FolderName("com"), "com");
  EXPECT_EQ(FolderName("??"), "bin");
}

TEST(CopyNamesTest, CopiesAreKeptApart) {
  CopyNamer namer;
  const TypeInfo jpg = TypeCalled("jpg");
  EXPECT_EQ(namer.NameFor({128, 0, 144}, jpg).FileName({}), "000000000128.jpg");
  EXPECT_EQ(namer.NameFor({128, 7, 144}, jpg).FileName({}), "000000000128-r144.jpg");
  EXPECT_EQ(namer.NameFor({128, 9, 144}, jpg).FileName({}), "000000000128-r144-2.jpg");
  EXPECT_EQ(namer.NameFor({128, 0, 145}, TypeCalled("gif")).FileName({}), "000000000128.gif");
  EXPECT_EQ(namer.NameFor({128, 0, 146}, jpg).FileName("2004"), "000000000128-r146_2004.jpg");
  EXPECT_EQ(namer.NameFor({129, 0, 144}, jpg).PartName(), "000000000129.jpg.part");
  const CopyName name = namer.NameFor({1234567890123, 0, 144}, jpg);
  EXPECT_EQ(name.category + "/" + name.type + "/" + name.FileName("x"), "graphics/jpg/1234567890123_x.jpg");
}

TEST(CopyNamesTest, OnlyOwnPartsAreKnown) {
  EXPECT_TRUE(IsPartName("000000000128.jpg.part"));
  EXPECT_TRUE(IsPartName("000000000128-r144-2.7z.part"));
  for (const char* name : {"000000000128.jpg", "mine.part", "000000000128.part", "12.jpg.part",
                           "000000000128-rx.jpg.part", "000000000128 .jpg.part", ".part"}) {
    EXPECT_FALSE(IsPartName(name)) << name;
  }
}

}  // namespace
}  // namespace qzmtraw::host
