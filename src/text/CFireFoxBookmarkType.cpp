#include <algorithm>

#include "frame/HeadTail.h"

namespace qzmtraw {

/// Bookmarks as browsers export them (the Netscape bookmark file format). Every list of the file ends with "</DL><p>".
/// The file ends with the last of them, which has no text behind it, or one in front of the last, which has the next
/// one behind it.
class CFireFoxBookmarkType final : public HeadTail<CFireFoxBookmarkType> {
 public:
  static constexpr auto kHead = At(0, "<!");
  static constexpr std::int32_t kFloor = 49;
  static constexpr std::int64_t kMinimum = 4096;
  static constexpr std::uint64_t kDefaultMaxFileSize = 0x100000;

  std::int32_t Reset() override {
    carryState = 0;
    carryRemaining = 0;
    return HeadTail::Reset();
  }

  static bool IsHead(const Sector& sector) {
    constexpr auto kDoctype = Bytes("<!DOCTYPE NETSCAPE-Bookmark-file-1>");
    return BeginsWith(sector.BytesAt(0, kDoctype.Size()), kDoctype, LetterCase::kIgnored);
  }

  std::optional<std::int64_t> EndIn(const Sector& sector) {
    if (const std::optional<std::int64_t> end = EndOfCarriedMark(sector)) return end;
    if (const std::optional<std::int64_t> end = EndOfWholeMark(sector)) return end;
    CarryMark(sector);
    return std::nullopt;
  }

  /// The host's limit cuts the size, and doesn't end the file.
  bool IsTooLarge() const { return static_cast<std::int64_t>(fileSize) >= std::int64_t{kDefaultMaxFileSize}; }

 private:
  static constexpr auto kMark = Bytes("</DL><p>");
  /// A mark counts where this many bytes and more follow its beginning in the sector.
  static constexpr std::size_t kMarkAndText = 12;
  /// `carryState`: a whole mark ends the sector. With 1 to 3 bytes of text behind it, as many more. Below 8 it is the
  /// length of the mark's beginning that ends the sector.
  static constexpr std::uint32_t kWholeMark = 1024;

  static bool IsText(const Sector& sector, std::int64_t offset) {
    const std::uint8_t byte = sector.U8(offset);
    return byte == '\r' || byte == '\n' || byte == '\t' || (byte >= 0x20 && byte <= 0x7F);
  }

  /// Where a file ends whose mark ends at `markEnd`, if it ends there. The end may lie behind the sector.
  static std::optional<std::int64_t> EndAt(const Sector& sector, std::int64_t markEnd) {
    for (std::int64_t i = 0; i < 4; ++i) {
      if (!IsText(sector, markEnd + i)) return markEnd;
    }
    if (sector.U8(markEnd + 2) == '/') return markEnd + 7;
    return std::nullopt;
  }

  /// A mark that the sector before broke off. `carryRemaining` has come down to 1 there, so that 7 bytes are compared
  /// and taken for the end of a mark, whatever `carryState` says.
  std::optional<std::int64_t> EndOfCarriedMark(const Sector& sector) const {
    if (carryState == 0 || carryState == kWholeMark) return std::nullopt;
    const std::size_t compared = kMark.Size() - carryRemaining;
    if (!sector.Has(0, ByteView(kMark).first(compared))) return std::nullopt;
    return EndAt(sector, static_cast<std::int64_t>(compared));
  }

  static std::optional<std::int64_t> EndOfWholeMark(const Sector& sector) {
    const ByteView bytes = sector.Bytes();
    // A mark that begins at or behind this offset is left to CarryMark.
    const std::size_t markEnds = bytes.size() - std::min(bytes.size(), kMarkAndText - kMark.Size() + 1);
    std::size_t from = 0;
    while (const auto found = Find(bytes.first(markEnds).subspan(from), kMark)) {
      from += *found + kMark.Size();
      if (const std::optional<std::int64_t> end = EndAt(sector, static_cast<std::int64_t>(from))) return end;
    }
    return std::nullopt;
  }

  /// Notes a mark, or the beginning of one, in the sector's last bytes. Nothing clears the note of an earlier sector.
  void CarryMark(const Sector& sector) {
    const std::size_t size = sector.Bytes().size();
    for (std::size_t remaining = std::min(size, kMarkAndText); remaining > 0; --remaining) {
      const auto offset = static_cast<std::int64_t>(size - remaining);
      carryRemaining = static_cast<std::uint32_t>(remaining);
      if (!sector.Has(offset, ByteView(kMark).first(std::min(remaining, kMark.Size())))) continue;
      if (remaining < kMark.Size()) {
        carryState = carryRemaining;
      } else if (remaining == kMark.Size()) {
        carryState = kWholeMark;
      } else if (remaining < kMarkAndText && IsText(sector, offset + static_cast<std::int64_t>(remaining) - 1)) {
        carryState = kWholeMark + carryRemaining - 8;
      }
    }
  }

  std::uint32_t carryState = 0;
  std::uint32_t carryRemaining = 0;
};

DETECTOR(CFireFoxBookmarkType);

}  // namespace qzmtraw
