#include "frame/ZeroPairWalk.h"

namespace qzmtraw {

/// PostScript documents (the Document Structuring Conventions' header, Adobe technical note 5001) and the font
/// catalogue that comes with a known package.
class CKPsPostScriptFileType final : public ZeroPairWalk<CKPsPostScriptFileType> {
 public:
  static constexpr auto kHead = At(0, "%!PS-Adobe-") || At(0, "% print a (sorted) font catalogue\r\n%");
  static constexpr std::int64_t kLimit = 0x6400000;
  static constexpr LimitTest kLimitTest = LimitTest::kAtOrAbove;
};

DETECTOR(CKPsPostScriptFileType);

}  // namespace qzmtraw
