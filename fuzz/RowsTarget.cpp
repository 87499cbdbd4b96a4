// The rows of a subsystem, or all rows: QZMTRAW_FUZZ_ROWS names them.

#include <cstddef>
#include <cstdint>

#include "fuzz/Invariants.h"
#include "fuzz/Rows.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  qzmtraw::fuzz::CheckScan({data, size}, qzmtraw::fuzz::RowsOf(QZMTRAW_FUZZ_ROWS));
  return 0;
}
