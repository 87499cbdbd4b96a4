#ifndef QZMTRAW_FRAME_ZERO_PAIR_WALK_H
#define QZMTRAW_FRAME_ZERO_PAIR_WALK_H

#include "frame/TailWalk.h"

namespace qzmtraw {

/// The tail walk of kinds that hold text and so end with the first two zero bytes in a row, at any alignment, the first
/// of which may end one sector and the second begin the next. `Self` states, besides what TailWalk asks for,
///
///     kZerosCounted    how many of the two belong to the file; none unless stated
template <class Self>
class ZeroPairWalk : public TailWalk<Self> {
 public:
  static constexpr std::uint64_t kZerosCounted = 0;

  bool FindTail(const Sector& sector, IRawHitSink* sink) {
    const bool isCarriedOn = endCarry != 0 && sector.U8(0) == 0;
    endCarry = 0;
    if (isCarriedOn) {
      // The first zero has been counted with its sector.
      this->fileSize += Self::kZerosCounted - 1;
      this->ReportAndClose(sink);
      return true;
    }
    if (const std::optional<std::size_t> zeros = Find(sector.Bytes(), Bytes("\0\0"))) {
      this->fileSize += *zeros + Self::kZerosCounted;
      this->ReportAndClose(sink);
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

}  // namespace qzmtraw

#endif  // QZMTRAW_FRAME_ZERO_PAIR_WALK_H
