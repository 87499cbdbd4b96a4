// ELF files and their three kinds.

#include <gtest/gtest.h>

#include <random>

#include "tests/system/Faces.h"

namespace qzmtraw::test {
namespace {

constexpr std::uint64_t kFirst = Device::kFirstSector;
const std::vector<std::string> kFaces = {"CKEElfExeFileType", "CKEElfLibFileType", "CKElfModuleFileType"};

FaceHits ScanElf(const Device& device, Cut cut = {}) { return ScanFaces(kFaces, device, cut); }

struct Section {
  std::uint32_t type;
  std::uint64_t size;
};

/// The header and the two tables of a file.
struct Elf {
  bool is64 = true;
  char byteOrder = 1;
  std::uint16_t type = 2;
  std::vector<std::uint64_t> segments;
  std::vector<Section> sections;
  std::uint64_t segmentTableAt = 0x100;
  std::uint64_t sectionTableAt = 0x400;
  std::uint16_t segmentEntrySize = 0;  ///< 0: the usual one.
  std::uint16_t sectionEntrySize = 0;
  std::uint16_t headerSize = 0;

  std::uint16_t SegmentEntrySize() const { return Or(segmentEntrySize, is64 ? 56 : 32); }
  std::uint16_t SectionEntrySize() const { return Or(sectionEntrySize, is64 ? 64 : 40); }
  std::uint16_t HeaderSize() const { return Or(headerSize, is64 ? 64 : 52); }
  static std::uint16_t Or(std::uint16_t value, int usual) {
    return value != 0 ? value : static_cast<std::uint16_t>(usual);
  }
  std::string Word(std::uint64_t value) const {
    return is64 ? LittleU64(value) : LittleU32(static_cast<std::uint32_t>(value));
  }

  std::string Header() const {
    std::string bytes =
        "\x7F"
        "ELF";
    bytes += {static_cast<char>(is64 ? 2 : 1), byteOrder, 1};
    bytes.resize(16);
    bytes += LittleU16(type) + LittleU16(62) + LittleU32(1) + Word(0x400000);
    bytes += Word(segmentTableAt) + Word(sectionTableAt) + LittleU32(0) + LittleU16(HeaderSize());
    bytes += LittleU16(SegmentEntrySize()) + LittleU16(static_cast<std::uint16_t>(segments.size()));
    bytes += LittleU16(SectionEntrySize()) + LittleU16(static_cast<std::uint16_t>(sections.size()));
    return bytes + LittleU16(0);
  }

  /// Writes the file to the device, as far as it reaches.
  void PutAt(Device& device, std::uint64_t sector) const {
    const auto put = [&](std::uint64_t position, const std::string& bytes) {
      device.Put(sector, static_cast<std::size_t>(position), bytes);
    };
    put(0, Header());
    for (std::size_t i = 0; i < segments.size(); ++i) {
      put(segmentTableAt + i * SegmentEntrySize() + (is64 ? 32 : 16), Word(segments[i]));
    }
    for (std::size_t i = 0; i < sections.size(); ++i) {
      put(sectionTableAt + i * SectionEntrySize() + 4, LittleU32(sections[i].type));
      put(sectionTableAt + i * SectionEntrySize() + (is64 ? 32 : 20), Word(sections[i].size));
    }
  }
};

Device DeviceWith(const Elf& elf, int sectorSize = 512) {
  Device device(16, sectorSize, kFirst, 0);
  elf.PutAt(device, kFirst + 1);
  return device;
}

/// The size that an executable alone is reported with.
std::uint64_t SizeOf(const Elf& elf, int sectorSize = 512) {
  const FaceHits found = ScanElf(DeviceWith(elf, sectorSize));
  EXPECT_EQ(found.size(), 1U);
  return found.empty() ? 0 : found.front().size;
}

TEST(CKOElfFileType, SegmentsSectionsAndTablesAreAllAddedUp) {
  Elf elf;
  elf.segments = {1000, 20};
  elf.sections = {{0, 0}, {1, 900}, {3, 80}};
  for (int blockSectors = 0; blockSectors <= 3; ++blockSectors) {
    EXPECT_EQ(ScanElf(DeviceWith(elf), {blockSectors}),
              (FaceHits{{"CKEElfExeFileType", kFirst + 1, 1020 + 980 + 2 * 56 + 3 * 64 + 64}}));
  }
  elf.is64 = false;
  EXPECT_EQ(SizeOf(elf), 1020U + 980 + 2 * 32 + 3 * 40 + 52);
}

TEST(CKOElfFileType, FileWithoutTablesHasItsHeadersSize) {
  Elf elf;
  EXPECT_EQ(SizeOf(elf), 64U);
  elf.is64 = false;
  EXPECT_EQ(SizeOf(elf), 52U);
  elf.headerSize = 0xFFFF;
  EXPECT_EQ(SizeOf(elf), 0xFFFFU);
}

TEST(CKOElfFileType, SectionsWithoutBitsAddNothingButTheirHeader) {
  for (const bool is64 : {true, false}) {
    Elf elf;
    elf.is64 = is64;
    elf.sections = {{8, 5000}};
    EXPECT_EQ(SizeOf(elf), is64 ? 64U + 64 : 52U + 40);
    elf.sections = {{8, 5000}, {7, 1}, {9, 2}, {0x108, 4}, {8, 1}};
    EXPECT_EQ(SizeOf(elf), is64 ? 64U + 5 * 64 + 7 : 52U + 5 * 40 + 7);
  }
}

TEST(CKOElfFileType, TypeTellsTheKind) {
  const char* const kKinds[] = {nullptr, "CKEElfLibFileType", "CKEElfExeFileType", "CKElfModuleFileType", nullptr};
  for (std::size_t type = 0; type < std::size(kKinds); ++type) {
    Elf elf;
    elf.type = static_cast<std::uint16_t>(type);
    const FaceHits expected = kKinds[type] == nullptr ? FaceHits{} : FaceHits{{kKinds[type], kFirst + 1, 64}};
    EXPECT_EQ(ScanElf(DeviceWith(elf)), expected) << type;
  }
  Elf elf;
  elf.type = 0x0102;
  EXPECT_EQ(ScanElf(DeviceWith(elf)), FaceHits{});
}

TEST(CKOElfFileType, HeadHasAMarkAClassAndAByteOrder) {
  const auto isHead = [](std::size_t offset, char value) {
    return !ScanElf(DeviceWith({}).Put(kFirst + 1, offset, std::string(1, value))).empty();
  };
  for (const std::size_t offset : std::vector<std::size_t>{4, 5}) {
    for (int value = 0; value <= 3; ++value) {
      EXPECT_EQ(isHead(offset, static_cast<char>(value)), value == 1 || value == 2) << offset << ", " << value;
    }
  }
  for (const std::size_t offset : std::vector<std::size_t>{0, 1, 2, 3}) EXPECT_FALSE(isHead(offset, 'x')) << offset;
  EXPECT_TRUE(isHead(6, 'x'));
}

TEST(CKOElfFileType, NumbersAreReadWithTheLeastSignificantByteFirstWhateverTheFileSays) {
  Elf elf;
  elf.byteOrder = 2;
  elf.segments = {1000};
  EXPECT_EQ(SizeOf(elf), 1000U + 56 + 64);
  elf.type = 0x0200;
  EXPECT_EQ(ScanElf(DeviceWith(elf)), FaceHits{});
}

TEST(CKOElfFileType, SectorsBelow512BytesHaveNoFiles) {
  EXPECT_EQ(ScanElf(DeviceWith({}, 511)), FaceHits{});
  EXPECT_EQ(ScanElf(DeviceWith({}, 256)), FaceHits{});
  EXPECT_EQ(SizeOf({}, 512), 64U);
  EXPECT_EQ(SizeOf({}, 4096), 64U);
  Device device(3, 512, 0, 0);
  Elf{}.PutAt(device, 0);
  EXPECT_EQ(ScanElf(device), (FaceHits{{"CKEElfExeFileType", 0, 64}}));
}

TEST(CKOElfFileType, TablesStepByTheSizeThatTheHeaderGives) {
  Elf elf;
  elf.segments = {1000, 20};
  elf.segmentEntrySize = 100;
  elf.sections = {{1, 900}, {1, 80}};
  elf.sectionEntrySize = 300;
  EXPECT_EQ(SizeOf(elf), 2000U + 200 + 600 + 64);
}

TEST(CKOElfFileType, EntriesOfNoSizeAreReadAgainAndAgain) {
  Device device = DeviceWith({});
  Elf elf;
  elf.segments = {1000};
  elf.PutAt(device, kFirst + 1);
  device.Put(kFirst + 1, 54, LittleU16(0)).Put(kFirst + 1, 56, LittleU16(0xFFFF));
  EXPECT_EQ(ScanElf(device), (FaceHits{{"CKEElfExeFileType", kFirst + 1, 65535 * 1000 + 64}}));
}

TEST(CKOElfFileType, PositionsHaveTheWidthOfTheFilesWords) {
  // The second entry of a table at the end of 32 bits stands at the file's beginning again: its size field is that of
  // the header. In a file of 64 bits it stands 4 GiB behind it, where nothing is.
  Elf elf;
  elf.is64 = false;
  Device device = DeviceWith(elf);
  device.Put(kFirst + 1, 28, LittleU32(0xFFFFFFE0)).Put(kFirst + 1, 44, LittleU16(2));
  const std::uint64_t typeAndMachine = 62ULL << 16 | 2;
  EXPECT_EQ(ScanElf(device), (FaceHits{{"CKEElfExeFileType", kFirst + 1, typeAndMachine + 64 + 52}}));
  Device wide = DeviceWith({});
  wide.Put(kFirst + 1, 32, LittleU64(0xFFFFFFC8)).Put(kFirst + 1, 56, LittleU16(2));
  EXPECT_EQ(ScanElf(wide), (FaceHits{{"CKEElfExeFileType", kFirst + 1, 112 + 64}}));
}

TEST(CKOElfFileType, SizesAreAddedIn64BitsAndMayWrap) {
  Elf elf;
  elf.is64 = false;
  elf.segments = {0xFFFFFFFF, 0xFFFFFFFF};
  EXPECT_EQ(SizeOf(elf), 0x1FFFFFFFEULL + 64 + 52);
  elf.is64 = true;
  elf.segments = {0xFFFFFFFFFFFFFFFF, 11};
  EXPECT_EQ(SizeOf(elf), 10U + 112 + 64);
}

TEST(CKOElfFileType, TablesOfTheGreatestSizeAreCountedIn64Bits) {
  Device device = DeviceWith({});
  device.Put(kFirst + 1, 54, std::string(8, '\xFF'));
  // The tables lie over the file's zeros and behind it; the header itself is in neither.
  device.Put(kFirst + 1, 32, LittleU64(0x10000)).Put(kFirst + 1, 40, LittleU64(0x10000));
  EXPECT_EQ(ScanElf(device, {1}), (FaceHits{{"CKEElfExeFileType", kFirst + 1, 2 * 65535ULL * 65535 + 64}}));
}

TEST(CKOElfFileType, SectorsAbove32768BytesHaveEmptyTables) {
  Elf elf;
  elf.segments = {1000};
  EXPECT_EQ(SizeOf(elf, 32768), 1000U + 56 + 64);
  EXPECT_EQ(SizeOf(elf, 65536), 56U + 64);
}

TEST(CKOElfFileType, EverySectorWithAHeadIsReportedInOrder) {
  Device device(4, 512, kFirst, 0);
  for (std::uint64_t i = 0; i < 4; ++i) Elf{}.PutAt(device, kFirst + i);
  EXPECT_EQ(ScanElf(device).size(), 4U);
}

TEST(CKOElfFileType, LimitOfAFaceIsIgnored) {
  const Detector face = CreateDetector("CKEElfExeFileType");
  face->SetMaxFileSize(1);
  Device device(2, 512, kFirst + 700, 0);
  Elf{}.PutAt(device, kFirst + 700);
  EXPECT_EQ(Scan(*face, device), (Hits{{kFirst + 700, 64}}));
}

/// The size of an executable at `sector` by the rules, on a device that is read byte by byte.
std::uint64_t LiteralSize(const Device& device, std::uint64_t sector) {
  const auto number = [&](std::uint64_t position, int width) {
    std::uint64_t value = 0;
    for (int i = width; i-- > 0;) {
      const std::uint64_t at = position + static_cast<std::uint64_t>(i);
      const auto size = static_cast<std::uint64_t>(device.SectorSize());
      const std::uint64_t index = sector - device.FirstSector() + at / size;
      const bool isThere = index < static_cast<std::uint64_t>(device.SectorCount());
      value = value << 8 | (isThere ? device.Bytes()[index * size + at % size] : 0);
    }
    return value;
  };
  const bool is64 = number(4, 1) == 2;
  const int word = is64 ? 8 : 4;
  const std::uint64_t mask = is64 ? ~std::uint64_t{0} : 0xFFFFFFFF;
  const std::uint64_t counts = is64 ? 52 : 40;
  std::uint64_t size = number(counts, 2);
  for (std::uint64_t i = 0; i < number(counts + 4, 2); ++i) {
    const std::uint64_t at = (number(is64 ? 32 : 28, word) + i * number(counts + 2, 2)) & mask;
    size += number(at + (is64 ? 32 : 16), word);
  }
  for (std::uint64_t i = 0; i < number(counts + 8, 2); ++i) {
    const std::uint64_t at = (number(is64 ? 40 : 32, word) + i * number(counts + 6, 2)) & mask;
    if (number(at + 4, 4) != 8) size += number(at + (is64 ? 32 : 20), word);
  }
  return size + number(counts + 2, 2) * number(counts + 4, 2) + number(counts + 6, 2) * number(counts + 8, 2);
}

TEST(CKOElfFileType, AgreesWithTheRulesTakenStepByStep) {
  for (std::uint32_t seed = 0; seed < 1000; ++seed) {
    std::mt19937 random(seed);
    const int sectorSize = 512 << random() % 4;
    Device device(40, sectorSize, kFirst, 0);
    const auto below = [&](std::uint32_t end) { return static_cast<std::uint16_t>(random() % end); };
    for (int i = 0; i < 2000; ++i) {
      device.Put(kFirst + random() % 40, random() % 512, std::string(1, static_cast<char>(random() % 10)));
    }
    Elf elf;
    elf.is64 = random() % 2 == 0;
    elf.byteOrder = static_cast<char>(1 + random() % 2);
    elf.headerSize = below(0x10000);
    elf.segmentTableAt = random() % 16 == 0 ? random() : random() % 10000;
    elf.sectionTableAt = random() % 16 == 0 ? 0xFFFFFFFF - random() % 200 : random() % 10000;
    elf.segmentEntrySize = below(100);
    elf.sectionEntrySize = below(100);
    elf.segments.resize(below(60));
    elf.sections.resize(below(60));
    device.Put(kFirst + 3, elf.Header());
    EXPECT_EQ(ScanElf(device, {2}), (FaceHits{{"CKEElfExeFileType", kFirst + 3, LiteralSize(device, kFirst + 3)}}))
        << "seed " << seed;
  }
}

}  // namespace
}  // namespace qzmtraw::test
