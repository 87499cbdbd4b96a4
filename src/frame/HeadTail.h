#ifndef QZMTRAW_FRAME_HEAD_TAIL_H
#define QZMTRAW_FRAME_HEAD_TAIL_H

#include <optional>

#include "frame/OpenFile.h"
#include "frame/Search.h"

namespace qzmtraw {

/// The pattern of kinds that are open from a head to the first tail, and grow by whole sectors in between. A tail is
/// looked for inside single sectors: one that straddles two sectors is not seen, and neither is one that ends on a
/// sector's last byte. `Self` states, besides what OpenFile asks for,
///
///     kTail                                                  the bytes that end a file
///     std::optional<std::int64_t> EndIn(const Sector&)       instead of kTail: what an end found in the sector adds to
///                                                            the file's size
///     std::optional<std::int64_t> KnownSize(const Sector&)   the size of a file that is known at its head and is not
///                                                            searched
///     bool IsTooLarge()                                      whether a file without a tail is given up; above the
///                                                            largest size unless stated
template <class Self, class Base = Detector<Self>>
class HeadTail : public OpenFile<Self, Base> {
 public:
  bool ScanBlock(const Block& block, IRawHitSink* sink) {
    Self& self = this->ThisDetector();
    for (std::int32_t i = 0; i < block.SectorCount(); ++i) {
      const bool wasOpen = this->fileOpen != 0;
      if (!wasOpen) i = NextHead(self, block, i);
      if (i == block.SectorCount()) break;
      const Sector sector = block[i];
      if (!wasOpen || IsHeadAt(self, sector)) {
        this->ReportFileBeforeHead(sink);
        this->Open(sector.Number());
        if (const std::optional<std::int64_t> size = self.KnownSize(sector)) {
          this->ReportSize(sink, static_cast<std::uint64_t>(*size));
          this->Close();
        }
      }
      if (this->fileOpen != 0) SearchTail(sector, sink);
    }
    return this->fileOpen != 0;
  }

  static std::optional<std::int64_t> KnownSize(const Sector& /*sector*/) { return std::nullopt; }
  static std::optional<std::int64_t> EndIn(const Sector& sector) { return EndBehindTail(sector, Self::kTail); }
  bool IsTooLarge() const {
    return static_cast<std::int64_t>(this->fileSize) > static_cast<std::int64_t>(this->maxFileSize);
  }

 protected:
  /// Where a file ends that goes on for `bytesBehind` bytes behind the first tail. The end doesn't touch the sector's
  /// last byte.
  static std::optional<std::int64_t> EndBehindTail(const Sector& sector, ByteView tail, std::int32_t bytesBehind = 0) {
    const std::int32_t searchedBytes = std::max(sector.Size() - 1 - bytesBehind, 0);
    const std::optional<std::size_t> found = Find(sector.Bytes().first(static_cast<std::size_t>(searchedBytes)), tail);
    if (!found) return std::nullopt;
    return static_cast<std::int64_t>(*found + tail.size()) + bytesBehind;
  }

 private:
  void SearchTail(const Sector& sector, IRawHitSink* sink) {
    if (const std::optional<std::int64_t> end = this->ThisDetector().EndIn(sector)) {
      this->fileSize += static_cast<std::uint64_t>(*end);
      this->ReportSize(sink, this->fileSize);
      this->Close();
      return;
    }
    this->fileSize += static_cast<std::uint64_t>(sector.Size());
    if (this->ThisDetector().IsTooLarge()) {
      this->ReportClipped(sink, this->fileSize);
      this->Close();
    }
  }
};

}  // namespace qzmtraw

#endif  // QZMTRAW_FRAME_HEAD_TAIL_H
