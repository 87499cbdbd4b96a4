#ifndef QZMTRAW_CONTAINERS_BEGINNING_FILTER_H
#define QZMTRAW_CONTAINERS_BEGINNING_FILTER_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "frame/Bytes.h"

namespace qzmtraw {

/// Finds the places at which one of many byte strings may begin, several times faster than by looking at every byte.
/// It looks at words of four bytes, one in five: wherever the first eight bytes of a string stand, one of these words
/// is among them. A table says for every word, by its hash, at which offsets of a string's beginning it stands.
class BeginningFilter {
 public:
  /// Bytes of a string's beginning that decide. No string may be shorter.
  static constexpr std::size_t kBeginning = 8;

  constexpr void Add(std::string_view string) {
    for (std::size_t offset = 0; offset < kStride; ++offset) {
      std::uint32_t word = 0;
      for (std::size_t i = kWord; i-- > 0;) word = word << 8 | static_cast<std::uint8_t>(string[offset + i]);
      offsetsOf_[Hash(word)] |= static_cast<std::uint8_t>(1U << offset);
    }
  }

  /// Calls `visit(position)`, in order, for positions in front of `end`: for all at which the first eight bytes of a
  /// string stand, and for a few others. `end + 7` bytes are looked at. Stops when `visit` returns true.
  template <class Visit>
  void ForEachCandidate(const std::uint8_t* bytes, std::size_t end, Visit visit) const {
    // The word at `last` is part of the beginnings at the five positions up to `last`.
    for (std::size_t last = kStride - 1; last < end + kStride - 1; last += kStride) {
      const std::uint32_t offsets = OffsetsOfWordAt(bytes + last);
      if (offsets == 0) [[likely]] {
        continue;
      }
      for (std::size_t offset = kStride; offset-- > 0 && last - offset < end;) {
        const std::size_t position = last - offset;
        if ((offsets >> offset & 1U) == 0 || (OffsetsOfWordAt(bytes + position) & 1U) == 0) continue;
        if (visit(position)) return;
      }
    }
  }

 private:
  static constexpr std::size_t kWord = 4;
  static constexpr std::size_t kStride = kBeginning - kWord + 1;
  static constexpr unsigned kHashBits = 13;

  static constexpr std::size_t Hash(std::uint32_t word) {
    constexpr std::uint32_t kOddNumber = 0x9E3779B1;
    return word * kOddNumber >> (32 - kHashBits);
  }

  std::uint32_t OffsetsOfWordAt(const std::uint8_t* bytes) const {
    return offsetsOf_[Hash(LoadLittle<std::uint32_t>(bytes))];
  }

  /// Bit k says that a word with this hash stands k bytes behind the beginning of a string.
  std::array<std::uint8_t, std::size_t{1} << kHashBits> offsetsOf_{};
};

}  // namespace qzmtraw

#endif  // QZMTRAW_CONTAINERS_BEGINNING_FILTER_H
