#include "system/SplitMarkWalk.h"

namespace qzmtraw {

/// Older signature bases of Kaspersky's scanner.
class CKOAvcFileType final : public SplitMarkWalk<CKOAvcFileType> {
 public:
  static constexpr auto kHead = At(0, "AVP Antiviral Database");
  static constexpr auto kMark = Bytes("\xAD\xAD");
  static constexpr bool kSplitMarkClearsFlags = false;

  static bool EndsMark(std::uint8_t third) { return third == 0; }
};

DETECTOR(CKOAvcFileType);

}  // namespace qzmtraw
