// Files that programs wrote, each with the size that its detector gives it. tests/data/make_store_files.sh makes them.

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
  std::ifstream file(std::filesystem::path(QZMTRAW_TEST_DATA) / "stores" / name, std::ios::binary);
  if (!file) throw std::runtime_error("no file " + name);
  return {std::istreambuf_iterator<char>(file), {}};
}

Hits ScanFile(const char* className, const std::string& file) {
  return ScanAnyCut(className, Device(200).Put(kFirst + 3, file));
}

TEST(StoreFiles, HaveTheirSize) {
  struct FileCase {
    const char* className;
    const char* name;
    std::uint64_t bytesBehind;  ///< What the kind counts behind the file's end.
  };
  const FileCase cases[] = {
      // The table's end is the byte behind the last record, which this program doesn't write.
      {"CKDDbfFileType", "customers.dbf", 1},
      {"CKDMyiFileType", "table.myi", 0},
      {"CKDGdsFileType", "cell.gds", 0},
      {"KIccFileType", "srgb.icc", 0},
  };
  for (const auto& [className, name, bytesBehind] : cases) {
    const std::string file = Read(name);
    EXPECT_EQ(ScanFile(className, file), (Hits{{kFirst + 3, file.size() + bytesBehind}})) << name;
  }
}

TEST(StoreFiles, HelpIsKnownByTheSecondIdOfItsFirstCompiler) {
  std::string help = Read("help.chm");
  // This compiler writes one id twice.
  ASSERT_EQ(help.compare(24, 16, help, 40, 16), 0);
  EXPECT_EQ(ScanFile("KCHMFileType", help), Hits{});
  help[40] = '\x11';
  EXPECT_EQ(ScanFile("KCHMFileType", help), (Hits{{kFirst + 3, help.size()}}));
}

TEST(StoreFiles, DebuggingInformationIsAStart) {
  EXPECT_EQ(ScanFile("CKDPdbFileType", Read("program.pdb")), (Hits{{kFirst + 3, 0}}));
}

TEST(StoreFiles, DefinitionsOfMariaDbAreFollowedInStepsOfAFieldThatIsNoBlockLength) {
  const std::string definition = Read("table.frm");
  ASSERT_EQ(definition.substr(6, 2), LittleU16(90));
  ASSERT_EQ(definition.substr(90, 2), LittleU16(514));
  // 512 further, which is longer than a step of 90: 64 KiB and a step behind the first place.
  constexpr std::size_t kSecondPlace = 90 + 65536 + 90;
  const Device device = Device(200).Put(kFirst + 3, definition).Put(kFirst + 3, kSecondPlace, LittleU16(2));
  EXPECT_EQ(ScanAnyCut("CKDFrmFileType", device), (Hits{{kFirst + 3, kSecondPlace}}));
}

}  // namespace
}  // namespace qzmtraw::test
