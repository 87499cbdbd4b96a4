#include "frame/TailWalk.h"

namespace qzmtraw {

/// gzip files (RFC 1952), packed by deflate, with a name or without one. Nothing in the file tells where it ends: the
/// first eight zero bytes are taken for what follows it in its last cluster.
class CKAGzFileType final : public TailWalk<CKAGzFileType> {
 public:
  static constexpr auto kHead = At(0, "\x1F\x8B\x08") && (At(3, "\0") || At(3, "\x02") || At(3, "\x08")) &&
                                (At(8, "\0") || At(8, "\x02") || At(8, "\x04"));
  static constexpr auto kTail = Bytes("\0\0\0\0\0\0\0\0");
  static constexpr std::int64_t kLimit = 0x2000000;
  static constexpr LimitTest kLimitTest = LimitTest::kAtOrAbove;
  static constexpr OpenMark kOpenMark = OpenMark::kFileStart;
  static constexpr bool kLosesSector = true;
  static constexpr bool kStopsAtTail = true;

  /// The operating system is one that has a number, or unknown.
  static bool IsHead(const Sector& sector) {
    const std::uint8_t system = sector.U8(9);
    return sector.Holds(9, 1) && (system <= 18 || system == 255);
  }

  static std::uint64_t SizeUpTo(std::size_t offset) { return offset; }
  static std::uint64_t SizeUpToRest(std::size_t matched) { return 0 - std::uint64_t{matched}; }
};

DETECTOR(CKAGzFileType);

}  // namespace qzmtraw
