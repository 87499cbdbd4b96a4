#include <array>

#include "frame/KFileSimulator.h"
#include "frame/Search.h"
#include "frame/StartOnly.h"

namespace qzmtraw {

/// Archives of LHA and LArc: members one behind the other, each with a header that tells its own size and the packed
/// size of the data behind it, and a zero byte at the end.
class CKALzhFileType final : public StartOnly<CKALzhFileType> {
 public:
  static constexpr auto kHead = At(2, "-l");
  static constexpr SizeHints kHints{256, 0x2000000};

  static bool IsHead(const Sector& sector) { return HasMethod(sector.BytesAt(0, kHeaderBytes)); }

  /// The members' sizes and the zero. Headers of level 2 tell their whole size. Older ones leave out their two leading
  /// bytes, which are not made up for: the next header is looked for two bytes early and not found, so that the archive
  /// ends with its first member.
  static std::uint64_t SizeAt(const Sector& sector) {
    KFileSimulator file(sector.RawBlock(), sector.Number(), kHints.greatest);
    std::array<std::uint8_t, kHeaderBytes> header{};
    std::uint64_t size = 0;
    // A reader that answers for ever must not hold up the scan.
    for (int member = 0; member < kMostMembers; ++member) {
      file.SetPos(size);
      if (!file.Read(header.data(), kHeaderBytes) || !HasMethod(header)) break;
      const std::uint64_t memberSize = std::uint64_t{header[0]} + LoadLittle<std::uint32_t>(header.data() + 7);
      if (memberSize == 0) break;
      size += memberSize;
    }
    return size + 1;
  }

 private:
  static constexpr std::uint32_t kHeaderBytes = 15;
  static constexpr int kMostMembers = 4096;

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
