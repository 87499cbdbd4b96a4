// Files that real programs wrote.

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>

#include "tests/support/Programs.h"
#include "tests/support/ZipScanning.h"

namespace qzmtraw::test {
namespace {

constexpr std::uint64_t kFirst = Device::kFirstSector;

/// A device with the bytes behind its third sector and room behind them.
Device DeviceWith(const std::string& file, int sectorSize = 512) {
  const int sectors = static_cast<int>(file.size()) / sectorSize + 6;
  return Device(sectors, sectorSize).Put(kFirst + 3, file);
}

ZipHits WholeFile(const std::string& file, std::uint32_t code) { return {{kFirst + 3, file.size(), code}}; }

std::string Document(const std::string& name) {
  std::ifstream file(std::filesystem::path(QZMTRAW_TEST_DATA) / "zip" / name, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

TEST(ZipDocuments, OfLibreOfficeAreTheirKindAndGoToTheEndOfTheirEndRecord) {
  const std::vector<std::pair<std::string, std::uint32_t>> documents = {
      {"document.docx", 1}, {"sheet.xlsx", 2}, {"slides.pptx", 3}, {"document.odt", 4},
      {"sheet.ods", 5},     {"slides.odp", 6}, {"drawing.odg", 7},
  };
  for (const auto& [name, code] : documents) {
    const std::string file = Document(name);
    ASSERT_GT(file.size(), 4096U) << name;
    // They have no comment, so that the end record is the last thing in them.
    for (const int sectorSize : {512, 1024, 2048}) {
      EXPECT_EQ(ScanZipAnyCut(DeviceWith(file, sectorSize)), WholeFile(file, code)) << name << ' ' << sectorSize;
    }
  }
}

TEST(ZipDocuments, InASingleSectorWithTheirNamesStayOpen) {
  const std::string file = Document("document.odt");
  EXPECT_EQ(ScanZipAnyCut(DeviceWith(file, 16384)), ZipHits{});
  // The sector's other bytes and the end record of the next document belong to it.
  Device device(4, 16384);
  device.Put(kFirst, file).Put(kFirst + 1, Document("document.docx"));
  EXPECT_EQ(ScanZipAnyCut(device), (ZipHits{{kFirst, 16384 + Document("document.docx").size(), 4}}));
}

TEST(ZipDocuments, BehindOneAnotherAreToldApart) {
  const std::string text = Document("document.odt");
  const std::string sheet = Document("sheet.xlsx");
  Device device(40);
  device.Put(kFirst, text).Put(kFirst + 20, sheet);
  EXPECT_EQ(ScanZipAnyCut(device), (ZipHits{{kFirst, text.size(), 4}, {kFirst + 20, sheet.size(), 2}}));
}

/// Files made by Info-ZIP.
class ZipArchives : public ::testing::Test {
 protected:
  /// A member of `size` bytes, in a folder if its name has one.
  void Write(const std::string& name, const std::string& contents) const {
    std::filesystem::create_directories((folder.Path() / name).parent_path());
    folder.Write(name, contents);
  }
  void Write(const std::string& name, std::size_t size) const { Write(name, SampleText(size)); }
  /// Runs "zip" and returns the archive.
  std::string Zip(const std::string& arguments) const {
    std::filesystem::remove(folder.Path() / "file.zip");
    if (!folder.Run("zip -q -X file.zip " + arguments)) throw std::runtime_error("zip is needed");
    return folder.Read("file.zip");
  }
  /// Makes an archive and expects it to be found whole.
  void ExpectKind(const std::string& arguments, std::uint32_t code) const {
    const std::string file = Zip(arguments);
    EXPECT_EQ(ScanZipAnyCut(DeviceWith(file)), WholeFile(file, code)) << arguments;
  }

  TemporaryFolder folder;
};

TEST_F(ZipArchives, WithoutANameArePlain) {
  Write("readme.txt", 3000);
  const std::string file = Zip("readme.txt");
  EXPECT_EQ(ScanZipAnyCut(DeviceWith(file)), WholeFile(file, 0));
  EXPECT_EQ(ScanZipAnyCut(DeviceWith(file, 16384)), WholeFile(file, 0));
}

TEST_F(ZipArchives, WithACommentEndInFrontOfIt) {
  Write("readme.txt", 3000);
  Zip("readme.txt");
  ASSERT_TRUE(folder.Run("echo A comment | zip -q -z file.zip"));
  const std::string file = folder.Read("file.zip");
  const std::size_t commentSize = std::string("A comment").size();
  EXPECT_EQ(ScanZipAnyCut(DeviceWith(file)), (ZipHits{{kFirst + 3, file.size() - commentSize, 0}}));
}

TEST_F(ZipArchives, WithAMemberAtASectorsStartBeginThere) {
  // Two stored members; the header of the first, its name and its contents fill two sectors.
  Write("one", 1024 - 30 - 3);
  Write("two", 700);
  const std::string file = Zip("-0 one two");
  ASSERT_EQ(file.substr(1024, 4), "PK\3\4");
  EXPECT_EQ(ScanZipAnyCut(DeviceWith(file)), (ZipHits{{kFirst + 5, file.size() - 1024, 0}}));
}

TEST_F(ZipArchives, OfAnotherArchiveEndWithTheInnerOne) {
  Write("readme.txt", 3000);
  const std::string inner = Zip("readme.txt");
  ASSERT_TRUE(folder.Run("mv file.zip inner.zip"));
  const std::string file = Zip("-0 inner.zip");
  EXPECT_EQ(ScanZipAnyCut(DeviceWith(file)), (ZipHits{{kFirst + 3, 30 + 9 + inner.size(), 0}}));
}

TEST_F(ZipArchives, OfJava) {
  Write("META-INF/MANIFEST.MF", "Manifest-Version: 1.0\r\n\r\n");
  Write("Main.class", 1500);
  ExpectKind("META-INF/MANIFEST.MF Main.class", 9);
}

TEST_F(ZipArchives, OfAndroidAreTakenForJavasUnlessTheirManifestComesFirst) {
  Write("META-INF/MANIFEST.MF", "Manifest-Version: 1.0\r\n\r\n");
  Write("AndroidManifest.xml", 1500);
  ExpectKind("META-INF/MANIFEST.MF AndroidManifest.xml", 9);
  ExpectKind("AndroidManifest.xml META-INF/MANIFEST.MF", 14);
}

TEST_F(ZipArchives, WithAStoredFirstMemberThatNamesTheirKind) {
  const std::vector<std::pair<std::string, std::uint32_t>> kinds = {
      {"application/epub+zip", 13},
      {"application/vnd.oasis.opendocument.formula", 10},
      {"application/vnd.oasis.opendocument.base", 19},
      {"application/vnd.sun.xml.base", 8},
      {"application/vnd.adobe.xfl", 16},
      // A template's mark begins with that of its kind.
      {"application/vnd.oasis.opendocument.text-template", 4},
  };
  Write("content.xml", 1500);
  for (const auto& [type, code] : kinds) {
    Write("mimetype", type);
    ExpectKind("-0 mimetype content.xml", code);
  }
}

TEST_F(ZipArchives, WithACompressedMarkOfTheirKindArePlain) {
  Write("mimetype", "application/epub+zip, application/epub+zip, application/epub+zip");
  Write("content.xml", 1500);
  ExpectKind("mimetype content.xml", 0);
}

TEST_F(ZipArchives, OfOtherKindsAreToldByAMembersName) {
  const std::vector<std::pair<std::string, std::uint32_t>> kinds = {
      {"PxlPkg.plist", 11},     {"docProps/thumbnail.jpeg", 12},
      {"iTunesArtwork", 15},    {"template/database/databaseProperties.xml", 18},
      {"content/data.xml", 20}, {"ppt/media/picture.png", 3},
  };
  Write("other", 1500);
  for (const auto& [name, code] : kinds) {
    Write(name, 100);
    ExpectKind("-D " + name + " other", code);
  }
}

TEST_F(ZipArchives, WithAnEmptyFolderContentInFrontArePlain) {
  Write("content/data.xml", 1500);
  const std::string file = Zip("-r content");
  ASSERT_EQ(file.substr(30, 12), "content/PK\3\4");
  EXPECT_EQ(ScanZipAnyCut(DeviceWith(file)), WholeFile(file, 0));
}

TEST_F(ZipArchives, OfTheToolOfJava) {
  Write("Main.class", 1500);
  if (!folder.Run("jar cf file.zip Main.class 2> log")) GTEST_SKIP() << "no jar";
  const std::string file = folder.Read("file.zip");
  EXPECT_EQ(ScanZipAnyCut(DeviceWith(file)), WholeFile(file, 9));
}

}  // namespace
}  // namespace qzmtraw::test
