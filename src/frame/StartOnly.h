#ifndef QZMTRAW_FRAME_START_ONLY_H
#define QZMTRAW_FRAME_START_ONLY_H

#include <optional>

#include "frame/Detector.h"

namespace qzmtraw {

/// The pattern of kinds that are decided at their head: every head is a hit, and nothing is kept. The hit's size is 0,
/// for which a host falls back on the kind's hints, unless `Self` states
///
///     std::uint64_t SizeAt(const Sector& sector)    the size in bytes, reported as it comes out. Of a kind whose head
///                                                   doesn't settle that there is a file, a std::optional: no size, no
///                                                   hit
///
/// and its start is the head's sector, unless `Self` states
///
///     static std::uint64_t StartAt(const Sector& sector)    the sector at which the file starts
template <class Self>
class StartOnly : public Detector<Self> {
 public:
  bool ScanBlock(const Block& block, IRawHitSink* sink) {
    Self& self = this->ThisDetector();
    ForEachHead(self, block, [&](const Sector& sector) {
      const std::optional<std::uint64_t> size = self.SizeAt(sector);
      if (size) this->Report(sink, Self::StartAt(sector), *size);
    });
    return false;
  }

  static std::uint64_t StartAt(const Sector& sector) { return sector.Number(); }
  static std::uint64_t SizeAt(const Sector& /*sector*/) { return 0; }
};

}  // namespace qzmtraw

#endif  // QZMTRAW_FRAME_START_ONLY_H
