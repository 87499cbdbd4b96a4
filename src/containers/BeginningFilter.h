#ifndef QZMTRAW_CONTAINERS_BEGINNING_FILTER_H
#define QZMTRAW_CONTAINERS_BEGINNING_FILTER_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "frame/Bytes.h"

namespace qzmtraw {

/// Finds the places at which one of many byte strings may begin, several times faster than by looking at every byte.
/// It looks at words of four bytes, one behind the other: wherever the first seven bytes of a string stand, one of
/// these words is among them. A table says of every word, by its hash, at which offsets of a string it stands.
class BeginningFilter {
 public:
  /// Bytes of a string's beginning that decide. No string may be shorter.
  static constexpr std::size_t kBeginning = 7;

  constexpr void Add(std::string_view string) {
    for (std::size_t offset = 0; offset < kStride; ++offset) {
      std::uint32_t word = 0;
      for (std::size_t i = kWord; i-- > 0;) word = word << 8 | static_cast<std::uint8_t>(string[offset + i]);
      offsetsOf_[Hash(word)] |= static_cast<std::uint8_t>(1U << offset);
    }
  }

  /// Calls `visit(position)`, in order, for positions in front of `end`: for all at which the beginning of a string
  /// stands, and for a few others. The bytes up to `end + kBeginning - 1` are looked at. Stops when `visit` returns
  /// true.
  template <class Visit>
  void ForEachCandidate(const std::uint8_t* bytes, std::size_t end, Visit visit) const {
    // The word at `last` is part of the beginnings at the four positions up to `last`.
    const std::size_t stop = end + kStride - 1;
    for (std::size_t last = NextKnownWord(bytes, kStride - 1, stop); last < stop;
         last = NextKnownWord(bytes, last + kStride, stop)) {
      const std::uint32_t offsets = OffsetsOfWordAt(bytes + last);
      for (std::size_t offset = kStride; offset-- > 0 && last - offset < end;) {
        const std::size_t position = last - offset;
        const bool mayBegin = (offsets >> offset & 1U) != 0 && (OffsetsOfWordAt(bytes + position) & 1U) != 0;
        if (mayBegin && visit(position)) return;
      }
    }
  }

 private:
  static constexpr std::size_t kWord = 4;
  static constexpr std::size_t kStride = kBeginning - kWord + 1;
  /// For a table that stays in the first-level cache beside the data.
  static constexpr unsigned kHashBits = 13;

  static constexpr std::size_t Hash(std::uint32_t word) {
    constexpr std::uint32_t kOddNumber = 0x9E3779B1;
    return word * kOddNumber >> (32 - kHashBits);
  }

  std::uint32_t OffsetsOfWordAt(const std::uint8_t* bytes) const {
    return offsetsOf_[Hash(LoadLittle<std::uint32_t>(bytes))];
  }

  /// The first place from `position` on, in steps, at which a word of a string's beginning stands; none in front of
  /// `stop` if it isn't. Words are taken by fours to save the loop's own work.
  std::size_t NextKnownWord(const std::uint8_t* bytes, std::size_t position, std::size_t stop) const {
    constexpr std::size_t kGroup = 4;
    for (; position + (kGroup - 1) * kStride < stop; position += kGroup * kStride) {
      std::uint32_t offsets = 0;
      for (std::size_t i = 0; i < kGroup; ++i) offsets |= OffsetsOfWordAt(bytes + position + i * kStride);
      if (offsets != 0) break;
    }
    while (position < stop && OffsetsOfWordAt(bytes + position) == 0) position += kStride;
    return position;
  }

  /// Bit k says that a word with this hash stands k bytes behind the beginning of a string.
  std::array<std::uint8_t, std::size_t{1} << kHashBits> offsetsOf_{};
};

}  // namespace qzmtraw

#endif  // QZMTRAW_CONTAINERS_BEGINNING_FILTER_H
