#include "frame/HeadTail.h"

namespace qzmtraw {

/// AutoCAD drawings. The version is two digits behind "AC10". A sentinel marks the end of the second header, which
/// stands last in the file; four bytes follow it.
class KDWGFileType final : public HeadTail<KDWGFileType> {
 public:
  static constexpr std::int32_t kFloor = 9;
  static constexpr auto kHead = At(0, "AC10") && At(6, kZeros<5>);
  static constexpr auto kTail = Bytes("\x2B\x84\xDE\x31\xD7\x6C\x60\x40\xAC\xDB\xBF\xF6\xED\xC3\x55\xFE");
  static constexpr std::int32_t kBytesBehindTail = 4;
  static constexpr std::uint64_t kDefaultMaxFileSize = 0x7FFFFFFF;

  static bool IsHead(const Sector& sector) { return IsDigit(sector.U8(4)) && IsDigit(sector.U8(5)); }
  static std::optional<std::int64_t> EndIn(const Sector& sector) {
    return EndBehindTail(sector, kTail, kBytesBehindTail);
  }

 private:
  static bool IsDigit(std::uint8_t byte) { return byte >= '0' && byte <= '9'; }
};

DETECTOR(KDWGFileType);

}  // namespace qzmtraw
