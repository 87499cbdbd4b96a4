#include "frame/TailWalk.h"

namespace qzmtraw {

/// Type 1 fonts in their binary form (Adobe technical note 5040): segments of text and of binary data, each led by 80
/// and its kind, and an end of 80 03 behind the font's last line. A font whose last line runs over a sector's end is
/// looked for again at the start of every later sector.
class CKPfbFileType final : public TailWalk<CKPfbFileType> {
 public:
  static constexpr auto kHead = At(0, "\x80\x01") && At(4, "\0\0%!PS-AdobeFont");
  static constexpr auto kTail = Bytes("cleartomark{restore}if\r\x80\x03");
  static constexpr std::int64_t kLimit = 0x40000000;
  static constexpr OpenMark kOpenMark = OpenMark::kFileStart;
  static constexpr bool kSeesTailAtEnd = true;
  static constexpr bool kStopsAtTail = true;
  static constexpr bool kKeepsBeginning = true;
};

DETECTOR(CKPfbFileType);

}  // namespace qzmtraw
