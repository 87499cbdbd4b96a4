#include <gtest/gtest.h>

#include <cstring>
#include <random>

#include "tests/support/CompoundScan.h"
#include "tests/support/LiteralCompound.h"

namespace qzmtraw::test {
namespace {

constexpr std::uint64_t kFirst = Device::kFirstSector;

/// Files whose kind one name tells. With the name alone they have 1536 bytes in sectors of 512: the header, a sector
/// of the FAT and one of the directory. The FAT tells of 128 sectors, 65536 bytes.
CompoundFile Known(std::uint16_t sectorShift = 9) { return CompoundFile(sectorShift).Add("PageMaker"); }
constexpr std::uint64_t kLeast = 1536;
constexpr std::uint64_t kCapacity = 65536;

std::uint64_t SizeOf(const CompoundFile& file) { return SizeAs("KP65FileType", file); }

CompoundEntry Stream(std::uint32_t size) {
  CompoundEntry entry = CompoundEntry::Named("x");
  entry.size = size;
  return entry;
}

// The header.

TEST(KCompoundReader, CountsHeaderFatAndDirectory) { EXPECT_EQ(SizeOf(Known()), kLeast); }

TEST(KCompoundReader, VersionsMustBeBelow255) {
  for (const std::size_t field : {CompoundFile::kMinorVersion, CompoundFile::kMajorVersion}) {
    EXPECT_EQ(SizeOf(Known().Set16(field, 0)), kLeast);
    EXPECT_EQ(SizeOf(Known().Set16(field, 254)), kLeast);
    EXPECT_EQ(SizeOf(Known().Set16(field, 255)), 0U);
    EXPECT_EQ(SizeOf(Known().Set16(field, 256)), 0U);
  }
}

TEST(KCompoundReader, ByteOrderMarkMayBeEitherWay) {
  EXPECT_EQ(SizeOf(Known().Set16(CompoundFile::kByteOrder, 0xFFFE)), kLeast);
  EXPECT_EQ(SizeOf(Known().Set16(CompoundFile::kByteOrder, 0xFEFF)), kLeast);
  EXPECT_EQ(SizeOf(Known().Set16(CompoundFile::kByteOrder, 0xFFFF)), 0U);
  EXPECT_EQ(SizeOf(Known().Set16(CompoundFile::kByteOrder, 0)), 0U);
}

TEST(KCompoundReader, SectorShiftsMustBeBelow255AndTheMiniShiftNotAboveTheOther) {
  EXPECT_EQ(SizeOf(Known().Set16(CompoundFile::kMiniSectorShift, 9)), kLeast);
  EXPECT_EQ(SizeOf(Known().Set16(CompoundFile::kMiniSectorShift, 10)), 0U);
  EXPECT_EQ(SizeOf(Known().Set16(CompoundFile::kSectorShift, 9 + 7 * 32)), kLeast);
  EXPECT_EQ(SizeOf(Known().Set16(CompoundFile::kSectorShift, 9 + 8 * 32)), 0U);
  EXPECT_EQ(SizeOf(Known().Set16(CompoundFile::kSectorShift, 255)), 0U);
}

TEST(KCompoundReader, OnlyTheLowFiveBitsOfTheSectorShiftCount) {
  EXPECT_EQ(SizeOf(Known(9 + 32).Set16(CompoundFile::kMiniSectorShift, 9 + 32)), kLeast);
}

TEST(KCompoundReader, DifatMayNotHaveMoreSectorsThanTheFat) {
  EXPECT_EQ(SizeOf(Known().Set32(CompoundFile::kDifatSectors, 1)), kLeast);
  EXPECT_EQ(SizeOf(Known().Set32(CompoundFile::kDifatSectors, 2)), 0U);
  EXPECT_EQ(SizeOf(Known().Set32(CompoundFile::kDifatSectors, 0xFFFFFFFF)), 0U);
}

TEST(KCompoundReader, AllBytesOfTheSignatureCount) {
  for (std::size_t i = 0; i < 8; ++i) {
    Device device = DeviceWith(Known());
    device.Put(kFirst + 1, i, "?");
    EXPECT_EQ(ScanCompoundAnyCut(device), FoundKinds{}) << i;
  }
}

// Sector sizes of the file.

TEST(KCompoundReader, ReadsSectorsOf4096Bytes) {
  const CompoundFile file = Known(12);
  EXPECT_EQ(file.Bytes().find("P\0a\0g\0e\0", 0, 8), std::size_t{2 * 4096});
  EXPECT_EQ(SizeOf(file), 512U + 4096 + 4096);
}

TEST(KCompoundReader, ReadsSectorsSmallerThanTheHeader) {
  // Sector 0 begins in the header's 512 bytes: there is a FAT in its zeros as well as behind it.
  CompoundFile file(7);
  file.ListFat(1, 3).Set32(CompoundFile::kFirstDirectorySector, 4).Fill(3, CompoundFile::kEndOfChain);
  file.Put(4, 0, CompoundEntry::Named("PageMaker").Bytes());
  EXPECT_EQ(SizeOf(file), 0U);  // 512 + 128 + 128, too small
  CompoundEntry entry = CompoundEntry::Named("PageMaker");
  entry.size = 128;
  EXPECT_EQ(SizeOf(file.Put(4, 0, entry.Bytes())), 0U);  // 896
  entry.size = 129;
  EXPECT_EQ(SizeOf(file.Put(4, 0, entry.Bytes())), 1024U);
}

TEST(KCompoundReader, TakesNothingFromSectorsTooSmallForAnEntry) {
  for (std::uint16_t shift = 0; shift < 7; ++shift) {
    EXPECT_EQ(SizeOf(CompoundFile(shift).Put(600, 0, std::string(512, '\0'))), 0U) << shift;
  }
}

// The tables.

TEST(KCompoundReader, FatEndsAtAFreeMark) {
  // A bad entry makes the size the FAT's capacity.
  CompoundFile file = Known().Add(Stream(0x4000001)).ListFat(4);
  EXPECT_EQ(SizeOf(file), 4 * kCapacity);
  EXPECT_EQ(SizeOf(file.Set32(CompoundFile::kDifat + 8, CompoundFile::kFree)), 2 * kCapacity);
}

TEST(KCompoundReader, FatEndsAtASectorOutOfReach) {
  CompoundFile file = Known().Add(Stream(0x4000001)).ListFat(4);
  EXPECT_EQ(SizeOf(file.Set32(CompoundFile::kDifat + 8, 0x7fffffff / 512)), 4 * kCapacity);
  EXPECT_EQ(SizeOf(file.Set32(CompoundFile::kDifat + 8, 0x7fffffff / 512 + 1)), 2 * kCapacity);
}

TEST(KCompoundReader, FatHasNoMoreSectorsThanTheHeaderSaysOrLists) {
  EXPECT_EQ(SizeOf(Known().Add(Stream(0x4000001)).ListFat(4).Set32(CompoundFile::kFatSectors, 3)), 3 * kCapacity);
  EXPECT_EQ(SizeOf(Known().Add(Stream(0x4000001)).ListFat(109)), 109 * kCapacity);
  EXPECT_EQ(SizeOf(Known().Add(Stream(0x4000001)).ListFat(0xFFFFFFFF)), 109 * kCapacity);
}

TEST(KCompoundReader, WithoutAFatThereIsNoFile) {
  EXPECT_EQ(SizeOf(Known().Set32(CompoundFile::kFatSectors, 0)), 0U);
  EXPECT_EQ(SizeOf(Known().Set32(CompoundFile::kDifat, CompoundFile::kFree)), 0U);
}

/// A file with 109 + `more` FAT sectors, all in sector 0, and one sector of the DIFAT in sector 50.
CompoundFile WithDifat(std::uint32_t more) {
  CompoundFile file = Known().ListFat(109 + more);
  file.Set32(CompoundFile::kFirstDifatSector, 50).Set32(CompoundFile::kDifatSectors, 1);
  return file.Fill(50, 0).PutLast(50, CompoundFile::kEndOfChain);
}

TEST(KCompoundReader, DifatGoesOnInSectorsOfItsOwn) {
  EXPECT_EQ(SizeOf(WithDifat(3)), kLeast + (108 + 3) * 512 + 512);
  EXPECT_EQ(SizeOf(WithDifat(3).Add(Stream(0x4000001))), (109 + 3) * kCapacity);
}

TEST(KCompoundReader, DifatIsLeftAloneWithoutACountOrAFirstSector) {
  EXPECT_EQ(SizeOf(WithDifat(3).Set32(CompoundFile::kDifatSectors, 0)), kLeast + 108 * 512);
  EXPECT_EQ(SizeOf(WithDifat(3).Set32(CompoundFile::kFirstDifatSector, 0)), kLeast + 108 * 512);
  EXPECT_EQ(SizeOf(WithDifat(3).Set32(CompoundFile::kFirstDifatSector, 0x80000032)), kLeast + 108 * 512);
}

TEST(KCompoundReader, DifatSectorOutOfReachIsNotRead) {
  // What can't be read reads as zeros, which name sector 0.
  CompoundFile file = WithDifat(3);
  EXPECT_EQ(SizeOf(file.Set32(CompoundFile::kFirstDifatSector, 0x3FFFFF)), kLeast + (108 + 3) * 512 + 512);
  EXPECT_EQ(SizeOf(file.Set32(CompoundFile::kFirstDifatSector, 0x400000)), kLeast + 108 * 512);
}

TEST(KCompoundReader, DifatChainIsFollowedAsFarAsItIsCounted) {
  CompoundFile file = WithDifat(3).PutLast(50, 52).Fill(52, 0).PutLast(52, 54).Fill(54, 0);
  EXPECT_EQ(SizeOf(file), kLeast + 111 * 512 + 512);
  EXPECT_EQ(SizeOf(file.Set32(CompoundFile::kDifatSectors, 2)), kLeast + 111 * 512 + 1024);
  EXPECT_EQ(SizeOf(file.Set32(CompoundFile::kDifatSectors, 3)), kLeast + 111 * 512 + 1536);
  EXPECT_EQ(SizeOf(file.Set32(CompoundFile::kDifatSectors, 4)), kLeast + 111 * 512 + 1536);
}

TEST(KCompoundReader, PointerToTheNextDifatSectorCountsAsAFatSector) {
  const CompoundFile file = WithDifat(128).Add(Stream(0x4000001));
  EXPECT_EQ(SizeOf(file), (109 + 127) * kCapacity);
  EXPECT_EQ(SizeOf(CompoundFile(file).PutLast(50, 0)), (109 + 128) * kCapacity);
}

TEST(KCompoundReader, ReadsAtMost8192SectorsOfDifatAndFat) {
  // The DIFAT is a sector that leads to itself. It has a sector more for each of the FAT.
  CompoundFile file = WithDifat(3).PutLast(50, 50);
  for (const std::uint32_t sectors : {8190U, 8191U, 8192U, 8193U, 20000U, 0xFFFFFFFFU}) {
    file.Set32(CompoundFile::kFatSectors, sectors).Set32(CompoundFile::kDifatSectors, sectors);
    const std::uint64_t read = std::min(sectors, 8192U);
    EXPECT_EQ(SizeOf(file), 512 + 2 * read * 512 + 512) << sectors;
  }
}

TEST(KCompoundReader, MiniFatIsReadFromItsFirstSectorAgainAndAgain) {
  CompoundFile file = Known().Set32(CompoundFile::kFirstMiniFatSector, 50).Set32(CompoundFile::kMiniFatSectors, 5);
  file.Fill(50, 0).PutLast(50, 52).Fill(52, 0);
  EXPECT_EQ(SizeOf(file), kLeast + 5 * 512);
  EXPECT_EQ(SizeOf(file.PutLast(50, 0)), kLeast + 512);
  EXPECT_EQ(SizeOf(file.PutLast(50, CompoundFile::kFree)), kLeast + 512);
  EXPECT_EQ(SizeOf(file.PutLast(50, 0x3FFFFF)), kLeast + 5 * 512);
  EXPECT_EQ(SizeOf(file.PutLast(50, 0x400000)), kLeast + 512);
  EXPECT_EQ(SizeOf(file.PutLast(50, 1).Set32(CompoundFile::kMiniFatSectors, 1)), kLeast + 512);
}

TEST(KCompoundReader, MiniFatNeedsAFirstSectorInReachAndACount) {
  CompoundFile file = Known().Set32(CompoundFile::kMiniFatSectors, 1);
  EXPECT_EQ(SizeOf(file.Set32(CompoundFile::kFirstMiniFatSector, 0)), kLeast);
  EXPECT_EQ(SizeOf(file.Set32(CompoundFile::kFirstMiniFatSector, 0x400000)), kLeast);
  EXPECT_EQ(SizeOf(file.Set32(CompoundFile::kFirstMiniFatSector, 0x3FFFFF)), kLeast + 512);
  EXPECT_EQ(SizeOf(file.Set32(CompoundFile::kMiniFatSectors, 0)), kLeast);
}

TEST(KCompoundReader, ReadsAtMost2048SectorsOfTheMiniFat) {
  CompoundFile file = Known().ListFat(109).Set32(CompoundFile::kFirstMiniFatSector, 50).Fill(50, 1);
  for (const std::uint32_t sectors : {2047U, 2048U, 2049U, 0xFFFFFFFFU}) {
    file.Set32(CompoundFile::kMiniFatSectors, sectors);
    EXPECT_EQ(SizeOf(file), kLeast + 108 * 512 + std::uint64_t{512} * std::min(sectors, 2048U)) << sectors;
  }
}

// The directory.

TEST(KCompoundReader, DirectoryCountsInWholeSectorsOfItsStoredEntries) {
  CompoundFile file = Known();
  for (std::uint64_t entries = 2; entries <= 9; ++entries) {
    EXPECT_EQ(SizeOf(file.Add("x")), 1024 + (entries + 3) / 4 * 512) << entries;
  }
}

TEST(KCompoundReader, StreamsCountInWholeSectors) {
  EXPECT_EQ(SizeOf(Known().Add(Stream(1))), kLeast + 512);
  EXPECT_EQ(SizeOf(Known().Add(Stream(512))), kLeast + 512);
  EXPECT_EQ(SizeOf(Known().Add(Stream(513))), kLeast + 1024);
}

TEST(KCompoundReader, RootCountsBesidesTheStreamsInIt) {
  CompoundEntry root = CompoundEntry::Named("Root Entry");
  root.type = 5;
  root.size = 1024;
  EXPECT_EQ(SizeOf(CompoundFile().Add(root).Add("PageMaker").Add(Stream(1000))), kLeast + 1024 + 1024);
}

TEST(KCompoundReader, SizeIsNoMoreThanTheFatTellsOf) {
  EXPECT_EQ(SizeOf(Known().Add(Stream(kCapacity - kLeast))), kCapacity);
  EXPECT_EQ(SizeOf(Known().Add(Stream(kCapacity - kLeast - 512))), kCapacity - 512);
  EXPECT_EQ(SizeOf(Known().Add(Stream(kCapacity - kLeast + 1))), kCapacity);
}

TEST(KCompoundReader, EntriesWithANameLengthOf0OrAbove64ArePassedOver) {
  CompoundEntry entry = Stream(0xFFFFFFFF);
  entry.type = 99;
  for (const int length : {0, 65, 0xFFFF}) {
    entry.nameLength = static_cast<std::uint16_t>(length);
    EXPECT_EQ(SizeOf(Known().Add(entry)), kLeast) << length;
  }
  for (const int length : {1, 64}) {
    entry.nameLength = static_cast<std::uint16_t>(length);
    EXPECT_EQ(SizeOf(Known().Add(entry)), kCapacity) << length;
  }
}

TEST(KCompoundReader, LengthOfANameIsWhereItsZeroStands) {
  CompoundEntry entry = CompoundEntry::Named("PageMaker");
  entry.nameLength = 2;
  EXPECT_EQ(SizeOf(CompoundFile().Add(entry)), kLeast);
  entry.nameLength = 64;
  EXPECT_EQ(SizeOf(CompoundFile().Add(entry)), kLeast);
}

TEST(KCompoundReader, NameWithoutAZeroIsNoKnownName) {
  CompoundEntry entry = CompoundEntry::Named("PageMaker");
  entry.name += std::u16string(23, u'x');
  entry.nameLength = 64;
  EXPECT_EQ(SizeOf(CompoundFile().Add(entry)), 0U);
}

TEST(KCompoundReader, StreamOfMoreThan64MebibytesIsDamage) {
  EXPECT_EQ(SizeOf(Known().ListFat(109).Add(Stream(0x4000000))), 109 * kCapacity);  // more than the FAT tells of
  EXPECT_EQ(SizeOf(Known().Add("x").Add(Stream(0x4000001))), kCapacity);
  CompoundEntry known = CompoundEntry::Named("PageMaker");
  known.size = 0x4000000;
  EXPECT_EQ(SizeOf(CompoundFile().Add(known)), kCapacity);
  known.size = 0x4000001;
  EXPECT_EQ(SizeOf(CompoundFile().Add(known)), 0U);
}

TEST(KCompoundReader, EntryWithAnotherColourThanRedAndBlackIsDamage) {
  for (const int colour : {0, 1, 2, 255}) {
    CompoundEntry entry = Stream(0);
    entry.colour = static_cast<std::uint8_t>(colour);
    EXPECT_EQ(SizeOf(Known().Add(entry)), colour <= 1 ? kLeast : kCapacity) << colour;
  }
}

TEST(KCompoundReader, EntryOfAnotherTypeThan0To5IsDamage) {
  for (const int type : {0, 5, 6, 255}) {
    CompoundEntry entry = Stream(0);
    entry.type = static_cast<std::uint8_t>(type);
    EXPECT_EQ(SizeOf(Known().Add(entry)), type < 6 ? kLeast : kCapacity) << type;
  }
}

TEST(KCompoundReader, EntryThatStartsBehindTheFatsSectorsIsDamage) {
  for (const std::uint32_t start : {127U, 0xFFFFFFFDU, 0xFFFFFFFEU, 0xFFFFFFFFU}) {
    CompoundEntry entry = Stream(0);
    entry.start = start;
    EXPECT_EQ(SizeOf(Known().Add(entry)), kLeast) << start;
  }
  for (const std::uint32_t start : {128U, 0x7FFFFFFFU, 0x80000000U, 0xFFFFFFFCU}) {
    CompoundEntry entry = Stream(0);
    entry.start = start;
    EXPECT_EQ(SizeOf(Known().Add(entry)), kCapacity) << start;
  }
}

TEST(KCompoundReader, EntryMayStartBelowTheSizeOfTheMiniStream) {
  CompoundEntry root = CompoundEntry::Named("rOOT eNTRY");
  root.size = 1000;
  CompoundEntry entry = CompoundEntry::Named("PageMaker");
  entry.start = 999;
  EXPECT_EQ(SizeOf(CompoundFile().Add(root).Add(entry)), kLeast + 1024);
  EXPECT_EQ(SizeOf(CompoundFile().Add(entry).Add(root).Add("PageMaker")), kCapacity);  // before the root is known
  entry.start = 1000;
  EXPECT_EQ(SizeOf(CompoundFile().Add(root).Add("PageMaker").Add(entry)), kCapacity);
}

TEST(KCompoundReader, RootsSizeCountsForItsOwnStartAndEvenIfItIsDamaged) {
  CompoundEntry root = CompoundEntry::Named("Root Entry");
  root.size = 1000;
  root.start = 999;
  EXPECT_EQ(SizeOf(CompoundFile().Add(root).Add("PageMaker")), kLeast + 1024);
  root.size = 0x80000000;
  root.colour = 9;
  CompoundEntry entry = CompoundEntry::Named("PageMaker");
  entry.start = 0x7FFFFFFF;
  EXPECT_EQ(SizeOf(CompoundFile().Add(root).Add(entry)), kCapacity);
}

TEST(KCompoundReader, DirectoryIsFollowedThroughTheFat) {
  CompoundFile file = CompoundFile().Add("x").Link(1, 70).Link(70, 33).Link(33, CompoundFile::kEndOfChain);
  file.Put(70, 0, std::string(512, '\0')).Put(33, 0, std::string(512, '\0'));
  EXPECT_EQ(SizeOf(file.Put(33, 256, CompoundEntry::Named("PageMaker").Bytes())), kLeast);
}

TEST(KCompoundReader, DirectoryEndsBehindASectorOfBadEntries) {
  CompoundEntry bad = Stream(0);
  bad.colour = 2;
  CompoundFile file;
  for (int i = 0; i < 4; ++i) file.Add(bad);
  EXPECT_EQ(SizeOf(CompoundFile(file).Add("PageMaker")), 0U);
  for (int i = 0; i < 4; ++i) {
    CompoundFile better = file;
    better.Put(1, static_cast<std::size_t>(i) * 128, CompoundEntry::Unused().Bytes());
    EXPECT_EQ(SizeOf(better.Add("PageMaker")), kCapacity) << i;
  }
}

TEST(KCompoundReader, BadEntriesCountInEachSectorAnew) {
  CompoundEntry bad = Stream(0);
  bad.colour = 2;
  CompoundFile file = CompoundFile().Add(bad).Add(bad).Add("x").Add("x").Add(bad).Add(bad).Add("x").Add("x");
  EXPECT_EQ(SizeOf(file.Add("PageMaker")), kCapacity);
}

TEST(KCompoundReader, DirectoryEndsAtSector0AndAtMarks) {
  for (const std::uint32_t next : {0U, 0x80000000U, 0xFFFFFFFEU, 0xFFFFFFFFU}) {
    CompoundFile file = CompoundFile().Add("PageMaker").Add("x").Add("x").Add("x").Add("x");
    EXPECT_EQ(SizeOf(file.Link(1, next)), kLeast) << next;
  }
}

TEST(KCompoundReader, DirectoryEndsWithASectorThatTheFatDoesNotTellOf) {
  CompoundFile file =
      CompoundFile().Set32(CompoundFile::kFirstDirectorySector, 128).Put(127, 0, std::string(512, '\0'));
  EXPECT_EQ(SizeOf(file.Put(128, 0, CompoundEntry::Named("PageMaker").Bytes())), kLeast);
  file.Put(129, 0, CompoundEntry::Named("x").Bytes());
  EXPECT_EQ(SizeOf(file.Set32(CompoundFile::kFirstDirectorySector, 127).Link(127, 128)), kLeast);
}

TEST(KCompoundReader, PositionOfADirectorySectorWrapsAt32Bits) {
  EXPECT_EQ(SizeOf(Known().Set32(CompoundFile::kFirstDirectorySector, 0x800001)), kLeast);
  // The sector before sector 0 is the header, whose list of FAT sectors has room for an entry.
  CompoundFile file = CompoundFile().Set32(CompoundFile::kFirstDirectorySector, 0xFFFFFFFF);
  const std::string entry = CompoundEntry::Named("PageMaker").Bytes();
  for (std::size_t i = 0; i < entry.size(); i += 4) {
    std::uint32_t number = 0;
    std::memcpy(&number, entry.data() + i, 4);
    file.Set32(128 + i, number);
  }
  EXPECT_EQ(SizeOf(file), kLeast);
}

TEST(KCompoundReader, DirectoryThatLoopsEndsWithTheNumberOfSectorsInTheFat) {
  // One more sector than the FAT tells of, each with one entry.
  CompoundFile file = Known().Link(1, 1);
  EXPECT_EQ(SizeOf(file), 1024U + (129 * 128 + 511) / 512 * 512);
  file.ListFat(2);
  EXPECT_EQ(SizeOf(file), 1536U + (257 * 128 + 511) / 512 * 512);
  // The header's number counts, not that of the sectors that were read.
  file.ListFat(3).Set32(CompoundFile::kDifat + 8, CompoundFile::kFree);
  EXPECT_EQ(SizeOf(file), 1536U + (385 * 128 + 511) / 512 * 512);
}

TEST(KCompoundReader, DirectoryThatLoopsThroughTwoSectorsCountsThemInTurn) {
  // 257 passes: 129 with one entry, 128 with two.
  CompoundFile file = Known().ListFat(2).Put(40, 0, std::string(512, '\0')).Link(1, 40).Link(40, 1);
  file.Put(40, 128, CompoundEntry::Named("x").Bytes()).Put(40, 384, CompoundEntry::Named("x").Bytes());
  EXPECT_EQ(SizeOf(file), 1536U + ((129 + 2 * 128) * 128 + 511) / 512 * 512);
}

TEST(KCompoundReader, NumberOfDirectorySectorsWrapsAt32Bits) {
  CompoundFile file = CompoundFile().Add("PageMaker").Add("x").Add("x").Add("x").Add("x");
  EXPECT_EQ(SizeOf(file), kLeast + 512);
  EXPECT_EQ(SizeOf(file.Set32(CompoundFile::kFatSectors, 0x2000000)), kLeast);
}

TEST(KCompoundReader, NoMoreThan16384DirectorySectorsAreRead) {
  // Two sectors of one entry each that lead to one another. The header claims a FAT of any length.
  CompoundFile file = Known().ListFat(0xFFFFFFFF).Link(1, 40).Link(40, 1).Put(40, 0, std::string(512, '\0'));
  file.Put(40, 0, CompoundEntry::Named("x").Bytes());
  EXPECT_EQ(SizeOf(file), 512U + 109 * 512 + 16384 * 128);
}

// Sizes at the edges of 32 bits. In sectors of 4096 bytes a sector of the FAT tells of 4 MiB.

CompoundFile Large(std::uint32_t fatSectors) {
  CompoundFile file = Known(12).ListFat(fatSectors).Set32(CompoundFile::kFirstDifatSector, 50);
  return file.Set32(CompoundFile::kDifatSectors, 1).Fill(50, 0).PutLast(50, CompoundFile::kFree);
}

TEST(KCompoundReader, SizeOf2GibibytesIsNegativeAndNoHit) {
  EXPECT_EQ(SizeOf(Large(511).Add(Stream(0x4000001))), 511U * 0x400000);
  EXPECT_EQ(SizeOf(Large(512).Add(Stream(0x4000001))), 0U);
  EXPECT_EQ(SizeOf(Large(1023).Add(Stream(0x4000001))), 0U);
}

TEST(KCompoundReader, CapacityWrapsAt32Bits) {
  EXPECT_EQ(SizeOf(Large(1024).Add(Stream(0x4000001))), 0U);
  EXPECT_EQ(SizeOf(Large(1025).Add(Stream(0x4000001))), 0x400000U);
}

TEST(KCompoundReader, SumWrapsAt32Bits) {
  CompoundFile file = Large(511);
  for (int i = 0; i < 31; ++i) file.Add(Stream(0x4000000));
  // 31 streams of 64 MiB are 1984 MiB, 63 of them 4032 MiB and so above the capacity, 64 of them nothing.
  const std::uint64_t tables = 512 + (511 + 1) * 4096;
  EXPECT_EQ(SizeOf(file), tables + 4096 + 31U * 0x4000000);
  for (int i = 31; i < 63; ++i) file.Add(Stream(0x4000000));
  EXPECT_EQ(SizeOf(file), 511U * 0x400000);
  file.Add(Stream(0x4000000));
  EXPECT_EQ(SizeOf(file), tables + 3 * 4096);
}

// Devices and readers.

TEST(KCompoundReader, ReadsDevicesOfAnySectorSize) {
  const CompoundFile file = Known().Add(Stream(600)).Add("x").Add("x").Add("x");
  for (const int sectorSize : {9, 10, 278, 511, 512, 513, 2048, 4096, 32768}) {
    EXPECT_EQ(ScanCompoundAnyCut(DeviceWith(file, sectorSize)),
              (FoundKinds{{"KP65FileType", {{kFirst + 1, kLeast + 512 + 1024}}}}))
        << sectorSize;
  }
}

TEST(KCompoundReader, FindsNothingOnDevicesOfTooSmallOrTooLargeSectors) {
  for (const int sectorSize : {1, 8, 32769, 65536}) {
    EXPECT_EQ(ScanCompoundAnyCut(DeviceWith(Known(), sectorSize)), FoundKinds{}) << sectorSize;
  }
}

TEST(KCompoundReader, WholeSectorsInTheBlockAreNotAskedFor) {
  const Device device = DeviceWith(Known());
  DeviceReader reader(device);
  EXPECT_EQ(ScanCompound(device, reader).size(), 1U);
  EXPECT_EQ(reader.Calls().size(), 0U);
}

TEST(KCompoundReader, SectorsBehindTheBlockAreAskedForOnce) {
  const Device device = DeviceWith(Known());
  DeviceReader reader(device);
  EXPECT_EQ(ScanCompound(device, reader, {1}).size(), 1U);
  EXPECT_EQ(reader.Calls(), (std::vector<DeviceReader::Call>{{kFirst + 2, 64}}));
}

TEST(KCompoundReader, PartsOfSectorsAreAskedForThoughTheyAreInTheBlock) {
  const Device device = DeviceWith(Known(), 4096);
  DeviceReader reader(device);
  EXPECT_EQ(ScanCompound(device, reader).size(), 1U);
  EXPECT_EQ(reader.Calls(), (std::vector<DeviceReader::Call>{{kFirst + 1, 8}}));
}

TEST(KCompoundReader, SurvivesReadersThatMisbehave) {
  const CompoundFile file = Known().Add(Stream(600));
  for (const Manner manner : {Manner::kAnswersError, Manner::kLeavesBuffer, Manner::kFillsRubbish}) {
    for (const int sectorSize : {1, 278, 512, 4096, 32769}) {
      const Device device = DeviceWith(file, sectorSize);
      DeviceReader reader(device, manner);
      // Whole sectors in the block need no reader. Of 278 bytes, they hold all that is needed of this file.
      const bool isInWholeSectors = sectorSize == 278 || sectorSize == 512;
      EXPECT_EQ(ScanCompound(device, reader).size(), isInWholeSectors ? 1U : 0U) << sectorSize;
      EXPECT_EQ(ScanCompound(device, reader, {1}), FoundKinds{}) << sectorSize;
    }
  }
}

TEST(KCompoundReader, DoesWithoutAReader) {
  LetCompoundClassifierForget();
  const Device device = DeviceWith(Known());
  std::vector<std::uint8_t> memory(device.Bytes());
  for (const std::int32_t sectorCount : {device.SectorCount(), 2}) {
    RecordingSink sink;
    const RawSectorBlock block{kFirst, memory.data(), sectorCount, 512, nullptr};
    CreateDetector("KP65FileType")->Scan(&block, &sink);
    EXPECT_EQ(sink.Found(), sectorCount == 2 ? Hits{} : (Hits{{kFirst + 1, kLeast}}));
    LetCompoundClassifierForget();
  }
}

// What a file can cost.

/// A device of 512-byte sectors with one compound file that makes its reader work as hard as it can: the tables and the
/// directory are as long as they may be, and each of their sectors is so far from the one before that the simulator's
/// cache never holds it. The device is made up while it is read.
class HostileDevice final : public IRawSectorReader {
 public:
  explicit HostileDevice(std::uint16_t sectorShift)
      : sectorSize_(std::uint32_t{1} << sectorShift),
        stride_(std::max<std::uint32_t>(1, 32768 / sectorSize_)),
        difat_(0x28000000 / sectorSize_),
        fat_(0x40000000 / sectorSize_) {
    CompoundFile file(9);
    file.Set16(CompoundFile::kSectorShift, sectorShift).Set16(CompoundFile::kMiniSectorShift, 0);
    file.Set32(CompoundFile::kFatSectors, 0xFFFFFFFF).Set32(CompoundFile::kDifatSectors, 0xFFFFFFFF);
    file.Set32(CompoundFile::kFirstDifatSector, difat_).Set32(CompoundFile::kFirstDirectorySector, stride_);
    file.Set32(CompoundFile::kFirstMiniFatSector, 1).Set32(CompoundFile::kMiniFatSectors, 0xFFFFFFFF);
    for (std::uint32_t i = 0; i < 109; ++i) file.Set32(CompoundFile::kDifat + 4 * i, fat_ + i * stride_);
    header_ = file.Bytes().substr(0, 512);
    entry_ = CompoundEntry::Named("x").Bytes();
  }

  std::uint32_t ReservedOperation1() override { return 0; }
  std::uint32_t ReservedOperation2() override { return 0; }
  std::uint32_t ReservedOperation3() override { return 0; }
  std::int32_t ReadSectors(std::uint64_t startSector, void* buffer, std::uint32_t sectorCount) override {
    ++calls;
    sectors += sectorCount;
    auto* target = static_cast<std::uint8_t*>(buffer);
    // Of small sectors only the first of a call will be read.
    const std::uint64_t wanted = std::min<std::uint64_t>(sectorCount * 512, std::max(512U, sectorSize_));
    std::memset(target, 0, std::size_t{sectorCount} * 512);
    for (std::uint64_t i = 0; i < wanted; i += 4) {
      const std::uint32_t number = NumberAt((startSector - kFirst) * 512 + i);
      std::memcpy(target + i, &number, 4);
    }
    return 0;
  }

  /// Scans the file's first sector.
  void Scan() {
    LetCompoundClassifierForget();
    std::string memory = header_;
    const RawSectorBlock block{kFirst, reinterpret_cast<std::uint8_t*>(memory.data()), 1, 512, this};
    RecordingSink sink;
    CreateDetector("KWordFileType")->Scan(&block, &sink);
  }

  std::uint64_t calls = 0;
  std::uint64_t sectors = 0;

 private:
  std::uint32_t NumberAt(std::uint64_t position) const {
    const auto sector = static_cast<std::uint32_t>(position / sectorSize_ - 1);
    const auto index = static_cast<std::uint32_t>(position % sectorSize_ / 4);
    const std::uint32_t numbers = sectorSize_ / 4;
    if (sector == 1 || numbers == 0) return 1;  // the mini FAT leads to itself
    if (sector >= fat_) return NextDirectorySector((sector - fat_) / stride_ * numbers + index);
    if (sector >= difat_ && index == numbers - 1) return sector + stride_;
    if (sector >= difat_) return fat_ + ((sector - difat_) / stride_ * numbers + index + 109) * stride_;
    std::uint32_t number = 0;
    std::memcpy(&number, entry_.data() + position % 128, 4);
    return number;
  }

  /// Leaves out the sectors whose part of the FAT is, by the last number of a DIFAT sector, the next DIFAT sector.
  std::uint32_t NextDirectorySector(std::uint32_t sector) const {
    const std::uint32_t numbers = sectorSize_ / 4;
    const std::uint32_t next = sector + stride_;
    const std::uint32_t fatSector = next / numbers;
    return fatSector >= 109 && (fatSector - 109) % numbers == numbers - 1 ? next + numbers : next;
  }

  std::uint32_t sectorSize_;
  std::uint32_t stride_;
  std::uint32_t difat_;
  std::uint32_t fat_;
  std::string header_;
  std::string entry_;
};

TEST(KCompoundReader, WorstFileCostsABoundedNumberOfReads) {
  // One for each sector of the DIFAT, the FAT and the directory, and one for the mini FAT.
  constexpr std::uint64_t kMostCalls = 8192 + 8192 + 16384 + 1;
  std::uint64_t worst = 0;
  for (const std::uint16_t shift : std::initializer_list<std::uint16_t>{0, 2, 6, 7, 8, 9, 10, 11, 12, 15, 16, 25}) {
    HostileDevice device(shift);
    device.Scan();
    EXPECT_LE(device.calls, kMostCalls) << shift;
    EXPECT_LE(device.sectors, kMostCalls * 64) << shift;
    worst = std::max(worst, device.calls);
  }
  EXPECT_GT(worst, kMostCalls - 100) << "the device isn't as bad as it could be";
}

TEST(KCompoundReader, SectorsOfMoreThan32MebibytesAreNotRead) {
  // Of 32 MiB, one is read for each of the DIFAT, the FAT, the mini FAT and the directory, in pieces of 32 KiB.
  HostileDevice largest(25);
  largest.Scan();
  EXPECT_EQ(largest.calls, 4U * 1024);
  for (std::uint16_t shift = 26; shift < 32; ++shift) {
    HostileDevice device(shift);
    device.Scan();
    EXPECT_EQ(device.calls, 0U) << shift;
  }
}

// All rules together.

class RandomFile {
 public:
  explicit RandomFile(std::uint32_t seed) : random_(seed) {}

  Device Make() {
    static constexpr int kDeviceSectorSizes[] = {512, 512, 512, 4096, 278, 100};
    static constexpr std::uint16_t kShifts[] = {9, 9, 9, 9, 12, 8, 7, 41, 10, 6, 1, 0};
    CompoundFile file(kShifts[Below(12)]);
    const auto sectors = static_cast<std::uint32_t>(file.SectorSize() >= 1024 ? 10 : 30);
    file.Put(sectors, 0, std::string(file.SectorSize(), '\0'));
    // The first sectors are tables, the others belong to the directory, in any order.
    for (std::uint32_t sector = 0; file.SectorSize() >= 4 && sector < 4; ++sector) {
      for (std::size_t at = 0; at + 4 <= file.SectorSize(); at += 4) file.Put(sector, at, LittleU32(Number(sectors)));
    }
    file.Set32(CompoundFile::kFatSectors, Below(file.SectorSize() >= 1024 ? 3 : 6));
    for (std::uint32_t i = 0; i < 109; ++i)
      file.Set32(CompoundFile::kDifat + 4 * i, Below(12) == 0 ? Number(9) : Below(4));
    file.Set32(CompoundFile::kFirstDirectorySector, Below(16) == 0 ? Number(sectors) : 4 + Below(sectors - 4));
    file.Set32(CompoundFile::kFirstDifatSector, Number(4)).Set32(CompoundFile::kDifatSectors, Below(3));
    file.Set32(CompoundFile::kFirstMiniFatSector, Number(4)).Set32(CompoundFile::kMiniFatSectors, Below(6));
    for (std::uint32_t sector = 4; sector < sectors; ++sector) {
      for (std::size_t at = 0; at + 128 <= file.SectorSize(); at += 128) file.Put(sector, at, Entry().Bytes());
    }
    if (Below(16) == 0) {
      const std::size_t field = CompoundFile::kMinorVersion + 2 * Below(5);
      auto value = static_cast<std::uint16_t>(Below(300));
      // Larger sectors take too long byte by byte.
      if (field == CompoundFile::kSectorShift && (value & 31U) > 12) value = 255;
      file.Set16(field, value);
    }
    return DeviceWith(file, kDeviceSectorSizes[Below(6)]);
  }

 private:
  std::uint32_t Below(std::uint32_t end) { return static_cast<std::uint32_t>(random_() % end); }

  std::uint32_t Number(std::uint32_t sectors) {
    switch (Below(16)) {
      case 0:
        return 0xFFFFFFFF - Below(4);
      case 1:
        return 0;
      case 2:
        return static_cast<std::uint32_t>(random_());
      case 3:
        return Below(300);
      default:
        return Below(sectors);
    }
  }

  CompoundEntry Entry() {
    static const std::string kSummary = std::string("\x05") + "SummaryInformation";
    static const std::string kDocumentSummary = std::string("\x05") + "DocumentSummaryInformation";
    static const std::string kCompObj = std::string("\x01") + "CompObj";
    static const std::vector<std::string> kNames = {"Root Entry",
                                                    kSummary,
                                                    kDocumentSummary,
                                                    kCompObj,
                                                    "WordDocument",
                                                    "Workbook",
                                                    "Book",
                                                    "PowerPoint Document",
                                                    "PP40",
                                                    "VisioDocument",
                                                    "VisioInformation",
                                                    "Contents",
                                                    "Props9",
                                                    "Props",
                                                    "Scene",
                                                    "DllDirectory",
                                                    "ClassDirectory3",
                                                    "ClassData",
                                                    "VideoPostQueue",
                                                    "DataAccessPages",
                                                    "AcessVBAData",
                                                    "SPELLING",
                                                    "NativeContent_MAIN",
                                                    "PageMaker",
                                                    "Symbol 1",
                                                    "modulesinbackup",
                                                    "mfbu_header",
                                                    "reload.sql",
                                                    "header",
                                                    "__properties_version1.0",
                                                    "__nameid_version1.0",
                                                    "QESession",
                                                    "ReportInfo",
                                                    ".IDX",
                                                    ".QDF",
                                                    ".QEL",
                                                    "FileHeader",
                                                    "DocInfo",
                                                    "BodyText",
                                                    "PerfectOffice_MAIN",
                                                    "PerfectOffice_OBJECTS",
                                                    "SlideShow",
                                                    "Layer",
                                                    "PAPER SPACE",
                                                    "VIEWDATA",
                                                    "PREVIEW",
                                                    "SYMBOL",
                                                    "*PreviewStream",
                                                    "*IDMgr",
                                                    "*ImageMgrSgm"};
    if (Below(4) == 0) return CompoundEntry::Unused();
    // Neighbours in the list often belong to one kind.
    if (Below(4) == 0) name_ = Below(static_cast<std::uint32_t>(kNames.size()));
    CompoundEntry entry = CompoundEntry::Named(kNames[name_++ % kNames.size()]);
    entry.size = Below(64) == 0 ? static_cast<std::uint32_t>(random_()) : Below(3000);
    entry.start = Below(64) == 0 ? static_cast<std::uint32_t>(random_()) : Below(140);
    entry.type = static_cast<std::uint8_t>(Below(64) == 0 ? Below(256) : Below(6));
    entry.colour = static_cast<std::uint8_t>(Below(64) == 0 ? Below(256) : Below(2));
    if (Below(32) == 0) entry.nameLength = static_cast<std::uint16_t>(Below(80));
    if (Below(64) == 0) entry.classId = Literal("\x70\xAA\x7C\x59\xAA\x72\xCF\x11\x83\x1E\x52\x41\x53\x48\x00\x00");
    return entry;
  }

  std::mt19937 random_;
  std::uint32_t name_ = 0;
};

TEST(KCompoundReader, AgreesWithTheRulesTakenByteByByte) {
  std::map<std::uint32_t, int> files;
  for (std::uint32_t seed = 0; seed < 5000; ++seed) {
    const Device device = RandomFile(seed).Make();
    FoundKinds expected;
    for (const CodedHit& found : LiteralCompoundScan(device)) {
      ++files[found.code];
      for (const CompoundFace& face : CompoundFaces()) {
        if (face.code == found.code) expected[std::string(face.className)].push_back(found.hit);
      }
    }
    DeviceReader reader(device);
    ASSERT_EQ(ScanCompound(device, reader), expected) << "seed " << seed;
    ASSERT_EQ(ScanCompound(device, reader, {2}), expected) << "seed " << seed;
  }
  EXPECT_EQ(files.size(), 24U) << "not every kind was among them";
}

}  // namespace
}  // namespace qzmtraw::test
