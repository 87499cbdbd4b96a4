#ifndef QZMTRAW_FUZZ_ROWS_H
#define QZMTRAW_FUZZ_ROWS_H

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "host/scan/Lanes.h"

namespace qzmtraw::fuzz {

/// The rows whose classes lie in a folder of src/, in ascending order. The three rows of KHeadTailFileTemplate count
/// with the images and the system files that they are. Every row is in one subsystem. "all" has all rows.
std::span<const std::int32_t> RowsOf(std::string_view subsystem);

/// The row and those that share its classifier, in ascending order.
std::vector<std::int32_t> RowsOfSameGroup(std::int32_t row);

/// What names a row in messages, such as "row 144 (7z)".
std::string NameOf(std::int32_t row);

/// Deals rows out to lanes as the tool does.
/// \param rows  In any order.
std::vector<host::Lane> Deal(std::vector<std::int32_t> rows, std::size_t laneCount);

}  // namespace qzmtraw::fuzz

#endif  // QZMTRAW_FUZZ_ROWS_H
