#ifndef QZMTRAW_TEXT_LEADING_COUNT_H
#define QZMTRAW_TEXT_LEADING_COUNT_H

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>

#include "frame/Bytes.h"

namespace qzmtraw {

/// How many of the indexes 0 to `count` - 1 are accepted before the first that isn't. They are taken by groups, so that
/// the compiler asks for a whole group at once; what was refused is found without a branch for each index.
template <class Accepts>
std::size_t LeadingCount(std::size_t count, Accepts accepts) {
  constexpr std::size_t kGroup = 32;
  constexpr std::size_t kWord = 8;
  std::size_t index = 0;
  for (; count - index >= kGroup; index += kGroup) {
    std::array<std::uint8_t, kGroup> refused{};
    std::uint8_t any = 0;
    for (std::size_t i = 0; i < kGroup; ++i) {
      refused[i] = accepts(index + i) ? 0 : 1;
      any = static_cast<std::uint8_t>(any | refused[i]);
    }
    if (any == 0) continue;
    for (std::size_t i = 0; i < kGroup; i += kWord) {
      const auto word = LoadLittle<std::uint64_t>(refused.data() + i);
      if (word != 0) return index + i + static_cast<std::size_t>(std::countr_zero(word)) / 8;
    }
  }
  while (index < count && accepts(index)) ++index;
  return index;
}

}  // namespace qzmtraw

#endif  // QZMTRAW_TEXT_LEADING_COUNT_H
