#include "frame/TailWalk.h"

namespace qzmtraw {

/// cpio archives in the three forms whose member headers are text (IEEE Std 1003.1-1988, cpio(5)): 070707 is the old
/// portable form, 070701 the new one, 070702 the new one with a checksum. A member header that happens to begin a
/// sector ends the archive so far and starts another. The end is the name of the last, empty member.
class CKACpioFileType final : public TailWalk<CKACpioFileType> {
 public:
  static constexpr auto kHead = At(0, "070707") || At(0, "070702") || At(0, "070701");
  static constexpr auto kTail = Bytes("TRAILER!!!\0");
  static constexpr std::int64_t kLimit = 0x64000000;
};

DETECTOR(CKACpioFileType);

}  // namespace qzmtraw
