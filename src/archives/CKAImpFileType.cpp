#include "frame/StartOnly.h"

namespace qzmtraw {

/// Archives of IMP, of the form whose first member header is marked "IMPLH". The main header tells the size, which is
/// reported whatever it is.
class CKAImpFileType final : public StartOnly<CKAImpFileType> {
 public:
  static constexpr auto kHead = At(0, "IMP\n") && At(42, "IMPLH");
  static constexpr SizeHints kHints{256, 0x64000000};

  static std::uint64_t SizeAt(const Sector& sector) { return sector.U32(20); }
};

DETECTOR(CKAImpFileType);

}  // namespace qzmtraw
