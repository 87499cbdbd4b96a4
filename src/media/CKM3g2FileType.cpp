#include "frame/ChainWalk.h"
#include "frame/StartOnly.h"

namespace qzmtraw {

/// Multimedia files of CDMA phones (3GPP2 C.S0050). One size leads to the next, whatever the atoms are called, up to a
/// size of zero.
class CKM3g2FileType final : public ChainWalk<StartOnly<CKM3g2FileType>> {
 public:
  static constexpr auto kHead = At(4, "ftyp3g2a");

  std::uint64_t SizeAt(const Sector& sector) {
    return FollowChain(sector, 0, [](KFileSimulator& file, std::uint64_t place) -> std::optional<std::uint64_t> {
      std::array<std::uint8_t, 4> size{};
      file.Read(size.data(), size.size());
      if (size == std::array<std::uint8_t, 4>{}) return std::nullopt;
      return place + LoadBig<std::uint32_t>(size.data());
    });
  }
};

DETECTOR(CKM3g2FileType);

}  // namespace qzmtraw
