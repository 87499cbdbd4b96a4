#include "frame/TailWalk.h"

namespace qzmtraw {

/// xz files (The .xz File Format, 1.0.4). The tail is the end of the footer of a stream that is checked with CRC32.
/// Inside a sector its zeros alone decide.
class CKAXzhFileType final : public TailWalk<CKAXzhFileType> {
 public:
  static constexpr auto kHead = At(0, "\xFD\x37zXZ\0\0");
  static constexpr auto kTail = Bytes("\0\0\0\0\x01YZ");
  static constexpr std::int64_t kLimit = 0x2000000;
  static constexpr LimitTest kLimitTest = LimitTest::kAtOrAbove;
  static constexpr OpenMark kOpenMark = OpenMark::kFileStart;
  static constexpr std::size_t kComparedBytes = 4;
  static constexpr bool kStopsAtTail = true;
};

DETECTOR(CKAXzhFileType);

}  // namespace qzmtraw
