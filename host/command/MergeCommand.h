#ifndef QZMTRAW_HOST_COMMAND_MERGE_COMMAND_H
#define QZMTRAW_HOST_COMMAND_MERGE_COMMAND_H

#include <cstdint>
#include <string>
#include <vector>

#include "host/base/MemoryBudget.h"
#include "host/command/Console.h"
#include "host/command/ExitCode.h"
#include "host/finds/FindOptions.h"
#include "host/outputs/OutputOptions.h"

namespace qzmtraw::host {

/// Which lists to put together, and how to tell.
struct MergeOptions {
  /// Paths, at least one.
  std::vector<std::string> lists;
  FindOptions finds{};
  OutputOptions outputs{};
  /// In bytes, from kLeastMemory to kGreatestMemory.
  std::uint64_t memory = kDefaultMemory;
};

/// Makes one list of several of the same source, such as those of its shards: by place, what several have once. The
/// sectors that some of them couldn't read are those of the whole. Where a list is unfinished so is the whole. Throws
/// UsageError when the lists aren't of one source, and Failure when one can't be read or the list can't be written.
ExitCode RunMergeCommand(const MergeOptions& options, const Console& console);

}  // namespace qzmtraw::host

#endif  // QZMTRAW_HOST_COMMAND_MERGE_COMMAND_H
