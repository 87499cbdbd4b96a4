#include "text/Markup.h"
#include "text/PdfFile.h"

namespace qzmtraw {

/// PDF files. A linearized file tells its length in a dictionary near its start (ISO 32000-1, annex F).
class KPdfFileType final : public PdfFile<KPdfFileType> {
 public:
  static bool IsHead(const Sector& sector) { return HasVersion(sector); }

  static std::optional<std::int64_t> KnownSize(const Sector& sector) {
    constexpr std::size_t kSearched = 48;
    constexpr auto kLengthKey = Bytes("/L ");
    const std::optional<std::size_t> key = Find(UpToZero(sector.BytesAt(0, kSearched)), kLengthKey);
    if (!key) return std::nullopt;
    const std::int32_t claimedSize = NumberAt(sector, static_cast<std::int64_t>(*key + kLengthKey.Size()));
    return claimedSize == 0 ? std::nullopt : std::optional<std::int64_t>(claimedSize);
  }

 private:
  /// A decimal number, which white space and a sign may precede. It wraps at 32 bits.
  static std::int32_t NumberAt(const Sector& sector, std::int64_t offset) {
    while (sector.U8(offset) == ' ' || (sector.U8(offset) >= '\t' && sector.U8(offset) <= '\r')) ++offset;
    const bool isNegative = sector.U8(offset) == '-';
    if (isNegative || sector.U8(offset) == '+') ++offset;
    std::uint32_t number = 0;
    for (; IsDigit(sector.U8(offset)); ++offset) number = number * 10 + (sector.U8(offset) - std::uint32_t{'0'});
    return static_cast<std::int32_t>(isNegative ? 0 - number : number);
  }
};

DETECTOR(KPdfFileType);

}  // namespace qzmtraw
