#include <gtest/gtest.h>

#include <array>
#include <cerrno>
#include <limits>

#include "host/sources/Device.h"
#include "host/sources/SectorReader.h"
#include "tests/host/support/FakeSource.h"
#include "tests/host/support/Sectors.h"

namespace qzmtraw::host {
namespace {

using Ranges = std::vector<SectorRange>;

/// Sectors of four bytes: "aaaa", "bbbb" and so on; the last one has only two.
Bytes Letters() { return BytesOf("aaaabbbbccccddddee"); }

struct Read {
  bool isWhole;
  std::string text;
};

Read ReadFrom(Device& device, std::uint64_t start, std::size_t count, const Device::StopCheck& stop = {}) {
  Bytes buffer(count * device.SectorSize(), '?');
  const bool isWhole = device.Read(start, buffer, stop);
  std::string text(buffer.begin(), buffer.end());
  for (char& c : text) c = c == '\0' ? '.' : c;
  return {isWhole, text};
}

TEST(DeviceTest, CountsAnIncompleteSector) {
  FakeSource source(Letters());
  EXPECT_EQ(Device(source, 4).SectorCount(), 5U);
  EXPECT_EQ(Device(source, 9).SectorCount(), 2U);
  EXPECT_EQ(Device(source, 512).SectorCount(), 1U);
  FakeSource empty({});
  EXPECT_EQ(Device(empty, 512).SectorCount(), 0U);
}

TEST(DeviceTest, FillsUpTheLastSector) {
  FakeSource source(Letters());
  Device device(source, 4);
  const Read read = ReadFrom(device, 3, 2);
  EXPECT_TRUE(read.isWhole);
  EXPECT_EQ(read.text, "ddddee..");
}

TEST(DeviceTest, IsZeroBehindTheEnd) {
  FakeSource source(Letters());
  Device device(source, 4);
  const Read across = ReadFrom(device, 4, 3);
  EXPECT_FALSE(across.isWhole);
  EXPECT_EQ(across.text, "ee..........");
  EXPECT_EQ(ReadFrom(device, 5, 1).text, "....");
  EXPECT_EQ(ReadFrom(device, std::numeric_limits<std::uint64_t>::max(), 2).text, "........");
  EXPECT_EQ(ReadFrom(device, (std::uint64_t{1} << 62U), 2).text, "........") << "the byte offset wraps to 0";
  EXPECT_EQ(device.Unreadable().Count(), 0U);
}

TEST(DeviceTest, ReadingNothingIsFine) {
  FakeSource source(Letters());
  Device device(source, 4);
  EXPECT_TRUE(ReadFrom(device, 1, 0).isWhole);
  EXPECT_TRUE(ReadFrom(device, 1000, 0).isWhole);
}

TEST(DeviceTest, GoesOnAfterAShortRead) {
  FakeSource source(Letters());
  source.mostAtOnce = 3;
  Device device(source, 4);
  const Read read = ReadFrom(device, 0, 5);
  EXPECT_TRUE(read.isWhole);
  EXPECT_EQ(read.text, "aaaabbbbccccddddee..");
}

TEST(DeviceTest, UnreadableSectorsAreZeroAndRemembered) {
  FakeSource source(Letters());
  source.badOffsets = {6, 9};
  source.error = EIO;
  Device device(source, 4);
  const Read read = ReadFrom(device, 0, 5);
  EXPECT_FALSE(read.isWhole);
  EXPECT_EQ(read.text, "aaaa........ddddee..");
  EXPECT_EQ(RangesOf(device.Unreadable()), (Ranges{{1, 2}}));
  EXPECT_TRUE(device.Loss().empty());
}

TEST(DeviceTest, UnreadableSectorsAreNotTriedAgain) {
  FakeSource source(Letters());
  source.badOffsets = {4};
  source.error = EIO;
  Device device(source, 4);
  ReadFrom(device, 1, 1);
  const int before = source.readCount;
  const Read again = ReadFrom(device, 1, 1);
  EXPECT_EQ(source.readCount, before);
  EXPECT_FALSE(again.isWhole);
  EXPECT_EQ(again.text, "....");
}

TEST(DeviceTest, ASourceThatEndsEarlyIsUnreadableThere) {
  FakeSource source(Letters());
  source.badOffsets = {8, 9, 10, 11, 12, 13, 14, 15, 16, 17};
  source.error = 0;
  Device device(source, 4);
  EXPECT_EQ(ReadFrom(device, 0, 5).text, "aaaabbbb............");
  EXPECT_EQ(RangesOf(device.Unreadable()), (Ranges{{2, 3}}));
}

TEST(DeviceTest, WhatLiesBehindAnEarlyEndIsNotTried) {
  FakeSource source(Letters());
  source.badOffsets = {6};
  source.error = 0;
  Device device(source, 4);
  EXPECT_EQ(ReadFrom(device, 1, 1).text, "....");
  const int before = source.readCount;
  EXPECT_EQ(ReadFrom(device, 2, 3).text, "............");
  EXPECT_EQ(source.readCount, before);
  EXPECT_EQ(ReadFrom(device, 0, 1).text, "aaaa");
  EXPECT_EQ(RangesOf(device.Unreadable()), (Ranges{{1, 4}}));
}

TEST(DeviceTest, EverySecondSectorMayBeUnreadable) {
  FakeSource source(Bytes(4000, 1));
  for (std::uint64_t sector = 1; sector < 1000; sector += 2) source.badOffsets.insert(sector * 4);
  source.error = EIO;
  Device device(source, 4);
  EXPECT_FALSE(ReadFrom(device, 900, 2).isWhole) << "ahead, as detectors read";
  EXPECT_FALSE(ReadFrom(device, 0, 1000).isWhole);
  Ranges expected;
  for (std::uint64_t sector = 1; sector < 1000; sector += 2) expected.push_back({sector, 1});
  EXPECT_EQ(RangesOf(device.Unreadable()), expected);
  EXPECT_EQ(device.Unreadable().Count(), 500U);
}

TEST(DeviceTest, ALostDeviceIsNotAnUnreadablePlace) {
  FakeSource source(Letters());
  source.badOffsets = {9};
  source.error = ENODEV;
  Device device(source, 4);
  const Read read = ReadFrom(device, 0, 5);
  EXPECT_FALSE(read.isWhole);
  EXPECT_NE(device.Loss().find("byte 9"), std::string::npos) << device.Loss();
  EXPECT_EQ(device.Unreadable().Count(), 0U);
  const int before = source.readCount;
  EXPECT_EQ(ReadFrom(device, 0, 1).text, "....");
  EXPECT_EQ(source.readCount, before);
}

TEST(DeviceTest, ALongSearchForReadableSectorsCanBeStopped) {
  FakeSource source(Letters());
  source.badOffsets = {0, 4, 8};
  source.error = EIO;
  Device device(source, 4);
  int asked = 0;
  const Read read = ReadFrom(device, 0, 5, [&] { return ++asked == 3; });
  EXPECT_FALSE(read.isWhole);
  EXPECT_EQ(read.text, "....................");
  EXPECT_EQ(RangesOf(device.Unreadable()), (Ranges{{0, 1}})) << "what was not tried is not called unreadable";
}

/// A device of 2048 sectors, some of which can't be read.
class BadAreaTest : public ::testing::Test {
 protected:
  /// How many reads it takes to read everything at once. The bad sectors have to be zeros, and the others there.
  int ReadsAround(const Ranges& bad) {
    FakeSource source(Bytes(std::size_t{2048} * 4, 'x'));
    for (const SectorRange& range : bad) {
      for (std::uint64_t i = 0; i < range.count; ++i) source.badOffsets.insert((range.first + i) * 4 + 1);
    }
    source.error = EIO;
    Device device(source, 4);
    std::string expected(std::size_t{2048} * 4, 'x');
    for (const SectorRange& range : bad) expected.replace(range.first * 4, range.count * 4, range.count * 4, '.');
    EXPECT_EQ(ReadFrom(device, 0, 2048).text, expected);
    EXPECT_EQ(RangesOf(device.Unreadable()), bad);
    return source.readCount;
  }
};

/// Sector by sector there would be 2049 reads.
TEST_F(BadAreaTest, AFewBadSectorsTakeFewReads) {
  // All, the bad one, and 1, 2, 4 … of those behind it.
  EXPECT_LE(ReadsAround({{1000, 1}}), 2 + 11);
  // Here the source doesn't say by what it brings where the bad sector is.
  EXPECT_LE(ReadsAround({{0, 1}}), 12 + 11);
  EXPECT_LE(ReadsAround({{2047, 1}}), 2);
  EXPECT_LE(ReadsAround({{1000, 64}}), 1 + 64 + 11);
  EXPECT_LE(ReadsAround({{100, 8}, {1900, 8}}), 2 * (1 + 8 + 11));
}

TEST_F(BadAreaTest, NothingButBadSectorsTakesHardlyMoreThanOneReadEach) {
  EXPECT_LE(ReadsAround({{0, 2048}}), 2048 + 11);
}

DeviceView View(SectorRange range, const Ranges& leftOut = {}, const Ranges& skipped = {}) {
  DeviceView view{range, {}, {}};
  for (const SectorRange& each : leftOut) view.leftOut.Add(each);
  for (const SectorRange& each : skipped) view.skipped.Add(each);
  return view;
}

TEST(DeviceViewTest, WhatLiesOutsideTheRangeIsBehindTheEnd) {
  FakeSource source(Letters());
  Device device(source, 4, View({1, 2}));
  const Read read = ReadFrom(device, 0, 5);
  EXPECT_FALSE(read.isWhole);
  EXPECT_EQ(read.text, "....bbbbcccc........");
  EXPECT_TRUE(ReadFrom(device, 1, 2).isWhole);
  const int before = source.readCount;
  EXPECT_EQ(ReadFrom(device, 0, 1).text, "....");
  EXPECT_EQ(ReadFrom(device, 3, 2).text, "........");
  EXPECT_FALSE(ReadFrom(device, std::numeric_limits<std::uint64_t>::max(), 2).isWhole);
  EXPECT_EQ(source.readCount, before);
  EXPECT_EQ(device.Unreadable().Count(), 0U);
  EXPECT_EQ(device.RangeBegin(), 4U);
  EXPECT_EQ(device.RangeEnd(), 12U);
}

TEST(DeviceViewTest, ARangeIsCutToWhatThereIs) {
  FakeSource source(Letters());
  Device device(source, 4, View({3, 100}));
  EXPECT_EQ(device.Range(), (SectorRange{3, 2}));
  EXPECT_EQ(device.RangeEnd(), 18U) << "an incomplete sector counts with what it has";
  EXPECT_EQ(Device(source, 4, View({9, 1})).Range(), (SectorRange{5, 0}));
  EXPECT_EQ(Device(source, 4).RangeEnd(), 18U);
}

TEST(DeviceViewTest, WhatIsLeftOutOrSkippedIsZeroAndNotRead) {
  FakeSource source(Letters());
  source.badOffsets = {5, 6, 7, 12};
  source.error = ENODEV;
  Device device(source, 4, View({0, 5}, {{1, 1}}, {{3, 1}}));
  EXPECT_EQ(ReadFrom(device, 0, 5).text, "aaaa....cccc....ee..");
  EXPECT_FALSE(device.IsLost());
  EXPECT_TRUE(ReadFrom(device, 0, 3).isWhole) << "what was left out counts as read";
  EXPECT_FALSE(ReadFrom(device, 3, 1).isWhole) << "what was skipped doesn't";
  EXPECT_EQ(device.Unreadable().Count(), 0U);
  EXPECT_EQ(device.Skipped().Count(), 1U);
  EXPECT_EQ(device.LeftOut().Count(), 1U);
}

TEST(SectorReaderTest, TellsWhetherAllIsThere) {
  FakeSource source(Letters());
  source.badOffsets = {5};
  source.error = EIO;
  Device device(source, 4);
  SectorReader reader(device);
  std::array<char, 8> buffer{};
  EXPECT_EQ(reader.ReadSectors(2, buffer.data(), 2), 0);
  EXPECT_EQ(std::string(buffer.data(), 8), "ccccdddd");
  EXPECT_NE(reader.ReadSectors(0, buffer.data(), 2), 0);
  EXPECT_EQ(std::string(buffer.data(), 8), std::string("aaaa\0\0\0\0", 8));
  EXPECT_NE(reader.ReadSectors(4, buffer.data(), 2), 0);
  EXPECT_EQ(std::string(buffer.data(), 8), std::string("ee\0\0\0\0\0\0", 8));
  EXPECT_EQ(reader.ReadSectors(std::numeric_limits<std::uint64_t>::max(), nullptr, 0), 0);
}

}  // namespace
}  // namespace qzmtraw::host
