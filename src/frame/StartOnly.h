#ifndef QZMTRAW_FRAME_START_ONLY_H
#define QZMTRAW_FRAME_START_ONLY_H

#include "frame/Detector.h"

namespace qzmtraw {

/// The pattern of kinds that are decided inside one sector: every head is a hit, and nothing is kept. The hit's size is
/// 0, for which a host falls back on the kind's hints, unless `Self` states
///
///     static std::uint64_t SizeAt(const Sector& sector);    the size in bytes, reported as it comes out
template <class Self>
class StartOnly : public Detector<Self> {
 public:
  std::uint32_t Scan(const RawSectorBlock* rawBlock, IRawHitSink* sink) override {
    const Block block(rawBlock);
    ForEachHead(this->ThisDetector(), block,
                [&](const Sector& sector) { this->Report(sink, sector.Number(), Self::SizeAt(sector)); });
    return static_cast<std::uint32_t>(block.SectorCount());
  }

  static std::uint64_t SizeAt(const Sector& /*sector*/) { return 0; }
};

}  // namespace qzmtraw

#endif  // QZMTRAW_FRAME_START_ONLY_H
