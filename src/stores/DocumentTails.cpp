// Documents that end behind a byte string inside a sector.

#include "frame/HeadTail.h"

namespace qzmtraw {

/// OneNote sections ([MS-ONESTORE], 2.3.1). The size stands in the head, where it is believed within bounds; otherwise
/// the file ends with the footer of a file node list.
class KOneFileType final : public HeadTail<KOneFileType> {
 public:
  static constexpr auto kHead = At(0, "\xE4\x52\x5C\x7B\x8C\xD8\xA7\x4D\xAE\xB1\x53\x78\xD0\x29\x96\xD3");
  static constexpr auto kTail = Bytes("\xFF\xFF\xFF\xFF\0\0\0\0\xC2\x4C\x95\xA7\x65\xBA\xA9\x45");
  static constexpr std::int32_t kFloor = 200;
  static constexpr std::int64_t kMinimum = 512;
  static constexpr std::uint64_t kDefaultMaxFileSize = 0x7fffffff;

  static std::optional<std::int64_t> KnownSize(const Sector& sector) {
    const std::uint32_t size = sector.U32(196);
    return size >= 513 && size < 0x1400000 ? std::optional<std::int64_t>(size) : std::nullopt;
  }
};
DETECTOR(KOneFileType);

/// QuarkXPress. The last thing of interest in a file is the name of its job description; files are whole kilobytes.
template <class Self>
class QuarkFile : public HeadTail<Self> {
 public:
  static constexpr std::int32_t kFloor = 17;
  static constexpr std::uint64_t kDefaultMaxFileSize = 0x7fffffff;

  std::optional<std::int64_t> EndIn(const Sector& sector) const {
    constexpr std::uint64_t kUnit = 1024;
    const std::optional<std::int64_t> end = HeadTail<Self>::EndBehindTail(sector, kJobDescription);
    if (!end) return std::nullopt;
    const std::uint64_t size = this->fileSize + static_cast<std::uint64_t>(*end);
    return static_cast<std::int64_t>((size + kUnit - 1) / kUnit * kUnit - this->fileSize);
  }

 private:
  static constexpr auto kJobDescription = Bytes("\x0E\0\0\0J\0o\0b\0D\0e\0s\0c\0r\0i\0p\0t\0i\0o\0n\0");
};

class KQxpFileType final : public QuarkFile<KQxpFileType> {
 public:
  static constexpr auto kHead = At(0, "\0\0IIXPR3D D XP\0\0") || At(0, "\0\0IIXPR3J J XP\0\0");
};
DETECTOR(KQxpFileType);

class KQptFileType final : public QuarkFile<KQptFileType> {
 public:
  static constexpr auto kHead = At(0, "\0\0IIXPR3D D XT\0\0");
};
DETECTOR(KQptFileType);

}  // namespace qzmtraw
