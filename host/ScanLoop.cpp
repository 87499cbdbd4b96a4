#include "host/ScanLoop.h"

#include <algorithm>
#include <limits>

#include "host/FindSink.h"
#include "host/SectorReader.h"

namespace qzmtraw::host {
namespace {

/// Detectors that share a classifier let it read a block once and recognise the block by its number. At process start
/// some classifiers hold the number 0, and later that of the block they saw last, so the first block of a scan could
/// pass for one that has been read already. An empty block with a number that no device has clears that memory.
void Prepare(std::span<const RowDetector> detectors, RawSectorBlock block) {
  block.startSector = std::numeric_limits<std::uint64_t>::max();
  block.sectorCount = 0;
  for (const RowDetector& entry : detectors) entry.detector->Reset();
  for (const RowDetector& entry : detectors) entry.detector->Scan(&block, nullptr);
}

}  // namespace

ScanOutcome RunScan(Device& device, std::span<const RowDetector> detectors, const ScanWatch& watch) {
  const std::uint32_t blockSize = kSectorsPerBlock * device.SectorSize();
  const std::uint64_t sectorsPerPiece = std::uint64_t{kSectorsPerBlock} * std::max(1U, kPieceSize / blockSize);
  std::vector<std::uint8_t> piece(static_cast<std::size_t>(sectorsPerPiece * device.SectorSize()));
  SectorReader reader(device);
  FindSink sink;
  ScanOutcome outcome;
  RawSectorBlock block{0, piece.data(), 0, static_cast<std::int32_t>(device.SectorSize()), &reader};
  Prepare(detectors, block);

  const auto isStopped = [&] {
    if (!outcome.isInterrupted) outcome.isInterrupted = !watch(outcome.sectorsDone, sink.Count());
    return outcome.isInterrupted;
  };
  while (outcome.sectorsDone < device.SectorCount() && !isStopped()) {
    const std::uint64_t pieceSectors = std::min(sectorsPerPiece, device.SectorCount() - outcome.sectorsDone);
    const std::span bytes(piece.data(), static_cast<std::size_t>(pieceSectors * device.SectorSize()));
    device.Read(outcome.sectorsDone, bytes, isStopped);
    if (!device.Loss().empty()) break;

    for (std::uint64_t sector = 0; sector < pieceSectors && !isStopped(); sector += kSectorsPerBlock) {
      block.startSector = outcome.sectorsDone;
      block.data = piece.data() + sector * device.SectorSize();
      block.sectorCount = static_cast<std::int32_t>(std::min<std::uint64_t>(kSectorsPerBlock, pieceSectors - sector));
      for (const RowDetector& entry : detectors) {
        sink.SetRow(entry.row);
        entry.detector->Scan(&block, &sink);
      }
      outcome.sectorsDone += static_cast<std::uint64_t>(block.sectorCount);
    }
  }
  outcome.finds = sink.Take();
  std::ranges::sort(outcome.finds, ComesBefore);
  return outcome;
}

}  // namespace qzmtraw::host
