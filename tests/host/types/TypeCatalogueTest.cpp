#include <gtest/gtest.h>

#include "host/base/Text.h"
#include "host/types/Registry.h"
#include "host/types/TypeCatalogue.h"

namespace qzmtraw::host {
namespace {

const TypeCatalogue& Catalogue() {
  static const TypeCatalogue kCatalogue = ReadTypeCatalogue(OpenRegistry());
  return kCatalogue;
}

TEST(TypeCatalogueTest, HoldsEveryRow) {
  ASSERT_EQ(Catalogue().size(), 320U);
  for (std::size_t i = 0; i < Catalogue().size(); ++i) {
    EXPECT_EQ(Catalogue()[i].row, static_cast<std::int32_t>(i));
    EXPECT_FALSE(Catalogue()[i].extension.empty()) << i;
    EXPECT_TRUE(IsUtf8(Catalogue()[i].description)) << i;
  }
}

TEST(TypeCatalogueTest, TellsARow) {
  const TypeInfo& ace = Catalogue()[157];
  EXPECT_EQ(ace.extension, "ace");
  EXPECT_EQ(ace.description, "ACE Archive");
  EXPECT_EQ(CategoryName(ace.category), "archives");
  EXPECT_EQ(ace.group, "");
  EXPECT_EQ(ace.groupGuid, "");
  ASSERT_TRUE(ace.hints.has_value());
  EXPECT_EQ(ace.hints->least, 256U);
  EXPECT_EQ(ace.hints->greatest, 0x64000000U);
}

TEST(TypeCatalogueTest, ARowWithoutHintsHasNone) { EXPECT_FALSE(Catalogue()[144].hints.has_value()); }

TEST(TypeCatalogueTest, DescriptionsAreUtf8) {
  EXPECT_EQ(Catalogue()[149].description,
            "Iso 9660 \xC2\xA8"
            "Ccd-rom File System");
}

TEST(TypeCatalogueTest, GroupsAreLetteredInOrder) {
  EXPECT_EQ(Catalogue()[0].group, "A");
  EXPECT_EQ(Catalogue()[0].groupGuid, "{FBE1D84D-5305-4D4A-937C-DED50505928D}");
  EXPECT_EQ(Catalogue()[1].group, "A");
  EXPECT_EQ(Catalogue()[6].group, "B");
  EXPECT_EQ(Catalogue()[6].groupGuid, "{8D7272BE-BCD4-4E77-9BDB-DEE8335ADC42}");
  EXPECT_EQ(Catalogue()[38].group, "C");
}

TEST(TypeCatalogueTest, CategoriesHaveNames) {
  EXPECT_EQ(CategoryName(1), "documents");
  EXPECT_EQ(CategoryName(10), "source code");
  EXPECT_EQ(CategoryName(-1), "other");
  EXPECT_EQ(CategoryName(11), "other");
}

}  // namespace
}  // namespace qzmtraw::host
