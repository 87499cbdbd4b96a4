#ifndef QZMTRAW_FRAME_TAIL_WALK_H
#define QZMTRAW_FRAME_TAIL_WALK_H

#include <algorithm>

#include "frame/Detector.h"
#include "frame/Search.h"

namespace qzmtraw {

/// Which part of the state says, at a head, that the file before it is open and is to be reported as it stands.
enum class OpenMark { kFileSize, kFileStart };

/// Which sizes have reached the limit of a tail walk: those at it, or only those above it.
enum class LimitTest { kAtOrAbove, kAbove };

/// The pattern of kinds that a tail ends, wherever it stands: inside a sector, or across two sectors and so across two
/// blocks. Sizes are reported as they come out. `fileStart` alone says that a file is open, so a file that starts at
/// sector 0 is not followed. `Self` states
///
///     kTail                               the bytes that end a file
///     kLimit                              the size in bytes at which a file without a tail is given up and reported
///     kLimitTest                          which sizes have reached it; those above it unless stated
///     kOpenMark                           what tells a head that a file is open; its size unless stated
///     std::uint64_t SizeUpTo(offset)      what a tail at this offset of the sector adds to the file's size; unless
///                                         stated, the bytes up to its end
///     std::uint64_t SizeUpToRest(k)       the same for a tail whose first k bytes ended the sector before
///     bool EndsAtTail()                   whether the tail that was just met ends the file; true unless stated
///     void ClearCount()                   clears what EndsAtTail counts, where it counts, and what the class keeps of
///                                         an open file besides
///     kStopsAtTail                        true: nothing behind a tail that ended a file is looked at. Otherwise, and
///                                         unless stated, the sector's end may match a tail's beginning once more, and
///                                         the next file of the kind inherits the match
///     bool FindTail(sector, sink)         instead of kTail: looks for the end in a sector, reports the file if it ends
///                                         there, and says so
///     bool IsOpen(), void Open(number)    another mark of an open file than its start, for kinds that are followed at
///                                         sector 0 as well
template <class Self>
class TailWalk : public Detector<Self> {
 public:
  static constexpr LimitTest kLimitTest = LimitTest::kAbove;
  static constexpr OpenMark kOpenMark = OpenMark::kFileSize;
  static constexpr bool kStopsAtTail = false;

  std::int32_t Reset() override {
    CloseFile();
    tailMatched = 0;
    this->ThisDetector().ClearCount();
    return 1;
  }

  std::uint32_t Scan(const RawSectorBlock* rawBlock, IRawHitSink* sink) override {
    const Block block(rawBlock);
    Self& self = this->ThisDetector();
    for (std::int32_t i = 0; i < block.SectorCount(); ++i) {
      const bool wasOpen = self.IsOpen();
      if (!wasOpen) i = NextHead(self, block, i);
      if (i == block.SectorCount()) break;
      const Sector sector = block[i];
      if (!wasOpen || IsHeadAt(self, sector)) {
        ReportFileBeforeHead(sink);
        self.Open(sector.Number());
      }
      if (!self.IsOpen() || self.FindTail(sector, sink)) continue;
      fileSize += static_cast<std::uint64_t>(sector.Size());
      ApplyLimit(sink);
    }
    return static_cast<std::uint32_t>(block.SectorCount());
  }

  static std::uint64_t SizeUpTo(std::size_t offset) { return offset + Self::kTail.Size(); }
  static std::uint64_t SizeUpToRest(std::size_t matched) { return Self::kTail.Size() - matched; }
  static bool EndsAtTail() { return true; }
  static void ClearCount() {}
  bool IsOpen() const { return fileStart != 0; }
  void Open(std::uint64_t startSector) { fileStart = startSector; }

  /// Looks for the tail in a sector and reports the file if it ends there.
  /// \return Whether it did.
  bool FindTail(const Sector& sector, IRawHitSink* sink) {
    if (FindRestOfTail(sector, sink)) return true;
    const auto [ended, stoppedAt] = FindWholeTail(sector, sink);
    if (!(ended && Self::kStopsAtTail)) FindBeginningOfTail(sector, stoppedAt);
    return ended;
  }

 protected:
  std::uint64_t fileStart = 0;
  std::uint64_t fileSize = 0;
  /// How many bytes of a tail's beginning ended the sector before.
  std::uint32_t tailMatched = 0;

  void ReportAndClose(IRawHitSink* sink) {
    this->Report(sink, fileStart, fileSize);
    CloseFile();
  }

  /// A tail that began at the end of the sector before.
  bool FindRestOfTail(const Sector& sector, IRawHitSink* sink) {
    if (tailMatched == 0) return false;
    const std::size_t matched = tailMatched;
    tailMatched = 0;
    if (!sector.Has(0, ByteView(Self::kTail).subspan(matched)) || !this->ThisDetector().EndsAtTail()) return false;
    fileSize += Self::SizeUpToRest(matched);
    ReportAndClose(sink);
    return true;
  }

  /// A tail's beginning, or a whole tail, that the sector ends with, at or behind the offset `from`.
  void FindBeginningOfTail(const Sector& sector, std::size_t from) {
    const ByteView bytes = sector.Bytes();
    const std::size_t longest = std::min(bytes.size() - from, Self::kTail.Size());
    for (std::size_t length = longest; length > 0; --length) {
      const ByteView beginning = ByteView(Self::kTail).first(length);
      if (std::equal(beginning.begin(), beginning.end(), bytes.last(length).begin())) {
        tailMatched = static_cast<std::uint32_t>(length);
        return;
      }
    }
  }

 private:
  void CloseFile() {
    fileStart = 0;
    fileSize = 0;
  }

  void ReportFileBeforeHead(IRawHitSink* sink) {
    if (fileStart == 0 || (Self::kOpenMark == OpenMark::kFileSize && fileSize == 0)) return;
    ReportAndClose(sink);
    this->ThisDetector().ClearCount();
  }

  void ApplyLimit(IRawHitSink* sink) {
    constexpr std::int64_t kFirstSizeTooLarge = Self::kLimit + (Self::kLimitTest == LimitTest::kAbove ? 1 : 0);
    if (static_cast<std::int64_t>(fileSize) < kFirstSizeTooLarge) return;
    fileSize = static_cast<std::uint64_t>(Self::kLimit);
    ReportAndClose(sink);
    tailMatched = 0;
    this->ThisDetector().ClearCount();
  }

  struct Search {
    bool ended;
    std::size_t stoppedAt;
  };

  /// A tail that ends in front of the sector's last byte.
  Search FindWholeTail(const Sector& sector, IRawHitSink* sink) {
    const std::size_t sectorSize = sector.Bytes().size();
    const ByteView searched = sector.Bytes().first(sectorSize - 1);
    std::size_t from = 0;
    while (const std::optional<std::size_t> found = Find(searched, Self::kTail, from)) {
      if (this->ThisDetector().EndsAtTail()) {
        fileSize += Self::SizeUpTo(*found);
        ReportAndClose(sink);
        return {true, *found};
      }
      from = *found + 1;
    }
    return {false, sectorSize - std::min(sectorSize, Self::kTail.Size())};
  }
};

}  // namespace qzmtraw

#endif  // QZMTRAW_FRAME_TAIL_WALK_H
