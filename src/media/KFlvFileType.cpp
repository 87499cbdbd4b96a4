#include "frame/Search.h"
#include "frame/SizedByHead.h"

namespace qzmtraw {

/// Flash video (Video File Format Specification, version 10). The metadata may tell the file's size.
class KFlvFileType final : public SizedByHead<KFlvFileType> {
 public:
  static constexpr auto kHead = At(0, "FLV\x01");
  static constexpr std::int32_t kFloor = 512;
  static constexpr std::uint64_t kDefaultMaxFileSize = 0xFFFFFF00;
  static constexpr bool kReportsUnknownSize = true;
  static constexpr SizeHints kHints{256, kDefaultMaxFileSize};

  static std::int32_t SizeAt(const Sector& sector) {
    // The key's length and text, and the type of the value: a number.
    constexpr auto kKey = Bytes(
        "\x08"
        "filesize\0");
    constexpr std::size_t kMostPlaces = 1024;
    const std::size_t places = std::min(sector.Bytes().size() - kKey.Size(), kMostPlaces);
    const std::optional<std::size_t> key = Find(sector.Bytes().first(places - 1 + kKey.Size()), kKey);
    return key ? RoughNumberAt(sector, static_cast<std::int64_t>(*key + kKey.Size())) : 0;
  }

 private:
  /// Takes whole bytes of a floating-point number, as many as its exponent seems to ask for.
  static std::int32_t RoughNumberAt(const Sector& sector, std::int64_t offset) {
    constexpr int kMostBytes = 3;
    const int count = std::min((sector.U8(offset + 1) >> 4) - 1, kMostBytes);
    std::uint32_t number = (sector.U8(offset) & 0x0FU) << 4 | (sector.U8(offset + 1) & 0x0FU);
    for (int i = 0; i < count; ++i) number = number << 8 | sector.U8(offset + 2 + i);
    return static_cast<std::int32_t>(number);
  }
};

DETECTOR(KFlvFileType);

}  // namespace qzmtraw
