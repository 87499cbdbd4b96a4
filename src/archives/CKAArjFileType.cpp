#include "frame/TailWalk.h"

namespace qzmtraw {

/// ARJ archives: a main header, told by its flags, security version and file type, and behind the last member a header
/// of no bytes. The one archive of the tail walks that is followed when it starts at sector 0; there, as it has no
/// start to be known by, the next main header takes over its size in place of closing it.
class CKAArjFileType final : public TailWalk<CKAArjFileType> {
 public:
  static constexpr auto kHead = At(0, "\x60\xEA") && (At(8, "\0\0\x02") || At(8, "\x10\0\x02") || At(8, "\x14\0\x02"));
  static constexpr auto kTail = Bytes("\x60\xEA\0\0");
  static constexpr std::int64_t kLimit = 0x4000000;
  static constexpr LimitTest kLimitTest = LimitTest::kAtOrAbove;
  static constexpr bool kHasOpenFlag = true;
  static constexpr bool kStopsAtTail = true;
};

DETECTOR(CKAArjFileType);

}  // namespace qzmtraw
