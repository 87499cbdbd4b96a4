#ifndef QZMTRAW_SYSTEM_SPLIT_MARK_WALK_H
#define QZMTRAW_SYSTEM_SPLIT_MARK_WALK_H

#include "frame/TailWalk.h"

namespace qzmtraw {

/// The tail walk of kinds that end with a mark of three bytes, the third of which doesn't belong to the file. Two flags
/// tell which of the mark's bytes ended an earlier sector. A flag stays set until the file ends, also when the sector
/// behind doesn't go on with the mark; neither a head nor, for some kinds, an end by a flag clears it. `Self` states
///
///     kMark                    the first two bytes of the mark
///     kSplitMarkClearsFlags    false: an end by a flag leaves both flags set for the next file
///     bool EndsMark(byte)      whether the mark's third byte may be this one
template <class Self>
class SplitMarkWalk : public TailWalk<Self> {
 public:
  static constexpr std::int64_t kLimit = 0x40000000;
  static constexpr OpenMark kOpenMark = OpenMark::kFileStart;
  static constexpr bool kHeadClearsCount = false;
  static constexpr bool kSplitMarkClearsFlags = true;

  bool FindTail(const Sector& sector, IRawHitSink* sink) {
    if (const std::optional<std::uint64_t> size = SizeToRestOfMark(sector)) {
      return End(sink, *size, Self::kSplitMarkClearsFlags);
    }
    if (const std::optional<std::uint64_t> size = SizeToWholeMark(sector.Bytes())) return End(sink, *size, true);
    if (EndsWith(sector.Bytes(), Self::kMark)) tailSplitLate = 1;
    if (EndsWith(sector.Bytes(), ByteView(Self::kMark).first(1))) tailSplitEarly = 1;
    return false;
  }

  void ClearCount() {
    tailSplitLate = 0;
    tailSplitEarly = 0;
  }

 private:
  bool End(IRawHitSink* sink, std::uint64_t size, bool clearsFlags) {
    this->fileSize += size;
    this->ReportAndClose(sink);
    if (clearsFlags) ClearCount();
    return true;
  }

  /// A mark that a flag says has begun. When both flags are set, the early one isn't asked.
  std::optional<std::uint64_t> SizeToRestOfMark(const Sector& sector) const {
    if (tailSplitLate != 0) return Self::EndsMark(sector.U8(0)) ? std::optional<std::uint64_t>(0) : std::nullopt;
    if (tailSplitEarly == 0 || sector.U8(0) != Self::kMark.bytes[1] || !Self::EndsMark(sector.U8(1))) {
      return std::nullopt;
    }
    return 1;
  }

  /// A mark that stands whole in a sector.
  static std::optional<std::uint64_t> SizeToWholeMark(ByteView bytes) {
    std::optional<std::size_t> found = Find(bytes, Self::kMark);
    while (found && *found + 2 < bytes.size()) {
      if (Self::EndsMark(bytes[*found + 2])) return *found + 2;
      found = Find(bytes, Self::kMark, *found + 1);
    }
    return std::nullopt;
  }

  static bool EndsWith(ByteView bytes, ByteView end) {
    return bytes.size() >= end.size() && BeginsWith(bytes.last(end.size()), end);
  }

  /// Whether a sector of the file ended with the mark's first two bytes.
  std::uint32_t tailSplitLate = 0;
  /// Whether a sector of the file ended with the mark's first byte.
  std::uint32_t tailSplitEarly = 0;
};

}  // namespace qzmtraw

#endif  // QZMTRAW_SYSTEM_SPLIT_MARK_WALK_H
