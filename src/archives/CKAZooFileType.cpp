#include "frame/TailWalk.h"

namespace qzmtraw {

/// Archives of zoo: a text that names the program, and a mark behind it.
class CKAZooFileType final : public TailWalk<CKAZooFileType> {
 public:
  static constexpr auto kHead = At(0, "ZOO") && At(20, "\xDC\xA7\xC4\xFD");
  static constexpr auto kTail = Bytes("\0\0\xFC\x83");
  static constexpr std::int64_t kLimit = 0x64000000;
};

DETECTOR(CKAZooFileType);

}  // namespace qzmtraw
