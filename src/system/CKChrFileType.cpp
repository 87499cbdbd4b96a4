#include "frame/Search.h"
#include "frame/StartOnly.h"

namespace qzmtraw {

/// Stroked fonts of the Borland Graphics Interface: a text that 1A ends, the header's size, the font's name of four
/// letters and the font's size. Headers have less than 256 bytes, so the first zero byte is the high byte of their
/// size.
class CKChrFileType final : public StartOnly<CKChrFileType> {
 public:
  static constexpr auto kHead = At(0, "PK\10\10BGI ");

  static bool IsHead(const Sector& sector) {
    return kTextAt + TextLength(sector) < sector.Size() && sector.Holds(SizesAt(sector) + 6, 2);
  }

  static std::uint64_t SizeAt(const Sector& sector) {
    const std::int64_t sizes = SizesAt(sector);
    return std::uint64_t{sector.U16(sizes)} + sector.U16(sizes + 6);
  }

 private:
  static constexpr std::int64_t kTextAt = 8;

  /// Bytes in front of the first zero byte of the sector, or all.
  static std::int64_t TextLength(const Sector& sector) {
    const auto room = static_cast<std::size_t>(std::max<std::int64_t>(sector.Size() - kTextAt, 0));
    return static_cast<std::int64_t>(UpToZero(sector.BytesAt(kTextAt, room)).size());
  }

  /// Where the header's size stands; the font's size stands six bytes behind it. A text of two bytes and less is none.
  static std::int64_t SizesAt(const Sector& sector) {
    const std::int64_t length = TextLength(sector);
    return length > 2 ? kTextAt + length - 1 : kTextAt;
  }
};

DETECTOR(CKChrFileType);

}  // namespace qzmtraw
