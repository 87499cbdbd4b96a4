#include <gtest/gtest.h>

#include "host/base/Error.h"
#include "host/types/Registry.h"
#include "host/types/TypeSelection.h"
#include "tests/host/support/Workspace.h"

namespace qzmtraw::host {
namespace {

using Rows = std::vector<std::int32_t>;

TypeCatalogue Catalogue() {
  TypeCatalogue catalogue(4);
  const std::vector<std::string> extensions = {"doc", "jpg", "QBW", "jpg"};
  const std::vector<std::int32_t> categories = {1, 3, 6, 10};
  const std::vector<std::string_view> classNames = {"KWord", "KTwin", "KBooks", "KTwin"};
  for (std::size_t i = 0; i < catalogue.size(); ++i) {
    catalogue[i].row = static_cast<std::int32_t>(i);
    catalogue[i].extension = extensions[i];
    catalogue[i].category = categories[i];
    catalogue[i].facts.className = classNames[i];
  }
  catalogue[0].rule.isGreatestSizeSettable = true;
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

TEST(TypeSelectionTest, AClassNameStandsForItsRows) {
  EXPECT_EQ(SelectTypes(Catalogue(), "ktwin"), (Rows{1, 3}));
  EXPECT_EQ(SelectTypes(Catalogue(), "KBooks"), (Rows{2}));
  EXPECT_FALSE(MessageFor("KTw").empty()) << "beginnings aren't names";
}

TEST(TypeSelectionTest, AWholeCategoryNameStandsForItsRows) {
  EXPECT_EQ(SelectTypes(Catalogue(), "graphics"), (Rows{1}));
  for (const char* name : {"source-code", "Source Code", "SOURCE_CODE"}) {
    EXPECT_EQ(SelectTypes(Catalogue(), name), (Rows{3})) << name;
  }
  EXPECT_FALSE(MessageFor("graph").empty());
}

std::string CategoryMessageFor(const std::string& list) {
  try {
    SelectCategories(Catalogue(), list, "here");
  } catch (const UsageError& error) {
    return error.what();
  }
  return {};
}

TEST(TypeSelectionTest, CategoriesAreNamedByTheirBeginnings) {
  EXPECT_EQ(SelectCategories(Catalogue(), "g", "here"), (Rows{1}));
  EXPECT_EQ(SelectCategories(Catalogue(), "source-c,doc", "here"), (Rows{0, 3}));
  EXPECT_EQ(CategoryMessageFor("d"), "here: 'd' may be databases, documents");
  EXPECT_EQ(CategoryMessageFor("x"), "here: 'x' is no category; there are databases, documents, graphics, source code");
  EXPECT_FALSE(CategoryMessageFor("").empty());
  EXPECT_FALSE(CategoryMessageFor("g,").empty());
}

TEST(TypeSelectionTest, SizesHaveUnits) {
  EXPECT_EQ(SizeNamed("1"), 1U);
  EXPECT_EQ(SizeNamed("7b"), 7U);
  EXPECT_EQ(SizeNamed("2 KiB"), 2048U);
  EXPECT_EQ(SizeNamed("3MB"), 3U << 20U);
  EXPECT_EQ(SizeNamed("1g"), 1U << 30U);
  EXPECT_EQ(SizeNamed("9223372036854775807"), 9223372036854775807U);
  for (const char* text : {"", "0", "k", "1x", "1kk", "-1", "1.5m", "9223372036854775808", "8388608T", "1mi"}) {
    EXPECT_FALSE(SizeNamed(text)) << text;
  }
}

/// Profiles of a test, by name.
class TypeChoiceTest : public ::testing::Test {
 protected:
  void WriteProfile(const std::string& name, const std::string& text) {
    WriteFile(workspace / (name + ".conf"), BytesOf(text));
  }

  Rows Choice(const TypeOptions& options) { return ChooseTypes(catalogue, options, places).rows; }

  std::string Refusal(const TypeOptions& options) {
    try {
      Choice(options);
    } catch (const UsageError& error) {
      return error.what();
    }
    return {};
  }

  Workspace workspace;
  ProfilePlaces places{{workspace.Path().string()}};
  TypeCatalogue catalogue = Catalogue();
};

TEST_F(TypeChoiceTest, ListsAddAndExclude) {
  EXPECT_EQ(Choice({}), (Rows{0, 1, 2, 3}));
  EXPECT_EQ(Choice({.types = "doc"}), (Rows{0}));
  EXPECT_EQ(Choice({.types = "doc", .categories = "graph"}), (Rows{0, 1}));
  EXPECT_EQ(Choice({.exclude = "jpg"}), (Rows{0, 2}));
  EXPECT_EQ(Choice({.types = "doc,jpg", .exclude = "source-code"}), (Rows{0, 1}));
  EXPECT_EQ(Refusal({.types = "doc", .exclude = "0"}), "no file type is left to look for: all are excluded");
}

TEST_F(TypeChoiceTest, TheCommandLineComesBehindTheProfile) {
  WriteProfile("mine", "# a comment\r\n\n  types = doc\ntypes=QBW\n; another\nexclude = jpg\n");
  EXPECT_EQ(Choice({.profile = "mine"}), (Rows{0, 2}));
  EXPECT_EQ(Choice({.types = "1", .profile = "mine"}), (Rows{0, 1, 2}));
  EXPECT_EQ(Choice({.exclude = "doc", .profile = "mine"}), (Rows{2}));
  WriteProfile("less", "exclude = jpg");
  EXPECT_EQ(Choice({.profile = "less"}), (Rows{0, 2}));
  EXPECT_EQ(Choice({.profile = workspace / "less.conf"}), (Rows{0, 2}));
}

TEST_F(TypeChoiceTest, MistakesInProfilesAreToldWithFileAndLine) {
  const std::string file = "profile '" + (workspace / "bad.conf") + "'";
  WriteProfile("bad", "\ntypes = doc\ntype = jpg\n");
  EXPECT_EQ(Refusal({.profile = "bad"}),
            file + ", line 3: 'type = jpg' isn't one of types, category, exclude and max-size with '=' and a list");
  WriteProfile("other", "types");
  EXPECT_NE(Refusal({.profile = "other"}).find(", line 1: 'types' isn't"), std::string::npos);
  WriteProfile("third", "\n\nexclude = doc, nonsense");
  EXPECT_NE(Refusal({.profile = "third"}).find(", line 3: exclude: there is no file type 'nonsense'"),
            std::string::npos);
  const std::string missing = Refusal({.profile = "missing"});
  EXPECT_NE(missing.find("looked in '" + workspace.Path().string() + "', and the program itself"), std::string::npos)
      << missing;
  EXPECT_NE(missing.find("photos"), std::string::npos) << missing;
  EXPECT_THROW(Choice({.profile = workspace / "missing.conf"}), Failure);
}

TEST_F(TypeChoiceTest, AProfileOfTheUserHidesTheBuiltInOne) {
  WriteProfile("everything", "types = doc");
  EXPECT_EQ(Choice({.profile = "everything"}), (Rows{0}));
  EXPECT_EQ(ChooseTypes(catalogue, {.profile = "everything"}, ProfilePlaces{}).rows, (Rows{0, 1, 2, 3}));
}

TEST_F(TypeChoiceTest, GreatestSizesAreSetWhereTheyCanBe) {
  WriteProfile("sized", "max-size = doc=1MiB");
  EXPECT_TRUE(ChooseTypes(catalogue, {.profile = "sized"}, places).warnings.empty());
  EXPECT_EQ(catalogue[0].greatestSize, 1U << 20U);
  const TypeOptions options{.greatestSizes = {"doc=2k", "jpg=5"}, .profile = "sized"};
  EXPECT_EQ(ChooseTypes(catalogue, options, places).warnings,
            (std::vector<std::string>{
                "--max-size: 'jpg=5' has no effect on rows 1, 3, whose sizes have no limit that can be set"}));
  EXPECT_EQ(catalogue[0].greatestSize, 2048U);
  EXPECT_EQ(catalogue[1].greatestSize, 0U);
  for (const char* item : {"doc", "doc=", "doc=0", "doc=many", "=5", "nonsense=5"}) {
    EXPECT_FALSE(Refusal({.greatestSizes = {item}}).empty()) << item;
  }
}

TEST(ProfileTest, TheBuiltInOnesAreUnderstood) {
  TypeCatalogue catalogue = ReadTypeCatalogue(OpenRegistry());
  EXPECT_EQ(BuiltInProfileNames(), (std::vector<std::string>{"documents", "everything", "mail", "photos"}));
  for (const std::string& name : BuiltInProfileNames()) {
    const TypeChoice choice = ChooseTypes(catalogue, {.profile = name}, ProfilePlaces{});
    EXPECT_TRUE(choice.warnings.empty()) << name;
    EXPECT_EQ(choice.rows.size() == catalogue.size(), name == "everything") << name;
  }
}

}  // namespace
}  // namespace qzmtraw::host
