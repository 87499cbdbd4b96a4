#include "frame/SizedByHead.h"

namespace qzmtraw {

/// 7-Zip archives (7zFormat.txt of the LZMA SDK): a start header of 32 bytes, whose fields tell where the next header
/// stands behind it. The next header is the last thing in the file.
class K7ZipFileType final : public SizedByHead<K7ZipFileType> {
 public:
  static constexpr auto kHead = At(0, "7z\xBC\xAF\x27\x1C");
  static constexpr std::int32_t kFloor = 17;
  static constexpr std::uint64_t kDefaultMaxFileSize = 0x2000000;

  /// The low halves of the next header's offset and size. The sum wraps at 32 bits, and is negative from 2 GiB on.
  static std::int32_t SizeAt(const Sector& sector) {
    return static_cast<std::int32_t>(sector.U32(12) + 32 + sector.U32(20));
  }
};

DETECTOR(K7ZipFileType);

}  // namespace qzmtraw
