#include "frame/HeadTail.h"

namespace qzmtraw {

/// RAR archives of versions 1.5 to 4 (RAR 4's technote.txt). Behind the marker block comes the checksum of the main
/// header, whose low byte is always the same in the archives that are looked for. They end with an end block of seven
/// bytes, which has no data and one flag.
class KRarFileType final : public HeadTail<KRarFileType> {
 public:
  static constexpr auto kHead = At(0, "Rar!\x1A\x07\0\xCF");
  static constexpr auto kTail = Bytes("\xC4=\x7B\0@\x07\0");
  static constexpr std::int32_t kFloor = 9;
  static constexpr std::uint64_t kDefaultMaxFileSize = 0x7FFFFFFF;
};

DETECTOR(KRarFileType);

}  // namespace qzmtraw
