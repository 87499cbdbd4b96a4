#ifndef QZMTRAW_FRAME_SEARCH_H
#define QZMTRAW_FRAME_SEARCH_H

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <optional>

#include "frame/Bytes.h"

namespace qzmtraw {

/// Whether the case of ASCII letters counts in a comparison. All other bytes are always compared as they are.
enum class LetterCase { kCounts, kIgnored };

/// What is set in a byte before it is compared with a byte of a needle: the bit by which an ASCII letter's small form
/// differs from its capital, if the needle's byte is a letter whose case is ignored.
constexpr std::uint8_t CaseBit(std::uint8_t needleByte, LetterCase letterCase) {
  const auto small = static_cast<std::uint8_t>(needleByte | 0x20);
  return letterCase == LetterCase::kIgnored && small >= 'a' && small <= 'z' ? 0x20 : 0;
}

/// Whether `bytes` begin with `text`.
inline bool BeginsWith(ByteView bytes, ByteView text, LetterCase letterCase = LetterCase::kCounts) {
  return bytes.size() >= text.size() &&
         std::equal(text.begin(), text.end(), bytes.begin(), [&](auto wanted, auto byte) {
           const std::uint8_t caseBit = CaseBit(wanted, letterCase);
           return (byte | caseBit) == (wanted | caseBit);
         });
}

namespace detail {

/// A needle's first and last byte, by which places in a haystack are sorted out, sixteen at a time.
class Sieve {
 public:
  /// \param needle  Not empty.
  Sieve(ByteView needle, LetterCase letterCase)
      : lastOffset_(needle.size() - 1),
        first_(Filled(needle.front(), letterCase)),
        last_(Filled(needle.back(), letterCase)) {}

  /// The first place from `at` on, a multiple of a group behind it, in whose group both bytes stand somewhere, or
  /// `places`. The last group reaches back into the one before.
  /// \param places  How many places the haystack has for the needle, at least one group.
  std::size_t NextGroup(const std::uint8_t* haystack, std::size_t at, std::size_t places) const {
    for (; at < places; at += kGroup) {
      const std::uint8_t* const group = haystack + std::min(at, places - kGroup);
      Vector found{};
      for (std::size_t i = 0; i < kGroup; i += sizeof(Vector)) {
        found |= Matches(group + i, first_) & Matches(group + i + lastOffset_, last_);
      }
      std::array<std::uint64_t, 2> words;
      std::memcpy(words.data(), &found, sizeof found);
      if ((words[0] | words[1]) != 0) return at;
    }
    return places;
  }

  static constexpr std::size_t kGroup = 64;

 private:
  using Vector [[gnu::vector_size(16)]] = std::uint8_t;
  struct Wanted {
    Vector byte;
    Vector caseBit;
  };

  static Wanted Filled(std::uint8_t byte, LetterCase letterCase) {
    const std::uint8_t caseBit = CaseBit(byte, letterCase);
    return {Vector{} + static_cast<std::uint8_t>(byte | caseBit), Vector{} + caseBit};
  }

  static Vector Matches(const std::uint8_t* bytes, const Wanted& wanted) {
    Vector vector;
    std::memcpy(&vector, bytes, sizeof vector);
    return reinterpret_cast<Vector>((vector | wanted.caseBit) == wanted.byte);
  }

  std::size_t lastOffset_;
  Wanted first_;
  Wanted last_;
};

}  // namespace detail

/// Finds the first place at which `needle` stands whole in `haystack`, at or behind the offset `from`. The speed hardly
/// depends on what is searched. An empty needle is found at once. \return The offset in `haystack`.
inline std::optional<std::size_t> Find(ByteView haystack, ByteView needle, std::size_t from = 0,
                                       LetterCase letterCase = LetterCase::kCounts) {
  if (needle.empty() && from <= haystack.size()) return from;
  if (from >= haystack.size() || haystack.size() - from < needle.size()) return std::nullopt;
  const std::size_t places = haystack.size() - needle.size() + 1;
  if (needle.size() == 1 && letterCase == LetterCase::kCounts) {
    const void* found = std::memchr(haystack.data() + from, needle.front(), places - from);
    if (found == nullptr) return std::nullopt;
    return static_cast<std::size_t>(static_cast<const std::uint8_t*>(found) - haystack.data());
  }
  const detail::Sieve sieve(needle, letterCase);
  while (from < places) {
    if (places >= detail::Sieve::kGroup) from = sieve.NextGroup(haystack.data(), from, places);
    const std::size_t groupEnd = std::min(from + detail::Sieve::kGroup, places);
    for (; from < groupEnd; ++from) {
      if (BeginsWith(haystack.subspan(from), needle, letterCase)) return from;
    }
  }
  return std::nullopt;
}

/// The bytes in front of the first zero byte, or all.
inline ByteView UpToZero(ByteView bytes) { return bytes.first(Find(bytes, Bytes("\0")).value_or(bytes.size())); }

}  // namespace qzmtraw

#endif  // QZMTRAW_FRAME_SEARCH_H
