#include "frame/FrameWalk.h"

namespace qzmtraw {

/// WavPack audio (WavPack 4 & 5 binary file format): blocks that begin with their mark and the size of what follows
/// behind these eight bytes.
class CKMWvFileType final : public FrameWalk<CKMWvFileType, 8> {
 public:
  static constexpr auto kHead = At(0, "wvpk");

  static std::uint32_t LengthOf(const std::uint8_t* header) {
    constexpr auto kMark = LoadBig<std::uint32_t>(Bytes("wvpk").bytes.data());
    return LoadBig<std::uint32_t>(header) == kMark ? LoadLittle<std::uint32_t>(header + 4) + 8 : 0;
  }
};

DETECTOR(CKMWvFileType);

}  // namespace qzmtraw
