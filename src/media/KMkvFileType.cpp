#include "frame/Search.h"
#include "frame/SizedByHead.h"

namespace qzmtraw {

/// Matroska and WebM files (RFC 9559): an EBML header and one Segment, whose size is taken if it is written with eight
/// bytes and fits into four. A Segment of unknown size isn't followed.
class KMkvFileType final : public SizedByHead<KMkvFileType> {
 public:
  static constexpr auto kHead = At(0, "\x1A\x45\xDF\xA3");
  static constexpr std::int32_t kFloor = 512;
  static constexpr std::uint64_t kDefaultMaxFileSize = 0x7FFF0000;

  /// The end of the Segment; 0 if the sector doesn't hold its beginning. The sum wraps at 32 bits.
  static std::int32_t SizeAt(const Sector& sector) {
    constexpr auto kSegment = Bytes("\x18\x53\x80\x67\x01\0\0\0");
    // The size has to end in front of the sector's last byte.
    constexpr std::size_t kBytesBehind = 5;
    const std::optional<std::size_t> segment =
        Find(sector.Bytes().first(sector.Bytes().size() - kBytesBehind), kSegment);
    if (!segment) return 0;
    const auto contents = static_cast<std::uint32_t>(*segment) + 12;
    return static_cast<std::int32_t>(contents + sector.BigU32(static_cast<std::int64_t>(*segment) + 8));
  }
};

DETECTOR(KMkvFileType);

}  // namespace qzmtraw
