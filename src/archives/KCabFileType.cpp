#include "frame/SizedByHead.h"

namespace qzmtraw {

/// Cabinets ([MS-CAB] 2.1): a reserved field of zeros, and the size of the whole.
class KCabFileType final : public SizedByHead<KCabFileType> {
 public:
  static constexpr auto kHead = At(0, "MSCF\0\0\0\0");
  static constexpr std::int32_t kFloor = 17;
  static constexpr std::uint64_t kDefaultMaxFileSize = 0x7FFFFFFF;
  static constexpr bool kClosesOnZeroSize = false;

  static std::int32_t SizeAt(const Sector& sector) { return static_cast<std::int32_t>(sector.U32(8)); }
};

DETECTOR(KCabFileType);

}  // namespace qzmtraw
