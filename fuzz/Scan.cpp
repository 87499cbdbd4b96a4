#include "fuzz/Scan.h"

#include <algorithm>
#include <cstring>
#include <map>
#include <memory>

#include "fuzz/KnownState.h"
#include "fuzz/Work.h"
#include "qzmtraw/RawFileTypeFactory.h"

namespace qzmtraw::fuzz {

namespace {

class HitSink final : public IRawHitSink {
 public:
  std::uint32_t ReservedOperation1() override { return 0; }
  std::uint32_t ReportHit(const RawFileHit* hit) override {
    const OutOfLibrary outOfLibrary;
    hits->push_back({hit->startSector, hit->size});
    return 0;
  }
  test::Hits* hits = nullptr;
};

struct Release {
  void operator()(IRawFileType* detector) const {
    const InLibrary inLibrary;
    detector->Release();
  }
};

struct LaneDetector {
  std::int32_t row;
  bool isSilent;
  std::unique_ptr<IRawFileType, Release> detector;
};

/// One lane's pass over the device.
class LaneScan {
 public:
  LaneScan(const ScanInput& input, const ScanWay& way, std::map<std::int32_t, RowOutcome>& outcomes)
      : input_(input), way_(way), outcomes_(outcomes), reader_(input.device, input.manner) {}

  bool WroteIntoBlocks() const { return wroteIntoBlocks_; }

  void Scan(const std::vector<LaneDetector>& detectors) {
    std::int64_t first = 0;
    for (const int count : way_.cut->Blocks(input_.device.SectorCount())) {
      if (input_.hasEmptyBlocks) ScanEmptyBlocks(detectors, static_cast<int>(first));
      ScanBlock(detectors, first, count);
      first += count;
    }
  }

  /// Shows the second half of the device, and nothing is reported. Leaves files open.
  void ScanInVain(const std::vector<LaneDetector>& detectors) {
    const std::int64_t first = input_.device.SectorCount() / 2;
    MakeBlock(first, static_cast<int>(input_.device.SectorCount() - first));
    const InLibrary inLibrary;
    for (const LaneDetector& each : detectors) {
      each.detector->SetMaxFileSize(12345);
      each.detector->Scan(&block_, nullptr);
      RestoreBlock(each.row);
    }
  }

 private:
  IRawSectorReader* TheReader() { return input_.manner == ReaderManner::kIsNull ? nullptr : &reader_; }

  /// Puts a block's sectors into memory of exactly their size.
  void MakeBlock(std::int64_t first, int count) {
    const std::size_t size = static_cast<std::size_t>(count) * static_cast<std::size_t>(input_.device.SectorSize());
    source_ = input_.device.Bytes().data() + first * input_.device.SectorSize();
    memory_.reset(new std::uint8_t[size]);
    size_ = size;
    std::memcpy(memory_.get(), source_, size);
    block_ = {input_.device.FirstSector() + static_cast<std::uint64_t>(first), memory_.get(), count,
              input_.device.SectorSize(), TheReader()};
  }

  void RestoreBlock(std::int32_t row) {
    if (!host::WritesIntoBlocks(row) || std::memcmp(memory_.get(), source_, size_) == 0) return;
    wroteIntoBlocks_ = true;
    if (!way_.sharesWrites) std::memcpy(memory_.get(), source_, size_);
  }

  void ScanBlock(const std::vector<LaneDetector>& detectors, std::int64_t first, int count) {
    MakeBlock(first, count);
    for (const LaneDetector& each : detectors) {
      RowOutcome& outcome = outcomes_[each.row];
      test::Hits unheard;
      sink_.hits = each.isSilent ? &unheard : &outcome.hits;
      const std::uint64_t stepsBefore = StepCount();
      {
        const InLibrary inLibrary;
        each.detector->Scan(&block_, &sink_);
      }
      outcome.steps += StepCount() - stepsBefore;
      const Readings readings = reader_.TakeReadings();
      outcome.readings.calls += readings.calls;
      outcome.readings.mostBytes = std::max(outcome.readings.mostBytes, readings.mostBytes);
      RestoreBlock(each.row);
    }
  }

  /// Blocks that are to be passed over, and no block at all.
  void ScanEmptyBlocks(const std::vector<LaneDetector>& detectors, int number) {
    std::uint8_t byte = 'I';
    const std::uint64_t start = input_.device.FirstSector() + static_cast<std::uint64_t>(number);
    const RawSectorBlock blocks[] = {{start, &byte, 0, 512, TheReader()},      {start, nullptr, 1, 512, TheReader()},
                                     {start + 7, &byte, -1, 512, TheReader()}, {start + 8, &byte, 1, 0, TheReader()},
                                     {start + 9, &byte, 1, -512, TheReader()}, {start + 9, nullptr, 0, 0, nullptr}};
    // The second of two blocks with one number, of which the second isn't empty, would pass for read.
    const RawSectorBlock elsewhere{~std::uint64_t{0}, &byte, 0, 512, nullptr};
    const InLibrary inLibrary;
    for (const LaneDetector& each : detectors) {
      each.detector->Scan(nullptr, &sink_);
      each.detector->Scan(&blocks[static_cast<std::size_t>(number) % std::size(blocks)], nullptr);
      each.detector->Scan(&elsewhere, nullptr);
    }
  }

  const ScanInput& input_;
  const ScanWay& way_;
  std::map<std::int32_t, RowOutcome>& outcomes_;
  Reader reader_;
  HitSink sink_;
  std::unique_ptr<std::uint8_t[]> memory_;
  const std::uint8_t* source_ = nullptr;
  std::size_t size_ = 0;
  RawSectorBlock block_{};
  bool wroteIntoBlocks_ = false;
};

std::vector<LaneDetector> CreateDetectors(const host::Lane& lane) {
  std::vector<LaneDetector> detectors;
  for (const host::LaneRow& each : lane) {
    const InLibrary inLibrary;
    IRawFileType* const detector = GetRawFileTypeFactory()->CreateType(each.row, nullptr, nullptr);
    const OutOfLibrary outOfLibrary;
    detectors.push_back({each.row, each.isSilent, std::unique_ptr<IRawFileType, Release>(detector)});
  }
  return detectors;
}

void Reset(const std::vector<LaneDetector>& detectors, ResetKind kind) {
  const InLibrary inLibrary;
  for (const LaneDetector& each : detectors) {
    if (kind == ResetKind::kReset) each.detector->Reset();
    if (kind == ResetKind::kLight) each.detector->ResetLight();
    if (kind == ResetKind::kFull) each.detector->ResetFull();
  }
}

}  // namespace

ScanOutcome Run(const ScanInput& input, const ScanWay& way) {
  std::map<std::int32_t, RowOutcome> outcomes;
  ScanOutcome outcome;
  for (const host::Lane& lane : way.lanes) {
    const std::vector<LaneDetector> detectors = CreateDetectors(lane);
    if (way.isReset) {
      LaneScan(input, way, outcomes).ScanInVain(detectors);
      Reset(detectors, input.resetKind);
    }
    BringIntoKnownState();
    if (input.maxFileSize) {
      const InLibrary inLibrary;
      for (const LaneDetector& each : detectors) each.detector->SetMaxFileSize(*input.maxFileSize);
    }
    LaneScan scan(input, way, outcomes);
    scan.Scan(detectors);
    outcome.wroteIntoBlocks = outcome.wroteIntoBlocks || scan.WroteIntoBlocks();
  }
  for (auto& [row, rowOutcome] : outcomes) {
    rowOutcome.row = row;
    outcome.rows.push_back(std::move(rowOutcome));
  }
  return outcome;
}

}  // namespace qzmtraw::fuzz
