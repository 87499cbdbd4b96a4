#include <array>
#include <numeric>

#include "frame/ChainWalk.h"
#include "frame/KFileSimulator.h"
#include "frame/Search.h"
#include "frame/SizedByHead.h"

namespace qzmtraw {

/// Ogg files (RFC 3533), whatever they hold: pages with a table of their segments' lengths. A file begins with the
/// first page of a stream and goes on as long as page follows page, of that stream or another.
class KOggFileType final : public SizedByHead<KOggFileType> {
 public:
  static constexpr auto kHead = At(0, "OggS");
  static constexpr std::int32_t kFloor = 81;
  static constexpr std::uint64_t kDefaultMaxFileSize = 0xA00000;
  static constexpr std::int64_t kMinimum = 512;
  static constexpr bool kClosesOnZeroSize = false;

  static bool IsHead(const Sector& sector) {
    constexpr std::uint8_t kBeginningOfStream = 2;
    return (sector.U8(5) & kBeginningOfStream) != 0;
  }

  std::int32_t Reset() override {
    allowance_ = {};
    return SizedByHead::Reset();
  }

  std::int32_t SizeAt(const Sector& sector) {
    constexpr int kMostPages = 20000;
    KFileSimulator simulator(sector.RawBlock(), sector.Number(), 512);
    allowance_.EarnUpTo(sector.Number());
    std::uint32_t offset = 0;
    for (int page = 0; page < kMostPages; ++page) {
      const std::uint32_t size = PageSizeAt(simulator, offset);
      if (size == 0 || !allowance_.PayStep(0, size)) break;
      offset += size;
    }
    return static_cast<std::int32_t>(offset);
  }

 private:
  /// The length of a page with its header; 0 if there is none.
  static std::uint32_t PageSizeAt(KFileSimulator& simulator, std::uint32_t offset) {
    std::array<std::uint8_t, 27> header{};
    simulator.SetPos(offset);
    if (!simulator.Read(header.data(), header.size()) || !BeginsWith(header, Bytes("OggS"))) return 0;
    const std::uint32_t segmentCount = header.back();
    std::array<std::uint8_t, 255> lengths{};
    simulator.Read(lengths.data(), segmentCount);
    const std::uint32_t segments = std::accumulate(lengths.begin(), lengths.end(), std::uint32_t{0});
    return static_cast<std::uint32_t>(header.size()) + segmentCount + segments;
  }

  WalkAllowance allowance_;
};

DETECTOR(KOggFileType);

}  // namespace qzmtraw
