// Windows modules and their five kinds.

#include <gtest/gtest.h>

#include <cstdlib>
#include <random>

#include "tests/system/Faces.h"

namespace qzmtraw::test {
namespace {

constexpr std::uint64_t kFirst = Device::kFirstSector;
const std::vector<std::string> kFaces = {"CKEExeFileType", "CKEDllFileType", "CKEOcxFileType", "CKTlbFileType",
                                         "CKFonFileType"};

FaceHits ScanModules(const Device& device, Cut cut = {}) { return ScanFaces(kFaces, device, cut); }

/// A module's stub and headers.
struct Module {
  std::string signature = Literal("PE\0\0");
  std::uint16_t machine = 0x014C;
  std::uint16_t characteristics = 0x0102;
  std::vector<std::uint32_t> rawSizes = {0x1000, 0x2000, 0x200};
  std::uint32_t fileAlignment = 0x200;
  std::uint32_t imageSize = 0x6000;
  std::uint32_t certificateSize = 0;
  std::uint32_t headerOffset = 0x80;

  std::string Bytes() const {
    std::string bytes(headerOffset, '\0');
    const auto put = [&](std::size_t offset, const std::string& field) { bytes.replace(offset, field.size(), field); };
    put(0, "MZ");
    put(12, "\xFF\xFF");
    put(0x3C, LittleU32(headerOffset));
    const bool is32 = machine == 0x014C;
    bytes.resize(headerOffset + (is32 ? 248 : 264));
    put(headerOffset, signature);
    put(headerOffset + 4, LittleU16(machine));
    put(headerOffset + 6, LittleU16(static_cast<std::uint16_t>(rawSizes.size())));
    put(headerOffset + 22, LittleU16(characteristics));
    put(headerOffset + 60, LittleU32(fileAlignment));
    put(headerOffset + 80, LittleU32(imageSize));
    put(headerOffset + (is32 ? 156 : 172), LittleU32(certificateSize));
    for (const std::uint32_t size : rawSizes) {
      bytes += std::string(16, '\x11') + LittleU32(size) + std::string(20, '\x22');
    }
    return bytes;
  }
};

/// The module in the second sector of eight, and zeros behind it.
Device DeviceWith(const Module& module, int sectorSize = 512) {
  return Device(8, sectorSize, kFirst, 0).Put(kFirst + 1, module.Bytes());
}

/// The size that a module alone is reported with, as long as it is an executable.
std::uint64_t SizeOf(const Module& module, int sectorSize = 512) {
  const FaceHits found = ScanModules(DeviceWith(module, sectorSize));
  EXPECT_EQ(found.size(), 1U);
  return found.empty() ? 0 : found.front().size;
}

TEST(CKEPeFileType, SectionsHeadersAndASectorMakeTheSize) {
  // 0x3200 in sections, 248 + 120 = 368 bytes of headers on 0x200, and a sector.
  for (int blockSectors = 0; blockSectors <= 3; ++blockSectors) {
    EXPECT_EQ(ScanModules(DeviceWith({}), {blockSectors}), (FaceHits{{"CKEExeFileType", kFirst + 1, 0x3600}}));
  }
  EXPECT_EQ(SizeOf({}, 4096), 0x3200U + 0x200 + 4096);
}

TEST(CKEPeFileType, ImageSizeCutsWhatIsAddedUpButNotTheSector) {
  Module module;
  module.imageSize = 0x3000;
  EXPECT_EQ(SizeOf(module), 0x3200U);
  module.imageSize = 0x3400;
  EXPECT_EQ(SizeOf(module), 0x3600U);
  module.imageSize = 0x33FF;
  EXPECT_EQ(SizeOf(module), 0x35FFU);
  module.imageSize = 0;
  EXPECT_EQ(SizeOf(module), 512U);
}

TEST(CKEPeFileType, CertificateCountsAsFarAsTheImageReaches) {
  Module module;
  module.certificateSize = 0x123;
  EXPECT_EQ(SizeOf(module), 0x3723U);
  module.certificateSize = 0xFFFFFFFF;
  EXPECT_EQ(SizeOf(module), 0x6200U);
  module.imageSize = 0xFFFFFFFF;
  EXPECT_EQ(SizeOf(module), 0xFFFFFFFF + 0x200ULL);
}

TEST(CKEPeFileType, EveryOtherMachineHasThe64BitLayout) {
  for (const std::uint16_t machine : std::vector<std::uint16_t>{0x8664, 0x01C4, 0xAA64, 0}) {
    Module module;
    module.machine = machine;
    module.certificateSize = 0x100;
    // 264 + 120 = 384 bytes of headers.
    EXPECT_EQ(SizeOf(module), 0x3700U) << machine;
  }
}

TEST(CKEPeFileType, HeadersAreRoundedUpToTheAlignmentAndCountFromTheNtHeaders) {
  Module module;
  module.headerOffset = 0x100;
  EXPECT_EQ(SizeOf(module), 0x3600U);
  for (const auto& [alignment, headers] : {std::pair{1U, 368U}, {368U, 368U}, {367U, 734U}, {0x1000U, 0x1000U}}) {
    module.fileAlignment = alignment;
    EXPECT_EQ(SizeOf(module), 0x3200U + headers + 512) << alignment;
  }
  module.fileAlignment = 0xFFFFFFFF;
  module.imageSize = 0xFFFFFFFF;
  EXPECT_EQ(SizeOf(module), 0xFFFFFFFFULL + 512);
}

TEST(CKEPeFileType, SumOfSectionsWrapsAt32Bits) {
  Module module;
  module.rawSizes = {0xFFFFFFFF, 0x11, 0xF0};
  EXPECT_EQ(SizeOf(module), 0x100U + 0x200 + 512);
}

TEST(CKEPeFileType, SixSectionsComeFromTheFirstSectorsWorthOfHeaders) {
  Module module;
  module.rawSizes = {1, 2, 4, 8, 16, 32};
  // 248 + 6 * 40 = 488.
  EXPECT_EQ(SizeOf(module), 63U + 512 + 512);
}

TEST(CKEPeFileType, LongTableIsReadOnFromTheOffsetInTheBuffer) {
  // Seven headers end at 248 + 280 = 528; the seventh begins at 488, above 472, so a sector is read from there, and the
  // headers are rounded from 40.
  Module module;
  module.rawSizes = {1, 2, 4, 8, 16, 32, 64};
  EXPECT_EQ(SizeOf(module), 127U + 512 + 512);
  module.fileAlignment = 1;
  EXPECT_EQ(SizeOf(module), 127U + 40 + 512);
  // The second sector read holds twelve headers and 32 bytes; then 480 behind the NT headers is read, which is in the
  // middle of the sixth header: its size and its neighbours' are not at 16.
  module.rawSizes.assign(18, 1);
  EXPECT_EQ(SizeOf(module), 18U + 480 + 512);
  module.rawSizes.assign(19, 1);
  // Offset 480 + 16 is byte 8 of the header at 488.
  EXPECT_EQ(SizeOf(module), std::min<std::uint64_t>(18ULL + 0x11111111 + 40, 0x6000) + 512);
  module.imageSize = 0xFFFFFFFF;
  EXPECT_EQ(SizeOf(module), 18ULL + 0x11111111 + 40 + 512);
}

TEST(CKEPeFileType, CharacteristicsAloneTellTheKind) {
  struct Case {
    std::uint16_t characteristics;
    const char* face;
  };
  const Case kCases[] = {{0x0002, "CKEExeFileType"}, {0x010F, "CKEExeFileType"}, {0x0022, "CKEExeFileType"},
                         {0x2102, "CKEOcxFileType"}, {0x2002, "CKEOcxFileType"}, {0xFF02, "CKEOcxFileType"},
                         {0x2122, "CKTlbFileType"},  {0x2022, "CKTlbFileType"},  {0x2106, "CKEDllFileType"},
                         {0x2000, "CKEDllFileType"}, {0x210E, "CKEDllFileType"}, {0x2123, "CKEDllFileType"}};
  for (const Case& test : kCases) {
    Module module;
    module.characteristics = test.characteristics;
    EXPECT_EQ(ScanModules(DeviceWith(module)), (FaceHits{{test.face, kFirst + 1, 0x3600}})) << test.characteristics;
  }
}

TEST(CKEPeFileType, ModuleOfNoKindTakesThatOfTheModuleBefore) {
  Module before;
  Module none;
  none.characteristics = 0x0101;
  none.imageSize = 0x1000;
  for (const auto& [characteristics, face] :
       {std::pair{0x2102, "CKEOcxFileType"}, {0x2122, "CKTlbFileType"}, {0x0002, "CKEExeFileType"}}) {
    before.characteristics = static_cast<std::uint16_t>(characteristics);
    Device device(8, 512, kFirst, 0);
    device.Put(kFirst, before.Bytes()).Put(kFirst + 4, none.Bytes());
    EXPECT_EQ(ScanModules(device, {3}), (FaceHits{{face, kFirst, 0x3600}, {face, kFirst + 4, 0x1200}}));
  }
}

TEST(CKEPeFileType, NewExecutableBearsTheSizeOfTheLastPeFile) {
  Module ne;
  ne.signature = "NE";
  Device device(8, 512, kFirst, 0);
  device.Put(kFirst, Module{}.Bytes()).Put(kFirst + 2, ne.Bytes()).Put(kFirst + 5, ne.Bytes());
  EXPECT_EQ(ScanModules(device, {1}), (FaceHits{{"CKEExeFileType", kFirst, 0x3600},
                                                {"CKFonFileType", kFirst + 2, 0x3600},
                                                {"CKFonFileType", kFirst + 5, 0x3600}}));
}

TEST(CKEPeFileType, NewExecutableIsTheKindOfTheModuleOfNoKindBehindIt) {
  Module ne;
  ne.signature = "NE\x05\x3C";
  Module none;
  none.characteristics = 0;
  Device device(8, 512, kFirst, 0);
  device.Put(kFirst, Module{}.Bytes()).Put(kFirst + 2, ne.Bytes()).Put(kFirst + 4, none.Bytes());
  EXPECT_EQ(ScanModules(device), (FaceHits{{"CKEExeFileType", kFirst, 0x3600},
                                           {"CKFonFileType", kFirst + 2, 0x3600},
                                           {"CKFonFileType", kFirst + 4, 0x3600}}));
}

TEST(CKEPeFileType, OtherSignaturesAndNoAlignmentGiveNoHit) {
  for (const std::string& signature : {Literal("LE\0\0"), Literal("PE\0\1"), Literal("PE\1\0"), Literal("P\0\0\0"),
                                       Literal("EN\0\0"), Literal("MZ\0\0")}) {
    Module module;
    module.signature = signature;
    EXPECT_EQ(ScanModules(DeviceWith(module)), FaceHits{}) << signature;
  }
  Module module;
  module.fileAlignment = 0;
  EXPECT_EQ(ScanModules(DeviceWith(module)), FaceHits{});
  module.signature = "NE";
  EXPECT_EQ(ScanModules(DeviceWith(module)), FaceHits{});
}

TEST(CKEPeFileType, StubHasSmallBytesAt3And5) {
  for (const std::size_t offset : std::vector<std::size_t>{3, 5}) {
    for (const auto& [value, isHead] : {std::pair{'\0', true},
                                        {'\2', true},
                                        {'\3', false},
                                        {'\x7F', false},
                                        {'\x80', true},
                                        {'\x90', true},
                                        {'\xFF', true}}) {
      Device device = DeviceWith({});
      device.Put(kFirst + 1, offset, std::string(1, value));
      EXPECT_EQ(ScanModules(device).size(), isHead ? 1U : 0U) << offset << ", " << static_cast<int>(value);
    }
  }
  for (const std::size_t offset : std::vector<std::size_t>{0, 1, 12, 13}) {
    EXPECT_EQ(ScanModules(DeviceWith({}).Put(kFirst + 1, offset, "x")), FaceHits{}) << offset;
  }
  for (const std::size_t offset : std::vector<std::size_t>{2, 4, 6, 11, 14, 0x3B, 0x40}) {
    EXPECT_EQ(ScanModules(DeviceWith({}).Put(kFirst + 1, offset, "x")).size(), 1U) << offset;
  }
}

TEST(CKEPeFileType, EverySectorWithAHeadIsReported) {
  // Both stubs lead 0x80 bytes on, to headers of their own.
  Device device(4, 512, kFirst, 0);
  const std::string bytes = Module{}.Bytes().substr(0, 512);
  device.Put(kFirst, bytes).Put(kFirst + 1, bytes);
  EXPECT_EQ(ScanModules(device).size(), 2U);
  EXPECT_EQ(ScanModules(Device(3, 512, 0, 0).Put(0, bytes)), (FaceHits{{"CKEExeFileType", 0, 0x3600}}));
}

TEST(CKEPeFileType, HeadersMayLieAnywhereInFrontOfOrBehindTheStub) {
  Module module;
  module.headerOffset = 2000;
  for (int blockSectors = 0; blockSectors <= 3; ++blockSectors) {
    EXPECT_EQ(ScanModules(DeviceWith(module), {blockSectors}), (FaceHits{{"CKEExeFileType", kFirst + 1, 0x3600}}));
  }
  // A negative offset leads in front of the file's first sector as far as whole sectors go; a position is divided as
  // an unsigned number, so nothing is there.
  Device device(8, 512, kFirst, 0);
  device.Put(kFirst, Module{}.Bytes()).Put(kFirst + 3, Module{}.Bytes()).Put(kFirst + 3, 0x3C, LittleU32(0xFFFFFA80));
  EXPECT_EQ(ScanModules(device).size(), 1U);
}

TEST(CKEPeFileType, PositionOfTheHeadersHasASign) {
  const Device device = DeviceWith({}).Put(kFirst + 1, 0x3C, LittleU32(0xFFFFFE00));
  DeviceReader reader(device);
  EXPECT_EQ(ScanFaces(kFaces, device, reader), FaceHits{});
  // 512 bytes in front of the file, as an unsigned number of sectors behind it.
  ASSERT_EQ(reader.Calls().size(), 2U);
  EXPECT_EQ(reader.Calls().back().startSector, kFirst + 1 + (std::uint64_t{1} << 55) - 1);
}

TEST(CKEPeFileType, SmallSectorsHoldTheBeginningOfTheHeaders) {
  // 64 bytes hold FileAlignment and no more: the image has no size.
  EXPECT_EQ(ScanModules(Device(16, 64, kFirst, 0).Put(kFirst + 1, Module{}.Bytes())),
            (FaceHits{{"CKEExeFileType", kFirst + 1, 64}}));
  EXPECT_EQ(ScanModules(Device(16, 63, kFirst, 0).Put(kFirst + 1, Module{}.Bytes())), FaceHits{});
  Module ne;
  ne.signature = "NE";
  EXPECT_EQ(ScanModules(Device(16, 64, kFirst, 0).Put(kFirst + 1, ne.Bytes())).size(), 1U);
  EXPECT_EQ(ScanModules(Device(16, 63, kFirst, 0).Put(kFirst + 1, ne.Bytes())), FaceHits{});
  EXPECT_EQ(ScanModules(Device(40, 13, kFirst, 0).Put(kFirst + 1, Module{}.Bytes())), FaceHits{});
}

TEST(CKEPeFileType, SectorsAbove32768BytesHaveNoModules) {
  EXPECT_EQ(ScanModules(DeviceWith({}, 32768)).size(), 1U);
  EXPECT_EQ(ScanModules(DeviceWith({}, 65536)), FaceHits{});
}

TEST(CKEPeFileType, LimitAndResetOfAFaceChangeNothing) {
  ScanModules(DeviceWith({}));
  const Detector face = CreateDetector("CKFonFileType");
  face->SetMaxFileSize(1);
  EXPECT_EQ(face->Reset(), 1);
  EXPECT_EQ(face->ResetLight(), 1);
  EXPECT_EQ(face->ResetFull(), 1);
  Module ne;
  ne.signature = "NE";
  EXPECT_EQ(Scan(*face, Device(2, 512, kFirst + 500, 0).Put(kFirst + 500, ne.Bytes())), (Hits{{kFirst + 500, 0x3600}}));
}

/// Ends the process with whether these modules give these hits in a process that saw no module before.
[[noreturn]] void ExitWithAgreement(const Device& device, const FaceHits& expected) {
  std::exit(ScanModules(device) == expected ? 0 : 1);
}

TEST(CKEPeFileTypeDeathTest, FirstNewExecutableHasNoSize) {
  testing::GTEST_FLAG(death_test_style) = "threadsafe";
  Module ne;
  ne.signature = "NE";
  EXPECT_EXIT(ExitWithAgreement(DeviceWith(ne), {{"CKFonFileType", kFirst + 1, 0}}), testing::ExitedWithCode(0), "");
}

TEST(CKEPeFileTypeDeathTest, FirstModuleOfNoKindIsNoFaces) {
  testing::GTEST_FLAG(death_test_style) = "threadsafe";
  Module none;
  none.characteristics = 0;
  EXPECT_EXIT(ExitWithAgreement(DeviceWith(none), {}), testing::ExitedWithCode(0), "");
}

/// The rules step by step, on a device that is read byte by byte.
struct LiteralModules {
  const Device& device;
  std::uint64_t fileSize = 0;
  std::uint32_t typeCode = 0;

  std::uint8_t At(std::uint64_t sector, std::uint64_t position) const {
    const auto size = static_cast<std::uint64_t>(device.SectorSize());
    const std::uint64_t index = sector + position / size - device.FirstSector();
    if (index >= static_cast<std::uint64_t>(device.SectorCount())) return 0;
    return device.Bytes()[index * size + position % size];
  }

  std::string ReadSector(std::uint64_t sector, std::uint64_t position) const {
    std::string bytes;
    for (int i = 0; i < device.SectorSize(); ++i) {
      bytes += static_cast<char>(At(sector, position + static_cast<std::uint64_t>(i)));
    }
    return bytes;
  }

  static std::uint32_t Number(const std::string& bytes, std::size_t offset, std::size_t width) {
    std::uint32_t value = 0;
    for (std::size_t i = width; i-- > 0;) value = value << 8 | static_cast<std::uint8_t>(bytes[offset + i]);
    return value;
  }

  bool Examine(std::uint64_t sector) {
    const auto small = [&](std::uint64_t offset) { return static_cast<std::int8_t>(At(sector, offset)) <= 2; };
    if (At(sector, 0) != 'M' || At(sector, 1) != 'Z' || !small(3) || !small(5)) return false;
    if (At(sector, 12) != 0xFF || At(sector, 13) != 0xFF) return false;
    const auto n = static_cast<std::uint32_t>(device.SectorSize());
    const std::uint32_t headerOffset = Number(ReadSector(sector, 0), 0x3C, 4);
    std::string buffer = ReadSector(sector, static_cast<std::uint64_t>(static_cast<std::int32_t>(headerOffset)));
    std::string header = buffer.substr(0, 264);
    header.resize(264);
    const std::uint32_t alignment = Number(header, 60, 4);
    if (alignment == 0) return false;
    if (header.compare(0, 4, Literal("PE\0\0")) != 0) {
      if (header.compare(0, 2, "NE") != 0) return false;
      typeCode = 5;
      return true;
    }
    const bool is32 = Number(header, 4, 2) == 0x014C;
    const std::uint32_t characteristics = Number(header, 22, 2);
    if ((characteristics & 0x2000) != 0) {
      const std::uint32_t low = characteristics & 0xFF;
      typeCode = low == 0x02 ? 3 : low == 0x22 ? 4 : 2;
    } else if ((characteristics & 2) != 0) {
      typeCode = 1;
    }
    std::uint32_t offset = is32 ? 248 : 264;
    std::uint32_t sum = 0;
    for (std::uint32_t i = 0; i < Number(header, 6, 2); ++i) {
      if (offset > n - 40) {
        buffer = ReadSector(sector, static_cast<std::uint32_t>(headerOffset + offset));
        offset = 0;
      }
      sum += Number(buffer, offset + 16, 4);
      offset += 40;
    }
    fileSize = sum;
    fileSize += (std::uint64_t{offset} + alignment - 1) / alignment * alignment;
    fileSize += Number(header, is32 ? 156 : 172, 4);
    if (Number(header, 80, 4) < fileSize) fileSize = Number(header, 80, 4);
    fileSize += n;
    return true;
  }

  FaceHits Scan() {
    FaceHits found;
    for (int i = 0; i < device.SectorCount(); ++i) {
      const std::uint64_t sector = device.FirstSector() + static_cast<std::uint64_t>(i);
      if (Examine(sector) && typeCode != 0) found.push_back({kFaces[typeCode - 1], sector, fileSize});
    }
    return found;
  }
};

TEST(CKEPeFileType, AgreesWithTheRulesTakenStepByStep) {
  std::size_t count = 0;
  for (std::uint32_t seed = 0; seed < 500; ++seed) {
    std::mt19937 random(seed);
    const auto oneOf = [&](const auto& values) { return values[random() % std::size(values)]; };
    const int sizes[] = {64, 100, 247, 300, 512, 512, 1024, 4096};
    const int sectorSize = oneOf(sizes);
    Device device(24, sectorSize, kFirst, static_cast<std::uint8_t>(random() % 4));
    // The first module settles the size and the kind, which the classifier keeps from earlier devices.
    for (std::uint64_t sector = kFirst; sector < kFirst + 16; sector += 1 + random() % 4) {
      Module module;
      const std::string signatures[] = {Literal("PE\0\0"), Literal("PE\0\0"), Literal("PE\0\0"), "NE", "XX"};
      const std::uint16_t machines[] = {0x014C, 0x8664, 0x01C4};
      const std::uint16_t characteristics[] = {0x0102, 0x2102, 0x2122, 0x210E, 0x0001};
      const std::uint32_t alignments[] = {1, 0x200, 0x1000, 37, 0};
      const std::uint32_t images[] = {0, 0x3000, 0x60000000, 0xFFFFFFFF};
      const std::uint32_t offsets[] = {0x40, 0x80, 0x100, 77, 1000};
      if (sector != kFirst) {
        module.signature = oneOf(signatures);
        module.characteristics = oneOf(characteristics);
        module.fileAlignment = oneOf(alignments);
      }
      module.machine = oneOf(machines);
      module.imageSize = oneOf(images);
      module.headerOffset = oneOf(offsets);
      module.certificateSize = random() % 3 == 0 ? static_cast<std::uint32_t>(random()) : 0;
      module.rawSizes.clear();
      for (auto left = random() % 30; left > 0; --left) module.rawSizes.push_back(static_cast<std::uint32_t>(random()));
      const std::string bytes = module.Bytes();
      const std::size_t room = (kFirst + 24 - sector) * static_cast<std::size_t>(sectorSize);
      device.Put(sector, bytes.substr(0, room));
      if (random() % 8 == 0) device.Put(sector, 0x3C, LittleU32(static_cast<std::uint32_t>(random())));
    }
    if (seed % 2 == 0) device.Put(kFirst, Module{}.Bytes().substr(0, 24 * static_cast<std::size_t>(sectorSize)));
    LiteralModules rules{device};
    const FaceHits expected = rules.Scan();
    if (expected.empty() || expected.front().sector != kFirst || expected.front().className == "CKFonFileType")
      continue;
    FaceHits found = ScanModules(device, {1});
    ASSERT_EQ(found, expected) << "seed " << seed;
    count += found.size();
  }
  EXPECT_GT(count, 500U);
}

}  // namespace
}  // namespace qzmtraw::test
