#include "frame/StartOnly.h"

namespace qzmtraw {

/// ACE archives. The mark stands behind the CRC, size, type and flags of the main header; nothing in the header tells
/// how long the archive is.
class CKAAceFileType final : public StartOnly<CKAAceFileType> {
 public:
  static constexpr auto kHead = At(7, "**ACE**");
  static constexpr SizeHints kHints{256, 0x64000000};
};

DETECTOR(CKAAceFileType);

}  // namespace qzmtraw
