// Archives that programs wrote, each with the size that its detector gives it. tests/data/make_archives.sh makes them.

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>

#include "tests/support/Scanning.h"

namespace qzmtraw::test {
namespace {

constexpr std::uint64_t kFirst = Device::kFirstSector;

std::string Read(const std::string& name) {
  std::ifstream file(std::filesystem::path(QZMTRAW_TEST_DATA) / "archives" / name, std::ios::binary);
  if (!file) throw std::runtime_error("no file " + name);
  return {std::istreambuf_iterator<char>(file), {}};
}

/// Finds the file on a device of zeros.
Hits ScanFile(const char* className, const std::string& contents, int sectorSize = 512) {
  return ScanAnyCut(className, Device(60, sectorSize, kFirst, 0).Put(kFirst + 3, contents));
}

TEST(ArchiveFiles, ThatTellTheirSizeOrEndAreFoundWhole) {
  const std::pair<const char*, const char*> files[] = {
      {"KCabFileType", "two.cab"},    {"KCabFileType", "two_packed.cab"}, {"CKALzhFileType", "two.lzh"},
      {"CKAXzhFileType", "crc32.xz"}, {"CKAXzhFileType", "crc64.xz"},     {"CKAWebarchiveFileType", "page.webarchive"},
      {"CKAArjFileType", "two.arj"},
  };
  for (const auto& [className, name] : files) {
    const std::string contents = Read(name);
    EXPECT_EQ(ScanFile(className, contents), (Hits{{kFirst + 3, contents.size()}})) << name;
  }
}

TEST(ArchiveFiles, OfWhichTheStartIsKnownAreFound) {
  const std::pair<const char*, const char*> files[] = {
      {"CKABz2FileType", "text.bz2"},  {"CKATarFileType", "ustar.tar"}, {"CKATarFileType", "gnu.tar"},
      {"CKADebFileType", "words.deb"}, {"CKALzoFileType", "text.lzo"},  {"CKAZFileType", "text.Z"},
      {"CKAZFileType", "unnamed.gz"},
  };
  for (const auto& [className, name] : files) {
    EXPECT_EQ(ScanFile(className, Read(name)), (Hits{{kFirst + 3, 0}})) << name;
  }
}

TEST(ArchiveFiles, OfTarBeginWithAFolder) { EXPECT_EQ(ScanFile("CKATarFileType", Read("file.tar")), Hits{}); }

TEST(ArchiveFiles, OfGzipLoseTheZerosThatTheyEndWith) {
  for (const char* name : {"named.gz", "unnamed.gz"}) {
    const std::string contents = Read(name);
    // The upper half of the text's length.
    ASSERT_TRUE(contents.ends_with(Literal("\x0F\0\0")));
    EXPECT_EQ(ScanFile("CKAGzFileType", contents), (Hits{{kFirst + 3, contents.size() - 2}})) << name;
  }
  EXPECT_EQ(ScanFile("CKAZFileType", Read("named.gz")), Hits{});
}

TEST(ArchiveFiles, OfRpmEndInTheirLead) {
  for (const char* name : {"xz.rpm", "gzip.rpm"}) {
    // The minor version, the package's type and the upper byte of its architecture.
    ASSERT_EQ(Read(name).substr(5, 4), Literal("\0\0\0\0"));
    EXPECT_EQ(ScanFile("CKARpmFileType", Read(name)), (Hits{{kFirst + 3, 9}})) << name;
  }
}

TEST(ArchiveFiles, OfLhaWithHeadersOfLevel0EndWithTheFirstMember) {
  const std::string contents = Read("two_level0.lzh");
  // The header's size without two bytes, the packed size, and the zero at the end.
  ASSERT_EQ(contents.substr(0, 11), "\x1F\x61-lh5-" + LittleU32(0x70C));
  EXPECT_EQ(ScanFile("CKALzhFileType", contents), (Hits{{kFirst + 3, 0x1F + 0x70C + 1}}));
}

TEST(ArchiveFiles, ImageOfACdStartsBeforeItsDescriptor) {
  const std::string descriptor = Read("descriptor.iso");
  const std::uint64_t size = std::stoull(Read("descriptor.iso.size"));
  for (const int sectorSize : {512, 2048, 4096}) {
    const auto sectors = static_cast<std::uint64_t>(32768 / sectorSize);
    EXPECT_EQ(ScanFile("CKAIsoFileType", descriptor, sectorSize), (Hits{{kFirst + 3 - sectors, size}})) << sectorSize;
  }
}

}  // namespace
}  // namespace qzmtraw::test
