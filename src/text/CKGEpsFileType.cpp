#include "frame/TailWalk.h"

namespace qzmtraw {

/// Encapsulated PostScript with a preview (Adobe technical note 5002): a binary header that tells where the PostScript
/// part stands. The file's end is known by tags that the preview, a TIFF image, commonly ends with: six more bytes
/// follow them.
class CKGEpsFileType final : public TailWalk<CKGEpsFileType> {
 public:
  static constexpr auto kHead = At(0, "\xC5\xD0\xD3\xC6");
  static constexpr std::int32_t kFloor = 51;
  static constexpr auto kTail = Bytes("\x0B\x80\x03\x00\x01\x00\x00\x00\x2C\x01");
  static constexpr std::int64_t kLimit = 0x4000000;
  static constexpr LimitTest kLimitTest = LimitTest::kAtOrAbove;
  static constexpr OpenMark kOpenMark = OpenMark::kFileStart;
  static constexpr bool kStopsAtTail = true;
  static constexpr std::uint64_t kTailAndRest = 16;

  static bool IsHead(const Sector& sector) { return sector.Has(sector.U32(4), Bytes("%!PS-Adobe-")); }

  static std::uint64_t SizeUpTo(std::size_t offset) { return offset + kTailAndRest; }
  static std::uint64_t SizeUpToRest(std::size_t matched) { return kTailAndRest - matched; }
};

DETECTOR(CKGEpsFileType);

}  // namespace qzmtraw
