#include "frame/StartOnly.h"

namespace qzmtraw {

/// Images of CDs (ECMA-119). What is met is the primary volume descriptor (8.4), which stands behind the system area of
/// 32768 bytes.
class CKAIsoFileType final : public StartOnly<CKAIsoFileType> {
 public:
  static constexpr auto kHead = At(0, "\1CD001");
  static constexpr std::int32_t kFloor = 133;

  /// The image must not start in front of the device.
  static bool IsHead(const Sector& sector) { return static_cast<std::int64_t>(StartAt(sector)) >= 0; }

  static std::uint64_t StartAt(const Sector& sector) {
    constexpr std::int32_t kSystemArea = 32768;
    return sector.Number() - static_cast<std::uint64_t>(kSystemArea / sector.Size());
  }

  /// The volume's number of blocks and the size of one. The product wraps at 32 bits.
  static std::uint64_t SizeAt(const Sector& sector) {
    const std::uint32_t size = sector.U32(80) * std::uint32_t{sector.U16(128)};
    return size;
  }
};

DETECTOR(CKAIsoFileType);

}  // namespace qzmtraw
