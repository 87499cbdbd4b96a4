#ifndef QZMTRAW_FUZZ_SCAN_H
#define QZMTRAW_FUZZ_SCAN_H

#include <cstdint>
#include <vector>

#include "fuzz/ScanInput.h"
#include "host/scan/Lanes.h"
#include "tests/support/Scanning.h"

namespace qzmtraw::fuzz {

/// What a row did in a scan.
struct RowOutcome {
  std::int32_t row = 0;
  /// In the order in which they were reported.
  test::Hits hits;
  Readings readings;
  std::uint64_t steps = 0;
};

struct ScanOutcome {
  /// In ascending order of the rows.
  std::vector<RowOutcome> rows;
  /// Whether a detector changed the memory of a block.
  bool wroteIntoBlocks = false;
};

/// In which way to scan an input's device.
struct ScanWay {
  const Cut* cut;
  /// Each lane scans the whole device before the next one.
  std::vector<host::Lane> lanes;
  /// Whether what a detector writes into a block is there for those behind it, as it is in a host that has one block
  /// for all. Otherwise every detector gets the block as it is on the device.
  bool sharesWrites = false;
  /// Whether the detectors have scanned something else before, and were reset.
  bool isReset = false;
};

/// Scans the device, with the library in a known state at the start.
ScanOutcome Run(const ScanInput& input, const ScanWay& way);

}  // namespace qzmtraw::fuzz

#endif  // QZMTRAW_FUZZ_SCAN_H
