#include <algorithm>

#include "frame/TailWalk.h"

namespace qzmtraw {

/// Rich Text Format documents (the RTF specification 1.9.1): one group in braces, with groups inside it. The document
/// ends with the group, or with its first zero byte.
class CKRTFFeileType final : public TailWalk<CKRTFFeileType> {
 public:
  static constexpr auto kHead = At(0, "{\\rtf");
  static constexpr std::int32_t kFloor = 51;
  static constexpr std::int64_t kLimit = 0x4000000;
  static constexpr LimitTest kLimitTest = LimitTest::kAtOrAbove;
  static constexpr bool kHasOpenFlag = true;

  std::int32_t Reset() override {
    braces = 0;
    return TailWalk::Reset();
  }

  static bool IsHead(const Sector& sector) { return sector.U8(5) >= '1' && sector.U8(5) <= '9'; }

  void Open(std::uint64_t startSector) {
    fileSize = 0;
    TailWalk::Open(startSector);
  }

  bool FindTail(const Sector& sector, IRawHitSink* sink) {
    const std::optional<std::size_t> end = WalkBraces(sector.Bytes());
    if (!end) return false;
    fileSize += *end;
    ReportAndClose(sink);
    return true;
  }

 private:
  /// Counts the open groups through a sector. Braces that are escaped or stand in binary data count as well.
  /// \return The offset behind the byte that ends the document.
  std::optional<std::size_t> WalkBraces(ByteView bytes) {
    constexpr std::size_t kGroup = 64;
    for (std::size_t from = 0; from < bytes.size(); from += kGroup) {
      const ByteView group = bytes.subspan(from, std::min(kGroup, bytes.size() - from));
      if (PassGroup(group)) continue;
      for (std::size_t i = 0; i < group.size(); ++i) {
        if (group[i] == '{') ++braces;
        if (group[i] == '}') --braces;
        if (braces == 0 || group[i] == 0) return from + i + 1;
      }
    }
    return std::nullopt;
  }

  /// Takes bytes at once among which the document can't end.
  bool PassGroup(ByteView group) {
    std::uint8_t opening = 0;
    std::uint8_t closing = 0;
    std::uint8_t zeros = 0;
    for (const std::uint8_t byte : group) {
      opening = static_cast<std::uint8_t>(opening + (byte == '{' ? 1 : 0));
      closing = static_cast<std::uint8_t>(closing + (byte == '}' ? 1 : 0));
      zeros = static_cast<std::uint8_t>(zeros + (byte == 0 ? 1 : 0));
    }
    if (zeros != 0 || braces <= closing) return false;
    braces += opening;
    braces -= closing;
    return true;
  }

  /// How many groups are open. Only Reset clears it: what a document left open counts for the next one.
  std::uint64_t braces = 0;
};

DETECTOR(CKRTFFeileType);

}  // namespace qzmtraw
