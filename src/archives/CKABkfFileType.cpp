#include "frame/TailWalk.h"

namespace qzmtraw {

/// Backup files in Microsoft Tape Format (MTF 1.00a). The file begins with a TAPE descriptor block. Soft filemark
/// blocks, SFMB, stand between its parts: the third one is the last block, of 1024 bytes. Where in its sector the third
/// mark stands doesn't enter the size.
class CKABkfFileType final : public TailWalk<CKABkfFileType> {
 public:
  static constexpr auto kHead = At(0, "TAPE");
  static constexpr auto kTail = Bytes("SFMB");
  static constexpr std::int64_t kLimit = 0x14000000;
  static constexpr LimitTest kLimitTest = LimitTest::kAtOrAbove;
  static constexpr OpenMark kOpenMark = OpenMark::kFileStart;
  static constexpr bool kStopsAtTail = true;
  static constexpr std::uint64_t kLastBlock = 1024;

  static std::uint64_t SizeUpTo(std::size_t /*offset*/) { return kLastBlock; }
  static std::uint64_t SizeUpToRest(std::size_t matched) { return kLastBlock - matched; }

  bool EndsAtTail() {
    if (tailCount < 2) {
      ++tailCount;
      return false;
    }
    tailCount = 0;
    return true;
  }

  void ClearCount() { tailCount = 0; }

 private:
  std::uint32_t tailCount = 0;
};

DETECTOR(CKABkfFileType);

}  // namespace qzmtraw
