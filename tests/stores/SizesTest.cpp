// Sizes that stand in the head, or that a walk from the head works out.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <random>

#include "tests/support/Scanning.h"

namespace qzmtraw::test {
namespace {

constexpr std::uint64_t kFirst = Device::kFirstSector;

struct SizeCase {
  std::string className;
  std::uint64_t largest;
  std::string (*head)(std::uint32_t size);  ///< At least as long as a sector has to be.
};

std::ostream& operator<<(std::ostream& out, const SizeCase& size) { return out << size.className; }

/// `bytes` put at `offset` of a head, which grows as far as it has to.
std::string With(std::string head, std::size_t offset, const std::string& bytes) {
  head.resize(std::max(head.size(), offset + bytes.size()), '\0');
  return head.replace(offset, bytes.size(), bytes);
}

std::string Folders(std::uint32_t size184) { return With(With("!BDN", 168, LittleU32(0)), 184, LittleU32(size184)); }

std::string HelpWith(std::uint64_t section, std::uint32_t mark, std::uint32_t size) {
  const std::string id = Literal("\xFD\x01\x7C\xAA\x7B\xD0\x11\x9E\x0C\0\xA0\xC9\x22\xE6\xEC");
  std::string head = With(With(With("ITSF", 24, "\x10" + id), 40, "\x11" + id), 56, LittleU64(section));
  const std::size_t place = std::min<std::uint64_t>(section, 240);
  return With(With(head, place, LittleU32(mark) + LittleU32(0) + LittleU32(size)), 256, "x");
}

const SizeCase kSizes[] = {
    {"KPSTFileType", 0x7fffffff, Folders},
    {"KDBXFileType", 0x7fffffff,
     [](std::uint32_t size) {
       return With("\xCF\xAD\x12\xFE\xC5" + Literal("\xFDtof\xE3\xD1\x11\x9AN\0\xC0"), 124, LittleU32(size - 4096));
     }},
    {"KWpdFileType", 0x2000000,
     [](std::uint32_t size) { return With(With("\xFFWPC", 8, Literal("\1\x0A\2\1\0\0\0\2")), 20, LittleU32(size)); }},
    {"KHLPFileType", 0x7fffffff, [](std::uint32_t size) { return With(Literal("\x3F\x5F\3\0"), 12, LittleU32(size)); }},
    {"KCHMFileType", 0x7fffffff, [](std::uint32_t size) { return HelpWith(96, 510, size); }},
    {"KIccFileType", 0x2000000, [](std::uint32_t size) { return With(BigU32(size), 36, "acsp"); }},
};

class SizesInHeads : public testing::TestWithParam<SizeCase> {
 protected:
  static Hits ScanSize(std::uint32_t size) {
    return ScanAnyCut(GetParam().className, Device(3).Put(kFirst + 1, GetParam().head(size)));
  }
};

TEST_P(SizesInHeads, AreReportedFrom256BytesOn) {
  EXPECT_EQ(ScanSize(255), Hits{});
  EXPECT_EQ(ScanSize(256), (Hits{{kFirst + 1, 256}}));
  EXPECT_EQ(ScanSize(0), Hits{});
}

TEST_P(SizesInHeads, AreClippedToTheLargest) {
  const auto largest = static_cast<std::uint32_t>(GetParam().largest);
  EXPECT_EQ(ScanSize(largest - 1), (Hits{{kFirst + 1, largest - 1}}));
  EXPECT_EQ(ScanSize(largest), (Hits{{kFirst + 1, largest}}));
  if (largest == 0x7fffffff) return;
  EXPECT_EQ(ScanSize(largest + 1), (Hits{{kFirst + 1, largest}}));
}

TEST_P(SizesInHeads, AreNegativeFrom2GiBOn) {
  EXPECT_EQ(ScanSize(0x7fffffff), (Hits{{kFirst + 1, GetParam().largest}}));
  EXPECT_EQ(ScanSize(0x80000000), Hits{});
  EXPECT_EQ(ScanSize(0xFFFFFFFF), Hits{});
}

TEST_P(SizesInHeads, AreClippedToTheLimitOfTheHostUntilReset) {
  const Detector detector = CreateDetector(GetParam().className);
  const Device device = Device(1).Put(kFirst, GetParam().head(5000));
  detector->SetMaxFileSize(5000);
  EXPECT_EQ(Scan(*detector, device), (Hits{{kFirst, 5000}}));
  detector->SetMaxFileSize(4999);
  EXPECT_EQ(Scan(*detector, device), (Hits{{kFirst, 4999}}));
  detector->Reset();
  EXPECT_EQ(Scan(*detector, device), (Hits{{kFirst, 5000}}));
}

TEST_P(SizesInHeads, LeaveNothingOpenForTheNextHead) {
  Device device(9);
  device.Put(kFirst, GetParam().head(0)).Put(kFirst + 3, GetParam().head(5000));
  device.Put(kFirst + 5, GetParam().head(100)).Put(kFirst + 7, GetParam().head(0xFFFFFFFF));
  device.Put(kFirst + 8, GetParam().head(300));
  EXPECT_EQ(ScanAnyCut(GetParam().className, device), (Hits{{kFirst + 3, 5000}, {kFirst + 8, 300}}));
}

INSTANTIATE_TEST_SUITE_P(Stores, SizesInHeads, testing::ValuesIn(kSizes),
                         [](const auto& test) { return test.param.className; });

TEST(SizeOfPST, IsTheGreaterOfTwoFieldsAsSignedValues) {
  const auto scan = [](std::uint32_t at168, std::uint32_t at184) {
    return ScanAnyCut("KPSTFileType", Device(1).Put(kFirst, With(Folders(at184), 168, LittleU32(at168))));
  };
  EXPECT_EQ(scan(5000, 4000), (Hits{{kFirst, 5000}}));
  EXPECT_EQ(scan(4000, 5000), (Hits{{kFirst, 5000}}));
  EXPECT_EQ(scan(0x80000000, 5000), (Hits{{kFirst, 5000}}));
  EXPECT_EQ(scan(5000, 0xFFFFFFFF), (Hits{{kFirst, 5000}}));
  EXPECT_EQ(scan(0x80000000, 0xFFFFFFFF), Hits{});
}

TEST(SizeOfCHM, StandsInASectionWithinTheHeadsSector) {
  const auto scan = [](std::uint64_t section, std::uint32_t mark) {
    return ScanAnyCut("KCHMFileType", Device(2).Put(kFirst, HelpWith(section, mark, 5000)));
  };
  EXPECT_EQ(scan(64, 510), (Hits{{kFirst, 5000}}));
  EXPECT_EQ(scan(232, 510), (Hits{{kFirst, 5000}}));
  EXPECT_EQ(scan(233, 510), Hits{});
  EXPECT_EQ(scan(96, 509), Hits{});
  EXPECT_EQ(scan(96, 0x101FE), Hits{});
  EXPECT_EQ(scan(0x100000000 + 96, 510), Hits{});
  EXPECT_EQ(scan(0xFFFFFFFFFFFFFFFF, 510), Hits{});
  // The field's low half alone would be within reach.
  Device device = Device(2).Put(kFirst, HelpWith(96, 510, 5000));
  device.Put(kFirst, 63, "\x80");
  EXPECT_EQ(ScanAnyCut("KCHMFileType", device), Hits{});
}

TEST(DirectSizes, AreTakenAsTheyAre) {
  struct DirectCase {
    const char* className;
    std::string head;
    std::uint64_t size;
  };
  const std::string index = Literal("Client UrlCache MMF Ver 5.2\0");
  const std::string fxp = Literal("\xFE\xF2\xFF\x20\2\1\0\0\0");
  const std::string myi = Literal("\xFE\xFE\7\1\0");
  const std::string wpg = "\xFFWPC" + Literal("xxx\0\1\x16");
  const std::string qbw = With("", 15, Literal("\0\3\0\0\0\x5E\xBA\x7A\xDA"));
  const auto books = [&](char shift, std::uint32_t size) {
    return With(With(qbw, 26, std::string(1, shift)), 200, LittleU32(size));
  };
  const DirectCase cases[] = {
      {"CKIEIindexDatFileType", index + LittleU32(0), 0},
      {"CKIEIindexDatFileType", index + LittleU32(0xFFFFFFFF), 0xFFFFFFFF},
      {"CKDFxpFileType", fxp + LittleU32(0), 25},
      {"CKDFxpFileType", fxp + LittleU32(0x80000000), 0x80000019},
      {"CKDFxpFileType", fxp + LittleU32(0xFFFFFFFF), 24},
      {"CKDMyiFileType", With(myi, 64, BigU32(0)), 0},
      {"CKDMyiFileType", With(myi, 64, BigU32(1) + BigU32(2)), 1},
      {"CKDMyiFileType", With(myi, 64, BigU32(0xFFFFFFFE)), 0xFFFFFFFE},
      {"CKWpgFileType", With(wpg, 20, LittleU32(0)), 0},
      {"CKWpgFileType", With(wpg, 20, LittleU32(0xFFFFFFFF)), 0xFFFFFFFF},
      {"CKQBWFileType", books(0, 77), 77},
      {"CKQBWFileType", books(12, 77), 77 << 12},
      {"CKQBWFileType", books(31, 3), 0x80000000},
      {"CKQBWFileType", books(32, 77), 77},
      {"CKQBWFileType", books('\xEC', 77), 77 << 12},
      {"CKQBWFileType", books(12, 0x12345678), 0x45678000},
  };
  for (const auto& [className, head, size] : cases) {
    EXPECT_EQ(ScanAnyCut(className, Device(1).Put(kFirst, head)), (Hits{{kFirst, size}})) << className;
    const Detector detector = CreateDetector(className);
    detector->SetMaxFileSize(1);
    EXPECT_EQ(Scan(*detector, Device(1).Put(kFirst, head)), (Hits{{kFirst, size}})) << className;
  }
}

TEST(DirectSizes, BehindTheBlockAre0) {
  const std::string qbw = With("", 15, Literal("\0\3\0\0\0\x5E\xBA\x7A\xDA"));
  EXPECT_EQ(Scan(*CreateDetector("CKQBWFileType"), Device(1, 203).Put(kFirst, qbw)), (Hits{{kFirst, 0}}));
  EXPECT_EQ(Scan(*CreateDetector("CKDMyiFileType"), Device(1, 67).Put(kFirst, Literal("\xFE\xFE\7\1\0"))),
            (Hits{{kFirst, 0}}));
}

// LIT.

Device Reader(std::uint32_t directory, int sectorCount = 9, int sectorSize = 512) {
  return Device(sectorCount, sectorSize).Put(kFirst, "ITOLITLS").Put(kFirst, 40, LittleU32(directory));
}

TEST(SizeOfLIT, StandsInTheHeadsSectorOrBehindIt) {
  for (const std::uint32_t directory : {48U, 499U, 500U, 501U, 503U, 504U, 600U, 1020U, 4000U}) {
    const Device device = Reader(directory).Put(kFirst, directory + 8, LittleU32(0x89ABCDEF));
    EXPECT_EQ(ScanAnyCut("CKLitFileType", device), (Hits{{kFirst, 0x89ABCDEF}})) << directory;
  }
}

TEST(SizeOfLIT, IsTakenFromTheHeadsSectorUpToItsLastByte) {
  // The reader has other bytes than the block, which shows who was asked.
  const auto scan = [](std::uint32_t directory) {
    const Device device = Reader(directory).Put(kFirst, directory + 8, LittleU32(0x89ABCDEF));
    return Scan(*CreateDetector("CKLitFileType"), device, {}, Manner::kLeavesBuffer);
  };
  EXPECT_EQ(scan(500), (Hits{{kFirst, 0x89ABCDEF}}));
  // The sector's last three bytes come from the block, the fourth doesn't.
  EXPECT_EQ(scan(501), (Hits{{kFirst, 0x00ABCDEF}}));
  EXPECT_EQ(scan(600), (Hits{{kFirst, 0}}));
}

TEST(SizeOfLIT, BehindTheDeviceOrOutOfReachOfAReaderIs0) {
  EXPECT_EQ(ScanAnyCut("CKLitFileType", Reader(0xFFFFFFFF)), (Hits{{kFirst, 0}}));
  EXPECT_EQ(ScanAnyCut("CKLitFileType", Reader(0xFFFFFFF8)), (Hits{{kFirst, 0}}));
  EXPECT_EQ(ScanAnyCut("CKLitFileType", Reader(100000, 3, 40000)), (Hits{{kFirst, 0}}));
}

// Walks, and the same rules once more, step by step over the bytes of the file.

/// A file from its head on. Behind the device's end there are zeros.
class FileBytes {
 public:
  FileBytes(const Device& device, std::uint64_t sector)
      : bytes_(device.Bytes()),
        start_((sector - device.FirstSector()) * static_cast<std::uint64_t>(device.SectorSize())) {}

  std::uint32_t At(std::uint64_t offset, int count) const {
    std::uint32_t value = 0;
    for (int i = count - 1; i >= 0; --i) {
      const std::uint64_t place = start_ + offset + static_cast<std::uint64_t>(i);
      value = value << 8U | (place < bytes_.size() ? bytes_[place] : 0U);
    }
    return value;
  }

 private:
  const std::vector<std::uint8_t>& bytes_;
  std::uint64_t start_;
};

std::uint64_t LiteralMessageBase(const FileBytes& file) {
  std::uint64_t step = 3080;
  std::uint64_t size = 0;
  do {
    size += step;
    step = std::uint64_t{file.At(size + 36, 4)} + 48;
  } while (file.At(size, 4) == 0x19700921);
  return size;
}

std::uint64_t LiteralTable(const FileBytes& file) {
  std::uint64_t step = file.At(8, 2);
  std::uint64_t size = 0;
  do {
    size += step;
    step = file.At(10, 4);
  } while (file.At(size, 1) == 0x20 && step != 0);
  return size + 1;
}

std::uint64_t LiteralDefinition(const FileBytes& file) {
  const std::uint32_t ioSize = file.At(6, 2);
  std::uint32_t step = ioSize;
  std::uint64_t size = 0;
  for (;;) {
    size += step;
    std::uint32_t w = file.At(size, 2);
    if (w == 255) return size + 2;
    if (size > 0x3ffffffe) return size + 2;
    if (step != ioSize) {
      size += (ioSize - step) & 0xFFFFU;
      w = file.At(size, 2);
    }
    step = w == 0 ? ioSize : (w - 2) & 0xFFFFU;
    if (step == 0) return size;
  }
}

std::string Message(std::uint32_t length, std::uint32_t mark = 0x19700921) {
  return With(LittleU32(mark), 36, LittleU32(length)) + std::string(8, 'h');
}
const std::string kMessageBase = Literal("\x20\x06\x79\x19\x08\x0C\0\0");

TEST(SizeOfTBB, IsWhereTheFirstThingStandsThatIsNoMessage) {
  Device device(40);
  device.Put(kFirst, kMessageBase);
  EXPECT_EQ(ScanAnyCut("CKIETbbFileType", device), (Hits{{kFirst, 3080}}));
  device.Put(kFirst, 3080, Message(0));
  EXPECT_EQ(ScanAnyCut("CKIETbbFileType", device), (Hits{{kFirst, 3080 + 48}}));
  device.Put(kFirst, 3128, Message(1000));
  EXPECT_EQ(ScanAnyCut("CKIETbbFileType", device), (Hits{{kFirst, 3128 + 1048}}));
  device.Put(kFirst, 3128 + 1048, Message(700, 0x19700922));
  EXPECT_EQ(ScanAnyCut("CKIETbbFileType", device), (Hits{{kFirst, 3128 + 1048}}));
}

TEST(SizeOfTBB, HasNoLimitAndLengthsDoNotWrap) {
  for (const std::uint32_t length : {0xFFFFFFFFU, 0xFFFFFFD0U, 0x80000000U}) {
    const Device device = Device(40).Put(kFirst, kMessageBase).Put(kFirst, 3080, Message(length));
    EXPECT_EQ(ScanAnyCut("CKIETbbFileType", device), (Hits{{kFirst, 3128 + std::uint64_t{length}}})) << length;
  }
}

TEST(SizeOfDBF, IsBehindTheFirstByteThatIsNoLiveRecord) {
  const auto scan = [](const std::string& marks) {
    Device device(40);
    device.Put(kFirst, "\x30\x0F\x07\x03").Put(kFirst, 8, Literal("\x28\x01\x0A\0\0\0"));
    for (std::size_t i = 0; i < marks.size(); ++i) device.Put(kFirst, 296 + 10 * i, std::string(1, marks[i]));
    return ScanAnyCut("CKDDbfFileType", device);
  };
  EXPECT_EQ(scan("*"), (Hits{{kFirst, 297}}));
  EXPECT_EQ(scan("\x1A"), (Hits{{kFirst, 297}}));
  EXPECT_EQ(scan("  \x1A"), (Hits{{kFirst, 317}}));
  EXPECT_EQ(scan("   * "), (Hits{{kFirst, 327}}));
  EXPECT_EQ(scan(std::string(100, ' ')), (Hits{{kFirst, 1297}}));
}

TEST(SizeOfDBF, StepTakesFourBytes) {
  Device device(300);
  device.Put(kFirst, "\x30\x0F\x07\x03").Put(kFirst, 8, Literal("\x28\0\x0A\0\1\0"));
  device.Put(kFirst, 40, " ").Put(kFirst, 50, " ").Put(kFirst, 40 + 0x1000A, " ").Put(kFirst, 40 + 2 * 0x1000A, "*");
  EXPECT_EQ(ScanAnyCut("CKDDbfFileType", device), (Hits{{kFirst, 41 + 2 * 0x1000A}}));
}

TEST(SizeOfDBF, StepOf0EndsTheWalk) {
  Device device(4);
  device.Put(kFirst, "\x30\x0F\x07\x03").Put(kFirst, 8, Literal("\x28\0\0\0\0\0")).Put(kFirst, 40, " ");
  EXPECT_EQ(ScanAnyCut("CKDDbfFileType", device), (Hits{{kFirst, 41}}));
}

using Words = std::vector<std::pair<std::size_t, std::uint16_t>>;

/// A device of bytes of 7 with a table's definition, and words of it.
Device Definition(std::uint16_t ioSize, const Words& words) {
  const std::string head = With(With("\xFE\1", 32, Literal("\0\5")), 41, std::string(6, '\0'));
  Device device(400, 512, kFirst, 7);
  device.Put(kFirst, With(head, 6, LittleU16(ioSize)));
  for (const auto& [offset, word] : words) device.Put(kFirst, offset, LittleU16(word));
  return device;
}

TEST(SizeOfFRM, FollowsBlocksAndTheLengthsInThem) {
  struct DefinitionCase {
    std::uint16_t ioSize;
    Words words;
    std::uint64_t size;
  };
  const DefinitionCase cases[] = {
      // A word of 255 ends the file behind it, one of 0 leads a block further.
      {4096, {{4096, 255}}, 4098},
      {4096, {{4096, 0}, {8192, 0}, {12288, 255}}, 12290},
      // A word of n leads n - 2 further, and from there, unless 255 stands there, to the next block.
      {4096, {{4096, 290}, {4384, 255}}, 4386},
      {4096, {{4096, 290}, {4384, 0}, {8192, 0}, {12288, 255}}, 12290},
      {4096, {{4096, 290}, {4384, 9}, {8192, 2}}, 8192},
      // There 255 is a length like others.
      {4096, {{4096, 290}, {4384, 9}, {8192, 255}, {8445, 255}}, 8447},
      // A length of nothing ends the file, without the word.
      {4096, {{4096, 2}}, 4096},
      // n - 2 has 16 bits.
      {4096, {{4096, 1}, {69631, 255}}, 69633},
      {4096, {{4096, 4098}, {8192, 255}}, 8194},
      {4096, {{4096, 256}, {4350, 255}}, 4352},
      // From a step longer than a block it goes 64 KiB and a block further.
      {64, {{64, 300}, {362, 5}, {65664, 2}}, 65664},
      {64, {{64, 300}, {362, 5}, {65664, 0}, {65728, 255}}, 65730},
      // Blocks of no length: the head's own word is the first.
      {0, {{508, 255}}, 510},
      {0, {{508, 7}, {65536, 0}}, 65536},
  };
  for (const auto& [ioSize, words, size] : cases) {
    const Device device = Definition(ioSize, words);
    EXPECT_EQ(ScanAnyCut("CKDFrmFileType", device), (Hits{{kFirst, size}})) << words.back().first;
    EXPECT_EQ(LiteralDefinition(FileBytes(device, kFirst)), size) << words.back().first;
  }
}

TEST(SizeOfFRM, IsGivenUpAbove0x3ffffffe) {
  const auto scan = [](std::uint16_t ioSize) {
    // What the block doesn't hold reads as zeros.
    const Device device = Device(1).Put(kFirst, std::string(512, '\0')).Put(kFirst, "\xFE\1");
    Device definition = device;
    definition.Put(kFirst, 6, LittleU16(ioSize)).Put(kFirst, 32, Literal("\0\5"));
    return Scan(*CreateDetector("CKDFrmFileType"), definition, {}, Manner::kLeavesBuffer);
  };
  EXPECT_EQ(scan(0x8000), (Hits{{kFirst, 0x40000000 + 2}}));
  static_assert(0x3ffffffe % 4178 == 0);
  EXPECT_EQ(scan(4178), (Hits{{kFirst, 0x3ffffffe + 4178 + 2}}));
  static_assert(0x3fffffff % 49981 == 0);
  EXPECT_EQ(scan(49981), (Hits{{kFirst, 0x3fffffff + 2}}));
}

TEST(SizeOfFRM, EndsWhereTheAllowanceForFarStepsIsSpent) {
  // Blocks of 32768 zeros, 32768 of them to 1 GiB: eight definitions take what there is, and each sector earns a block.
  std::vector<std::uint8_t> memory(9 * 512);
  for (std::size_t sector = 0; sector < 9; ++sector) {
    memory[sector * 512] = 0xFE;
    memory[sector * 512 + 1] = 1;
    memory[sector * 512 + 7] = 0x80;
    memory[sector * 512 + 33] = 5;
  }
  const RawSectorBlock block{kFirst, memory.data(), 9, 512, nullptr};
  RecordingSink sink;
  CreateDetector("CKDFrmFileType")->Scan(&block, &sink);
  Hits expected;
  for (std::uint64_t sector = 0; sector < 8; ++sector) expected.push_back({kFirst + sector, 0x40000000 + 2});
  expected.push_back({kFirst + 8, 8 * 0x8000});
  EXPECT_EQ(sink.Found(), expected);
}

TEST(Walks, EndWhereSectorsAreTooLargeToBeRead) {
  // No sector of more than 32768 bytes can be read, but for what reaches to the end of one in the block.
  Device messages(3, 40000);
  messages.Put(kFirst, kMessageBase).Put(kFirst, 3080, Message(0));
  EXPECT_EQ(ScanAnyCut("CKIETbbFileType", messages), (Hits{{kFirst, 3080}}));
  Device table(3, 40000, kFirst, ' ');
  table.Put(kFirst, "\x30\x0F\x07\x03").Put(kFirst, 8, LittleU16(300) + LittleU32(5));
  EXPECT_EQ(ScanAnyCut("CKDDbfFileType", table), (Hits{{kFirst, 301}}));
  table.Put(kFirst, 8, LittleU16(39999));
  EXPECT_EQ(ScanAnyCut("CKDDbfFileType", table), (Hits{{kFirst, 40005}}));
  Device definition(3, 40000, kFirst, 0);
  definition.Put(kFirst, "\xFE\1").Put(kFirst, 6, LittleU16(4096)).Put(kFirst, 32, Literal("\0\5"));
  EXPECT_EQ(ScanAnyCut("CKDFrmFileType", definition), (Hits{{kFirst, 4096}}));
  // The first word of a step may be read, in the block, and the second not.
  definition.Put(kFirst, 6, LittleU16(39998)).Put(kFirst, 39998, LittleU16(40002));
  EXPECT_EQ(Scan(*CreateDetector("CKDFrmFileType"), definition), (Hits{{kFirst, 79998 + 65534}}));
}

TEST(Walks, EndWithAReaderThatFindsRecordsForEver) {
  class SpacesForEver final : public IRawSectorReader {
   public:
    std::uint32_t ReservedOperation1() override { return 0; }
    std::uint32_t ReservedOperation2() override { return 0; }
    std::uint32_t ReservedOperation3() override { return 0; }
    std::int32_t ReadSectors(std::uint64_t /*startSector*/, void* buffer, std::uint32_t sectorCount) override {
      std::memset(buffer, ' ', std::size_t{sectorCount} * 512);
      return 0;
    }
  };
  SpacesForEver reader;
  RecordingSink sink;
  Device device(1, 512, kFirst, ' ');
  device.Put(kFirst, "\x30\x0F\x07\x03").Put(kFirst, 8, Literal("\x28\0\1\0\0\0"));
  Feed(*CreateDetector("CKDDbfFileType"), device, sink, reader);
  EXPECT_EQ(sink.Found(), (Hits{{kFirst, 40 + 0x4000000 + 1}}));
}

TEST(Walks, LeaveReadersThatMisbehaveAlone) {
  for (const Manner manner : {Manner::kAnswersError, Manner::kLeavesBuffer, Manner::kFillsRubbish}) {
    Device device(3);
    device.Put(kFirst, kMessageBase).Put(kFirst + 1, "\x30\x0F\x07\x03").Put(kFirst + 2, 6, LittleU16(0x8000));
    device.Put(kFirst + 2, "\xFE\1").Put(kFirst + 2, 5, Literal("\0")).Put(kFirst + 2, 32, Literal("\0\5"));
    device.Put(kFirst + 2, 41, std::string(6, '\0'));
    for (const char* className : {"CKIETbbFileType", "CKDDbfFileType", "CKDFrmFileType"}) {
      EXPECT_EQ(Scan(*CreateDetector(className), device, {}, manner).size(), 1U) << className;
    }
  }
}

/// A scan of a file that begins somewhere in a device, in any cut.
Hits ScanCut(const char* className, const Device& device, std::uint32_t seed) {
  return Scan(*CreateDetector(className), device, {static_cast<int>(seed % 5)});
}

TEST(Walks, AgreeWithTheRulesTakenByteByByte) {
  std::mt19937 random(7);
  const auto below = [&](std::uint32_t end) { return static_cast<std::uint32_t>(random() % end); };
  const int sectorSizes[] = {64, 100, 512, 520, 4096};
  for (std::uint32_t seed = 0; seed < 1500; ++seed) {
    const int sectorSize = sectorSizes[below(5)];
    const std::uint64_t start = kFirst + below(3);

    Device messages(12000 / sectorSize + 4, sectorSize);
    messages.Put(start, kMessageBase);
    std::size_t place = 3080;
    for (std::uint32_t count = below(9); count > 0; --count) {
      const std::uint32_t length = below(700);
      messages.Put(start, place, Message(length, below(12) == 0 ? 0x19700920 : 0x19700921));
      place += 48 + length;
    }
    ASSERT_EQ(ScanCut("CKIETbbFileType", messages, seed),
              (Hits{{start, LiteralMessageBase(FileBytes(messages, start))}}))
        << "seed " << seed;

    Device table(12000 / sectorSize + 4, sectorSize, kFirst, ' ');
    const std::uint32_t step = below(20) == 0 ? static_cast<std::uint32_t>(random()) : below(90);
    table.Put(start, "\x30\x0F\x07\x03").Put(start, 8, LittleU16(static_cast<std::uint16_t>(below(1000))));
    table.Put(start, 10, LittleU32(step)).Put(start, 1000 + below(9000), std::string(1 + below(90), '*'));
    ASSERT_EQ(ScanCut("CKDDbfFileType", table, seed), (Hits{{start, LiteralTable(FileBytes(table, start))}}))
        << "seed " << seed;
  }
}

TEST(Walks, OfDefinitionsAgreeWithTheRulesTakenByteByByte) {
  std::mt19937 random(8);
  const auto below = [&](std::uint32_t end) { return static_cast<std::uint32_t>(random() % end); };
  // All places are even, and every even place that has no word of its own says 2, which ends the walk.
  std::string twos;
  while (twos.size() < 400 * 512) twos += Literal("\2\0");
  std::size_t longWalks = 0;
  for (std::uint32_t seed = 0; seed < 100; ++seed) {
    const std::uint16_t ioSizes[] = {2, 16, 64, 512, 4096};
    const std::uint16_t ioSize = ioSizes[below(5)];
    const std::string head = With(With("\xFE\1", 32, Literal("\0\5")), 41, std::string(6, '\0'));
    std::string bytes = With(head, 6, LittleU16(ioSize)) + std::string(1, '\0');
    while (bytes.size() < 30000) {
      const std::uint16_t words[] = {0, 0, 0, 255, 4, 20, 18, 290, static_cast<std::uint16_t>(2 * below(2000)), 2};
      bytes += LittleU16(words[below(10)]);
    }
    Device device(400, 512);
    device.Put(kFirst, twos).Put(kFirst, bytes);
    const std::uint64_t size = LiteralDefinition(FileBytes(device, kFirst));
    ASSERT_LT(size, 400U * 512U) << "seed " << seed;
    longWalks += size > 4U * ioSize ? 1 : 0;
    ASSERT_EQ(ScanCut("CKDFrmFileType", device, seed), (Hits{{kFirst, size}})) << "seed " << seed;
  }
  EXPECT_GT(longWalks, 10U);
}

}  // namespace
}  // namespace qzmtraw::test
