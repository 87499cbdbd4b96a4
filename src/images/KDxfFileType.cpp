#include <cstring>

#include "frame/HeadTail.h"

namespace qzmtraw {

/// Drawings in AutoCAD's exchange format (DXF Reference), which is text: pairs of lines, a code and a value. The first
/// section of a file is its header. The value that ends the file is "EOF".
class KDxfFileType final : public HeadTail<KDxfFileType> {
 public:
  static constexpr std::int32_t kFloor = 17;
  static constexpr auto kTail = Bytes("\nEOF");
  static constexpr std::uint64_t kDefaultMaxFileSize = 0x2000000;

  static constexpr std::int32_t kGlance = 64;

  /// Wherever the word "SECTION" stands with "HEADER" behind it, four of its letters stand at an offset that four
  /// divides; all its letters are between 0x40 and 0x5F.
  static bool MayBeHead(const std::uint8_t* bytes) {
    using FourWords [[gnu::vector_size(16)]] = std::uint32_t;
    FourWords found{};
    for (std::int32_t i = 0; i < kGlance; i += 16) {
      FourWords words;
      std::memcpy(&words, bytes + i, sizeof words);
      found |= (words & 0xE0E0E0E0) == 0x40404040 ? 1U : 0U;
    }
    return (found[0] | found[1] | found[2] | found[3]) != 0;
  }

  /// The code 0 begins a section; where it doesn't stand among the first bytes, it isn't asked for.
  static bool IsHead(const Sector& sector) {
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
};

DETECTOR(KDxfFileType);

}  // namespace qzmtraw
