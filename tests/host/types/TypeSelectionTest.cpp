#include <gtest/gtest.h>

#include "host/base/Error.h"
#include "host/types/TypeSelection.h"

namespace qzmtraw::host {
namespace {

using Rows = std::vector<std::int32_t>;

TypeCatalogue Catalogue() {
  TypeCatalogue catalogue(4);
  const std::vector<std::string> extensions = {"doc", "jpg", "QBW", "jpg"};
  for (std::size_t i = 0; i < catalogue.size(); ++i) {
    catalogue[i].row = static_cast<std::int32_t>(i);
    catalogue[i].extension = extensions[i];
  }
  return catalogue;
}

std::string MessageFor(const std::string& list) {
  try {
    SelectTypes(Catalogue(), list);
  } catch (const UsageError& error) {
    return error.what();
  }
  return {};
}

TEST(TypeSelectionTest, AnExtensionStandsForAllItsRows) {
  EXPECT_EQ(SelectTypes(Catalogue(), "jpg"), (Rows{1, 3}));
  EXPECT_EQ(SelectTypes(Catalogue(), "JPG"), (Rows{1, 3}));
  EXPECT_EQ(SelectTypes(Catalogue(), "qbw"), (Rows{2}));
  EXPECT_EQ(SelectTypes(Catalogue(), ".doc"), (Rows{0}));
}

TEST(TypeSelectionTest, ANumberStandsForARow) {
  EXPECT_EQ(SelectTypes(Catalogue(), "3"), (Rows{3}));
  EXPECT_EQ(SelectTypes(Catalogue(), "0"), (Rows{0}));
}

TEST(TypeSelectionTest, ListsComeInRowOrderAndOnce) {
  EXPECT_EQ(SelectTypes(Catalogue(), "3, jpg,doc,doc"), (Rows{0, 1, 3}));
  EXPECT_EQ(AllTypes(Catalogue()), (Rows{0, 1, 2, 3}));
}

TEST(TypeSelectionTest, TellsWhichNameIsUnknown) {
  const std::string message = MessageFor("doc,nonsense,jpg");
  EXPECT_NE(message.find("'nonsense'"), std::string::npos) << message;
  EXPECT_NE(message.find("qzmtraw types"), std::string::npos) << message;
}

TEST(TypeSelectionTest, RefusesNamesThatAreNone) {
  for (const char* list : {"4", "-1", "99999999999", "", "doc,", ",doc", "doc,,jpg", ".", "1x", "jp", "+1"}) {
    EXPECT_FALSE(MessageFor(list).empty()) << list;
  }
}

}  // namespace
}  // namespace qzmtraw::host
