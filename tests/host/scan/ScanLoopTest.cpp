#include <gtest/gtest.h>

#include <cerrno>
#include <limits>
#include <new>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "host/base/Error.h"
#include "host/scan/ScanLoop.h"
#include "tests/host/support/FakeSource.h"

namespace qzmtraw::host {
namespace {

constexpr std::uint64_t kAllBits = std::numeric_limits<std::uint64_t>::max();

struct Call {
  char detector;
  char operation;
  std::uint64_t startSector = 0;
  std::int32_t sectorCount = 0;

  friend bool operator==(const Call&, const Call&) = default;
};

std::ostream& operator<<(std::ostream& out, const Call& call) {
  return out << call.detector << call.operation << call.startSector << '+' << call.sectorCount;
}

/// Notes how it is called. Reports every sector that starts with its mark, with the sector's second byte as size.
class FakeDetector final : public IRawFileType {
 public:
  FakeDetector(char mark, std::vector<Call>& calls) : mark_(mark), calls_(calls) {}

  std::int32_t Reset() override {
    calls_.push_back({mark_, 'R'});
    return 1;
  }
  void GetDescription(char* /*buffer*/, std::uint32_t /*size*/) override {}
  void GetExtension(char* /*buffer*/, std::uint32_t /*size*/) override {}
  std::int32_t ResetLight() override { return 1; }
  std::int32_t ResetFull() override { return 1; }
  std::uint32_t Scan(const RawSectorBlock* block, IRawHitSink* sink) override {
    calls_.push_back({mark_, 'S', block->startSector, block->sectorCount});
    hasData = hasData && block->data != nullptr && block->reader != nullptr;
    if (!hasData || sink == nullptr) return 0;
    if (block->startSector == throwsAtSector) throw std::bad_alloc();
    for (std::int32_t i = 0; i < block->sectorCount; ++i) {
      const std::uint8_t* sector = block->data + std::ptrdiff_t{i} * block->sectorSize;
      if (sector[0] != static_cast<std::uint8_t>(mark_)) continue;
      const RawFileHit hit{block->startSector + static_cast<std::uint64_t>(i), sector[1]};
      sink->ReportHit(&hit);
    }
    return 0;
  }
  void SetMaxFileSize(std::uint64_t /*limit*/) override {}
  std::uint32_t ReservedQueryA(std::uint32_t /*argument*/) override { return 0; }
  void Release() override {}
  std::uint32_t ReservedQueryB(std::uint32_t /*argument*/) override { return 0; }
  std::uint32_t GetSizeHints(std::uint32_t /*id*/, std::uint64_t* /*out*/, std::uint32_t /*size*/) override {
    return 0;
  }

  bool hasData = true;
  std::optional<std::uint64_t> throwsAtSector;

 private:
  char mark_;
  std::vector<Call>& calls_;
};

/// Two detectors, rows 3 and 7, and a device with sectors of 16 bytes.
class ScanLoopTest : public ::testing::Test {
 protected:
  ScanOutcome Scan(
      FakeSource& source, const ScanWatch& watch = [](auto, auto) { return true; }) {
    return Scan(source, {{{3, &a}, {7, &b}}}, watch);
  }

  ScanOutcome Scan(FakeSource& source, const std::vector<DetectorLane>& lanes, const ScanWatch& watch) {
    Device device(source, 16);
    const ScanOutcome outcome = RunScan(
        device, lanes, {2, 3}, [this](const Find& find) { finds.push_back(find); }, watch);
    loss = device.Loss();
    return outcome;
  }

  static Bytes Sectors(std::size_t count) { return Bytes(count * 16); }

  /// Puts a head for the detector `mark` into a sector, with a size for it to report.
  static void Mark(Bytes& content, std::size_t sector, char mark, std::uint8_t size = 0) {
    content[sector * 16] = static_cast<std::uint8_t>(mark);
    content[sector * 16 + 1] = size;
  }

  std::vector<Call> calls;
  FakeDetector a{'a', calls};
  FakeDetector b{'b', calls};
  std::vector<Find> finds;
  std::string loss;
};

TEST_F(ScanLoopTest, ResetsPreparesAndGoesBlockByBlock) {
  FakeSource source(Sectors(130));
  const ScanOutcome outcome = Scan(source);
  const std::vector<Call> expected = {
      {'a', 'R'},        {'b', 'R'},         {'a', 'S', kAllBits, 0}, {'b', 'S', kAllBits, 0}, {'a', 'S', 0, 64},
      {'b', 'S', 0, 64}, {'a', 'S', 64, 64}, {'b', 'S', 64, 64},      {'a', 'S', 128, 2},      {'b', 'S', 128, 2}};
  EXPECT_EQ(calls, expected);
  EXPECT_TRUE(a.hasData);
  EXPECT_EQ(outcome.sectorsDone, 130U);
  EXPECT_FALSE(outcome.isInterrupted);
}

TEST_F(ScanLoopTest, AnEmptyDeviceHasNoBlocks) {
  FakeSource source({});
  const ScanOutcome outcome = Scan(source);
  EXPECT_EQ(calls.size(), 4U);
  EXPECT_EQ(outcome.sectorsDone, 0U);
}

TEST_F(ScanLoopTest, FindsComeByBlockAndRow) {
  Bytes content = Sectors(200);
  Mark(content, 150, 'a', 1);
  Mark(content, 100, 'a', 2);
  Mark(content, 90, 'b');
  Mark(content, 70, 'a');
  const std::vector<Find> expected = {{70, 0, 3}, {100, 2, 3}, {90, 0, 7}, {150, 1, 3}};
  FakeSource source(content);
  Scan(source);
  EXPECT_EQ(finds, expected);
}

TEST_F(ScanLoopTest, LanesDoNotChangeTheOrder) {
  Bytes content = Sectors(5000);
  for (std::size_t sector = 0; sector < 5000; ++sector) Mark(content, sector, sector % 3 == 0 ? 'b' : 'a');
  FakeSource source(content);
  Scan(source);
  const std::vector<Find> expected = std::exchange(finds, {});
  EXPECT_EQ(expected.size(), 5000U);
  std::vector<Call> callsOfB;
  FakeDetector otherB{'b', callsOfB};
  Scan(source, {{{7, &otherB}}, {{3, &a}}}, [](auto, auto) { return true; });
  EXPECT_EQ(finds, expected);
}

TEST_F(ScanLoopTest, WhatSilentRowsReportIsLost) {
  Bytes content = Sectors(200);
  Mark(content, 10, 'a');
  Mark(content, 20, 'b');
  FakeSource source(content);
  Scan(source, {{{3, &a, true}, {7, &b}}}, [](auto, auto) { return true; });
  EXPECT_EQ(finds, (std::vector<Find>{{20, 0, 7}}));
}

TEST_F(ScanLoopTest, WhatADetectorThrowsComesThrough) {
  FakeSource source(Sectors(5000));
  std::vector<Call> callsOfB;
  FakeDetector otherB{'b', callsOfB};
  otherB.throwsAtSector = 640;
  EXPECT_THROW(Scan(source, {{{3, &a}}, {{7, &otherB}}}, [](auto, auto) { return true; }), std::bad_alloc);
}

TEST_F(ScanLoopTest, WhatTheTakerThrowsEndsIt) {
  Bytes content = Sectors(5000);
  Mark(content, 1000, 'a');
  FakeSource source(content);
  Device device(source, 16);
  const auto fail = [](const Find&) { throw Failure("full"); };
  EXPECT_THROW(RunScan(device, {{{3, &a}}}, {2, 3}, fail, [](auto, auto) { return true; }), Failure);
}

TEST_F(ScanLoopTest, ADeviceOfSeveralPiecesIsSeenWhole) {
  const std::size_t sectors = kPieceSize / 16 + 65;
  Bytes content = Sectors(sectors);
  Mark(content, sectors - 66, 'a');
  Mark(content, sectors - 65, 'a');
  Mark(content, sectors - 1, 'a');
  content.resize(content.size() - 15);
  FakeSource source(content);
  const ScanOutcome outcome = Scan(source);
  const std::vector<Find> expected = {{sectors - 66, 0, 3}, {sectors - 65, 0, 3}, {sectors - 1, 0, 3}};
  EXPECT_EQ(finds, expected);
  EXPECT_EQ(outcome.sectorsDone, sectors);
  EXPECT_EQ(calls.back(), (Call{'b', 'S', sectors - 1, 1}));
}

TEST_F(ScanLoopTest, TheWatchStopsItBetweenBlocks) {
  Bytes content = Sectors(20000);
  for (std::size_t sector = 0; sector < 20000; sector += 64) Mark(content, sector, 'a');
  FakeSource source(content);
  const ScanOutcome outcome = Scan(source, [](std::uint64_t done, std::uint64_t) { return done < 128; });
  EXPECT_TRUE(outcome.isInterrupted);
  EXPECT_GE(outcome.sectorsDone, 128U);
  EXPECT_EQ(outcome.sectorsDone % 64, 0U);
  EXPECT_EQ(finds.size(), outcome.sectorsDone / 64);
}

TEST_F(ScanLoopTest, AWatchThatSaysNoAtOnceIsHeeded) {
  FakeSource source(Sectors(20000));
  const ScanOutcome outcome = Scan(source, [](auto, auto) { return false; });
  EXPECT_TRUE(outcome.isInterrupted) << "even if the lanes were through before they were asked";
}

TEST_F(ScanLoopTest, TheWatchLearnsHowManyWereFound) {
  Bytes content = Sectors(100);
  Mark(content, 0, 'a');
  Mark(content, 1, 'b');
  FakeSource source(content);
  std::uint64_t most = 0;
  Scan(source, [&](std::uint64_t, std::uint64_t count) {
    most = count;
    return true;
  });
  EXPECT_EQ(most, 2U);
}

TEST_F(ScanLoopTest, FindsTellInWhichBlockTheyWereReported) {
  Bytes content = Sectors(200);
  for (const std::size_t sector : {10U, 64U, 199U}) Mark(content, sector, 'a');
  FakeSource source(content);
  Device device(source, 16);
  std::vector<std::uint64_t> blocks;
  const auto take = [&](const ReportedFind& find) { blocks.push_back(find.blockSector); };
  RunScan(device, {{{3, &a}}}, {2, 3}, take, [](auto, auto) { return true; });
  EXPECT_EQ(blocks, (std::vector<std::uint64_t>{0, 64, 192}));
}

TEST_F(ScanLoopTest, AScanThatBeginsLaterTellsOnlyWhatIsNew) {
  Bytes content = Sectors(300);
  for (const std::size_t sector : {10U, 127U, 128U, 191U, 192U, 299U}) Mark(content, sector, 'a');
  FakeSource source(content);
  Device device(source, 16);
  std::vector<std::uint64_t> progress;
  std::uint64_t count = 0;
  const auto take = [&](const ReportedFind& find) {
    finds.push_back(find);
    EXPECT_EQ(find.blockSector, find.startSector / 64 * 64);
  };
  const auto watch = [&](std::uint64_t sectorsDone, std::uint64_t findCount) {
    progress.push_back(sectorsDone);
    count = findCount;
    return true;
  };
  const ScanOutcome outcome = RunScan(device, {{{3, &a}}}, {2, 3}, take, watch, {64, 192});
  EXPECT_EQ(finds, (std::vector<Find>{{192, 0, 3}, {299, 0, 3}}));
  EXPECT_EQ(count, 2U);
  EXPECT_EQ(outcome.sectorsDone, 300U);
  EXPECT_EQ(progress.front(), 64U);
  EXPECT_EQ(calls[2], (Call{'a', 'S', 64, 64}));
}

TEST_F(ScanLoopTest, AScanThatBeginsAtTheEndIsOver) {
  FakeSource source(Sectors(300));
  Device device(source, 16);
  const auto take = [](const Find&) {};
  const ScanOutcome outcome = RunScan(device, {{{3, &a}}}, {2, 3}, take, [](auto, auto) { return true; }, {300, 300});
  EXPECT_EQ(outcome.sectorsDone, 300U);
  EXPECT_EQ(calls.size(), 2U) << "reset and prepared";
  EXPECT_EQ(source.readCount, 0);
}

TEST_F(ScanLoopTest, UnreadableSectorsDoNotStopIt) {
  Bytes content = Sectors(100);
  Mark(content, 10, 'a');
  Mark(content, 20, 'a');
  Mark(content, 30, 'a');
  FakeSource source(content);
  source.badOffsets = {20 * 16 + 5};
  source.error = EIO;
  const ScanOutcome outcome = Scan(source);
  const std::vector<Find> expected = {{10, 0, 3}, {30, 0, 3}};
  EXPECT_EQ(finds, expected);
  EXPECT_EQ(outcome.sectorsDone, 100U);
}

TEST_F(ScanLoopTest, ALostDeviceEndsItWithWhatWasFound) {
  const std::size_t sectors = kPieceSize / 16 + 64;
  Bytes content = Sectors(sectors);
  Mark(content, 0, 'a');
  FakeSource source(content);
  source.badOffsets = {kPieceSize + 8};
  source.error = ENODEV;
  const ScanOutcome outcome = Scan(source);
  EXPECT_EQ(finds.size(), 1U);
  EXPECT_EQ(outcome.sectorsDone, kPieceSize / 16);
  EXPECT_FALSE(loss.empty());
}

}  // namespace
}  // namespace qzmtraw::host
