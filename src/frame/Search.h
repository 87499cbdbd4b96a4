#ifndef QZMTRAW_FRAME_SEARCH_H
#define QZMTRAW_FRAME_SEARCH_H

#include <algorithm>
#include <array>
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

/// The bytes in front of the first zero byte, or all.
inline ByteView UpToZero(ByteView bytes) { return bytes.first(Find(bytes, Bytes("\0")).value_or(bytes.size())); }

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

/// Four bytes of a needle, the first two and the last two, by which places are sorted out many at a time.
class Sieve {
 public:
  Sieve(ByteView needle, LetterCase letterCase) {
    const std::size_t last = needle.size() - 1;
    const std::size_t step = std::min<std::size_t>(1, last);
    offsets_ = {0, step, last - step, last};
    for (std::size_t k = 0; k < offsets_.size(); ++k) {
      caseBits_[k] = CaseBit(needle[offsets_[k]], letterCase);
      wanted_[k] = needle[offsets_[k]] | caseBits_[k];
    }
  }

  /// The first of `count` places from `bytes` on at which the four bytes stand, or `count`.
  std::size_t FirstPlace(const std::uint8_t* bytes, std::size_t count) const {
    const std::array<const std::uint8_t*, 4> at{bytes + offsets_[0], bytes + offsets_[1], bytes + offsets_[2],
                                                bytes + offsets_[3]};
    const auto matches = [at, bits = caseBits_, wanted = wanted_](std::size_t i) {
      const auto differences =
          static_cast<std::uint8_t>(((at[0][i] | bits[0]) ^ wanted[0]) | ((at[1][i] | bits[1]) ^ wanted[1]) |
                                    ((at[2][i] | bits[2]) ^ wanted[2]) | ((at[3][i] | bits[3]) ^ wanted[3]));
      return static_cast<std::uint8_t>(differences == 0 ? 0xFF : 0);
    };
    // A group without branches becomes vector instructions. The last group reaches back into the one before.
    constexpr std::size_t kGroup = 64;
    std::size_t from = 0;
    while (count >= kGroup && from < count) {
      from = std::min(from, count - kGroup);
      std::uint8_t any = 0;
      for (std::size_t i = 0; i < kGroup; ++i) any |= matches(from + i);
      if (any != 0) break;
      from += kGroup;
    }
    while (from < count && matches(from) == 0) ++from;
    return from;
  }

 private:
  std::array<std::size_t, 4> offsets_{};
  std::array<std::uint8_t, 4> caseBits_{};
  std::array<std::uint8_t, 4> wanted_{};
};

}  // namespace detail

/// As Find, for a needle whose first byte is common in what is searched, such as a tag in markup. The speed hardly
/// depends on what is searched.
inline std::optional<std::size_t> FindText(ByteView haystack, ByteView needle,
                                           LetterCase letterCase = LetterCase::kCounts) {
  if (needle.empty()) return 0;
  if (haystack.size() < needle.size()) return std::nullopt;
  const detail::Sieve sieve(needle, letterCase);
  const std::size_t places = haystack.size() - needle.size() + 1;
  for (std::size_t at = 0; at < places; ++at) {
    at += sieve.FirstPlace(haystack.data() + at, places - at);
    if (at < places && BeginsWith(haystack.subspan(at), needle, letterCase)) return at;
  }
  return std::nullopt;
}

}  // namespace qzmtraw

#endif  // QZMTRAW_FRAME_SEARCH_H
