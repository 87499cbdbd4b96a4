#ifndef QZMTRAW_TEXT_LEADING_COUNT_H
#define QZMTRAW_TEXT_LEADING_COUNT_H

#include <cstddef>

namespace qzmtraw {

/// How many of the indexes 0 to `count` - 1 are accepted before the first that isn't. They are taken by groups, so that
/// the compiler asks for a whole group at once.
template <class Accepts>
std::size_t LeadingCount(std::size_t count, Accepts accepts) {
  constexpr std::size_t kGroup = 32;
  std::size_t index = 0;
  for (; count - index >= kGroup; index += kGroup) {
    unsigned char refused = 0;
    for (std::size_t i = 0; i < kGroup; ++i) {
      refused = static_cast<unsigned char>(refused | (accepts(index + i) ? 0 : 1));
    }
    if (refused != 0) break;
  }
  while (index < count && accepts(index)) ++index;
  return index;
}

}  // namespace qzmtraw

#endif  // QZMTRAW_TEXT_LEADING_COUNT_H
