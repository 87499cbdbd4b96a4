#ifndef QZMTRAW_HOST_BASE_MEMORY_BUDGET_H
#define QZMTRAW_HOST_BASE_MEMORY_BUDGET_H

#include <cstddef>
#include <cstdint>

#include "host/scan/ScanLoop.h"

namespace qzmtraw::host {

inline constexpr std::uint64_t kDefaultMemory = std::uint64_t{256} << 20U;
inline constexpr std::uint64_t kLeastMemory = std::uint64_t{32} << 20U;
inline constexpr std::uint64_t kGreatestMemory = std::uint64_t{1} << 40U;

/// What a scan may take of the memory that the tool is given.
struct MemoryBudget {
  /// At least 1, and no more than were asked for.
  std::size_t laneCount = 1;
  ScanMemory scan;
  /// For finds that are kept until the scan is over, in bytes.
  std::size_t storeMemory = 0;
  /// For copying files when the scan is over, in bytes.
  std::uint64_t copyMemory = 0;
};

/// Divides memory of kLeastMemory to kGreatestMemory bytes. Where sectors are so large that it doesn't do for all
/// lanes, there are fewer. Throws UsageError where it doesn't do for one.
MemoryBudget DivideMemory(std::uint64_t memory, std::uint32_t sectorSize, std::size_t laneCount);

}  // namespace qzmtraw::host

#endif  // QZMTRAW_HOST_BASE_MEMORY_BUDGET_H
