#ifndef QZMTRAW_TEXT_PDF_FILE_H
#define QZMTRAW_TEXT_PDF_FILE_H

#include "frame/HeadTail.h"
#include "frame/Number.h"

namespace qzmtraw {

/// Files in the Portable Document Format (ISO 32000-1): a header with the version, and the first "%%EOF", which is
/// taken with one byte of line end behind it. So a file with incremental updates loses them.
template <class Self>
class PdfFile : public HeadTail<Self> {
 public:
  /// The version's digits are asked for by HasVersion.
  static constexpr auto kHead = At(0, "%PDF-") && At(6, ".");
  static constexpr std::int32_t kFloor = 9;
  static constexpr std::int64_t kMinimum = 512;
  static constexpr std::uint64_t kDefaultMaxFileSize = 0xA00000;

  static bool HasVersion(const Sector& sector) { return IsDigit(sector.U8(5)) && IsDigit(sector.U8(7)); }

  static std::optional<std::int64_t> EndIn(const Sector& sector) {
    const std::optional<std::int64_t> end = HeadTail<Self>::EndBehindTail(sector, Bytes("%%EOF"));
    return end ? std::optional(*end + 1) : std::nullopt;
  }
};

}  // namespace qzmtraw

#endif  // QZMTRAW_TEXT_PDF_FILE_H
