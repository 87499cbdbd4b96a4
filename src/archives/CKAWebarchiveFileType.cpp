#include "frame/TailWalk.h"

namespace qzmtraw {

/// Web archives, and other binary property lists. The tail is the beginning of the trailer of 32 bytes: six unused
/// ones, the sizes of offsets and references, and the upper bytes of the number of objects. Inside a sector the first
/// four zeros alone decide.
class CKAWebarchiveFileType final : public TailWalk<CKAWebarchiveFileType> {
 public:
  static constexpr auto kHead = At(0, "bplist00");
  static constexpr auto kTail = Bytes("\0\0\0\0\0\0\x04\x01\0\0\0\0\0\0");
  static constexpr std::int64_t kLimit = 0x2000000;
  static constexpr LimitTest kLimitTest = LimitTest::kAtOrAbove;
  static constexpr OpenMark kOpenMark = OpenMark::kFileStart;
  static constexpr std::size_t kComparedBytes = 4;
  static constexpr bool kStopsAtTail = true;

  static std::uint64_t SizeUpTo(std::size_t offset) { return offset + kTrailer; }
  static std::uint64_t SizeUpToRest(std::size_t matched) { return kTrailer - matched; }

 private:
  static constexpr std::uint64_t kTrailer = 32;
};

DETECTOR(CKAWebarchiveFileType);

}  // namespace qzmtraw
