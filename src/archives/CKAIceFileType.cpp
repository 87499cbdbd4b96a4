#include "frame/TailWalk.h"

namespace qzmtraw {

/// Archives of WIN-Freeze.
class CKAIceFileType final : public TailWalk<CKAIceFileType> {
 public:
  static constexpr auto kHead = At(0, "IC\x01\x02\x01\0");
  static constexpr auto kTail = Bytes("IC\x05\x06");
  static constexpr std::int64_t kLimit = 0x64000000;
};

DETECTOR(CKAIceFileType);

}  // namespace qzmtraw
