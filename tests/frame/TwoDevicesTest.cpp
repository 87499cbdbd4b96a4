#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <string>
#include <vector>

#include "tests/support/Scanning.h"

namespace qzmtraw::test {
namespace {

constexpr std::int32_t kTextRow = 49;
constexpr std::int32_t kZipRow = 143;
constexpr std::uint64_t kFirstDevice = 71000;
constexpr std::uint64_t kSecondDevice = 82000;

/// A host that scans devices one after the other with one detector. What it does between them is up to each test.
class TwoDevices : public ::testing::Test {
 protected:
  void Open(std::int32_t row) {
    detector_ = CreateDetector(row);
    ForgetTheLastBlock();
    EndOpenFiles();
    ForgetTheLastBlock();
  }
  ~TwoDevices() override {
    EndOpenFiles();
    ForgetTheLastBlock();
  }

  /// Shows a sector that begins with some bytes and holds zeros behind them.
  Hits Found(std::uint64_t number, const std::string& bytes) {
    std::vector<std::uint8_t> memory(512);
    std::copy(bytes.begin(), bytes.end(), memory.begin());
    RecordingSink sink;
    const RawSectorBlock block{number, memory.data(), 1, 512, nullptr};
    detector_->Scan(&block, &sink);
    return sink.Found();
  }

  Hits EndOpenFiles() { return Found(93000, ""); }

  void ForgetTheLastBlock() {
    std::uint8_t nothing = 0;
    const RawSectorBlock block{std::numeric_limits<std::uint64_t>::max(), &nothing, 0, 512, nullptr};
    detector_->Scan(&block, nullptr);
  }

  Detector detector_;
};

TEST_F(TwoDevices, ABlockWithTheNumberOfTheLastOneCountsAsRead) {
  Open(kTextRow);
  const Hits ofFirst = {{kFirstDevice, 300}};
  EXPECT_EQ(Found(kFirstDevice, std::string(300, 'a')), ofFirst);
  detector_->Reset();
  EXPECT_EQ(Found(kFirstDevice, ""), ofFirst) << "a reset doesn't help";
  ForgetTheLastBlock();
  EXPECT_EQ(Found(kFirstDevice, ""), Hits{}) << "an empty block does";
}

TEST_F(TwoDevices, AnOpenTextGoesOnUntilItIsEnded) {
  Open(kTextRow);
  EXPECT_EQ(Found(kFirstDevice, std::string(512, 'a')), Hits{});
  detector_->Reset();
  EXPECT_EQ(Found(kSecondDevice, std::string(300, 'b')), (Hits{{kFirstDevice, 812}})) << "a reset doesn't end it";

  EXPECT_EQ(Found(kFirstDevice, std::string(512, 'a')), Hits{});
  EXPECT_EQ(EndOpenFiles(), (Hits{{kFirstDevice, 512}})) << "a sector of zeros does";
  EXPECT_EQ(Found(kSecondDevice, std::string(300, 'b')), (Hits{{kSecondDevice, 300}}));
}

TEST_F(TwoDevices, AnOpenZipFileEndsWithAResetOfAnyOfItsKinds) {
  const std::string head = "PK\3\4";
  const std::string end = std::string("PK\5\6\0\0\0\0", 8);
  Open(kZipRow);
  detector_->Reset();
  EXPECT_EQ(Found(kFirstDevice, head), Hits{});
  const Hits goneOn = Found(kSecondDevice, end);
  ASSERT_EQ(goneOn.size(), 1U);
  EXPECT_EQ(goneOn.front().startSector, kFirstDevice) << "the second device goes on with the file";

  EXPECT_EQ(Found(kFirstDevice, head), Hits{});
  constexpr std::int32_t kWordRow = 6;
  CreateDetector(kWordRow)->Reset();
  EXPECT_EQ(Found(kSecondDevice, end), Hits{});
}

}  // namespace
}  // namespace qzmtraw::test
