#include "frame/SizedByHead.h"

namespace qzmtraw {

/// Minolta's raw pictures: blocks of settings, of which the head tells the length, and behind them the pixels of the
/// sensor, packed. The first of the blocks, PRD, tells their number and depth.
class KMRWFileType final : public SizedByHead<KMRWFileType> {
 public:
  static constexpr auto kHead = At(0, "\0MRM") && At(8, "\0PRD");
  static constexpr std::int32_t kFloor = 34;
  static constexpr std::uint64_t kDefaultMaxFileSize = 0x2000000;
  static constexpr std::int64_t kMinimum = 0;
  static constexpr SizeHints kHints{0xA00000, 0x2000000};

  /// The sum wraps at 32 bits.
  static std::int32_t SizeAt(const Sector& sector) {
    constexpr std::uint32_t kBlockHead = 8;
    const std::uint64_t bits = std::uint64_t{sector.BigU16(24)} * sector.BigU16(26) * sector.U8(32);
    return static_cast<std::int32_t>(sector.BigU32(4) + kBlockHead + static_cast<std::uint32_t>((bits + 7) / 8));
  }
};

DETECTOR(KMRWFileType);

}  // namespace qzmtraw
