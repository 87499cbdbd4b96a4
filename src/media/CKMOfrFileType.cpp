#include "frame/TailWalk.h"

namespace qzmtraw {

/// OptimFROG audio. The file ends with the footer of an APE tag of version 2, 32 bytes long, of which the last ones are
/// zero; a zero byte has to follow as well, which the filling of a file's last sector gives.
class CKMOfrFileType final : public TailWalk<CKMOfrFileType> {
 public:
  static constexpr auto kHead = At(0, "OFR ") && At(23, "HEAD");
  static constexpr auto kTail = Bytes("APETAGEX\xD0\x07");
  static constexpr std::int64_t kLimit = 0x64000000;
  static constexpr bool kHeadClearsCount = false;

  bool FindTail(const Sector& sector, IRawHitSink* sink) {
    if (FindCarriedTail(sector, sink)) return true;
    const bool ended = FindFooter(sector, sink);
    KeepTailsNearEnd(sector);
    return ended;
  }

  void ClearCount() { pendingEnd = 0; }

 private:
  static constexpr std::size_t kFooterSize = 32;

  static bool EndsAt(const Sector& sector, std::size_t offset) {
    return sector.U8(static_cast<std::int64_t>(offset)) == 0;
  }

  void End(std::size_t bytes, IRawHitSink* sink) {
    fileSize += bytes;
    ReportAndClose(sink);
  }

  /// A footer that began in the sector before: with a part of the tail, or else with all of it.
  bool FindCarriedTail(const Sector& sector, IRawHitSink* sink) {
    if (tailMatched != 0) {
      const std::size_t end = kFooterSize - tailMatched;
      const bool ends = sector.Has(0, ByteView(kTail).subspan(tailMatched)) && EndsAt(sector, end);
      tailMatched = 0;
      if (ends) End(end, sink);
      return ends;
    }
    if (pendingEnd != 0) {
      const bool ends = EndsAt(sector, kFooterSize - pendingEnd);
      pendingEnd = 0;
      // The footer's first bytes have been counted with their sector, and are counted again.
      if (ends) End(kFooterSize, sink);
      return ends;
    }
    return false;
  }

  /// A footer that ends, with the byte behind it, in the sector.
  bool FindFooter(const Sector& sector, IRawHitSink* sink) {
    const ByteView bytes = sector.Bytes();
    if (bytes.size() <= kFooterSize) return false;
    const ByteView searched = bytes.first(bytes.size() - kFooterSize - 1 + kTail.Size());
    for (std::optional<std::size_t> tail = Find(searched, kTail); tail; tail = Find(searched, kTail, *tail + 1)) {
      if (!EndsAt(sector, *tail + kFooterSize)) continue;
      End(*tail + kFooterSize, sink);
      return true;
    }
    return false;
  }

  /// Remembers the last whole tail whose footer runs on into the next sector, and the beginning of one. A footer that
  /// ends with the sector is not remembered.
  void KeepTailsNearEnd(const Sector& sector) {
    const std::size_t size = sector.Bytes().size();
    std::size_t from = size < kFooterSize ? 0 : size - kFooterSize + 1;
    while (const std::optional<std::size_t> tail = Find(sector.Bytes(), kTail, from)) {
      pendingEnd = static_cast<std::uint32_t>(size - *tail);
      from = *tail + 1;
    }
    FindBeginningOfTail(sector, size < kTail.Size() ? 0 : size - kTail.Size() + 1);
  }

  /// How many bytes from a whole tail on ended the sector before.
  std::uint32_t pendingEnd = 0;
};

DETECTOR(CKMOfrFileType);

}  // namespace qzmtraw
