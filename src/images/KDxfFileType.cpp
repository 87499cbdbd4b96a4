#include "frame/HeadTail.h"

namespace qzmtraw {

/// Drawings in AutoCAD's exchange format (DXF Reference), which is text: pairs of lines, a code and a value. The first
/// section of a file is its header. The value that ends the file is "EOF".
class KDxfFileType final : public HeadTail<KDxfFileType> {
 public:
  static constexpr std::int32_t kFloor = 17;
  static constexpr auto kTail = Bytes("\nEOF");
  static constexpr std::uint64_t kDefaultMaxFileSize = 0x2000000;

  /// The code 0 begins a section; where it doesn't stand among the first bytes, it isn't asked for.
  static bool IsHead(const Sector& sector) {
    if (!MayHoldSection(sector)) return false;
    constexpr std::size_t kTextLength = 70;
    constexpr std::size_t kCodeWithin = 10;
    const ByteView text = UpToZero(sector.BytesAt(0, kTextLength));
    const std::optional<std::size_t> section = Find(text, kSection);
    const std::optional<std::size_t> header = Find(text, Bytes("HEADER"));
    const std::optional<std::size_t> code = Find(text.first(std::min(text.size(), kCodeWithin)), Bytes("0"));
    return section < header && section && code < section;
  }

 private:
  static constexpr auto kSection = Bytes("SECTION");

  /// Sorts out almost all sectors quickly. Wherever the word stands, four of its letters stand at an offset that four
  /// divides; all its letters are between 0x40 and 0x5F. Comparisons without branches become vector instructions.
  static bool MayHoldSection(const Sector& sector) {
    constexpr std::size_t kSearched = 64;
    const ByteView bytes = sector.BytesAt(0, kSearched);
    if (bytes.size() < kSearched) return true;
    if (bytes.front() == 0) return false;
    std::uint32_t found = 0;
    for (std::size_t i = 0; i < kSearched; i += 4) {
      const auto four = LoadLittle<std::uint32_t>(bytes.data() + i);
      found |= static_cast<std::uint32_t>((four & 0xE0E0E0E0) == 0x40404040);
    }
    return found != 0;
  }
};

DETECTOR(KDxfFileType);

}  // namespace qzmtraw
