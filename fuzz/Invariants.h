#ifndef QZMTRAW_FUZZ_INVARIANTS_H
#define QZMTRAW_FUZZ_INVARIANTS_H

#include <cstdint>
#include <span>

namespace qzmtraw::fuzz {

/// Decodes an input, scans its device in several ways, and ends the process when these don't agree or when one takes
/// more than it may:
///
/// - Detectors that are new and detectors that have been reset find the same, in whatever order blocks are shown to
///   them and however they are dealt out to lanes.
/// - They find the same in the device cut into other blocks, and with blocks without sectors in between. Exceptions.h
///   lists the kinds for which the cut matters.
/// - No kind takes more steps, or asks the reader more often, than a multiple of the device's length and a constant,
///   which Exceptions.h has.
/// - After Release the library keeps no more memory than after a scan like it.
///
/// docs/fuzzing.md tells what these are not asked of.
///
/// \param rows  Those that the input may choose from, in ascending order.
void CheckScan(std::span<const std::uint8_t> input, std::span<const std::int32_t> rows);

}  // namespace qzmtraw::fuzz

#endif  // QZMTRAW_FUZZ_INVARIANTS_H
