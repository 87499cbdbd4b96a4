#include <limits>

#include "frame/Number.h"
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
    const auto number = static_cast<std::int64_t>(*key + kLengthKey.Size());
    const std::int32_t claimedSize = NumberIn(sector.BytesAt(number, std::numeric_limits<std::size_t>::max()));
    return claimedSize == 0 ? std::nullopt : std::optional<std::int64_t>(claimedSize);
  }
};

DETECTOR(KPdfFileType);

}  // namespace qzmtraw
