#include "frame/TailWalk.h"

namespace qzmtraw {

/// FBX scenes in the binary form. The file's footer ends with a fixed string of 16 bytes, whose second half is the
/// tail.
class CKMFbxFileType final : public TailWalk<CKMFbxFileType> {
 public:
  static constexpr auto kHead = At(0, "Kaydara FBX Binary  ");
  static constexpr auto kTail = Bytes("\xEC\xE9\x0C\xE3\x75\x8F\x29\x0B");
  static constexpr std::int64_t kLimit = 0x64000000;

  /// Inside a sector the tail's fifth byte would have to be zero, which it isn't: only a tail that touches or crosses
  /// a sector's end counts.
  static bool CountsAt(const Sector& sector, std::size_t offset) {
    return sector.U8(static_cast<std::int64_t>(offset) + 4) == 0;
  }
};

DETECTOR(CKMFbxFileType);

}  // namespace qzmtraw
