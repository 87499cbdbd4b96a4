#include <gtest/gtest.h>

#include <cerrno>
#include <sstream>
#include <string>
#include <vector>

#include "host/base/Error.h"
#include "host/sources/RescueMap.h"
#include "tests/host/support/FakeSource.h"

namespace qzmtraw::host {
namespace {

/// The blocks as "position+size status", or the message.
std::string ReadMap(const std::string& text) {
  std::istringstream stream(text);
  std::string blocks;
  try {
    ReadRescueMap(stream, "disk.map", [&](const MapBlock& block) {
      blocks += std::to_string(block.position) + "+" + std::to_string(block.size) + block.status + " ";
    });
  } catch (const Failure& failure) {
    return failure.what();
  }
  return blocks;
}

TEST(RescueMapTest, ReadsBlocks) {
  EXPECT_EQ(ReadMap("# Mapfile. Created by GNU ddrescue version 1.27\n# current_pos  current_status  current_pass\n"
                    "0x00100000     ?               1\n#      pos        size  status\n"
                    "0x00000000  0x00010000  +\n0x00010000  0x00000200  -\r\n65_"),
            "'disk.map', line 7: it has no position, size and status: --map takes the map that ddrescue wrote with the "
            "image");
  EXPECT_EQ(ReadMap("0x0 +\n\n0 512 +\n512\t0x200 -\n1024 1 *\n# x\n1025 1 /\n1026 1 ?"),
            "0+512+ 512+512- 1024+1* 1025+1/ 1026+1? ");
  EXPECT_EQ(ReadMap("0x0 F\n100 5 +\n"), "100+5+ ") << "maps of old, and of a part";
  EXPECT_EQ(ReadMap("#" + std::string(100000, 'x') + "\n0 +\n"), "") << "long comments";
}

TEST(RescueMapTest, SaysInWhichLineItIsNone) {
  const auto expect = [](const std::string& text, const std::string& start) {
    EXPECT_TRUE(ReadMap(text).starts_with("'disk.map', line " + start)) << ReadMap(text);
  };
  expect("", "0: the map ends here, without a status line");
  expect("# one\n", "1: the map ends here");
  expect("0 512 +\n", "1: the status line should stand here");
  expect("0 x\n", "1: the status line");
  expect("0 + x\n", "1: the status line");
  expect(std::string(100000, 'x'), "1: the status line");
  expect("0 +\n0 512\n", "2: it has no position");
  expect("0 +\n0 512 + +\n", "2: it has no position");
  expect("0 +\n0 512 F\n", "2: it has no position");
  expect("0 +\n0 -512 +\n", "2: it has no position");
  expect("0 +\n0 0 +\n", "2: its size is 0");
  expect("0 +\n0 512 +\n256 512 -\n", "3: it doesn't begin where");
  expect("0 +\n0 512 +\n1024 512 -\n", "3: it doesn't begin where");
  expect("0 +\n0xFFFFFFFFFFFFFFF0 15 +\n0 1 +\n", "3: it doesn't begin where");
  expect("0 +\n0xFFFFFFFFFFFFFFFF 2 +\n", "2: its end is beyond all sizes");
}

std::string WrittenMap(const Device& device, std::uint64_t sectorsDone) {
  std::string text;
  WriteRescueMap(device, sectorsDone, [&](const std::string& piece) { text += piece; });
  return text;
}

TEST(RescueMapTest, WritesWhatBecameOfTheSectors) {
  constexpr std::uint64_t kSectorSize = 16;
  FakeSource source(Bytes(1000 * kSectorSize - 3));
  source.badOffsets = {200 * kSectorSize, 201 * kSectorSize, 990 * kSectorSize};
  source.error = EIO;
  DeviceView view{{100, 900}, {}, {}};
  view.leftOut.Add({300, 10});
  view.skipped.Add({310, 5});
  Device device(source, 16, std::move(view));
  Bytes buffer(1000 * kSectorSize);
  device.Read(0, buffer);
  const std::string half = WrittenMap(device, 500);
  EXPECT_EQ(ReadMap(half),
            "0+1600? 1600+1600+ 3200+32- 3232+1568+ 4800+240? 5040+2960+ 8000+7840? 15840+16- 15856+141? ");
  EXPECT_NE(half.find("\n0x00001F40     ?               1\n"), std::string::npos) << half;
  const std::string whole = WrittenMap(device, 1000);
  EXPECT_EQ(ReadMap(whole), "0+1600? 1600+1600+ 3200+32- 3232+1568+ 4800+240? 5040+10800+ 15840+16- 15856+141+ ");
  EXPECT_NE(whole.find("\n0x00003E7D     +               1\n"), std::string::npos) << whole;
  FakeSource empty({});
  EXPECT_EQ(ReadMap(WrittenMap(Device(empty, 512), 0)), "");
}

}  // namespace
}  // namespace qzmtraw::host
