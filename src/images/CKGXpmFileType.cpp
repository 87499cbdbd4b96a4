#include <algorithm>

#include "frame/TailWalk.h"

namespace qzmtraw {

/// XPM (Arnaud Le Hors, The X PixMap Format): a picture as a piece of C source. It ends behind its closing brace where
/// that stands on a line of its own, or in front of two zero bytes.
class CKGXpmFileType final : public TailWalk<CKGXpmFileType> {
 public:
  static constexpr auto kHead = At(0, "/* XPM */");
  static constexpr auto kTail = Bytes("\"\n};\n");
  static constexpr std::int64_t kLimit = 0x4000000;
  static constexpr LimitTest kLimitTest = LimitTest::kAtOrAbove;

  bool FindTail(const Sector& sector, IRawHitSink* sink) {
    if (FindRestOfTail(sector, sink)) return true;
    if (const std::optional<std::int64_t> end = EndIn(sector)) {
      zeroPending = 0;
      fileSize += static_cast<std::uint64_t>(*end);
      ReportAndClose(sink);
      return true;
    }
    const std::size_t size = sector.Bytes().size();
    FindBeginningOfTail(sector, size - std::min(size, kTail.Size()));
    zeroPending = sector.Bytes().back() == 0 ? 1 : 0;
    return false;
  }

  void ClearCount() { zeroPending = 0; }

 private:
  /// What an end inside the sector adds to the file's size: one byte less than nothing when the first of the two zeros
  /// has been counted with the sector before.
  std::optional<std::int64_t> EndIn(const Sector& sector) const {
    if (zeroPending != 0 && sector.U8(0) == 0) return -1;
    const ByteView bytes = sector.Bytes();
    const std::optional<std::size_t> tail = Find(bytes.first(bytes.size() - 1), kTail);
    const ByteView inFront = bytes.first(tail.value_or(bytes.size()));
    if (const std::optional<std::size_t> zeros = Find(inFront, Bytes("\0\0"))) {
      return static_cast<std::int64_t>(*zeros);
    }
    if (tail) return static_cast<std::int64_t>(*tail + kTail.Size());
    return std::nullopt;
  }

  /// Whether the sector before ended with a zero byte.
  std::uint32_t zeroPending = 0;
};

DETECTOR(CKGXpmFileType);

}  // namespace qzmtraw
