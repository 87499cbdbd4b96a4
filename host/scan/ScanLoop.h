#ifndef QZMTRAW_HOST_SCAN_SCAN_LOOP_H
#define QZMTRAW_HOST_SCAN_SCAN_LOOP_H

#include <cstddef>
#include <cstdint>
#include <functional>
#include <vector>

#include "host/finds/Find.h"
#include "host/sources/Device.h"
#include "qzmtraw/RawFileType.h"

namespace qzmtraw::host {

/// Sectors per block. Fixed, because what some detectors find depends on how the device is cut into blocks, and two
/// scans of one device must find the same.
inline constexpr std::uint32_t kSectorsPerBlock = 64;

/// The device is read in pieces of about this many bytes, always whole blocks.
inline constexpr std::uint32_t kPieceSize = 1U << 20U;

/// A detector at work and the row it belongs to.
struct RowDetector {
  std::int32_t row = 0;
  IRawFileType* detector = nullptr;
  /// What it reports is not to be listed, see LaneRow.
  bool isSilent = false;
  /// What IRawFileType::SetMaxFileSize gets; 0: its default stays.
  std::uint64_t maxFileSize = 0;
};

/// The detectors that one thread shows every block to, in this order.
using DetectorLane = std::vector<RowDetector>;

/// How much of the memory goes into what.
struct ScanMemory {
  /// Most pieces that are kept, read ahead or in use.
  std::size_t pieceCount = 1;
  /// Most finds that wait for lanes that are behind; beyond that, as many as one block brings.
  std::size_t mostFinds = 0;
};

/// Receives the finds. Who doesn't ask where they were reported may take a Find.
using FindTaker = std::function<void(const ReportedFind& find)>;

/// Where a scan begins.
struct ScanStart {
  /// The first sector that detectors see.
  std::uint64_t sector = 0;
  /// The first sector of a block. What is reported in the blocks before it is known from an earlier scan; detectors see
  /// them only to learn which files are open.
  std::uint64_t newsFrom = 0;
};

/// Asked at least a few times a second with the number of the sector before which all are done, and of files that were
/// found so far. False: stop. When the sector is a later one than at the last call, all that was found in the blocks
/// before it was handed over, and nothing else.
using ScanWatch = std::function<bool(std::uint64_t sectorsDone, std::uint64_t findCount)>;

/// How a scan went.
struct ScanOutcome {
  /// The sector before which all detectors have seen everything, and what they found there was handed over.
  std::uint64_t sectorsDone = 0;
  /// The watch asked to stop before the end.
  bool isInterrupted = false;
};

/// Number of sectors of a piece.
std::uint64_t PieceSectors(std::uint32_t sectorSize);

/// Resets the detectors and shows them the device's range from a start on to its end, block by block, every lane on a
/// thread of its own, while another thread reads ahead. Ends early when the watch says so or when the device is lost,
/// see Device::IsLost. \param lanes  At least one. With more than one, each has a detector for every row that writes
/// into blocks, and none
///               writes into a block of which MayBeWrittenInto doesn't say so.
/// \param take   Gets the finds on the calling thread, in the order in which one lane reports them: by block, then by
///               row, then as the detector does.
/// \param watch  Is called on the calling thread.
/// \param start  Where to begin, instead of at the range's start. Not before it.
ScanOutcome RunScan(Device& device, const std::vector<DetectorLane>& lanes, const ScanMemory& memory,
                    const FindTaker& take, const ScanWatch& watch, const ScanStart& start);

/// As above, from the range's start on.
ScanOutcome RunScan(Device& device, const std::vector<DetectorLane>& lanes, const ScanMemory& memory,
                    const FindTaker& take, const ScanWatch& watch);

}  // namespace qzmtraw::host

#endif  // QZMTRAW_HOST_SCAN_SCAN_LOOP_H
