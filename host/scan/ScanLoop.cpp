#include "host/scan/ScanLoop.h"

#include <algorithm>
#include <chrono>
#include <limits>
#include <span>
#include <thread>

#include "host/base/Threads.h"
#include "host/scan/CacheAhead.h"
#include "host/scan/FindQueue.h"
#include "host/scan/FindSink.h"
#include "host/scan/Lanes.h"
#include "host/scan/ReadAhead.h"
#include "host/sources/SectorReader.h"

namespace qzmtraw::host {
namespace {

/// How long the watch isn't asked at most.
constexpr std::chrono::milliseconds kPatience{50};

/// Detectors that share a classifier let it read a block once and recognise the block by its number. At process start
/// some classifiers hold the number 0, and later that of the block they saw last, so the first block of a scan could
/// pass for one that has been read already. An empty block with a number that no device has clears that memory.
void Prepare(const std::vector<DetectorLane>& lanes, Device& device) {
  std::uint8_t nothing = 0;
  SectorReader reader(device);
  const RawSectorBlock block{std::numeric_limits<std::uint64_t>::max(), &nothing, 0,
                             static_cast<std::int32_t>(device.SectorSize()), &reader};
  for (const DetectorLane& lane : lanes) {
    for (const RowDetector& entry : lane) {
      entry.detector->Reset();
      if (entry.maxFileSize != 0) entry.detector->SetMaxFileSize(entry.maxFileSize);
    }
  }
  for (const DetectorLane& lane : lanes) {
    for (const RowDetector& entry : lane) entry.detector->Scan(&block, nullptr);
  }
}

/// The threads of a scan and what goes between them.
class Scan {
 public:
  Scan(Device& device, const std::vector<DetectorLane>& lanes, const ScanMemory& memory, std::uint64_t startSector)
      : device_(device),
        hasSeveralLanes_(lanes.size() > 1),
        queue_(lanes.size(), memory.mostFinds),
        pieces_(device, PieceSectors(device.SectorSize()), memory.pieceCount, lanes.size(), failures_, startSector) {
    try {
      for (const DetectorLane& lane : lanes) Start(lane, threads_.size());
    } catch (...) {
      Stop();
      throw;
    }
  }
  Scan(const Scan&) = delete;
  Scan& operator=(const Scan&) = delete;
  ~Scan() { Stop(); }

  FindQueue::Batch Take() { return queue_.Take(kPatience); }

  /// The lanes end behind the blocks that they are at.
  void Stop() {
    queue_.Stop();
    pieces_.Stop();
  }

  /// Waits for the threads and throws what one of them has thrown.
  void Finish() {
    threads_.clear();
    failures_.Rethrow();
  }

 private:
  void Start(const DetectorLane& lane, std::size_t number) {
    threads_.push_back(StartThread([this, &lane, number] {
      failures_.Guard([&] { Run(lane, number); });
      if (failures_.HasAny()) Stop();
      queue_.Leave();
    }));
  }

  /// The work of a lane.
  void Run(const DetectorLane& lane, std::size_t number) {
    FindSink sink;
    SectorReader reader(device_);
    std::vector<std::uint8_t> copy;
    std::uint64_t blockNumber = 0;
    std::uint64_t pieceNumber = 0;
    while (Piece* piece = pieces_.Get(pieceNumber)) {
      for (std::uint64_t sector = 0; sector < piece->sectorCount; sector += kSectorsPerBlock) {
        if (!queue_.Begin(blockNumber)) return;
        const std::span<std::uint8_t> bytes = BytesOf(*piece, sector);
        const std::uint64_t sectorCount = bytes.size() / device_.SectorSize();
        const RawSectorBlock block{piece->startSector + sector, BlockMemory(bytes, copy),
                                   static_cast<std::int32_t>(sectorCount),
                                   static_cast<std::int32_t>(device_.SectorSize()), &reader};
        CacheAhead ahead(BytesOf(*piece, sector + sectorCount), lane.size());
        for (const RowDetector& entry : lane) {
          sink.SetRow(entry.row);
          entry.detector->Scan(&block, entry.isSilent ? nullptr : &sink);
          ahead.Step();
        }
        queue_.End(number, blockNumber, sink.Finds());
        ++blockNumber;
      }
      pieces_.Release(pieceNumber);
      ++pieceNumber;
    }
  }

  /// The bytes of the block that begins at a sector of a piece, counted from the piece's start. None behind its end.
  std::span<std::uint8_t> BytesOf(Piece& piece, std::uint64_t sector) const {
    const std::uint64_t count = std::min<std::uint64_t>(kSectorsPerBlock, piece.sectorCount - sector);
    return std::span(piece.bytes)
        .subspan(static_cast<std::size_t>(sector * device_.SectorSize()),
                 static_cast<std::size_t>(count * device_.SectorSize()));
  }

  /// The memory of a block for one lane. Where detectors may write into it each of several lanes gets a copy, in
  /// `copy`.
  std::uint8_t* BlockMemory(std::span<std::uint8_t> bytes, std::vector<std::uint8_t>& copy) const {
    if (!hasSeveralLanes_ || !MayBeWrittenInto(bytes, device_.SectorSize())) return bytes.data();
    copy.assign(bytes.begin(), bytes.end());
    return copy.data();
  }

  Device& device_;
  bool hasSeveralLanes_;
  Failures failures_;
  FindQueue queue_;
  ReadAhead pieces_;
  std::vector<std::jthread> threads_;
};

ScanOutcome Listen(Device& device, Scan& scan, const FindTaker& take, const ScanWatch& watch, const ScanStart& start) {
  const auto sectorOf = [&start](std::uint64_t block) { return start.sector + block * kSectorsPerBlock; };
  ScanOutcome outcome;
  outcome.sectorsDone = start.sector;
  std::uint64_t findCount = 0;
  bool isLast = false;
  while (true) {
    if (!outcome.isInterrupted && !watch(outcome.sectorsDone, findCount)) {
      outcome.isInterrupted = true;
      scan.Stop();
    }
    if (isLast) return outcome;
    const FindQueue::Batch batch = scan.Take();
    for (const FindQueue::QueuedFind& find : batch.finds) {
      if (sectorOf(find.block) < start.newsFrom) continue;
      take({find, sectorOf(find.block)});
      ++findCount;
    }
    outcome.sectorsDone = std::min(sectorOf(batch.blocksDone), device.Range().first + device.Range().count);
    isLast = batch.isLast;
  }
}

}  // namespace

std::uint64_t PieceSectors(std::uint32_t sectorSize) {
  return std::uint64_t{kSectorsPerBlock} * std::max(1U, kPieceSize / (kSectorsPerBlock * sectorSize));
}

ScanOutcome RunScan(Device& device, const std::vector<DetectorLane>& lanes, const ScanMemory& memory,
                    const FindTaker& take, const ScanWatch& watch, const ScanStart& start) {
  Prepare(lanes, device);
  Scan scan(device, lanes, memory, start.sector);
  const ScanOutcome outcome = Listen(device, scan, take, watch, start);
  scan.Finish();
  return outcome;
}

ScanOutcome RunScan(Device& device, const std::vector<DetectorLane>& lanes, const ScanMemory& memory,
                    const FindTaker& take, const ScanWatch& watch) {
  return RunScan(device, lanes, memory, take, watch, {device.Range().first, device.Range().first});
}

}  // namespace qzmtraw::host
