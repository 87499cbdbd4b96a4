#include <array>

#include "frame/ChainWalk.h"
#include "frame/KFileSimulator.h"
#include "frame/Search.h"
#include "frame/SizedByHead.h"

namespace qzmtraw {

/// RealMedia files. The properties chunk, the first one, tells where the data and the index begin. The index chunks are
/// the last ones, so the file's size comes from them alone.
class KRmFileType final : public SizedByHead<KRmFileType> {
 public:
  static constexpr auto kHead = At(0, ".RMF") && At(4, "\0\0\0\x12") && At(18, "PROP");
  static constexpr std::int32_t kFloor = 512;
  static constexpr std::uint64_t kDefaultMaxFileSize = 0x7FFF0000;

  std::int32_t Reset() override {
    allowance_ = {};
    return SizedByHead::Reset();
  }

  /// The end of the index; 0 if the data isn't where it belongs. The sum wraps at 32 bits.
  std::int32_t SizeAt(const Sector& sector) {
    constexpr int kMostIndexes = 99999;
    KFileSimulator simulator(sector.RawBlock(), sector.Number(), 0x100000);
    if (!ChunkAt(simulator, sector.BigU32(60), Bytes("DATA"))) return 0;
    allowance_.EarnUpTo(sector.Number());
    std::uint32_t size = sector.BigU32(56);
    for (int i = 0; i < kMostIndexes; ++i) {
      const std::optional<std::uint32_t> chunkSize = ChunkAt(simulator, size, Bytes("INDX"));
      if (!chunkSize || *chunkSize == 0 || !allowance_.PayStep(0, *chunkSize)) break;
      size += *chunkSize;
    }
    return static_cast<std::int32_t>(size);
  }

 private:
  /// The size of a chunk, if it has this name.
  static std::optional<std::uint32_t> ChunkAt(KFileSimulator& simulator, std::uint32_t offset, ByteView name) {
    std::array<std::uint8_t, 8> chunk{};
    simulator.SetPos(offset);
    if (!simulator.Read(chunk.data(), chunk.size()) || !BeginsWith(chunk, name)) return std::nullopt;
    return LoadBig<std::uint32_t>(&chunk[4]);
  }

  WalkAllowance allowance_;
};

DETECTOR(KRmFileType);

}  // namespace qzmtraw
