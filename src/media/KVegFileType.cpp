#include "frame/SizedByHead.h"

namespace qzmtraw {

/// Vegas projects: a RIFF file of the form with GUIDs for names and 64-bit sizes, of which the lower half is taken.
class KVegFileType final : public SizedByHead<KVegFileType> {
 public:
  static constexpr auto kHead = At(0, "riff") && At(4, "\x2E\x91\xCF\x11");
  static constexpr std::int32_t kFloor = 33;
  static constexpr std::uint64_t kDefaultMaxFileSize = 0x2000000;

  static std::int32_t SizeAt(const Sector& sector) { return static_cast<std::int32_t>(sector.U32(16)); }
};

DETECTOR(KVegFileType);

}  // namespace qzmtraw
