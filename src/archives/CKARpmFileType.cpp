#include "frame/TailWalk.h"

namespace qzmtraw {

/// Packages of RPM from its version 3 on (Linux Standard Base 5.0, package file format). The tail is the end of a
/// payload that xz packed and checked with SHA-256. Inside a sector its four zeros alone decide, and they end the file;
/// across two sectors the whole tail does.
class CKARpmFileType final : public TailWalk<CKARpmFileType> {
 public:
  static constexpr auto kHead = At(0, "\xED\xAB\xEE\xDB\x03");
  static constexpr auto kTail = Bytes("\0\0\0\0\nYZ");
  static constexpr std::int64_t kLimit = 0x64000000;
  static constexpr std::size_t kComparedBytes = 4;

  static std::uint64_t SizeUpTo(std::size_t offset) { return offset + kComparedBytes; }
};

DETECTOR(CKARpmFileType);

}  // namespace qzmtraw
