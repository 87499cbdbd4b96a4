#ifndef QZMTRAW_HOST_SCAN_SHARD_H
#define QZMTRAW_HOST_SCAN_SHARD_H

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

#include "host/scan/Lanes.h"

namespace qzmtraw::host {

/// One of several shares of the work of a scan, each for a run of its own, such as on another machine.
struct Shard {
  /// From 1 to `count`.
  std::uint32_t number = 1;
  std::uint32_t count = 1;

  friend bool operator==(const Shard&, const Shard&) = default;
};

/// Reads "2/3". Throws UsageError.
Shard ParseShard(std::string_view text);

/// The shard as ParseShard reads it.
std::string ShardText(const Shard& shard);

/// The rows of a shard. Shards are to runs what lanes are to threads: all shards together report what one run does.
/// \param rows  In ascending order, each once, of `catalogue`: those of all shards.
/// \return In ascending order. Throws UsageError where there are more shards than can be made of these rows.
Lane RowsOfShard(std::span<const std::int32_t> rows, const TypeCatalogue& catalogue, const Shard& shard);

}  // namespace qzmtraw::host

#endif  // QZMTRAW_HOST_SCAN_SHARD_H
