#include "frame/TailWalk.h"

namespace qzmtraw {

/// AMV video of portable players: RIFF in name, but its sizes are zero, and so the file ends with a mark. The mark's
/// first half is enough where it stands inside a sector.
class CKMAmvFileType final : public TailWalk<CKMAmvFileType> {
 public:
  static constexpr auto kHead = At(0, "RIFF") && At(8, "AMV ") && At(12, "LIST");
  static constexpr auto kTail = Bytes("AMV_END_");
  static constexpr std::size_t kComparedBytes = 4;
  static constexpr std::int64_t kLimit = 0x64000000;
};

DETECTOR(CKMAmvFileType);

}  // namespace qzmtraw
