#include "frame/SizedByHead.h"

namespace qzmtraw {

/// Synthetic music Mobile Application Format: one chunk, which begins with the contents info.
class KMmfFileType final : public SizedByHead<KMmfFileType> {
 public:
  static constexpr auto kHead = At(0, "MMMD") && At(8, "CNTI");
  static constexpr std::int32_t kFloor = 17;
  static constexpr std::uint64_t kDefaultMaxFileSize = 0x2000000;

  static std::int32_t SizeAt(const Sector& sector) { return static_cast<std::int32_t>(sector.BigU32(4) + 8); }
};

DETECTOR(KMmfFileType);

}  // namespace qzmtraw
