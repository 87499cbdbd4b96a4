#include "frame/TailWalk.h"

namespace qzmtraw {

/// PostScript documents (the Document Structuring Conventions' header, Adobe technical note 5001) and the font
/// catalogue that comes with a known package. They end with the first two zero bytes, since text has none.
class CKPsPostScriptFileType final : public TailWalk<CKPsPostScriptFileType> {
 public:
  static constexpr auto kHead = At(0, "%!PS-Adobe-") || At(0, "% print a (sorted) font catalogue\r\n%");
  static constexpr std::int64_t kLimit = 0x6400000;
  static constexpr LimitTest kLimitTest = LimitTest::kAtOrAbove;

  /// Two zero bytes, the first of which may have ended the sector before.
  bool FindTail(const Sector& sector, IRawHitSink* sink) {
    if (endCarry != 0 && sector.U8(0) == 0) {
      --fileSize;
      endCarry = 0;
      ReportAndClose(sink);
      return true;
    }
    endCarry = 0;
    if (const std::optional<std::size_t> zeros = FindText(sector.Bytes(), Bytes("\0\0"))) {
      fileSize += *zeros;
      ReportAndClose(sink);
      return true;
    }
    endCarry = sector.Bytes().back() == 0 ? 1 : 0;
    return false;
  }

  void ClearCount() { endCarry = 0; }

 private:
  /// Whether the sector before ended with a zero byte.
  std::uint32_t endCarry = 0;
};

DETECTOR(CKPsPostScriptFileType);

}  // namespace qzmtraw
