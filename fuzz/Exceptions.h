#ifndef QZMTRAW_FUZZ_EXCEPTIONS_H
#define QZMTRAW_FUZZ_EXCEPTIONS_H

/// \file
/// Where the invariants don't hold by design, kind by kind, each with its reason.

#include <cstdint>

namespace qzmtraw::fuzz {

/// Whose hits depend on how a device is cut into blocks.
struct DependsOnCut {
  std::int32_t firstRow;
  std::int32_t lastRow;
  const char* reason;
};

inline constexpr DependsOnCut kDependOnCut[] = {
    {48, 48, "A text with a mark is sorted by all its bytes that the block holds."},
    {52, 52, "As 48."},
    {55, 55, "As 48."},
    {58, 58, "As 48."},
    {174, 176, "A file that is too small leaves its kind to the next one in its block."},
    {317, 317, "Fields that the head leads to count as far as the block holds them."},
};

/// In smaller sectors a head, or a field, reaches beyond its sector, and what lies behind the block isn't there.
inline constexpr int kLeastSectorForCuts = 512;
/// In larger ones nothing can be read beyond the block, because a sector doesn't fit the cache of 32768 bytes.
inline constexpr int kGreatestSectorForCuts = 32768;

/// What a kind may take. Kinds of a group take it together.
struct WorkLimit {
  std::int32_t firstRow;
  std::int32_t lastRow;
  /// Calls of the reader for each sector of the device, and beyond that once.
  std::uint64_t callsPerSector;
  std::uint64_t callsOnce;
  /// Edges of control flow for each byte of the device, for each of its sectors, and beyond that once.
  std::uint64_t stepsPerByte;
  std::uint64_t stepsPerSector;
  std::uint64_t stepsOnce;
  const char* reason;
};

/// The last one is for all kinds that aren't in the others.
inline constexpr WorkLimit kWorkLimits[] = {
    {0, 319, 1U << 17U, 1U << 20U, 1U << 12U, 1U << 30U, 1U << 31U, "Whatever isn't listed."},
};

}  // namespace qzmtraw::fuzz

#endif  // QZMTRAW_FUZZ_EXCEPTIONS_H
