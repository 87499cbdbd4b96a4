#ifndef QZMTRAW_HOST_SCAN_LOOP_H
#define QZMTRAW_HOST_SCAN_LOOP_H

#include <cstdint>
#include <functional>
#include <span>
#include <vector>

#include "host/Device.h"
#include "host/Find.h"
#include "qzmtraw/RawFileType.h"

namespace qzmtraw::host {

/// Sectors per block. Fixed, because what some detectors find depends on how the device is cut into blocks, and two
/// scans of one device must find the same.
inline constexpr std::uint32_t kSectorsPerBlock = 64;

/// The device is read in pieces of about this many bytes, always whole blocks.
inline constexpr std::uint32_t kPieceSize = 4U << 20U;

/// A detector at work and the row it belongs to.
struct RowDetector {
  std::int32_t row = 0;
  IRawFileType* detector = nullptr;
};

/// Asked before every block, and during reads that take long, with the number of sectors that are done and of files
/// that were found so far. False: stop.
using ScanWatch = std::function<bool(std::uint64_t sectorsDone, std::size_t findCount)>;

/// How a scan went.
struct ScanOutcome {
  /// In the order of ComesBefore.
  std::vector<Find> finds;
  std::uint64_t sectorsDone = 0;
  /// The watch asked to stop.
  bool isInterrupted = false;
};

/// Resets the detectors and shows them the whole device, block by block, every block to all of them in the order given.
/// Ends early when the watch says so or when the device is lost, see Device::Loss.
ScanOutcome RunScan(Device& device, std::span<const RowDetector> detectors, const ScanWatch& watch);

}  // namespace qzmtraw::host

#endif  // QZMTRAW_HOST_SCAN_LOOP_H
