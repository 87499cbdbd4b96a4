#ifndef QZMTRAW_FRAME_FRAME_WALK_H
#define QZMTRAW_FRAME_FRAME_WALK_H

#include <algorithm>
#include <array>
#include <bit>

#include "frame/Detector.h"

namespace qzmtraw {

/// The pattern of kinds whose files are chains of frames, each with its length in its header. A file is walked from
/// header to header while the sectors pass, and nothing between two headers is looked at. A header may straddle two
/// sectors, and so two blocks. The file ends with the first header that tells no length, and is reported as it stands.
/// No head is looked for in an open file. The start alone says that a file is open, so one at sector 0 is not followed.
/// `Self` states
///
///     static std::uint32_t LengthOf(const std::uint8_t* header)    the length of the frame with this header of
///                                                                  kHeaderSize bytes, which are part of the frame; 0
///                                                                  if it isn't one
///
/// Offsets are worked out modulo 2^32. In sectors that can't hold a header a file ends at once.
template <class Self, std::uint32_t kHeaderSize>
class FrameWalk : public Detector<Self> {
 public:
  std::int32_t Reset() override {
    Close();
    return 1;
  }

  bool ScanBlock(const Block& block, IRawHitSink* sink) {
    for (std::int32_t i = 0; i < block.SectorCount(); ++i) {
      if (!IsOpen()) {
        i = NextHead(this->ThisDetector(), block, i);
        if (i == block.SectorCount()) break;
        this->hit.startSector = block[i].Number();
      }
      if (IsOpen()) Step(block[i], sink);
    }
    return IsOpen();
  }

 private:
  bool IsOpen() const { return this->hit.startSector != 0; }

  void Step(const Sector& sector, IRawHitSink* sink) {
    if (headerSplit != 0) {
      headerSplit = 0;
      const ByteView rest = sector.BytesAt(0, kHeaderSize - splitCount);
      std::copy(rest.begin(), rest.end(), splitHeader.begin() + splitCount);
      // The frame began in front of this sector.
      if (StepOver(Self::LengthOf(splitHeader.data()), 0 - splitCount, sector, sink)) Walk(sector, sink);
    } else if (skipSectors == 1) {
      Walk(sector, sink);
    } else {
      --skipSectors;
    }
  }

  /// Steps over the frames whose headers lie in the sector, from `frameOffset` on.
  void Walk(const Sector& sector, IRawHitSink* sink) {
    // A length that wraps leads back. The walk ends when it comes to where it was at its start, or after a number of
    // steps that is a power of two.
    const std::uint32_t firstOffset = frameOffset;
    std::uint32_t earlierOffset = frameOffset;
    for (std::uint32_t steps = 1; frameOffset + std::uint64_t{kHeaderSize} <= SizeOf(sector); ++steps) {
      const std::uint8_t* const header = sector.Bytes().data() + frameOffset;
      if (!StepOver(Self::LengthOf(header), frameOffset, sector, sink)) return;
      if (frameOffset == firstOffset || frameOffset == earlierOffset) return End(sink);
      if (std::has_single_bit(steps)) earlierOffset = frameOffset;
    }
    SplitHeader(sector, sink);
  }

  /// Goes from a frame at `offset` to the next one. \return Whether that begins in the same sector.
  bool StepOver(std::uint32_t length, std::uint32_t offset, const Sector& sector, IRawHitSink* sink) {
    if (length == 0) {
      End(sink);
      return false;
    }
    this->hit.size += length;
    skipSectors = (length + offset) / SizeOf(sector);
    frameOffset = (length + offset) % SizeOf(sector);
    return skipSectors == 0;
  }

  /// Keeps the part of a header that the sector ends with.
  void SplitHeader(const Sector& sector, IRawHitSink* sink) {
    if (SizeOf(sector) < kHeaderSize || frameOffset > SizeOf(sector)) return End(sink);
    const ByteView part = sector.Bytes().subspan(frameOffset);
    headerSplit = 1;
    splitHeader = {};
    splitCount = static_cast<std::uint32_t>(part.size());
    std::copy(part.begin(), part.end(), splitHeader.begin());
  }

  void End(IRawHitSink* sink) {
    this->Report(sink, this->hit.startSector, this->hit.size);
    Close();
  }

  void Close() {
    this->hit = {};
    skipSectors = 1;
    frameOffset = 0;
    headerSplit = 0;
    splitHeader = {};
    splitCount = 0;
  }

  static std::uint32_t SizeOf(const Sector& sector) { return static_cast<std::uint32_t>(sector.Size()); }

  /// Sectors up to the one that holds the next header; 1 for the very next.
  std::uint32_t skipSectors = 1;
  /// Where in its sector the next header begins.
  std::uint32_t frameOffset = 0;
  /// Whether the next header straddles two sectors, and the `splitCount` bytes of it that ended the first.
  std::int32_t headerSplit = 0;
  std::array<std::uint8_t, kHeaderSize> splitHeader{};
  std::uint32_t splitCount = 0;
};

}  // namespace qzmtraw

#endif  // QZMTRAW_FRAME_FRAME_WALK_H
