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
  EXPECT_EQ(RangesOf(device.Unreadable()), (Ranges{{0, 2}})) << "what was not tried is not called unreadable";
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
