#include <array>

#include "frame/ChainWalk.h"
#include "frame/Search.h"
#include "frame/StartOnly.h"

namespace qzmtraw {

/// Archives of LHA and LArc: members one behind the other, each with a header that tells its own size and the packed
/// size of the data behind it, and a zero byte at the end.
class CKALzhFileType final : public ChainWalk<StartOnly<CKALzhFileType>> {
 public:
  static constexpr auto kHead = At(2, "-l");
  static constexpr SizeHints kHints{256, 0x2000000};

  static bool IsHead(const Sector& sector) { return HasMethod(sector.BytesAt(0, kHeaderBytes)); }

  /// The members' sizes and the zero. Headers of level 2 tell their whole size. Older ones leave out their two leading
  /// bytes, which are not made up for: the next header is looked for two bytes early and not found, so that the archive
  /// ends with its first member.
  std::uint64_t SizeAt(const Sector& sector) {
    const auto next = [](KFileSimulator& file, std::uint64_t place) -> std::optional<std::uint64_t> {
      std::array<std::uint8_t, kHeaderBytes> header{};
      if (!file.Read(header.data(), kHeaderBytes) || !HasMethod(header)) return std::nullopt;
      return place + header[0] + LoadLittle<std::uint32_t>(header.data() + 7);
    };
    return FollowChain(sector, 0, next) + 1;
  }

 private:
  static constexpr std::uint32_t kHeaderBytes = 15;

  /// Whether the beginning of a member's header names a method of compression.
  static bool HasMethod(ByteView header) {
    if (header.size() < 7) return false;
    const ByteView method = header.subspan(2, 5);
    return (BeginsWith(method, Bytes("-lh")) && method[4] == '-') || BeginsWith(method, Bytes("-lzs-")) ||
           BeginsWith(method, Bytes("-lz4-"));
  }
};

DETECTOR(CKALzhFileType);

}  // namespace qzmtraw
