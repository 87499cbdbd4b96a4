#ifndef QZMTRAW_HOST_SCAN_LANES_H
#define QZMTRAW_HOST_SCAN_LANES_H

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "host/types/TypeCatalogue.h"

namespace qzmtraw::host {

/// A row at work in a lane.
struct LaneRow {
  std::int32_t row = 0;
  /// Another lane has the row as well and reports its finds; here it only does to the block what it does there.
  bool isSilent = false;

  friend bool operator==(const LaneRow&, const LaneRow&) = default;
};

/// The rows that one thread shows every block to, in ascending order.
using Lane = std::vector<LaneRow>;

/// Deals rows out to lanes so that the lanes have about the same work. A group goes to one lane as a whole. The rows
/// that write into blocks go to every lane, silent in all but one, so that each lane's copy of a block looks to each
/// row as it does with one lane.
/// \param rows       In ascending order, each once, of `catalogue`.
/// \param laneCount  At least 1.
/// \return At most that many lanes, none without a row to report.
std::vector<Lane> DealRows(std::span<const std::int32_t> rows, const TypeCatalogue& catalogue, std::size_t laneCount);

/// Deals out the rows of a lane. Those that are silent in it stay so.
std::vector<Lane> DealRows(std::span<const LaneRow> rows, const TypeCatalogue& catalogue, std::size_t laneCount);

/// Whether the row's detector writes into the memory of blocks.
bool WritesIntoBlocks(std::int32_t row);

/// Whether such a row may write into a block with these bytes. Most blocks stay as they are.
/// \param sectorSize  In bytes, at least 1.
bool MayBeWrittenInto(std::span<const std::uint8_t> block, std::uint32_t sectorSize);

}  // namespace qzmtraw::host

#endif  // QZMTRAW_HOST_SCAN_LANES_H
