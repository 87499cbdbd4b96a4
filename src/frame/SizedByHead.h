#ifndef QZMTRAW_FRAME_SIZED_BY_HEAD_H
#define QZMTRAW_FRAME_SIZED_BY_HEAD_H

#include "frame/OpenFile.h"

namespace qzmtraw {

/// The pattern of kinds whose head tells the size. `Self` states, besides what OpenFile asks for,
///
///     std::int64_t SizeAt(const Sector& sector)    the size in bytes; below the minimum there is no hit
///     kClosesOnZeroSize                            false: a size of 0 leaves `fileOpen` set; true unless stated
///     kReportsUnknownSize                          true: a size of 0 says that it isn't known, and is reported; false
///                                                  unless stated
template <class Self>
class SizedByHead : public OpenFile<Self> {
 public:
  static constexpr bool kClosesOnZeroSize = true;
  static constexpr bool kReportsUnknownSize = false;

  bool ScanBlock(const Block& block, IRawHitSink* sink) {
    ForEachHead(this->ThisDetector(), block, [&](const Sector& sector) {
      const std::int64_t size = this->ThisDetector().SizeAt(sector);
      this->ReportFileBeforeHead(sink);
      this->Open(sector.Number());
      if (Self::kReportsUnknownSize && size == 0) {
        this->Report(sink, sector.Number(), 0);
      } else {
        this->ReportSize(sink, static_cast<std::uint64_t>(size));
      }
      if (Self::kClosesOnZeroSize || size != 0) this->Close();
    });
    return false;
  }
};

}  // namespace qzmtraw

#endif  // QZMTRAW_FRAME_SIZED_BY_HEAD_H
