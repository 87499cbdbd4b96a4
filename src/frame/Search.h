#ifndef QZMTRAW_FRAME_SEARCH_H
#define QZMTRAW_FRAME_SEARCH_H

#include <cstddef>
#include <cstring>
#include <optional>

#include "frame/Bytes.h"

namespace qzmtraw {

/// Finds the first place at which `needle` stands whole in `haystack`, at or behind the offset `from`. The first byte
/// is looked for at memory speed. An empty needle is found at once. \return The offset in `haystack`.
inline std::optional<std::size_t> Find(ByteView haystack, ByteView needle, std::size_t from = 0) {
  if (needle.empty() && from <= haystack.size()) return from;
  while (from < haystack.size() && haystack.size() - from >= needle.size()) {
    const std::size_t firstBytes = haystack.size() - from - needle.size() + 1;
    const void* found = std::memchr(haystack.data() + from, needle.front(), firstBytes);
    if (found == nullptr) break;
    from = static_cast<std::size_t>(static_cast<const std::uint8_t*>(found) - haystack.data());
    if (std::memcmp(found, needle.data(), needle.size()) == 0) return from;
    ++from;
  }
  return std::nullopt;
}

}  // namespace qzmtraw

#endif  // QZMTRAW_FRAME_SEARCH_H
