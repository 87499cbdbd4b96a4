#include "frame/TailWalk.h"

namespace qzmtraw {

/// Archives of UHARC. The first four zero bytes are taken for what follows the file. Where they go on to the end of
/// their sector, the next archive starts with them as its tail and so with a size of less than nothing.
class CKAUhaFileType final : public TailWalk<CKAUhaFileType> {
 public:
  static constexpr auto kHead = At(0, "UHA");
  static constexpr auto kTail = Bytes("\0\0\0\0");
  static constexpr std::int64_t kLimit = 0x64000000;

  static std::uint64_t SizeUpTo(std::size_t offset) { return offset; }
  static std::uint64_t SizeUpToRest(std::size_t matched) { return 0 - std::uint64_t{matched}; }
};

DETECTOR(CKAUhaFileType);

}  // namespace qzmtraw
