#ifndef QZMTRAW_TEXT_PAIR_SET_H
#define QZMTRAW_TEXT_PAIR_SET_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "frame/Bytes.h"

namespace qzmtraw {

/// The pairs of neighbouring bytes in a text. One pass over the text makes it; after that, most literals that the text
/// doesn't hold are known to be missing without a search. Pairs share places, so it errs on the other side at times.
class PairSet {
 public:
  explicit PairSet(ByteView text) {
    for (std::size_t i = 1; i < text.size(); ++i) seen_[Place(text[i - 1], text[i])] = true;
  }

  /// False: the text doesn't hold the literal.
  bool MayHold(std::string_view literal) const {
    for (std::size_t i = 1; i < literal.size(); ++i) {
      if (!seen_[Place(static_cast<std::uint8_t>(literal[i - 1]), static_cast<std::uint8_t>(literal[i]))]) return false;
    }
    return true;
  }

 private:
  static constexpr std::size_t kPlaces = 1024;

  static std::size_t Place(std::uint8_t first, std::uint8_t second) { return (first * 8U ^ second) % kPlaces; }

  std::array<bool, kPlaces> seen_{};
};

}  // namespace qzmtraw

#endif  // QZMTRAW_TEXT_PAIR_SET_H
