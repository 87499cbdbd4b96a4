#include <array>

#include "frame/ChainWalk.h"
#include "frame/Search.h"
#include "frame/SizedByHead.h"

namespace qzmtraw {

/// AVI clips. One of more than 1 GiB consists of several RIFF chunks, one "AVI " and any number of "AVIX" behind it
/// (OpenDML AVI File Format Extensions 1.02). Chunks are counted with their headers.
class KAviFileType final : public ChainWalk<SizedByHead<KAviFileType>> {
 public:
  static constexpr auto kHead = At(8, "AVI ") && At(0, "RIFF") && At(12, "LIST");
  static constexpr std::int32_t kFloor = 17;
  static constexpr std::uint64_t kDefaultMaxFileSize = 0x2000000000;

  std::int64_t SizeAt(const Sector& sector) {
    // Nothing is looked for behind a first chunk of more than that.
    constexpr std::int64_t kLargestFirstChunk = 0x40000000;
    constexpr std::int64_t kLargestSize = 0x2000000000;
    const std::int64_t firstChunk = sector.U32(4) + kChunkHeader;
    if (firstChunk > kLargestFirstChunk) return kLargestFirstChunk;
    const auto next = [](KFileSimulator& file, std::uint64_t place) -> std::optional<std::uint64_t> {
      if (static_cast<std::int64_t>(place) >= kLargestSize) return std::nullopt;
      return BehindChunk(file, place);
    };
    const auto size = static_cast<std::int64_t>(FollowChain(sector, static_cast<std::uint64_t>(firstChunk), next));
    return std::min(size, kLargestSize);
  }

 private:
  static constexpr std::int64_t kChunkHeader = 8;

  /// Where the "AVIX" chunk ends that stands at `place`, if there is one. Its size is signed, so that it may lead back.
  static std::optional<std::uint64_t> BehindChunk(KFileSimulator& file, std::uint64_t place) {
    std::array<std::uint8_t, 16> chunk{};
    if (!file.Read(chunk.data(), chunk.size())) return std::nullopt;
    if (!BeginsWith(chunk, Bytes("RIFF")) || !BeginsWith(ByteView(chunk).subspan(8), Bytes("AVIX"))) {
      return std::nullopt;
    }
    const auto size = static_cast<std::int32_t>(LoadLittle<std::uint32_t>(chunk.data() + 4));
    return place + static_cast<std::uint64_t>(size + kChunkHeader);
  }
};

DETECTOR(KAviFileType);

}  // namespace qzmtraw
