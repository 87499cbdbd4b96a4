#include "frame/ChainWalk.h"
#include "frame/SizedByHead.h"
#include "media/Atoms.h"

namespace qzmtraw {

/// QuickTime movies (QuickTime File Format Specification). The file reaches as far as one known atom follows the other.
/// Positions in the file have 32 bits, so the walk goes on at the file's start behind 4 GiB, while the size keeps
/// growing.
class KMovFileType final : public ChainWalk<SizedByHead<KMovFileType>> {
 public:
  static constexpr auto kHead = At(4, "moov") || At(4, "ftypqt  ") || At(4, "wide") || At(4, "pnot");
  static constexpr std::int32_t kFloor = 512;
  static constexpr std::int64_t kMinimum = 512;
  static constexpr std::uint64_t kDefaultMaxFileSize = 0x7FFFFFFF;

  static bool IsHead(const Sector& sector) { return IsPlausible(sector.BigU32(0)); }

  std::int64_t SizeAt(const Sector& sector) {
    const auto next = [this](KFileSimulator& file, std::uint64_t place) -> std::optional<std::uint64_t> {
      // From here on every further atom leads to the same report.
      if (static_cast<std::int64_t>(place) >= kMinimum && IsAboveLimit(place)) return std::nullopt;
      const AtomHeader atom = ReadAtomHeader(file);
      if (!IsPlausible(atom.size) || !atom.IsOneOf(kKnownAtoms)) return std::nullopt;
      return place + atom.size;
    };
    return static_cast<std::int64_t>(FollowChain<std::uint32_t>(sector, sector.BigU32(0), next));
  }

 private:
  static constexpr std::array kKnownAtoms = {
      NameOf("free"), NameOf("skip"), NameOf("wide"), NameOf("pnot"), NameOf("moov"),
      NameOf("mdat"), NameOf("ftyp"), NameOf("trak"), NameOf("mdia"), NameOf("stbl"),
      NameOf("cmov"), NameOf("dcom"), NameOf("cmvd"), NameOf("jp2h"), NameOf("PICT"),
  };

  static bool IsPlausible(std::uint32_t atomSize) { return atomSize >= 8 && atomSize <= 0x40000000; }
};

DETECTOR(KMovFileType);

}  // namespace qzmtraw
