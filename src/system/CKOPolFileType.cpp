#include "system/SplitMarkWalk.h"

namespace qzmtraw {

/// Registry policies ([MS-GPREG]): a header of eight bytes and entries in brackets, all in UTF-16. A closing bracket
/// behind which no other entry opens is the end.
class CKOPolFileType final : public SplitMarkWalk<CKOPolFileType> {
 public:
  static constexpr auto kHead = At(0, "PReg\x01\0\0\0[");
  static constexpr auto kMark = Bytes("]\0");

  static bool EndsMark(std::uint8_t third) { return third != '['; }
};

DETECTOR(CKOPolFileType);

}  // namespace qzmtraw
