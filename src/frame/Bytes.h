#ifndef QZMTRAW_FRAME_BYTES_H
#define QZMTRAW_FRAME_BYTES_H

/// \file
/// Byte strings, and numbers read from bytes at any address.

#include <array>
#include <bit>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <string_view>

namespace qzmtraw {

using ByteView = std::span<const std::uint8_t>;

/// A byte string that knows its length, so that a zero byte doesn't end it.
template <std::size_t kLength>
struct ByteString {
  std::array<std::uint8_t, kLength> bytes{};

  static constexpr std::size_t Size() { return kLength; }
  // NOLINTNEXTLINE(google-explicit-constructor): a byte string is a view of its bytes wherever one is asked for.
  constexpr operator ByteView() const { return bytes; }
};

/// The bytes of a string literal without the zero that the compiler adds. A zero byte that belongs to the string is
/// written out: Bytes("TRAILER!!!\0") has eleven bytes.
template <std::size_t kLength>
consteval ByteString<kLength - 1> Bytes(const char (&literal)[kLength]) {
  ByteString<kLength - 1> string;
  for (std::size_t i = 0; i + 1 < kLength; ++i) string.bytes[i] = static_cast<std::uint8_t>(literal[i]);
  return string;
}

/// A byte string of zeros.
template <std::size_t kLength>
inline constexpr ByteString<kLength> kZeros{};

/// The characters of an ASCII literal as a file in UTF-16 holds them, least significant byte first.
template <std::size_t kLength>
consteval ByteString<2 * (kLength - 1)> Utf16(const char (&literal)[kLength]) {
  ByteString<2 * (kLength - 1)> string;
  for (std::size_t i = 0; i + 1 < kLength; ++i) string.bytes[2 * i] = static_cast<std::uint8_t>(literal[i]);
  return string;
}

/// The bytes of a text, which must outlive the view.
inline ByteView AsBytes(std::string_view text) {
  return {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()};
}

/// A number of T's width, most significant byte first, from `bytes`, which need no alignment.
template <std::unsigned_integral T>
constexpr T LoadBig(const std::uint8_t* bytes) {
  T value = 0;
  for (std::size_t i = 0; i < sizeof(T); ++i) value = static_cast<T>(value << 4U << 4U | bytes[i]);
  return value;
}

/// A number of T's width, least significant byte first, from `bytes`, which need no alignment.
template <std::unsigned_integral T>
T LoadLittle(const std::uint8_t* bytes) {
  T value = 0;
  if constexpr (std::endian::native == std::endian::little) {
    std::memcpy(&value, bytes, sizeof value);
  } else {
    for (std::size_t i = sizeof(T); i-- > 0;) value = static_cast<T>(value << 4U << 4U | bytes[i]);
  }
  return value;
}

}  // namespace qzmtraw

#endif  // QZMTRAW_FRAME_BYTES_H
