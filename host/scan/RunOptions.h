#ifndef QZMTRAW_HOST_SCAN_RUN_OPTIONS_H
#define QZMTRAW_HOST_SCAN_RUN_OPTIONS_H

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>

#include "host/base/MemoryBudget.h"
#include "host/scan/Progress.h"
#include "host/scan/Shard.h"

namespace qzmtraw::host {

inline constexpr std::uint32_t kMaxJobs = 256;

/// Files of more bytes than this may be missed where a scan is resumed.
inline constexpr std::uint64_t kDefaultRewind = std::uint64_t{4} << 30U;

/// How to go about a scan.
struct RunOptions {
  /// Most lanes, from 1 to kMaxJobs. None: as many as the machine has cores.
  std::optional<std::uint32_t> jobs{};
  /// In bytes, from kLeastMemory to kGreatestMemory.
  std::uint64_t memory = kDefaultMemory;
  ProgressMode progress = ProgressMode::kAuto;
  /// Which share of the chosen types to look for.
  Shard shard{};
  /// The file with the state of the scan, from which it goes on; empty: none.
  std::string state{};
  /// How far before the place that the state tells the scan begins, in bytes.
  std::uint64_t rewind = kDefaultRewind;
  /// How often the state is saved at most.
  std::chrono::milliseconds saveInterval{2000};
  /// Run without a sandbox.
  bool keepsRights = false;
};

}  // namespace qzmtraw::host

#endif  // QZMTRAW_HOST_SCAN_RUN_OPTIONS_H
