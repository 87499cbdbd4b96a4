#include "frame/StartOnly.h"

namespace qzmtraw {

/// Printer font metrics of Windows 3 (PFMHEADER): the version, the file's size and the copyright.
class CKPfmFileType final : public StartOnly<CKPfmFileType> {
 public:
  static constexpr auto kHead = At(6, "Copyright (c)") && At(0, "\0\x01");
  static std::uint64_t SizeAt(const Sector& sector) { return sector.U32(2); }
};

DETECTOR(CKPfmFileType);

}  // namespace qzmtraw
