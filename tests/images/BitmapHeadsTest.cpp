// What the heads of the bitmap and layered image kinds ask for, byte by byte.

#include <gtest/gtest.h>

#include <functional>
#include <map>
#include <set>

#include "tests/support/Scanning.h"

namespace qzmtraw::test {
namespace {

constexpr std::uint64_t kFirst = Device::kFirstSector;

/// A sector of zeros with pieces in it.
std::string Sector(std::size_t size, const std::map<std::size_t, std::string>& pieces) {
  std::string sector(size, '\0');
  for (const auto& [offset, bytes] : pieces) sector.replace(offset, bytes.size(), bytes);
  return sector;
}

/// A sector that is a hit, and what it may differ in.
struct HeadCase {
  const char* className;
  std::string sector;
  std::set<std::size_t> fixed;                                    ///< Offsets of bytes that must be as they are.
  std::map<std::size_t, std::function<bool(unsigned)>> accepted;  ///< Which values other bytes may have.
  std::uint64_t firstSector = 0;                                  ///< 0: any.
};

std::set<std::size_t> Range(std::size_t first, std::size_t count) {
  std::set<std::size_t> range;
  for (std::size_t i = first; i < first + count; ++i) range.insert(i);
  return range;
}

std::set<std::size_t> operator+(std::set<std::size_t> one, const std::set<std::size_t>& other) {
  one.insert(other.begin(), other.end());
  return one;
}

std::function<bool(unsigned)> OneOf(const std::set<unsigned>& values) {
  return [values](unsigned value) { return values.count(value) != 0; };
}
std::function<bool(unsigned)> From(unsigned first, unsigned last) {
  return [first, last](unsigned value) { return value >= first && value <= last; };
}
const auto kAny = From(0, 255);

const std::string kPngHead = "\x89PNG\r\n\x1A\n";
const std::string kPngTail = "IEND\xAE\x42\x60\x82";
const std::string kPcxTail = "\xFC\xFC\xCC\xFC\xFC\xDC\xFC\xFC";
const std::string kSdrTail = "\x40\x40\xE1\x40\xB1\x40\xDF\x40\x01\x40";
const std::string kPspHead = "Paint Shop Pro Image File\n\x1A" + Literal("\0\0\0\0");
const std::string kPspBlock = Literal("~BK\0\1\0") + LittleU32(200);
const std::string kInddPage =
    "\x06\x06\xED\xF5\xD8\x1D\x46\xE5\xBD\x31\xEF\xE7\xFE\x74\xB7\x1D"
    "DOCUMENT\x01";
const std::string kMapText = Literal("P6\n4 3\n25 5 1 \0");

std::vector<HeadCase> HeadCases() {
  const std::string bmp = "BM" + LittleU32(1000) + LittleU32(0) + LittleU32(54) + LittleU32(40);
  const std::string psd = Literal("8BPS\0\1\0\0\0\0\0\0\0\x14\0\0\0\x0A\0\0\0\x0A\0\x08\0\3");
  const std::string sgi = Literal("\x01\xDA\0\1\0\3\0\x28\0\x1E\0");
  const std::string cursor = Literal("\0\0\2\0\1\0\x20\x20\0\0\0\0\0\0") + LittleU32(300);
  return {
      {"KPngFileType", Sector(512, {{0, kPngHead}, {300, kPngTail}}), Range(0, 8), {{8, kAny}}},
      {"KPCXFileType",
       Sector(512, {{0, "\x0A\x05\x01"}, {300, kPcxTail}}),
       Range(0, 1) + Range(2, 1) + Range(74, 54),
       {{1, OneOf({0, 2, 3, 4, 5})}, {3, kAny}, {73, kAny}, {128, kAny}}},
      {"KSdrFileType", Sector(512, {{0, "SMARTDRW"}, {300, kSdrTail}}), Range(0, 8), {{8, kAny}}},
      {"CKGXpmFileType", Sector(512, {{0, "/* XPM */"}, {300, "\"\n};\n"}}), Range(0, 9), {{9, kAny}}},
      {"KBmpFileType",
       Sector(512, {{0, bmp}}),
       Range(0, 2) + Range(6, 4) + Range(15, 3),
       {{10, kAny}, {14, OneOf({40, 108, 124})}, {18, kAny}}},
      {"KCurFileType",
       Sector(512, {{0, cursor}}),
       Range(0, 4),
       {{4, From(1, 127)}, {5, kAny}, {6, From(1, 127)}, {7, From(1, 127)}, {8, kAny}, {22, kAny}}},
      {"KIcoFileType",
       Sector(4096, {{0, Literal("\0\0\1\0\x02\0") + std::string(127 * 16, 1)}, {4094, LittleU16(0x1000)}}),
       Range(0, 4),
       {{4, From(1, 127)},
        {5, kAny},
        {6, From(1, 127)},
        {7, From(1, 127)},
        {22, From(1, 127)},
        {23, From(1, 127)},
        {38, kAny},
        {39, kAny}}},
      {"CKGTgaFileType",
       Sector(512, {{2, "\x02"}, {12, "d"}, {14, "\x1E"}, {16, "\x18"}}),
       Range(17, 1),
       {{0, From(0, 254)},
        {1, From(0, 1)},
        {2, OneOf({2, 10})},
        {3, kAny},
        {12, From(1, 255)},
        {13, kAny},
        {14, From(1, 255)},
        {15, kAny},
        {16, OneOf({16, 24, 32})},
        {18, kAny}}},
      {"CKGSgiFileType",
       Sector(512, {{0, sgi + "\x01"}}),
       Range(0, 2) + Range(4, 1) + Range(10, 1),
       {{2, From(0, 1)}, {3, From(1, 2)}, {5, From(1, 3)}, {6, kAny}, {11, OneOf({1, 3, 4})}, {12, kAny}}},
      {"CKGSgiFileType", Sector(512, {{0, sgi + "\x03"}}), {}, {{10, kAny}}},
      {"CKGSgiFileType", Sector(512, {{0, sgi + "\x04"}}), {}, {{10, kAny}}},
      {"KGIFFileType",
       Sector(512, {{0, "GIF89ad"}, {8, "d"}, {400, ";"}}),
       Range(0, 4) + Range(5, 1),
       {{4, OneOf({'7', '9'})}, {11, kAny}},
       512},
      {"CKGPpmFileType", Sector(64, {{0, kMapText}}), Range(0, 1) + Range(2, 1), {{1, OneOf({'3', '6'})}}},
      {"CKGPgmFileType", Sector(64, {{0, kMapText}, {1, "5"}}), Range(0, 1) + Range(2, 1), {{1, OneOf({'2', '5'})}}},
      {"CKGPbmFileType", Sector(64, {{0, kMapText}, {1, "1"}}), Range(0, 1) + Range(2, 1), {{1, OneOf({'0', '1'})}}},
      {"KCAMFileType", Sector(512, {{0, "\x07 MM"}}), Range(0, 4), {{4, kAny}}},
      {"KPSDFileType",
       Sector(512, {{0, psd}, {39, "\1"}}),
       Range(0, 6) + Range(14, 2) + Range(18, 2) + Range(38, 2),
       {{6, kAny}, {11, kAny}, {16, From(0, 117)}, {20, From(0, 117)}, {22, kAny}, {25, kAny}}},
      {"KPSPFileType",
       Sector(512, {{0, kPspHead}, {36, kPspBlock}, {246, kPspBlock}}),
       Range(0, 31) + Range(36, 4) + Range(246, 4),
       {{31, kAny}, {35, kAny}, {40, kAny}}},
      {"KOciFileType",
       Sector(512, {{0, "OPIM0"}, {56, "OBEV" + LittleU32(1000)}}),
       Range(0, 8) + Range(56, 4),
       {{8, kAny}, {52, kAny}}},
      {"CKInddFileType",
       Sector(8192, {{0, kInddPage}, {280, "\5"}, {4096, kInddPage}, {4376, "\5"}}),
       Range(0, 24) + Range(4096, 24),
       {{24, kAny}, {4120, From(1, 2)}, {280, kAny}}},
      {"KXCFFileType",
       Sector(512, {{0, "gimp xcf file"}}),
       Range(0, 9) + Range(10, 3),
       {{9, OneOf({'f', 'v'})}, {13, kAny}}},
      {"KXCFFileType", Sector(512, {{0, "gimp xcf v"}}), Range(0, 10), {{10, kAny}}},
  };
}

/// Scans a device that shows the sector with every one of these values at the offset, behind a sector without a head,
/// and returns the values with which it was a hit.
std::set<unsigned> ValuesWithHit(const HeadCase& head, std::size_t offset, const std::set<unsigned>& values) {
  // Blocks that a shared classifier has read already are not read again.
  static std::uint64_t unused = 1U << 20U;
  const auto sectorSize = static_cast<int>(head.sector.size());
  const std::uint64_t first = head.firstSector != 0 ? head.firstSector : unused;
  unused += values.size();
  Device device(static_cast<int>(values.size()), sectorSize, first);
  std::uint64_t sector = first;
  for (const unsigned value : values) {
    std::string changed = head.sector;
    changed[offset] = static_cast<char>(value);
    device.Put(sector++, changed);
  }
  std::set<unsigned> withHit;
  for (const Hit& hit : Scan(*CreateDetector(std::string_view(head.className)), device)) {
    withHit.insert(*std::next(values.begin(), static_cast<std::ptrdiff_t>(hit.startSector - first)));
  }
  return withHit;
}

TEST(BitmapHeads, FixedBytesMustBeAsTheyAre) {
  for (const HeadCase& head : HeadCases()) {
    for (const std::size_t offset : head.fixed) {
      const unsigned wanted = static_cast<std::uint8_t>(head.sector[offset]);
      std::set<unsigned> values = {wanted, 0, 255, '4'};
      for (unsigned bit = 1; bit < 256; bit *= 2) values.insert(wanted ^ bit);
      EXPECT_EQ(ValuesWithHit(head, offset, values), std::set<unsigned>{wanted}) << head.className << " at " << offset;
    }
  }
}

TEST(BitmapHeads, OtherBytesHaveTheValuesThatTheKindAllows) {
  std::set<unsigned> all;
  for (unsigned value = 0; value < 256; ++value) all.insert(value);
  for (const HeadCase& head : HeadCases()) {
    for (const auto& [offset, accepts] : head.accepted) {
      std::set<unsigned> expected;
      for (const unsigned value : all) {
        if (accepts(value)) expected.insert(value);
      }
      EXPECT_EQ(ValuesWithHit(head, offset, all), expected) << head.className << " at " << offset;
    }
  }
}

/// The least sector size at which a file is found, in a block of many sectors and in a block of one.
struct SizeCase {
  const char* className;
  int inManySectors;
  int inOneSector;
};

TEST(BitmapHeads, SmallSectorsHaveNoHead) {
  // XPM text, TGA, SGI and InDesign files are found in sectors of any size, as long as the block goes on.
  const std::vector<SizeCase> cases = {
      {"KBmpFileType", 17, 18},  {"KCurFileType", 17, 18}, {"KIcoFileType", 512, 512}, {"CKGTgaFileType", 1, 18},
      {"CKGSgiFileType", 1, 12}, {"KCAMFileType", 5, 5},   {"KXCFFileType", 13, 13},   {"KPSDFileType", 4, 4},
      {"KPSPFileType", 33, 33},  {"KOciFileType", 81, 81}, {"KGIFFileType", 7, 7},
  };
  for (const SizeCase& sizes : cases) {
    for (const HeadCase& head : HeadCases()) {
      if (std::string_view(head.className) != sizes.className) continue;
      const auto isFound = [&](int sectorSize, bool oneSector) {
        // The icon adds the two bytes in front of it.
        const std::string before(static_cast<std::size_t>(sectorSize), 'x');
        const std::string bytes = before + head.sector + std::string(1024, '\0');
        const auto size = static_cast<std::size_t>(sectorSize);
        const std::uint64_t first = sizes.className == std::string_view("KGIFFileType") ? size : kFirst;
        Device device(static_cast<int>(bytes.size() / size), sectorSize, first);
        device.Put(first, bytes.substr(0, bytes.size() / size * size));
        // The walks read on from the reader, whatever the block holds.
        DeviceReader reader(device);
        std::vector<std::uint8_t> memory(device.Bytes());
        if (oneSector) memory.resize(2 * size);
        const RawSectorBlock block{first, memory.data(), static_cast<int>(memory.size() / size), sectorSize, &reader};
        RecordingSink sink;
        CreateDetector(std::string_view(sizes.className))->Scan(&block, &sink);
        return !sink.Found().empty() && sink.Found().front().startSector == first + 1;
      };
      EXPECT_TRUE(isFound(sizes.inManySectors, false)) << sizes.className;
      EXPECT_TRUE(isFound(sizes.inOneSector, true)) << sizes.className;
      EXPECT_FALSE(sizes.inManySectors > 1 && isFound(sizes.inManySectors - 1, false)) << sizes.className;
      EXPECT_FALSE(isFound(sizes.inOneSector - 1, true)) << sizes.className;
    }
  }
}

TEST(BitmapHeads, SmallSectorsDontOpenAFile) {
  struct FloorCase {
    const char* className;
    int floor;
    std::size_t headSize;
  };
  const std::vector<FloorCase> cases = {
      {"KPngFileType", 9, 8}, {"KPCXFileType", 128, 128}, {"KSdrFileType", 9, 8}, {"CKGXpmFileType", 1, 9}};
  for (const auto& [className, floor, headSize] : cases) {
    for (const HeadCase& head : HeadCases()) {
      if (head.className != std::string_view(className)) continue;
      for (const int size : {floor - 1, floor}) {
        if (size == 0) continue;
        Device device(500, size, kFirst, 'x');
        const std::string bytes = head.sector.substr(0, headSize);
        device.Put(kFirst, bytes).Put(kFirst + 300, bytes);
        EXPECT_EQ(Scan(*CreateDetector(std::string_view(className)), device),
                  size == floor ? (Hits{{kFirst, 300 * static_cast<std::uint64_t>(size)}}) : Hits{})
            << className << " in sectors of " << size;
      }
    }
  }
}

TEST(BitmapHeads, SignaturesAloneAreHitsWithoutSize) {
  for (const char* className : {"KCAMFileType", "KXCFFileType"}) {
    const std::string head = className[1] == 'C' ? "\x07 MM" : "gimp xcf file";
    const Detector detector = CreateDetector(std::string_view(className));
    detector->SetMaxFileSize(0x8000000000000000);
    EXPECT_EQ(Scan(*detector, Device(3).Put(kFirst, head).Put(kFirst + 2, head)), (Hits{{kFirst, 0}, {kFirst + 2, 0}}));
  }
}

}  // namespace
}  // namespace qzmtraw::test
