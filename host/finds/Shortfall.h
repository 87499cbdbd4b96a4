#ifndef QZMTRAW_HOST_FINDS_SHORTFALL_H
#define QZMTRAW_HOST_FINDS_SHORTFALL_H

#include <cstdint>

namespace qzmtraw::host {

/// So many bytes behind the told size belong to a file of a row, or may: its detector leaves them out.
std::uint64_t ShortfallOf(std::int32_t row);

/// What FindRecord::notes says of a find for which more is taken than its size.
inline constexpr const char* kNoteShortfall = "a few bytes that its type's size leaves out are taken as well";

}  // namespace qzmtraw::host

#endif  // QZMTRAW_HOST_FINDS_SHORTFALL_H
