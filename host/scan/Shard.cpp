#include "host/scan/Shard.h"

#include <charconv>
#include <vector>

#include "host/base/Error.h"
#include "host/base/Text.h"

namespace qzmtraw::host {

Shard ParseShard(std::string_view text) {
  Shard shard;
  const char* const end = text.data() + text.size();
  const auto [slash, error] = std::from_chars(text.data(), end, shard.number);
  if (error == std::errc{} && slash != end && *slash == '/') {
    const auto [rest, countError] = std::from_chars(slash + 1, end, shard.count);
    const bool isRight = countError == std::errc{} && rest == end;
    if (isRight && shard.number >= 1 && shard.number <= shard.count) return shard;
  }
  throw UsageError("--shard: " + Quoted(text) + " is no share of the work: write 2/3 for the second of three");
}

std::string ShardText(const Shard& shard) { return std::to_string(shard.number) + '/' + std::to_string(shard.count); }

Lane RowsOfShard(std::span<const std::int32_t> rows, const TypeCatalogue& catalogue, const Shard& shard) {
  const std::vector<Lane> shards = DealRows(rows, catalogue, shard.count);
  if (shards.size() < shard.count) {
    throw UsageError("--shard: these file types can be shared out to " + std::to_string(shards.size()) +
                     " at most, because some of them stay together: ask for fewer shards than " +
                     std::to_string(shard.count));
  }
  return shards[shard.number - 1];
}

}  // namespace qzmtraw::host
