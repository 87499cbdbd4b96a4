#ifndef QZMTRAW_FRAME_TAIL_WALK_H
#define QZMTRAW_FRAME_TAIL_WALK_H

#include <algorithm>
#include <limits>

#include "frame/Detector.h"
#include "frame/Search.h"

namespace qzmtraw {

/// Which part of the state says, at a head, that the file before it is open and is to be reported as it stands.
enum class OpenMark { kFileSize, kFileStart, kFileSizeAlone };

/// Which sizes have reached the limit of a tail walk: those at it, or only those above it.
enum class LimitTest { kAtOrAbove, kAbove };

/// The pattern of kinds that a tail ends, wherever it stands: inside a sector, or across two sectors and so across two
/// blocks. Sizes are reported as they come out. `fileStart` alone says that a file is open, so a file that starts at
/// sector 0 is not followed. `Self` states
///
///     kTail            the bytes that end a file
///     kLimit           the size in bytes at which a file without a tail is given up and reported
///
/// and where it differs from most
///
///     kLimitTest       which sizes have reached the limit; those above it unless stated
///     kOpenMark        what tells a head that a file is open; its size, and that it has a start, unless stated
///     kHasOpenFlag     true: `fileOpen` says that a file is open, so one at sector 0 is followed as well
///     kComparedBytes   how many bytes of the tail are compared inside a sector, where the first few decide
///     kTailRoom        how many bytes the sector must have from a tail's first byte on, where more follows the tail
///     kSeesTailAtEnd   true: inside a sector, a whole tail, or its room, may touch the last byte
///     kStraddles       false: a tail across two sectors is not seen
///     kLosesSector     true: a sector that doesn't go on with the tail which the one before began is neither searched
///                      nor counted
///     kKeepsBeginning  true: a tail's beginning at a sector's end is asked for its rest at every later sector, until
///                      another beginning replaces it or the file ends by a tail or at the limit
///     kStopsAtTail     true: nothing behind a tail that ended a file is looked at. Otherwise, and unless stated, the
///                      sector's end may match a tail's beginning once more, and the next file of the kind inherits
///                      the match
///     kHeadClearsCount false: a head that closes the file before it leaves alone what ClearCount clears
///
///     std::uint64_t SizeUpTo(offset)      what a tail at this offset of the sector adds to the file's size; unless
///                                         stated, the bytes up to its end
///     std::uint64_t SizeUpToRest(k)       the same for a tail whose first k bytes ended the sector before
///     bool CountsAt(sector, offset)       whether a whole tail at this offset of the sector is one
///     bool GoesOn(sector, k)              whether a tail whose first k bytes ended the sector before goes on
///     void FindBeginningOfTail(sector, from)
///                                         keeps what the sector's end, at or behind the offset, has of a tail
///     bool EndsAtTail()                   whether the tail that was just met ends the file
///     void ClearCount()                   clears what EndsAtTail counts, where it counts, and what the class keeps of
///                                         an open file besides
///     ByteView SearchedBytes(sector)      what of a sector of an open file is searched
///     std::uint64_t GrowthBy(sector)      what a sector without a tail adds to the file's size; unless stated, the
///                                         bytes searched
///     bool FindTail(sector, sink)         instead of kTail: looks for the end in a sector, reports the file if it ends
///                                         there, and says so
///     bool IsOpen(), void Open(number)    another mark of an open file
template <class Self>
class TailWalk : public Detector<Self> {
 public:
  static constexpr LimitTest kLimitTest = LimitTest::kAbove;
  static constexpr OpenMark kOpenMark = OpenMark::kFileSize;
  static constexpr bool kHasOpenFlag = false;
  static constexpr std::size_t kComparedBytes = std::numeric_limits<std::size_t>::max();
  static constexpr std::size_t kTailRoom = 0;
  static constexpr bool kSeesTailAtEnd = false;
  static constexpr bool kStraddles = true;
  static constexpr bool kLosesSector = false;
  static constexpr bool kKeepsBeginning = false;
  static constexpr bool kStopsAtTail = false;
  static constexpr bool kHeadClearsCount = true;

  std::int32_t Reset() override {
    CloseFile();
    tailMatched = 0;
    this->ThisDetector().ClearCount();
    return 1;
  }

  bool ScanBlock(const Block& block, IRawHitSink* sink) {
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
      fileSize += self.GrowthBy(sector);
      ApplyLimit(sink);
    }
    return self.IsOpen();
  }

  static std::uint64_t SizeUpTo(std::size_t offset) { return offset + Self::kTail.Size(); }
  static std::uint64_t SizeUpToRest(std::size_t matched) { return Self::kTail.Size() - matched; }
  static bool CountsAt(const Sector& /*sector*/, std::size_t /*offset*/) { return true; }
  static bool GoesOn(const Sector& sector, std::size_t matched) {
    return sector.Has(0, ByteView(Self::kTail).subspan(matched));
  }
  static bool EndsAtTail() { return true; }
  static void ClearCount() {}
  static ByteView SearchedBytes(const Sector& sector) { return sector.Bytes(); }
  std::uint64_t GrowthBy(const Sector& sector) { return this->ThisDetector().SearchedBytes(sector).size(); }
  bool IsOpen() const { return Self::kHasOpenFlag ? fileOpen != 0 : fileStart != 0; }
  void Open(std::uint64_t startSector) {
    fileStart = startSector;
    fileOpen = 1;
  }

  /// Looks for the tail in a sector and reports the file if it ends there.
  /// \return Whether it did, or the sector is done with.
  bool FindTail(const Sector& sector, IRawHitSink* sink) {
    if (FindRestOfTail(sector, sink)) return true;
    const auto [ended, stoppedAt] = FindWholeTail(sector, sink);
    if (Self::kStraddles && !(ended && Self::kStopsAtTail)) {
      this->ThisDetector().FindBeginningOfTail(sector, stoppedAt);
    }
    return ended;
  }

  /// A tail's beginning, or a whole tail, that the sector ends with, at or behind the offset `from`.
  void FindBeginningOfTail(const Sector& sector, std::size_t from) {
    const ByteView bytes = this->ThisDetector().SearchedBytes(sector);
    constexpr ByteView kFirstByte = ByteView(Self::kTail).first(1);
    const ByteView end = bytes.last(std::min(bytes.size() - from, Self::kTail.Size()));
    std::size_t at = 0;
    while (const std::optional<std::size_t> found = Find(end, kFirstByte, at)) {
      if (BeginsWith(Self::kTail, end.subspan(*found))) {
        tailMatched = static_cast<std::uint32_t>(end.size() - *found);
        return;
      }
      at = *found + 1;
    }
  }

 protected:
  std::uint64_t fileStart = 0;
  std::uint64_t fileSize = 0;
  /// How many bytes of a tail's beginning ended the sector before.
  std::uint32_t tailMatched = 0;
  /// Looked at with kHasOpenFlag alone.
  std::int32_t fileOpen = 0;

  void ReportAndClose(IRawHitSink* sink) {
    this->Report(sink, fileStart, fileSize);
    CloseFile();
  }

  /// A tail that began at the end of the sector before. \return Whether the file ended, or the sector is done with.
  bool FindRestOfTail(const Sector& sector, IRawHitSink* sink) {
    if (tailMatched == 0) return false;
    const std::size_t matched = tailMatched;
    const bool goesOn = this->ThisDetector().GoesOn(sector, matched);
    if (goesOn || !Self::kKeepsBeginning) tailMatched = 0;
    if (!goesOn) return Self::kLosesSector;
    if (!this->ThisDetector().EndsAtTail()) return false;
    fileSize += Self::SizeUpToRest(matched);
    ReportAndClose(sink);
    return true;
  }

 private:
  void CloseFile() {
    fileStart = 0;
    fileSize = 0;
    fileOpen = 0;
  }

  void ReportFileBeforeHead(IRawHitSink* sink) {
    if (Self::kOpenMark != OpenMark::kFileStart && fileSize == 0) return;
    if (Self::kOpenMark != OpenMark::kFileSizeAlone && fileStart == 0) return;
    ReportAndClose(sink);
    if (Self::kHeadClearsCount) this->ThisDetector().ClearCount();
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

  /// A tail that ends in front of the sector's last byte, or with it where kSeesTailAtEnd says so.
  Search FindWholeTail(const Sector& sector, IRawHitSink* sink) {
    const ByteView bytes = this->ThisDetector().SearchedBytes(sector);
    constexpr std::size_t kRoom = std::max(Self::kTailRoom, Self::kTail.Size());
    constexpr std::size_t kBytesBehindPlaces = kRoom - (Self::kSeesTailAtEnd ? 1 : 0);
    if (bytes.size() <= kBytesBehindPlaces) return {false, 0};
    const std::size_t places = bytes.size() - kBytesBehindPlaces;
    const ByteView compared = ByteView(Self::kTail).first(std::min(Self::kTail.Size(), Self::kComparedBytes));
    const ByteView searched = bytes.first(places - 1 + compared.size());
    std::size_t from = 0;
    while (const std::optional<std::size_t> found = Find(searched, compared, from)) {
      if (this->ThisDetector().CountsAt(sector, *found) && this->ThisDetector().EndsAtTail()) {
        fileSize += Self::SizeUpTo(*found);
        ReportAndClose(sink);
        if (Self::kKeepsBeginning) tailMatched = 0;
        return {true, *found};
      }
      from = *found + 1;
    }
    return {false, places};
  }
};

}  // namespace qzmtraw

#endif  // QZMTRAW_FRAME_TAIL_WALK_H
