#ifndef QZMTRAW_STORES_RECORD_WALK_H
#define QZMTRAW_STORES_RECORD_WALK_H

#include <array>
#include <optional>

#include "frame/Block.h"
#include "frame/KFileSimulator.h"

namespace qzmtraw {

/// The largest size for which a walk's file simulator is made.
inline constexpr std::uint64_t kLargestWalkedFile = 0x7fffffff;

/// Walks a file that is a header and a chain of records, each of which tells where the next one begins.
///
/// A walk also ends where nothing can be read, where a record has no length, and after more records than such files
/// have: a host that serves the same sectors over and over would otherwise keep it going for ever.
///
/// \param head          The sector in which the file starts.
/// \param headerLength  Where the first record begins, in bytes.
/// \param lengthOf      Is given the first `kBytes` bytes of what follows a record and answers with its length, or
///                      with nothing if it is no record.
/// \return The offset in the file of the first thing that isn't a record.
template <std::uint32_t kBytes, class LengthOf>
std::uint64_t EndOfRecords(const Sector& head, std::uint64_t headerLength, LengthOf lengthOf) {
  constexpr std::uint32_t kMostRecords = 1U << 24U;
  KFileSimulator simulator(head.RawBlock(), head.Number(), kLargestWalkedFile);
  std::array<std::uint8_t, kBytes> record{};
  std::uint64_t end = headerLength;
  for (std::uint32_t count = 0; count < kMostRecords; ++count) {
    simulator.SetPos(end);
    if (!simulator.Read(record.data(), kBytes)) break;
    const std::optional<std::uint64_t> length = lengthOf(record);
    if (!length || *length == 0) break;
    end += *length;
  }
  return end;
}

}  // namespace qzmtraw

#endif  // QZMTRAW_STORES_RECORD_WALK_H
