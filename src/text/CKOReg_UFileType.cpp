#include "frame/ZeroPairWalk.h"

namespace qzmtraw {

/// Exports of the Windows registry in UTF-16, "Windows Registry Editor Version 5.00". The first of the two zero bytes
/// behind a line feed is its high byte.
// NOLINTNEXTLINE(readability-identifier-naming): the name that the table has.
class CKOReg_UFileType final : public ZeroPairWalk<CKOReg_UFileType> {
 public:
  static constexpr auto kHead = At(0, "\xFF\xFE") && At(2, Utf16("Windows Registry"));
  static constexpr std::int64_t kLimit = 0x2000000;
  static constexpr OpenMark kOpenMark = OpenMark::kFileStart;
  static constexpr std::uint64_t kZerosCounted = 1;
};

DETECTOR(CKOReg_UFileType);

}  // namespace qzmtraw
