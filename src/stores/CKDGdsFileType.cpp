#include "frame/TailWalk.h"

namespace qzmtraw {

/// Chip layouts in GDSII stream format. Every record begins with its length and kind, most significant byte first: the
/// file begins with HEADER and BGNLIB and ends with ENDLIB.
class CKDGdsFileType final : public TailWalk<CKDGdsFileType> {
 public:
  static constexpr auto kHead = At(0, "\0\x06\0\x02") && At(6, "\0\x1C\x01\x02");
  static constexpr auto kTail = Bytes("\0\x04\x04\0");
  static constexpr std::int64_t kLimit = 0x40000000;
  static constexpr OpenMark kOpenMark = OpenMark::kFileStart;
};

DETECTOR(CKDGdsFileType);

}  // namespace qzmtraw
