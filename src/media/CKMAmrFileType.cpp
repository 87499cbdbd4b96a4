#include "frame/ChainWalk.h"
#include "frame/StartOnly.h"

namespace qzmtraw {

/// Speech of mobile phones (RFC 4867, section 5): a mark and frames, each of which begins with a byte that tells its
/// kind and so its length. The file ends at the first zero in the place of such a byte. Bytes of no kind, the mark's
/// among them, are passed over one by one.
class CKMAmrFileType final : public ChainWalk<StartOnly<CKMAmrFileType>> {
 public:
  static constexpr auto kHead = At(0, "#!AMR\n");

  std::uint64_t SizeAt(const Sector& sector) {
    return FollowChain(sector, 0, [](KFileSimulator& file, std::uint64_t place) -> std::optional<std::uint64_t> {
      const std::uint8_t frameKind = file.ReadByte();
      if (frameKind == 0) return std::nullopt;
      return place + FrameLength(frameKind);
    });
  }

 private:
  static std::uint64_t FrameLength(std::uint8_t frameKind) {
    switch (frameKind) {
      case 4:
        return 13;
      case 12:
        return 14;
      case 20:
        return 16;
      case 28:
        return 18;
      case 36:
        return 20;
      case 44:
        return 21;
      case 52:
        return 27;
      case 60:
        return 32;
      default:
        return 1;
    }
  }
};

DETECTOR(CKMAmrFileType);

}  // namespace qzmtraw
