#include <array>

#include "frame/KFileSimulator.h"
#include "frame/Search.h"
#include "frame/StartOnly.h"

namespace qzmtraw {

/// Screen fonts of DOS code pages, in the forms of DOS ("FONT"), Windows NT ("FONT.NT") and DR-DOS ("DRFONT"). The
/// header tells where the font information stands, which must lie in the block.
class CKCpiFileType final : public StartOnly<CKCpiFileType> {
 public:
  static constexpr auto kHead =
      At(0, "\377FONT\0\0\0") || At(0, "\377FONT.NT") || At(0, "\177DRFONT\0\0\0\0\0\0\0\0\0");

  static bool IsHead(const Sector& sector) {
    const std::int64_t information = InformationAt(sector);
    if (!IsDrDos(sector)) return sector.Holds(information, 2) && sector.Holds(information + 4, 4);
    return sector.Holds(information, 1) && sector.Holds(TablesAt(sector), std::size_t{4} * sector.U8(information));
  }

  static std::uint64_t SizeAt(const Sector& sector) {
    return IsDrDos(sector) ? SizeOfFonts(sector) : SizeToEndOfText(sector);
  }

 private:
  static std::int64_t InformationAt(const Sector& sector) { return sector.U32(19); }
  static bool IsDrDos(const Sector& sector) { return sector.U8(0) == 0x7F; }
  /// Where the four-byte numbers of the DR-DOS form stand, behind the number of fonts and the fonts' heights.
  static std::int64_t TablesAt(const Sector& sector) {
    const std::int64_t information = InformationAt(sector);
    return information + 1 + sector.U8(information);
  }

  static std::uint64_t SizeOfFonts(const Sector& sector) {
    const std::int64_t information = InformationAt(sector);
    std::uint64_t size = static_cast<std::uint64_t>(information) + 9;
    for (std::int64_t i = 0; i < sector.U8(information); ++i) size += sector.U32(TablesAt(sector) + 4 * i);
    return size;
  }

  /// The number of code pages times the place that the first one gives for the next, and the text behind that up to its
  /// first zero byte, if one comes soon.
  static std::uint64_t SizeToEndOfText(const Sector& sector) {
    const std::int64_t information = InformationAt(sector);
    const auto pages = static_cast<std::int32_t>(sector.U16(information) * sector.U32(information + 4));
    const auto size = static_cast<std::uint64_t>(pages + information + 2);
    KFileSimulator file(sector.RawBlock(), sector.Number(), 0x7FFFFFFF);
    file.SetPos(size);
    std::array<std::uint8_t, 512> text{};
    file.Read(text.data(), text.size());
    return size + Find(text, Bytes("\0")).value_or(0);
  }
};

DETECTOR(CKCpiFileType);

}  // namespace qzmtraw
