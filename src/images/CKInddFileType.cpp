#include <array>
#include <optional>

#include "frame/ChainWalk.h"
#include "frame/StartOnly.h"

namespace qzmtraw {
namespace {

constexpr std::uint32_t kPageSize = 4096;
constexpr auto kMasterPage = Bytes(
    "\x06\x06\xED\xF5\xD8\x1D\x46\xE5\xBD\x31\xEF\xE7\xFE\x74\xB7\x1D"
    "DOCUMENT");
constexpr auto kStreamBlock = Bytes("\xDE\x39\x39\x79\x51\x88\x4B\x6C\x8E\x63\xEE\xF8\xAE\xE0\xDD\x38");

/// Where the fields of a master page stand.
constexpr std::int64_t kByteOrder = 24;
constexpr std::int64_t kSequenceNumber = 264;
constexpr std::int64_t kPageCount = 280;

}  // namespace

/// InDesign documents (XMP specification, part 3, on InDesign files): two master pages, of which the one written last
/// tells the number of pages, and behind the pages blocks that hold streams.
class CKInddFileType final : public ChainWalk<StartOnly<CKInddFileType>> {
 public:
  static constexpr auto kHead = At(0, kMasterPage);

  std::optional<std::uint64_t> SizeAt(const Sector& sector) {
    KFileSimulator file(sector.RawBlock(), sector.Number(), kSizeLimit);
    const std::uint32_t pageCount = PageCount(sector, file);
    if (pageCount == 0) return std::nullopt;
    const std::uint32_t endOfPages = pageCount * kPageSize;
    const std::uint64_t end = FollowChain(
        sector, endOfPages,
        [endOfPages](KFileSimulator& streams, std::uint64_t place) { return NextStream(streams, place, endOfPages); });
    return (end + kPageSize - 1) / kPageSize * kPageSize;
  }

 private:
  /// The number of pages that the document's master pages tell; 0 when they aren't those of a document.
  static std::uint32_t PageCount(const Sector& sector, KFileSimulator& file) {
    std::array<std::uint8_t, kPageSize> page{};
    file.SetPos(kPageSize);
    file.Read(page.data(), kPageSize);
    if (!std::equal(kMasterPage.bytes.begin(), kMasterPage.bytes.end(), page.begin())) return 0;
    if (!sector.Holds(kSequenceNumber, sizeof(std::uint64_t))) return 0;
    const bool isFirst = sector.U64(kSequenceNumber) > LoadLittle<std::uint64_t>(&page[kSequenceNumber]);
    const std::uint8_t byteOrder = isFirst ? sector.U8(kByteOrder) : page[kByteOrder];
    if (byteOrder != 1 && byteOrder != 2) return 0;
    return isFirst ? sector.U32(kPageCount) : LoadLittle<std::uint32_t>(&page[kPageCount]);
  }

  /// Where the stream block at `place` ends, if there is one. Its length leaves out its header and its trailer.
  static std::optional<std::uint64_t> NextStream(KFileSimulator& file, std::uint64_t place, std::uint64_t first) {
    constexpr std::uint32_t kHeaderSize = 32;
    constexpr std::uint32_t kHeaderAndTrailer = 64;
    if (place != first && place >= kSizeLimit) return std::nullopt;
    std::array<std::uint8_t, kHeaderSize> header{};
    file.Read(header.data(), kHeaderSize);
    if (!std::equal(kStreamBlock.bytes.begin(), kStreamBlock.bytes.end(), header.begin())) return std::nullopt;
    return place + LoadLittle<std::uint32_t>(&header[24]) + kHeaderAndTrailer;
  }

  static constexpr std::uint64_t kSizeLimit = 0x7FFFFFFF;
};

DETECTOR(CKInddFileType);

}  // namespace qzmtraw
