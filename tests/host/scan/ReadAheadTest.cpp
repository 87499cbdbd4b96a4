#include <gtest/gtest.h>

#include <cerrno>
#include <thread>

#include "host/scan/ReadAhead.h"
#include "tests/host/support/FakeSource.h"

namespace qzmtraw::host {
namespace {

constexpr std::uint32_t kSectorSize = 16;

/// A source of ten sectors and a half, each of which holds its number in every byte. Pieces have four sectors.
class ReadAheadTest : public ::testing::Test {
 protected:
  ReadAheadTest() : source(Content()), device(source, kSectorSize) {}

  static Bytes Content() {
    Bytes content;
    for (std::size_t i = 0; i < 10 * kSectorSize + kSectorSize / 2; ++i) {
      content.push_back(static_cast<std::uint8_t>(i / kSectorSize));
    }
    return content;
  }

  FakeSource source;
  Device device;
  Failures failures;
};

TEST_F(ReadAheadTest, EveryUserGetsAllPieces) {
  for (const std::size_t pieceCount : {1U, 2U, 16U}) {
    ReadAhead pieces(device, 4, pieceCount, 2, failures);
    const auto use = [&pieces] {
      std::uint64_t sectors = 0;
      std::uint64_t number = 0;
      while (const Piece* piece = pieces.Get(number)) {
        EXPECT_EQ(piece->startSector, number * 4);
        EXPECT_EQ(piece->sectorCount, number == 2 ? 3U : 4U);
        ASSERT_EQ(piece->bytes.size(), piece->sectorCount * kSectorSize);
        EXPECT_EQ(piece->bytes.front(), number * 4);
        EXPECT_EQ(piece->bytes.back(), number == 2 ? 0 : number * 4 + 3) << "what is missing is zero";
        sectors += piece->sectorCount;
        pieces.Release(number++);
      }
      EXPECT_EQ(sectors, 11U);
    };
    const std::jthread other(use);
    use();
  }
}

TEST_F(ReadAheadTest, PiecesBeginWhereTheRangeDoes) {
  Device part(source, kSectorSize, {.range = {3, 6}, .leftOut = {}, .skipped = {}});
  ReadAhead pieces(part, 4, 4, 1, failures);
  const Piece* piece = pieces.Get(0);
  ASSERT_NE(piece, nullptr);
  EXPECT_EQ(piece->startSector, 3U);
  EXPECT_EQ(piece->bytes.front(), 3);
  piece = pieces.Get(1);
  ASSERT_NE(piece, nullptr);
  EXPECT_EQ(piece->startSector, 7U);
  EXPECT_EQ(piece->sectorCount, 2U);
  EXPECT_EQ(piece->bytes.back(), 8);
  EXPECT_EQ(pieces.Get(2), nullptr);
}

TEST_F(ReadAheadTest, ALostDeviceEndsItBehindTheLastWholePiece) {
  source.badOffsets = {5 * kSectorSize};
  source.error = ENODEV;
  ReadAhead pieces(device, 4, 2, 1, failures);
  ASSERT_NE(pieces.Get(0), nullptr);
  pieces.Release(0);
  EXPECT_EQ(pieces.Get(1), nullptr);
  EXPECT_TRUE(device.IsLost());
}

TEST_F(ReadAheadTest, StopEndsIt) {
  ReadAhead pieces(device, 4, 1, 1, failures);
  ASSERT_NE(pieces.Get(0), nullptr);
  const std::jthread waiting([&] { EXPECT_EQ(pieces.Get(1), nullptr); });
  pieces.Stop();
}

}  // namespace
}  // namespace qzmtraw::host
