#include <algorithm>
#include <array>

#include "frame/HeadTail.h"
#include "text/Markup.h"

namespace qzmtraw {

/// Web pages saved as one file (MHTML, RFC 2557). The end is seen when the last part is one of XML, as the file list of
/// Office is: its end tag, and the closing boundary right behind it.
class KMhtFileType final : public HeadTail<KMhtFileType> {
 public:
  static constexpr std::int32_t kFloor = 65;
  static constexpr std::uint64_t kDefaultMaxFileSize = 0x2000000;

  static constexpr auto kVersion = Bytes("MIME-Version: 1.0");
  static constexpr auto kContentType = Bytes("Content-Type: multipart/related");
  static constexpr auto kBoundary = Bytes("boundary=\"");

  static constexpr std::int32_t kGlance = 64;

  static bool MayBeHead(const std::uint8_t* bytes) {
    return (kFirstFieldHas[0][bytes[kWithinFirstField]] & kFirstFieldHas[1][bytes[kWithinFirstField + kFurther]]) != 0;
  }

  /// The three header fields stand in the first 64 bytes, in any order.
  bool IsHead(const Sector& sector) {
    const ByteView header = UpToZero(sector.BytesAt(0, 64));
    if (!Find(header, kVersion)) return false;
    if (!Find(header, kContentType)) return false;
    const std::optional<std::size_t> boundary = Find(header, kBoundary);
    if (!boundary) return false;
    const std::size_t start = *boundary + kBoundary.Size();
    const ByteView quoted = UpToZero(sector.BytesAt(static_cast<std::int64_t>(start), mimeEndMark.size()));
    const std::optional<std::size_t> length = Find(quoted, Bytes("\""));
    if (!length || *length + kClosing.Size() >= mimeEndMark.size()) return false;
    mimeEndMark = {};
    auto* const end = std::copy_n(quoted.begin(), *length, mimeEndMark.data());
    std::copy(kClosing.bytes.begin(), kClosing.bytes.end(), end);
    return true;
  }

  std::optional<std::int64_t> EndIn(const Sector& sector) const {
    constexpr std::size_t kReach = 46;
    const std::optional<std::size_t> lastTag = Find(UpToZero(sector.Bytes()), Bytes("</xml>"));
    if (!lastTag) return std::nullopt;
    const ByteView mark = UpToZero(mimeEndMark);
    const std::optional<std::size_t> found =
        Find(UpToZero(sector.BytesAt(static_cast<std::int64_t>(*lastTag), kReach)), mark);
    if (!found) return std::nullopt;
    return static_cast<std::int64_t>(*lastTag + *found + mark.size());
  }

 private:
  /// The fields' names leave six of the 64 bytes free, and the shortest has ten bytes. So this offset lies in the first
  /// one, at most this far behind its start, and so does the one three bytes further.
  static constexpr std::size_t kWithinFirstField = 6;
  static constexpr std::size_t kFurther = 3;
  /// The bytes that may stand at these two offsets.
  static constexpr auto kFirstFieldHas = [] {
    std::array<std::array<std::uint8_t, 256>, 2> has{};
    for (std::size_t i = 0; i <= kWithinFirstField; ++i) {
      for (const ByteView field : {ByteView(kVersion), ByteView(kContentType), ByteView(kBoundary)}) {
        has[0][field[i]] = has[1][field[i + kFurther]] = 1;
      }
    }
    return has;
  }();

  static constexpr auto kClosing = Bytes("--");

  /// The boundary, "--" and a zero.
  std::array<std::uint8_t, 64> mimeEndMark{};
};

DETECTOR(KMhtFileType);

}  // namespace qzmtraw
