#include <array>

#include "frame/ChainWalk.h"
#include "frame/StartOnly.h"

namespace qzmtraw {

/// Creative Voice files: a header of 26 bytes and blocks, each with a type and a length of three bytes. A block of type
/// 0 ends the file; it is its type alone. A type that doesn't exist counts as one.
class CKMVocFileType final : public ChainWalk<StartOnly<CKMVocFileType>> {
 public:
  static constexpr auto kHead = At(0, "Creative Voice File\x1A");

  std::uint64_t SizeAt(const Sector& sector) {
    constexpr std::uint64_t kHeader = 26;
    constexpr std::uint64_t kFarthestBlock = 0x7FFFFFFF;
    const auto next = [](KFileSimulator& file, std::uint64_t place) -> std::optional<std::uint64_t> {
      constexpr std::uint32_t kLastType = 9;
      constexpr std::uint32_t kBlockHeader = 4;
      if (place > kFarthestBlock) return std::nullopt;
      std::array<std::uint8_t, kBlockHeader> header{};
      file.Read(header.data(), header.size());
      const auto block = LoadLittle<std::uint32_t>(header.data());
      const std::uint32_t type = block & 0xFFU;
      if (type == 0 || type > kLastType) return std::nullopt;
      return place + (block >> 8U) + kBlockHeader;
    };
    const std::uint64_t end = FollowChain(sector, kHeader, next);
    return end > kFarthestBlock ? end : end + 1;
  }
};

DETECTOR(CKMVocFileType);

}  // namespace qzmtraw
