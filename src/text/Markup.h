#ifndef QZMTRAW_TEXT_MARKUP_H
#define QZMTRAW_TEXT_MARKUP_H

/// \file
/// What the tests for tagged text have in common. Text is made of units: single bytes, or the two bytes of UTF-16 with
/// the least significant one first.

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>

#include "frame/Block.h"
#include "frame/Head.h"
#include "frame/KFileSimulator.h"
#include "frame/Search.h"

namespace qzmtraw {

/// Bytes of a unit.
enum class Encoding : std::uint8_t { kBytes = 1, kUtf16 = 2 };

/// What a sector may begin with in which markup begins: a tag, white space in front of it, or the mark of UTF-16.
inline constexpr auto kMarkupMayBegin =
    At(0, "<") || At(0, " ") || At(0, "\r") || At(0, "\n") || At(0, "\t") || At(0, "\xFF\xFE");

/// Tells by the byte order mark. Text in UTF-16 begins behind it, at offset 2.
inline Encoding EncodingOf(const Sector& sector) {
  return sector.Has(0, Bytes("\xFF\xFE")) ? Encoding::kUtf16 : Encoding::kBytes;
}

/// The offset of a unit in a text of this encoding.
inline std::size_t OffsetOf(std::size_t unit, Encoding encoding) {
  return encoding == Encoding::kUtf16 ? 2 + 2 * unit : unit;
}

/// The unit, from `unit` on and among the first 128, at which a sector's first tag begins. White space alone may stand
/// in front of it.
inline std::optional<std::size_t> FindOpening(const Sector& sector, Encoding encoding, std::size_t unit = 0) {
  for (; unit < 128; ++unit) {
    const auto offset = static_cast<std::int64_t>(OffsetOf(unit, encoding));
    const std::uint16_t value = encoding == Encoding::kUtf16 ? sector.U16(offset) : sector.U8(offset);
    if (value == '<') return unit;
    if (value != '\r' && value != '\n' && value != '\t' && value != ' ') break;
  }
  return std::nullopt;
}

/// The first 4096 units of a document. Those that can't be read are 0.
class DocumentHead {
 public:
  static constexpr std::size_t kUnits = 4096;

  /// \param limit  The kind's largest size, for the simulator.
  DocumentHead(const Sector& sector, Encoding encoding, std::uint64_t limit)
      : width_(static_cast<std::size_t>(encoding)) {
    KFileSimulator file(sector.RawBlock(), sector.Number(), limit);
    file.SetPos(OffsetOf(0, encoding));
    file.Read(bytes_.data(), static_cast<std::uint32_t>(kUnits * width_));
    readEnd_ = file.GetPos();
  }

  std::uint16_t operator[](std::size_t unit) const {
    const std::uint8_t* const bytes = bytes_.data() + unit * width_;
    return width_ == 1 ? *bytes : LoadLittle<std::uint16_t>(bytes);
  }

  /// The bytes from a unit on, up to the unit `end`.
  ByteView From(std::size_t unit, std::size_t end = kUnits) const {
    return ByteView(bytes_).first(end * width_).subspan(unit * width_);
  }

  /// The position in the document that the reading came to.
  std::uint64_t ReadEnd() const { return readEnd_; }

  /// The first unit `wanted` from the unit `from` on, below `end`, if no unit `unwanted` stands in front of it.
  std::optional<std::size_t> Seek(std::size_t from, std::size_t end, char wanted, char unwanted) const {
    for (; from < end; ++from) {
      if ((*this)[from] == wanted) return from;
      if ((*this)[from] == unwanted) break;
    }
    return std::nullopt;
  }

 private:
  std::size_t width_;
  std::uint64_t readEnd_ = 0;
  std::array<std::uint8_t, 2 * kUnits> bytes_{};
};

}  // namespace qzmtraw

#endif  // QZMTRAW_TEXT_MARKUP_H
