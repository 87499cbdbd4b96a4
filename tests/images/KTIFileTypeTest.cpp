#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <map>
#include <optional>
#include <random>

#include "tests/support/Scanning.h"

namespace qzmtraw::test {
namespace {

constexpr std::uint64_t kFirst = Device::kFirstSector;
const std::string kTif = "KTifFileType";
const std::string kFaces[] = {kTif,           "KNefFileType", "KPefFileType", "KDcrFileType", "KSr2FileType",
                              "KArwFileType", "KCR2FileType", "KDngFileType", "KGMefFileType"};

/// An entry of a directory; the field are its last four bytes as they stand in the file.
struct Entry {
  std::uint16_t tag;
  std::uint16_t type;
  std::uint32_t count;
  std::string field;
};

std::string Reversed(std::string bytes) {
  std::reverse(bytes.begin(), bytes.end());
  return bytes;
}
std::string U16(char order, std::uint16_t value) {
  return order == 'I' ? LittleU16(value) : Reversed(LittleU16(value));
}
std::string U32(char order, std::uint32_t value) { return order == 'I' ? LittleU32(value) : BigU32(value); }

std::string Directory(const std::vector<Entry>& entries, char order = 'I') {
  std::string bytes = U16(order, static_cast<std::uint16_t>(entries.size()));
  for (const Entry& entry : entries) {
    bytes += U16(order, entry.tag) + U16(order, entry.type) + U32(order, entry.count) + entry.field;
  }
  return bytes;
}

std::string Head(char order, std::uint32_t directory) {
  return std::string(2, order) + U16(order, 42) + U32(order, directory);
}

/// A file whose directory stands at offset 16.
std::string Tiff(const std::vector<Entry>& entries, char order = 'I') {
  return Head(order, 16) + std::string(8, 'x') + Directory(entries, order);
}

Entry StripOffset(std::uint32_t value) { return {273, 4, 1, LittleU32(value)}; }
Entry StripByteCount(std::uint32_t value) { return {279, 4, 1, LittleU32(value)}; }
Entry OfType(int type) { return {300, static_cast<std::uint16_t>(type), 1, "abcd"}; }

using FoundKinds = std::map<std::string, Hits>;

/// Feeds the device to all faces, each block to all of them before the next.
FoundKinds Feed(const Device& device, Cut cut = {}) {
  DeviceReader reader(device);
  std::map<std::string, Detector> detectors;
  std::map<std::string, RecordingSink> sinks;
  for (const std::string& face : kFaces) detectors[face] = CreateDetector(std::string_view(face));
  ForEachBlock(device, reader, cut, [&](const RawSectorBlock& block) {
    for (const auto& [face, detector] : detectors) ScanBlock(*detector, block, sinks[face]);
  });
  FoundKinds found;
  for (const auto& [face, sink] : sinks) {
    if (!sink.Found().empty()) found[face] = sink.Found();
  }
  return found;
}

/// Lets the classifier, which lives as long as the process, forget the block before, and gives it the strip that the
/// next file inherits.
void Settle(std::uint32_t stripOffset = 0, std::uint32_t stripByteCount = 0) {
  constexpr std::uint64_t kElsewhere = std::uint64_t{1} << 41;
  // The classifier must not have read this very block before.
  Feed(Device(1, 512, kElsewhere + 1));
  Feed(Device(1, 512, kElsewhere).Put(kElsewhere, Tiff({StripOffset(stripOffset), StripByteCount(stripByteCount)})));
}

/// What is found whole and in blocks of one, two and three sectors, which must all agree.
FoundKinds ScanAll(const Device& device) {
  Settle();
  FoundKinds whole = Feed(device);
  for (int blockSectors = 1; blockSectors <= 3; ++blockSectors) {
    Settle();
    EXPECT_EQ(Feed(device, {blockSectors}), whole) << "in blocks of " << blockSectors << " sectors";
  }
  return whole;
}

/// A device with the file in its second sector, and room behind it.
Device DeviceWith(const std::string& file, int sectorSize = 512) {
  return Device(static_cast<int>(file.size()) / sectorSize + 12, sectorSize).Put(kFirst + 1, file);
}
FoundKinds KindsOf(const std::string& file) { return ScanAll(DeviceWith(file)); }
FoundKinds OneOf(const std::string& face, std::uint64_t size = 0) { return {{face, {{kFirst + 1, size}}}}; }

struct Word {
  std::string face;
  std::string text;
};
const std::vector<Word> kWords = {
    {"KPefFileType", "PENTAX"},          {"KNefFileType", "NIKON"}, {"KDcrFileType", Literal(".DCR\0")},
    {"KSr2FileType", Literal("SONY\0")}, {"KArwFileType", "SONY "}, {"KGMefFileType", "Mamiya-OP "},
};

TEST(KTIFileType, HeadIsTheByteOrderAnd42InThatOrder) {
  EXPECT_EQ(KindsOf(Tiff({})), OneOf(kTif));
  EXPECT_EQ(KindsOf(Tiff({}, 'M')), OneOf(kTif));
  for (const std::string& head : {Literal("II\0*"), Literal("MM*\0"), Literal("II+\0"), Literal("MM\0+"),
                                  Literal("IM*\0"), Literal("MI\0*"), Literal("II*\1"), Literal("ii*\0")}) {
    EXPECT_EQ(KindsOf(head + Tiff({}).substr(4)), FoundKinds{}) << head;
    EXPECT_EQ(KindsOf(head + Tiff({}, 'M').substr(4)), FoundKinds{}) << head;
  }
}

TEST(KTIFileType, NeedsSectorsOf8Bytes) {
  for (const int sectorSize : {7, 8}) {
    Settle();
    EXPECT_EQ(Feed(DeviceWith(Tiff({}), sectorSize)), sectorSize == 8 ? OneOf(kTif) : FoundKinds{});
  }
}

TEST(KTIFileType, MakersWordTellsTheKindAndTheSizeIsLeftOpen) {
  const std::string file = Tiff({StripOffset(5000), StripByteCount(700)});
  for (const auto& [face, word] : kWords) EXPECT_EQ(KindsOf(file + word), OneOf(face)) << word;
  for (const char* other : {"Pentax", "PENTA", "nikon", "NIKO", ".DCRx", ".dcr", "SONYx", "SONY", "Sony ", "Mamiya-OP",
                            "MAMIYA-OP ", "CR\x02"}) {
    EXPECT_EQ(KindsOf(file + other), OneOf(kTif, 5700)) << other;
  }
}

TEST(KTIFileType, EarlierKindOfTheListWins) {
  for (std::size_t first = 0; first < kWords.size(); ++first) {
    std::string others;
    for (std::size_t later = first + 1; later < kWords.size(); ++later) others += kWords[later].text;
    EXPECT_EQ(KindsOf(Tiff({}) + others + kWords[first].text), OneOf(kWords[first].face)) << kWords[first].text;
  }
}

TEST(KTIFileType, CanonsMarkAtOffset8BeatsAllWords) {
  const auto file = [](std::size_t offset, const std::string& mark) {
    std::string bytes = Head('I', 16) + std::string(8, 'x') + Directory({});
    for (const Word& word : kWords) bytes += word.text;
    return bytes.replace(offset, mark.size(), mark);
  };
  EXPECT_EQ(KindsOf(file(8, "CR\x02")), OneOf("KCR2FileType"));
  EXPECT_EQ(KindsOf(file(8, "CR\x03")), OneOf("KPefFileType"));
  EXPECT_EQ(KindsOf(file(8, "Cr\x02")), OneOf("KPefFileType"));
  EXPECT_EQ(KindsOf(file(8, "cR\x02")), OneOf("KPefFileType"));
  EXPECT_EQ(KindsOf(file(9, "CR\x02")), OneOf("KPefFileType"));
}

TEST(KTIFileType, DngVersionBeatsEverything) {
  const std::string words = "PENTAX NIKON";
  const Entry version{50706, 1, 4, Literal("\1\1\0\0")};
  std::string file = Tiff({version}) + words;
  EXPECT_EQ(KindsOf(file.replace(8, 3, "CR\x02")), OneOf("KDngFileType"));
  EXPECT_EQ(KindsOf(Tiff({{50706, 12, 1000, "xxxx"}}, 'M') + words), OneOf("KDngFileType"));
  EXPECT_EQ(KindsOf(Tiff({{50707, 1, 4, "xxxx"}}) + words), OneOf("KPefFileType"));
  // The next file isn't one for that.
  Settle();
  EXPECT_EQ(Feed(Device(2).Put(kFirst, Tiff({version})).Put(kFirst + 1, Tiff({}))),
            (FoundKinds{{"KDngFileType", {{kFirst, 0}}}, {kTif, {{kFirst + 1, 0}}}}));
}

TEST(KTIFileType, WordOfNBytesIsSeenUpToOffset4094MinusN) {
  for (const auto& [face, word] : kWords) {
    const auto kindsWithWordAt = [&, &text = word](std::size_t offset) {
      std::string file = Tiff({});
      file.resize(5000, 'x');
      return KindsOf(file.replace(offset, text.size(), text));
    };
    EXPECT_EQ(kindsWithWordAt(4094 - word.size()), OneOf(face)) << word;
    EXPECT_EQ(kindsWithWordAt(4095 - word.size()), OneOf(kTif)) << word;
    EXPECT_EQ(kindsWithWordAt(4096), OneOf(kTif)) << word;
  }
}

TEST(KTIFileType, PlainFileEndsWithItsStrip) {
  EXPECT_EQ(KindsOf(Tiff({StripOffset(5000), StripByteCount(700)})), OneOf(kTif, 5700));
  EXPECT_EQ(KindsOf(Tiff({StripByteCount(700), StripOffset(5000)})), OneOf(kTif, 5700));
  EXPECT_EQ(KindsOf(Tiff({StripOffset(1), StripOffset(5000), StripByteCount(700)})), OneOf(kTif, 5700));
}

TEST(KTIFileType, SizeHasNoMinimumIsClippedTo0x2000000AndMayBeNegative) {
  const std::map<std::pair<std::uint32_t, std::uint32_t>, std::uint64_t> cases = {
      {{0, 0}, 0},
      {{1, 0}, 1},
      {{0x1FFFFFF, 1}, 0x2000000},
      {{0x2000000, 1}, 0x2000000},
      {{0x7FFFFFFF, 0}, 0x2000000},
      {{0x7FFFFFFF, 1}, 0xFFFFFFFF80000000},
      {{0xFFFFFFFF, 0}, 0xFFFFFFFFFFFFFFFF},
      {{0xFFFFFFFF, 1001}, 1000},
  };
  for (const auto& [strip, size] : cases) {
    EXPECT_EQ(KindsOf(Tiff({StripOffset(strip.first), StripByteCount(strip.second)})), OneOf(kTif, size)) << size;
  }
}

TEST(KTIFileType, OnlyValuesInTheEntryAreTakenAndBigEndianOnesAreTurnedTwice) {
  struct Case {
    std::uint16_t type;
    std::uint32_t count;
    std::string field;
    std::uint32_t little;
    std::uint32_t big;
  };
  // Numbers of 32 bits are turned into their order first. Then all are turned, in big-endian files.
  const std::vector<Case> cases = {
      {0, 1, Literal("\1\2\0\0"), 0, 0},
      {1, 0, Literal("\1\2\3\0"), 0, 0},
      {1, 1, Literal("\1\2\3\4"), 0x01, 0x01000000},
      {1, 4, Literal("\1\2\3\0"), 0x030201, 0x01020300},
      {1, 5, Literal("\1\2\3\0"), 0, 0},
      {1, 0xFFFFFFFF, Literal("\1\2\3\0"), 0, 0},
      {2, 3, Literal("\1\2\0\4"), 0x0201, 0x01020000},
      {2, 4, Literal("\1\2\0\4"), 0, 0},
      {3, 1, Literal("\1\2\3\4"), 0x0201, 0x01020000},
      {3, 2, Literal("\1\2\3\0"), 0x030201, 0x01020300},
      {3, 3, Literal("\1\2\3\0"), 0, 0},
      {3, 0x80000001, Literal("\1\2\3\0"), 0, 0},
      {4, 0, Literal("\1\2\3\0"), 0, 0},
      {4, 1, Literal("\1\2\3\0"), 0x030201, 0x030201},
      {4, 2, Literal("\1\2\3\0"), 0, 0},
      {5, 1, Literal("\1\2\3\0"), 0, 0},
      {6, 3, Literal("\1\2\0\4"), 0x0201, 0x01020000},
      {6, 4, Literal("\1\2\0\4"), 0, 0},
      {7, 1, Literal("\1\2\3\0"), 0, 0},
      {8, 2, Literal("\1\2\3\0"), 0x030201, 0x01020300},
      {8, 3, Literal("\1\2\3\0"), 0, 0},
      {9, 1, Literal("\1\2\3\0"), 0x030201, 0x030201},
      {9, 2, Literal("\1\2\3\0"), 0, 0},
      {10, 1, Literal("\1\2\3\0"), 0, 0},
      {11, 1, Literal("\1\2\3\0"), 0x030201, 0x030201},
      {12, 1, Literal("\1\2\3\0"), 0, 0},
  };
  for (const auto& [type, count, field, little, big] : cases) {
    for (const std::uint16_t tag : {std::uint16_t{273}, std::uint16_t{279}}) {
      // The captured value replaces one that the file would inherit.
      for (const char order : {'I', 'M'}) {
        Settle(77, 77);
        const std::uint32_t captured = order == 'I' ? little : big;
        EXPECT_EQ(Feed(DeviceWith(Tiff({{tag, type, count, field}}, order))), OneOf(kTif, captured + 77))
            << type << ' ' << count << ' ' << order;
      }
    }
  }
}

TEST(KTIFileType, FileInheritsTheStripOfTheFileBeforeAsItIs) {
  // Sectors are as large as what is searched for words.
  Device device(9, 4096);
  device.Put(kFirst, Tiff({StripOffset(0x1000), StripByteCount(0x20)}))
      .Put(kFirst + 2, Tiff({}))
      .Put(kFirst + 3, Tiff({}, 'M'))
      .Put(kFirst + 4, Tiff({StripByteCount(0x30)}))
      .Put(kFirst + 5, Tiff({{273, 4, 1, LittleU32(0x2000)}}, 'M'))
      .Put(kFirst + 6, Tiff({}) + "NIKON")
      .Put(kFirst + 7, Tiff({}));
  EXPECT_EQ(ScanAll(device), (FoundKinds{{"KNefFileType", {{kFirst + 6, 0}}},
                                         {kTif,
                                          {{kFirst, 0x1020},
                                           {kFirst + 2, 0x1020},
                                           {kFirst + 3, 0x1020},
                                           {kFirst + 4, 0x1030},
                                           {kFirst + 5, 0x2030},
                                           {kFirst + 7, 0x2030}}}}));
}

TEST(KTIFileType, DirectoryOfUpTo128EntriesIsRead) {
  std::vector<Entry> entries(127, OfType(3));
  entries.push_back(StripOffset(900));
  EXPECT_EQ(KindsOf(Tiff(entries)), OneOf(kTif, 900));
  entries.push_back(StripOffset(901));
  EXPECT_EQ(KindsOf(Tiff(entries)), FoundKinds{});
  EXPECT_EQ(KindsOf(Head('M', 8) + "\xFF\xFF"), FoundKinds{});
  Settle(3000, 300);
  EXPECT_EQ(Feed(DeviceWith(Tiff({}))), OneOf(kTif, 3300));
}

TEST(KTIFileType, TypesAbove12LeaveNoHitButWhatStoodBeforeIsCaptured) {
  EXPECT_EQ(KindsOf(Tiff({OfType(0), OfType(12)})), OneOf(kTif));
  for (const int type : {13, 14, 255, 256, 0x8000, 0xFFFF}) {
    EXPECT_EQ(KindsOf(Tiff({OfType(3), OfType(type)})), FoundKinds{}) << type;
  }
  EXPECT_EQ(KindsOf(Tiff({{50706, 13, 1, "xxxx"}})), FoundKinds{});
  Device device(3);
  device.Put(kFirst, Tiff({StripOffset(0x500), OfType(13), StripByteCount(0x70)})).Put(kFirst + 1, Tiff({}));
  EXPECT_EQ(ScanAll(device), OneOf(kTif, 0x500));
}

TEST(KTIFileType, DirectoryStandsAnywhereUpTo0x2000000) {
  // There are zeros behind the device: a directory of no entries.
  EXPECT_EQ(KindsOf(Head('I', 0x2000000)), OneOf(kTif));
  EXPECT_EQ(KindsOf(Head('I', 0x2000001)), FoundKinds{});
  EXPECT_EQ(KindsOf(Head('M', 0x2000000)), OneOf(kTif));
  EXPECT_EQ(KindsOf(Head('M', 0x2000001)), FoundKinds{});
  EXPECT_EQ(KindsOf(Head('I', 0x80000000)), FoundKinds{});
  EXPECT_EQ(KindsOf(Head('I', 0xFFFFFFFF)), FoundKinds{});
  // Odd places and those in front of the head's end will do. At 0 stand more entries than may be.
  std::string odd = Head('I', 4001);
  odd.resize(4001, 'x');
  EXPECT_EQ(KindsOf(odd + Directory({StripOffset(900)})), OneOf(kTif, 900));
  EXPECT_EQ(KindsOf(Head('I', 0)), FoundKinds{});
  EXPECT_EQ(KindsOf(Literal("II*\0\6\0\0\0") + Directory({})), OneOf(kTif));
}

TEST(KTIFileType, NoOtherDirectoryIsRead) {
  // The next directory, that of Exif and one of another picture hold the version, and would end the walk besides.
  const std::string more = Directory({{50706, 1, 4, "xxxx"}, OfType(13)});
  const std::string bytes = Head('I', 16) + std::string(8, 'x') +
                            Directory({{330, 4, 1, LittleU32(46)}, {34665, 4, 1, LittleU32(46)}}) + LittleU32(46) +
                            more;
  EXPECT_EQ(KindsOf(bytes), OneOf(kTif));
}

TEST(KTIFileType, IsReadInSectorsOfAnySize) {
  std::string file = Tiff({StripOffset(5000), StripByteCount(700)});
  file.resize(3000, 'x');
  for (const int sectorSize : {8, 16, 100, 512, 4096, 32768}) {
    EXPECT_EQ(ScanAll(DeviceWith(file, sectorSize)), OneOf(kTif, 5700)) << sectorSize;
    EXPECT_EQ(ScanAll(DeviceWith(file + "SONY ", sectorSize)), OneOf("KArwFileType")) << sectorSize;
  }
  // Larger ones can't be cached: nothing is read, which makes a directory of no entries and no word.
  Settle(3000, 300);
  EXPECT_EQ(Feed(DeviceWith(file + "SONY ", 65536)), OneOf(kTif, 3300));
}

TEST(KTIFileType, DirectoryThatSectorsAreTooLargeToReadLeavesNoHit) {
  // In sectors of more than 32768 bytes nothing is read but what reaches to the end of one in the block: here the
  // number of entries.
  const std::string count = LittleU16(1);
  const std::string entry = Directory({StripOffset(1000)}).substr(2);
  for (const int sectorSize : {32768, 32769}) {
    const std::uint64_t first = kFirst + static_cast<std::uint64_t>(sectorSize);
    const std::uint32_t directory = static_cast<std::uint32_t>(sectorSize) - 2;
    Device device(2, sectorSize, first, 0);
    device.Put(first, Head('I', directory)).Put(first, directory, count + entry);
    EXPECT_EQ(Feed(device).size(), sectorSize == 32768 ? 1U : 0U);
  }
}

TEST(KTIFileType, LimitAndResetOfAFaceChangeNothing) {
  Settle();
  const Device device = DeviceWith(Tiff({StripOffset(5000), StripByteCount(700)}));
  const Detector face = CreateDetector(std::string_view(kTif));
  face->SetMaxFileSize(10);
  EXPECT_EQ(Scan(*face, device), (Hits{{kFirst + 1, 5700}}));
  EXPECT_EQ(face->Reset(), 1);
  Device inheriting(2, 512, kFirst + 100);
  inheriting.Put(kFirst + 100, Tiff({}));
  EXPECT_EQ(Scan(*face, inheriting), (Hits{{kFirst + 100, 5700}}));
}

TEST(KTIFileType, BlockIsReadOnceForAllFaces) {
  Settle();
  const Device device = DeviceWith(Tiff({}));
  DeviceReader reader(device);
  RecordingSink sink;
  std::vector<std::uint8_t> memory = device.Bytes();
  const RawSectorBlock block{kFirst, memory.data(), device.SectorCount(), 512, &reader};
  for (int i = 0; i < 2; ++i) {
    for (const std::string& face : kFaces) CreateDetector(std::string_view(face))->Scan(&block, &sink);
  }
  // Asked twice, the face reports twice.
  EXPECT_EQ(sink.Found(), (Hits{{kFirst + 1, 0}, {kFirst + 1, 0}}));
  EXPECT_EQ(reader.Calls().size(), 1U);
}

/// Scans devices with a file in their first sector, in a process that has not seen a block before, and ends it with 7
/// if the files are found where they should be.
[[noreturn]] void ScanAsFirst(const std::vector<std::pair<std::uint64_t, Hits>>& devices) {
  bool asExpected = true;
  for (const auto& [firstSector, expected] : devices) {
    Device device(10, 512, firstSector);
    device.Put(firstSector, Tiff({StripOffset(500)}));
    asExpected = asExpected && Scan(*CreateDetector(std::string_view(kTif)), device) == expected;
  }
  std::exit(asExpected ? 7 : 8);
}

TEST(KTIFileType, FirstBlockOfAProcessIsNotSeenAtSector0) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  const std::vector<std::pair<std::uint64_t, Hits>> first = {{0, {}}, {5, {{5, 500}}}, {0, {{0, 500}}}};
  EXPECT_EXIT(ScanAsFirst(first), ::testing::ExitedWithCode(7), "");
  const std::vector<std::pair<std::uint64_t, Hits>> later = {{1, {{1, 500}}}, {0, {{0, 500}}}};
  EXPECT_EXIT(ScanAsFirst(later), ::testing::ExitedWithCode(7), "");
}

/// The rules for plain files step by step. What a directory tells of the strip stays.
class LiteralTiff {
 public:
  LiteralTiff(std::uint32_t offset, std::uint32_t count) : offset_(offset), count_(count) {}

  /// \return The size, or nothing where there is no hit.
  std::optional<std::uint64_t> SizeOf(const std::string& file) {
    const bool big = file[0] == 'M';
    const auto byte = [&](std::uint64_t at) { return at < file.size() ? static_cast<std::uint8_t>(file[at]) : 0U; };
    const auto number = [&](std::uint64_t at, int width, bool isBig) {
      std::uint32_t value = 0;
      for (int i = 0; i < width; ++i)
        value |= byte(at + static_cast<std::uint64_t>(isBig ? width - 1 - i : i)) << 8 * i;
      return value;
    };
    const std::uint64_t directory = number(4, 4, big);
    if (directory > 0x2000000) return std::nullopt;
    const std::uint32_t entries = number(directory, 2, big);
    if (entries > 128) return std::nullopt;
    for (std::uint32_t i = 0; i < entries; ++i) {
      const std::uint64_t entry = directory + 2 + 12 * i;
      const std::uint32_t tag = number(entry, 2, big);
      const std::uint32_t type = number(entry + 2, 2, big);
      const std::uint32_t count = number(entry + 4, 4, big);
      if (type > 12) return std::nullopt;
      std::uint32_t value = 0;
      if (type == 1 && count <= 4) value = number(entry + 8, static_cast<int>(count), false);
      if ((type == 2 || type == 6) && count <= 3) value = number(entry + 8, static_cast<int>(count), false);
      if ((type == 3 || type == 8) && count <= 2) value = number(entry + 8, static_cast<int>(2 * count), false);
      if ((type == 4 || type == 9 || type == 11) && count == 1) value = number(entry + 8, 4, big);
      if (big) value = (value & 0xFF) << 24 | (value & 0xFF00) << 8 | (value >> 8 & 0xFF00) | value >> 24;
      if (tag == 273) offset_ = value;
      if (tag == 279) count_ = value;
    }
    const std::int64_t size = static_cast<std::int32_t>(offset_ + count_);
    return static_cast<std::uint64_t>(size > 0x2000000 ? 0x2000000 : size);
  }

 private:
  std::uint32_t offset_;
  std::uint32_t count_;
};

TEST(KTIFileType, AgreesWithTheRulesTakenStepByStep) {
  constexpr std::uint16_t kTags[] = {256, 273, 279, 273, 279, 306, 17, 23, 0x1101, 0x1701};
  Settle();
  LiteralTiff rules(0, 0);
  std::size_t found = 0;
  for (std::uint32_t seed = 0; seed < 3000; ++seed) {
    std::mt19937 random(seed);
    const char order = random() % 2 == 0 ? 'I' : 'M';
    std::vector<Entry> entries(random() % 6);
    for (Entry& entry : entries) {
      const auto type = static_cast<std::uint16_t>(random() % (random() % 20 == 0 ? 15U : 13U));
      std::string field;
      for (int i = 0; i < 4; ++i) field += static_cast<char>(random() % (random() % 2 == 0 ? 256U : 2U));
      entry = {kTags[random() % std::size(kTags)], type, static_cast<std::uint32_t>(random() % 6), field};
    }
    std::string file = Tiff(entries, order);
    if (random() % 8 == 0) file.replace(4, 4, U32(order, static_cast<std::uint32_t>(2 + random() % 40)));
    file.resize(512, 'x');
    const std::uint64_t sector = kFirst + 10 * std::uint64_t{seed};
    const std::optional<std::uint64_t> size = rules.SizeOf(file);
    const FoundKinds expected = size ? FoundKinds{{kTif, {{sector, *size}}}} : FoundKinds{};
    ASSERT_EQ(Feed(Device(1, 512, sector).Put(sector, file)), expected) << "seed " << seed;
    found += expected.size();
  }
  EXPECT_GT(found, 2000U);
}

}  // namespace
}  // namespace qzmtraw::test
