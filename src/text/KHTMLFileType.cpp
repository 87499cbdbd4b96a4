#include "frame/HeadTail.h"
#include "text/Markup.h"

namespace qzmtraw {

namespace {

/// What is compared at an opening or closing tag. In UTF-16 it breaks off amid the tag.
struct Tags {
  ByteView doctype;
  ByteView opening;
  ByteView closing;
};

constexpr auto kDoctype = Bytes("<!DOCTYPE HTML");
constexpr auto kOpening = Bytes("<HTML");
constexpr auto kClosing = Bytes("</HTML>");
constexpr auto kWideDoctype = Bytes("<\0!\0D\0O\0C\0T\0Y\0");
constexpr auto kWideOpening = Bytes("<\0H\0T");
constexpr auto kWideClosingStart = Bytes("<\0/\0H\0T");
constexpr auto kWideClosing = Bytes("<\0/\0H\0T\0M\0L\0>\0");

}  // namespace

/// Web pages (HTML 4.01, and any other whose doctype begins with "HTML"), also in UTF-16. A page whose closing tag
/// stands in its first 4096 characters ends two bytes behind it; any other has whole sectors.
class KHTMLFileType final : public HeadTail<KHTMLFileType> {
 public:
  static constexpr auto kHead = kMarkupMayBegin;
  static constexpr std::uint64_t kDefaultMaxFileSize = 0x100000;

  bool IsHead(const Sector& sector) {
    declaredSize = 0;
    const bool isWide = EncodingOf(sector) == Encoding::kUtf16;
    const Tags tags = isWide ? Tags{kWideDoctype, kWideOpening, kWideClosingStart} : Tags{kDoctype, kOpening, kClosing};
    const std::optional<std::size_t> opening = FindOpening(sector, EncodingOf(sector));
    if (!opening) return false;
    const ByteView openingTag =
        sector.BytesAt(static_cast<std::int64_t>(OffsetOf(*opening, EncodingOf(sector))), tags.doctype.size());
    if (!BeginsWith(openingTag, tags.doctype, LetterCase::kIgnored) &&
        !BeginsWith(openingTag, tags.opening, LetterCase::kIgnored)) {
      return false;
    }
    const DocumentHead head(sector, EncodingOf(sector), kDefaultMaxFileSize);
    const std::optional<std::size_t> openingEnd = head.Seek(*opening + 4, 2048, '>', '<');
    if (!openingEnd) return false;
    if (const std::optional<std::size_t> unit = FindClosing(head, *openingEnd + 1, tags.closing, isWide ? 2 : 1)) {
      declaredSize =
          isWide ? WideSize(head.ReadEnd(), *unit) : static_cast<std::int64_t>(head.ReadEnd() - 4087 + *unit);
    }
    return true;
  }

  std::optional<std::int64_t> KnownSize(const Sector& /*sector*/) const {
    return declaredSize == 0 ? std::nullopt : std::optional(declaredSize);
  }

  /// The page's sectors are counted by their numbers.
  std::optional<std::int64_t> EndIn(const Sector& sector) const {
    const ByteView searched = sector.Bytes().first(static_cast<std::size_t>(sector.Size()) - 1);
    const bool isWide = EncodingOf(sector) == Encoding::kUtf16;
    const ByteView tag = isWide ? ByteView(kWideClosing) : ByteView(kClosing);
    if (!Find(searched, tag, 0, LetterCase::kIgnored)) return std::nullopt;
    const std::uint64_t size = (sector.Number() - fileStart + 1) * static_cast<std::uint64_t>(sector.Size());
    return static_cast<std::int64_t>(size - fileSize);
  }

 private:
  /// The unit, from `first` on and below 4089, at which a closing tag begins. A unit has `width` bytes.
  static std::optional<std::size_t> FindClosing(const DocumentHead& head, std::size_t first, ByteView tag,
                                                std::size_t width) {
    const ByteView bytes = head.From(first);
    std::size_t from = 0;
    while (const std::optional<std::size_t> found = Find(bytes, tag, from, LetterCase::kIgnored)) {
      const std::size_t unit = first + *found / width;
      if (unit >= 4089) break;
      if (*found % width == 0) return unit;
      from = *found + 1;
    }
    return std::nullopt;
  }

  static std::int64_t WideSize(std::uint64_t readEnd, std::size_t unit) {
    const auto size = static_cast<std::int64_t>(readEnd + 2 * unit - 8172);
    return size + size % 2;
  }

  /// What the head that was met last says about the page's size in bytes. 0 if the page is to be searched.
  std::int64_t declaredSize = 0;
};

DETECTOR(KHTMLFileType);

}  // namespace qzmtraw
