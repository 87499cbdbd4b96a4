#include <algorithm>

#include "frame/Number.h"
#include "frame/Search.h"
#include "frame/SharedClassifier.h"

namespace qzmtraw {
namespace {

enum PortableKind : std::uint32_t {
  kPixmap = 0,
  kBitmap = 1,
  kGraymap = 2,
};

}  // namespace

/// The portable maps of Netpbm (pbm(5), pgm(5), ppm(5)). The digit behind the P tells the kind; 0 counts for 1, and the
/// packed bitmaps of P4 are left out.
class CKGPortablegraphics final : public SharedClassifier<CKGPortablegraphics> {
 public:
  /// The P, a digit from 0 to 7, and the line's end.
  static constexpr Probe kHeadProbe{0, 0x00FFF8FF, 0x000A3050};

  static bool IsHead(const Sector& sector) {
    const std::uint8_t digit = sector.U8(1);
    return sector.U8(0) == 'P' && digit >= '0' && digit <= '6' && digit != '4' && sector.U8(2) == '\n';
  }

  bool ScanBlock(const Block& block, IRawHitSink* /*sink*/) {
    ForEachHead(*this, block, [this](const Sector& sector) { Sort(sector); });
    return false;
  }

 private:
  /// The line that is taken for the one with the dimensions. An end that the sector doesn't hold is 0.
  struct Line {
    std::uint32_t start = 0;
    std::size_t end = 0;
  };

  static Line DimensionLine(ByteView bytes) {
    Line line;
    if (bytes.size() < 4) return line;
    const auto lineFeed = Bytes("\n");
    if (bytes[3] != '#') {
      line.start = 3;
      line.end = Find(bytes, lineFeed, 3).value_or(0);
    } else if (const std::optional<std::size_t> commentEnd = Find(bytes, lineFeed, 3)) {
      line.start = static_cast<std::uint32_t>(*commentEnd + 1);
      line.end = Find(bytes, lineFeed, line.start).value_or(0);
    }
    return line;
  }

  void Sort(const Sector& sector) {
    const Line line = DimensionLine(sector.Bytes());
    // The dimensions are read from behind their line, so the samples have to hold two blanks in front of a zero byte.
    const ByteView text = UpToZero(sector.Bytes().subspan(line.end));
    const auto blank = Bytes(" ");
    const std::optional<std::size_t> firstBlank = Find(text, blank);
    if (!firstBlank || !Find(text, blank, *firstBlank + 1)) return;
    const auto width = static_cast<std::uint32_t>(NumberIn(text.first(*firstBlank)));
    const auto height = static_cast<std::uint32_t>(NumberIn(text.subspan(*firstBlank + 1)));
    const auto [kind, bytesPerPixel] = KindOf(sector.U8(1));
    const auto size = static_cast<std::int32_t>(line.start + bytesPerPixel * width * height + 1);
    hits.push_back({{sector.Number(), static_cast<std::uint64_t>(std::int64_t{size})}, kind});
  }

  struct KindAndSize {
    PortableKind kind;
    std::uint32_t bytesPerPixel;
  };

  static KindAndSize KindOf(std::uint8_t digit) {
    switch (digit) {
      case '0':
      case '1':
        return {kBitmap, 2};
      case '2':
      case '5':
        return {kGraymap, 1};
      default:
        return {kPixmap, 3};
    }
  }
};

class CKGPpmFileType final : public Face<CKGPpmFileType, CKGPortablegraphics, kPixmap> {};
class CKGPgmFileType final : public Face<CKGPgmFileType, CKGPortablegraphics, kGraymap> {};
class CKGPbmFileType final : public Face<CKGPbmFileType, CKGPortablegraphics, kBitmap> {};

DETECTOR(CKGPpmFileType);
DETECTOR(CKGPgmFileType);
DETECTOR(CKGPbmFileType);

}  // namespace qzmtraw
