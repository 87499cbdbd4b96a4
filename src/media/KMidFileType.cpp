#include <array>

#include "frame/ChainWalk.h"
#include "frame/KFileSimulator.h"
#include "frame/Search.h"
#include "frame/SizedByHead.h"

namespace qzmtraw {

/// Standard MIDI files: a header chunk that counts the tracks, and a chunk for each track.
class KMidFileType final : public SizedByHead<KMidFileType> {
 public:
  static constexpr auto kHead = At(0, "MThd") && At(4, "\0\0\0\x06");
  static constexpr std::int32_t kFloor = 9;
  static constexpr std::uint64_t kDefaultMaxFileSize = 0xA00000;
  static constexpr std::int64_t kMinimum = 512;
  static constexpr bool kClosesOnZeroSize = false;

  std::int32_t Reset() override {
    allowance_ = {};
    return SizedByHead::Reset();
  }

  /// The sum wraps at 32 bits. A negative one is sought as such.
  std::int32_t SizeAt(const Sector& sector) {
    constexpr std::uint32_t kHeaderChunkSize = 14;
    KFileSimulator simulator(sector.RawBlock(), sector.Number(), 512);
    allowance_.EarnUpTo(sector.Number());
    auto offset = static_cast<std::int32_t>(kHeaderChunkSize);
    for (auto tracksLeft = static_cast<std::int16_t>(sector.BigU16(10)); tracksLeft > 0; --tracksLeft) {
      std::array<std::uint8_t, 8> chunk{};
      simulator.SetPos(static_cast<std::uint64_t>(std::int64_t{offset}));
      if (!simulator.Read(chunk.data(), chunk.size()) || !BeginsWith(chunk, Bytes("MTrk"))) break;
      const std::uint32_t chunkSize = LoadBig<std::uint32_t>(&chunk[4]) + static_cast<std::uint32_t>(chunk.size());
      if (!allowance_.PayStep(0, chunkSize)) break;
      offset = static_cast<std::int32_t>(static_cast<std::uint32_t>(offset) + chunkSize);
    }
    return offset;
  }

 private:
  WalkAllowance allowance_;
};

DETECTOR(KMidFileType);

}  // namespace qzmtraw
