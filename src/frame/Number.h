#ifndef QZMTRAW_FRAME_NUMBER_H
#define QZMTRAW_FRAME_NUMBER_H

#include <cstdint>

#include "frame/Bytes.h"

namespace qzmtraw {

constexpr bool IsDigit(std::uint8_t byte) { return byte >= '0' && byte <= '9'; }

/// The decimal number that `text` begins with. White space and a sign may precede it, and anything may follow; no
/// digits are 0. It wraps at 32 bits.
constexpr std::int32_t NumberIn(ByteView text) {
  const auto at = [text](std::size_t i) { return i < text.size() ? text[i] : std::uint8_t{0}; };
  std::size_t i = 0;
  while (at(i) == ' ' || (at(i) >= '\t' && at(i) <= '\r')) ++i;
  const bool isNegative = at(i) == '-';
  if (isNegative || at(i) == '+') ++i;
  std::uint32_t number = 0;
  for (; IsDigit(at(i)); ++i) number = number * 10 + (at(i) - std::uint32_t{'0'});
  return static_cast<std::int32_t>(isNegative ? 0 - number : number);
}

}  // namespace qzmtraw

#endif  // QZMTRAW_FRAME_NUMBER_H
