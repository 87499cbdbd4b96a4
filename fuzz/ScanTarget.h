#ifndef QZMTRAW_FUZZ_SCAN_TARGET_H
#define QZMTRAW_FUZZ_SCAN_TARGET_H

#include <cstddef>
#include <cstdint>

#include "fuzz/Invariants.h"
#include "fuzz/Rows.h"

/// Defines a target that scans with the rows of a subsystem.
#define SCAN_TARGET(subsystem)                                                        \
  extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) { \
    qzmtraw::fuzz::CheckScan({data, size}, qzmtraw::fuzz::RowsOf(subsystem));         \
    return 0;                                                                         \
  }

#endif  // QZMTRAW_FUZZ_SCAN_TARGET_H
