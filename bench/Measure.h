#ifndef QZMTRAW_BENCH_MEASURE_H
#define QZMTRAW_BENCH_MEASURE_H

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "host/scan/Lanes.h"

namespace qzmtraw::bench {

/// The rate, in bytes per second of processor time, at which threads that run at once read memory, each a part of its
/// own that no cache holds. The best of several rounds.
double MemoryReadRate(std::size_t threadCount);

/// A device in memory.
struct Device {
  std::vector<std::uint8_t> bytes;
  /// What stands before is scanned as well, but the clock is started behind it.
  std::size_t measuredFrom = 0;
};

/// How long a rate is measured.
struct Patience {
  /// The device is scanned again until this much time has passed, in seconds. The best time counts.
  double leastSeconds = 1;
  /// A scan is broken off after this much time, in seconds, and rated by what was done.
  double mostSeconds = 10;
};

/// The rate, in bytes per second of processor time, at which the rows of `lanes` get through a device, each lane on a
/// thread of its own. Of several lanes each scans copies of blocks into which detectors may write, and the next
/// block is brought into the cache meanwhile, as in the tool. Not more than has passed all
/// lanes counts. \param device  Some detectors write into it where there is a single lane.
double ScanRate(const std::vector<host::Lane>& lanes, Device& device, const Patience& patience);

/// What a device costs, in nanoseconds per sector.
struct RowTimes {
  /// What each row of the lane takes when all of them take turns, in its order.
  std::vector<double> rows;
  /// What it takes to bring a block into the cache, which is done before the first row's turn.
  double fetching = 0;

  [[nodiscard]] double Sum() const;
};

/// Looks at the clock between the turns. What the clock takes is measured and left out. Of several scans the one
/// that took least counts.
RowTimes MeasureRows(const host::Lane& lane, Device& device);

}  // namespace qzmtraw::bench

#endif  // QZMTRAW_BENCH_MEASURE_H
