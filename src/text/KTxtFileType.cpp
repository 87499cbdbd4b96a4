#include "text/KTxtFileType.h"

#include <algorithm>
#include <array>
#include <new>

#include "text/LeadingCount.h"

namespace qzmtraw {
namespace {

constexpr bool IsBlank(std::uint8_t byte) { return byte == '\t' || byte == '\n' || byte == '\r'; }

/// Bytes that a text may hold.
constexpr bool IsBodyByte(std::uint8_t byte) { return (byte >= 0x20 && byte <= 0xFE) || IsBlank(byte); }

/// Bytes with which a sector of a text may begin: not those of a byte order mark.
constexpr bool IsFirstByte(std::uint8_t byte) { return IsBodyByte(byte) && byte != 0xEF && byte != 0xFE; }

/// What a sector's first byte says about a text that would begin there; no bits if none does.
enum StartBits : std::uint8_t {
  kStarts = 1,
  /// The byte is the first half of a double-byte character: see EndsDoubleByte.
  kStartsAsDoubleByte = 2,
  /// A cpio header or a comment may begin so.
  kOpensMore = 4,
};

constexpr std::array<std::uint8_t, 256> kStartByFirstByte = [] {
  std::array<std::uint8_t, 256> starts{};
  for (unsigned value = 0; value < starts.size(); ++value) {
    const auto byte = static_cast<std::uint8_t>(value);
    // No text begins with punctuation, though a later sector of it may.
    const bool isPunctuation = (byte >= 0x21 && byte <= 0x2E && byte != '#') || (byte >= 0x3D && byte <= 0x3F);
    if (!IsFirstByte(byte) || isPunctuation) continue;
    starts[byte] = byte > 0x80 ? kStartsAsDoubleByte : kStarts;
  }
  starts['0'] |= kOpensMore;
  starts['/'] |= kOpensMore;
  return starts;
}();

constexpr bool EndsDoubleByte(std::uint8_t first, std::uint8_t second) {
  return static_cast<unsigned>(second != first) &
         static_cast<unsigned>(static_cast<std::uint8_t>(second - 0xB0) <= 0xF7 - 0xB0);
}

/// Without a branch, since noise would mislead it.
bool MayStartText(std::uint8_t first, std::uint8_t second) {
  const unsigned start = kStartByFirstByte[first];
  const unsigned asDoubleByte = start >> 1U & static_cast<unsigned>(EndsDoubleByte(first, second));
  return ((start | asDoubleByte) & kStarts) != 0;
}

/// The index of the block's first sector from `index` on at which a text may start, or the number of sectors.
std::int32_t NextPossibleStart(const Block& block, std::int32_t index) {
  while (index < block.SectorCount() && !MayStartText(block[index].U8(0), block[index].U8(1))) ++index;
  return index;
}

/// Bytes at a sector's start by which most starts in noise are known not to be those of texts.
constexpr std::int32_t kGlance = 32;

bool EndsWithinGlance(const std::uint8_t* bytes) {
  std::uint8_t refused = 0;
  for (std::int32_t i = 0; i < kGlance; ++i) {
    refused = static_cast<std::uint8_t>(refused | (IsBodyByte(bytes[i]) ? 0 : 1));
  }
  return refused != 0;
}

}  // namespace

std::int32_t KTxtFileType::Reset() {
  SettleKind();
  sectorBuffer.reset();
  bufferSize_ = 0;
  fileOpen = 0;
  fileStart = 0;
  fileSize = 0;
  maxFileSize = kDefaultMaxFileSize;
  hits.clear();
  cacheKey = kFirstKey;
  return 1;
}

std::uint32_t KTxtFileType::Scan(const RawSectorBlock* rawBlock, IRawHitSink* /*sink*/) {
  const Block block(rawBlock);
  if (!MakeRoom(static_cast<std::size_t>(block.SectorSize()))) return 0;
  for (std::int32_t i = 0; i < block.SectorCount(); ++i) {
    if (fileOpen == 0) i = fileSize == 0 ? PassShortTexts(block, i) : NextPossibleStart(block, i);
    if (i < block.SectorCount()) ScanSector(block[i]);
  }
  KeepPutOff();
  return static_cast<std::uint32_t>(block.SectorCount());
}

std::int32_t KTxtFileType::PassShortTexts(const Block& block, std::int32_t index) {
  if (block.SectorSize() < kGlance) return NextPossibleStart(block, index);
  std::int32_t passed = 0;
  std::int32_t last = 0;
  for (; index < block.SectorCount(); ++index) {
    const std::uint8_t* const bytes = block.Data() + std::int64_t{index} * block.SectorSize();
    const bool mayStart = MayStartText(bytes[0], bytes[1]);
    // Both are worked out, since noise would mislead a branch between them.
    const unsigned isLong =
        static_cast<unsigned>(!EndsWithinGlance(bytes)) | (kStartByFirstByte[bytes[0]] & kOpensMore);
    if ((static_cast<unsigned>(mayStart) & static_cast<unsigned>(isLong != 0)) != 0) break;
    passed += static_cast<std::int32_t>(mayStart);
    last = std::max(last, index * static_cast<std::int32_t>(mayStart));
  }
  // What two of them leave behind is what all of them do.
  for (std::int32_t i = std::min(passed, 2); i > 0; --i) PassOver(block[last].Bytes());
  return index;
}

void KTxtFileType::ScanSector(const Sector& sector) {
  const ByteView bytes = sector.Bytes();
  if (!IsFirstByte(bytes.front())) {
    CloseText();
    return;
  }
  const std::size_t length = LeadingCount(bytes.size(), [bytes](std::size_t i) { return IsBodyByte(bytes[i]); });
  const bool endsHere = length < bytes.size();
  if (fileOpen == 0) {
    if (endsHere && fileSize == 0 && length < kMinimum) {
      PassOver(bytes);
      return;
    }
    ClassifySector(bytes);
    if (textKind == kNoText) return;
    fileOpen = 1;
    fileStart = sector.Number();
  } else if (textKind == kUndecided) {
    ClassifySector(bytes);
    if (textKind == kNoText) {
      // The bytes counted so far stay, and enter the size of the next text.
      fileOpen = 0;
      fileStart = 0;
      return;
    }
  }
  fileSize += length;
  if (endsHere) CloseText();
}

void KTxtFileType::PassOver(ByteView sector) {
  if (IsCpioHeader(sector)) return;
  if (OpensComment(sector)) {
    ClassifySector(sector);
    return;
  }
  textKind = IsUndecided() ? kUndecided : kNoText;
  putOff_ = sector;
}

void KTxtFileType::CloseText() {
  if (static_cast<std::int64_t>(fileSize) >= kMinimum) {
    const bool isCut = textKind < kFirstUncutKind;
    const bool tooLarge = static_cast<std::int64_t>(fileSize) > static_cast<std::int64_t>(maxFileSize);
    hits.push_back({{fileStart, isCut && tooLarge ? maxFileSize : fileSize}, textKind});
    textKind = kNoText;
  }
  fileOpen = 0;
  fileSize = 0;
}

void KTxtFileType::ClassifySector(ByteView sector) {
  if (IsCpioHeader(sector)) {
    SettleKind();
    return;
  }
  textKind = TextKindOf(sector, IsUndecided());
  putOff_ = {};
}

void KTxtFileType::SettleKind() {
  if (putOff_.empty()) return;
  textKind = TextKindOf(putOff_, textKind == kUndecided);
  putOff_ = {};
}

bool KTxtFileType::MakeRoom(std::size_t sectorSize) {
  if (sectorSize <= bufferSize_) return true;
  SettleKind();
  bufferSize_ = 0;
  sectorBuffer.reset(new (std::nothrow) std::uint8_t[sectorSize]);
  if (sectorBuffer == nullptr) return false;
  bufferSize_ = sectorSize;
  return true;
}

void KTxtFileType::KeepPutOff() {
  if (putOff_.empty() || putOff_.data() == sectorBuffer.get()) return;
  std::copy(putOff_.begin(), putOff_.end(), sectorBuffer.get());
  putOff_ = {sectorBuffer.get(), putOff_.size()};
}

}  // namespace qzmtraw
