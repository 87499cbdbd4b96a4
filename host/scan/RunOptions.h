#ifndef QZMTRAW_HOST_SCAN_RUN_OPTIONS_H
#define QZMTRAW_HOST_SCAN_RUN_OPTIONS_H

#include <cstdint>
#include <optional>

#include "host/base/MemoryBudget.h"

namespace qzmtraw::host {

inline constexpr std::uint32_t kMaxJobs = 256;

/// How to go about a scan.
struct RunOptions {
  /// Most lanes, from 1 to kMaxJobs. None: as many as the machine has cores.
  std::optional<std::uint32_t> jobs{};
  /// In bytes, from kLeastMemory to kGreatestMemory.
  std::uint64_t memory = kDefaultMemory;
  /// Run without a sandbox.
  bool keepsRights = false;
};

}  // namespace qzmtraw::host

#endif  // QZMTRAW_HOST_SCAN_RUN_OPTIONS_H
