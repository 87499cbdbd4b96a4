#include "containers/KZipFileSearcher.h"

#include <algorithm>

#include "containers/BeginningFilter.h"
#include "frame/NullLogger.h"
#include "frame/Search.h"

namespace qzmtraw {

namespace {

constexpr std::string_view kEndText("PK\5\6\0\0\0\0", KZipFileSearcher::kEnd.Size());

/// The four zeros that end the end's signature are not among the bytes by which it is looked for, which keeps stretches
/// of zeros fast.
constexpr BeginningFilter kEndOrName = [] {
  BeginningFilter filter;
  static_assert(BeginningFilter::kBeginning < KZipFileSearcher::kEnd.Size());
  filter.Add(kEndText);
  for (const ZipNameGroup& group : kZipNameGroups) {
    for (const ZipName& name : group.names) filter.Add(name.text);
  }
  return filter;
}();

/// CorelDRAW's files since X4 begin with a member in a folder "content". A folder of that name that holds nothing has
/// the next member's header right behind its name, and tells nothing.
bool IsCdrHead(const Sector& sector) { return sector.Has(30, Bytes("content/")) && !sector.Has(38, Bytes("PK\3\4")); }

}  // namespace

std::int32_t KZipFileSearcher::Reset() {
  cacheKey = kFirstKey;
  hits.clear();
  fileOpen = 0;
  fileStart = 0;
  fileSize = 0;
  maxFileSize = kDefaultMaxFileSize;
  fileCode = ZipCode::kZip;
  pendingLetter = 0;
  pendingLength = 0;
  endMatched = 0;
  return 1;
}

std::int32_t KZipFileSearcher::ResetFull() {
  secondList.clear();
  return Reset();
}

bool KZipFileSearcher::ScanBlock(const Block& block, IRawHitSink* /*sink*/) {
  for (std::int32_t i = 0; i < block.SectorCount(); ++i) {
    if (fileOpen == 0) i = NextHead(*this, block, i);
    if (i == block.SectorCount()) break;
    const Sector sector = block[i];
    if (IsHeadAt(*this, sector)) {
      KeepOversizedFileAtHead();
      // In a file whose kind is known a head is that of a member.
      if (fileCode == ZipCode::kZip) StartAt(sector);
    }
    SearchSector(sector);
  }
  return fileOpen != 0;
}

void KZipFileSearcher::StartAt(const Sector& sector) {
  fileStart = sector.Number();
  fileSize = 0;
  fileOpen = 1;
  if (IsCdrHead(sector)) fileCode = ZipCode::kCdr;
}

bool KZipFileSearcher::IsTooLarge() const {
  return static_cast<std::int64_t>(fileSize) > static_cast<std::int64_t>(maxFileSize);
}

/// A head closes no file: one within the limit may go on behind it, and one above it is kept once for each head.
void KZipFileSearcher::KeepOversizedFileAtHead() {
  if (fileOpen == 0 || static_cast<std::int64_t>(fileSize) < kMinimum || !IsTooLarge()) return;
  hits.push_back({{fileStart, maxFileSize}, fileCode});
}

void KZipFileSearcher::SearchSector(const Sector& sector) {
  FinishPendingName(sector.Bytes());
  if (const std::optional<std::uint64_t> end = FindEnd(sector)) {
    CloseAt(*end);
  } else {
    fileSize += static_cast<std::uint64_t>(sector.Size());
  }
}

void KZipFileSearcher::CloseAt(std::uint64_t endInSector) {
  fileSize += endInSector;
  if (static_cast<std::int64_t>(fileSize) >= kMinimum) {
    if (IsTooLarge()) fileSize = maxFileSize;
    LogDiagnostic("ZIP FILE: %d", fileSize);
    hits.push_back({{fileStart, fileSize}, fileCode});
  }
  fileSize = 0;
  fileOpen = 0;
  fileCode = ZipCode::kZip;
}

/// Looks for the end of the file, and for names while the kind isn't known.
/// \return Where the file ends, in bytes from the sector's start; it may be in a later sector.
std::optional<std::uint64_t> KZipFileSearcher::FindEnd(const Sector& sector) {
  const std::uint32_t matched = endMatched;
  if (FinishEnd(sector)) return kEndRecordSize - matched;

  const ByteView bytes = sector.Bytes();
  const bool watchesForNames = fileCode == ZipCode::kZip;
  bool stoppedAtName = false;
  const std::optional<std::size_t> found =
      watchesForNames ? FindEndOrNameInside(bytes, stoppedAtName) : FindEndInside(bytes);
  if (found) return *found + kEndRecordSize;
  if (!stoppedAtName) FindBeginningOfEnd(bytes, watchesForNames);
  return std::nullopt;
}

/// \return Whether the end that began in the sector before goes on at this one's start.
bool KZipFileSearcher::FinishEnd(const Sector& sector) {
  if (endMatched == 0) return false;
  const ByteView rest = ByteView(kEnd).subspan(endMatched);
  endMatched = 0;
  return sector.Has(0, rest);
}

/// The place of an end that doesn't touch the sector's last byte.
std::optional<std::size_t> KZipFileSearcher::FindEndInside(ByteView bytes) {
  return Find(bytes.first(bytes.size() - 1), kEnd);
}

/// The same, but a name that settles the kind, whole or up to the sector's end, may come first.
std::optional<std::size_t> KZipFileSearcher::FindEndOrNameInside(ByteView bytes, bool& stoppedAtName) {
  std::optional<std::size_t> found;
  const std::size_t positions = bytes.size() - std::min(bytes.size(), kEnd.Size());
  kEndOrName.ForEachCandidate(bytes.data(), positions, [&](std::size_t position) {
    if (BeginsWith(bytes.subspan(position), kEnd)) {
      found = position;
      return true;
    }
    return stoppedAtName = StopsAtNameIn(bytes, position);
  });
  return found;
}

/// Looks at the sector's last bytes for the beginning of an end, or a whole one, and for names in front of it.
void KZipFileSearcher::FindBeginningOfEnd(ByteView bytes, bool watchesForNames) {
  for (std::size_t length = std::min(bytes.size(), kEnd.Size()); length > 0; --length) {
    if (BeginsWith(kEnd, bytes.last(length))) {
      endMatched = static_cast<std::uint32_t>(length);
      return;
    }
    if (watchesForNames && StopsAtNameIn(bytes, bytes.size() - length)) return;
  }
}

/// The kind that a name tells may replace one that is known already.
void KZipFileSearcher::FinishPendingName(ByteView bytes) {
  if (pendingLetter == 0) return;
  TryGroup(pendingLetter, bytes, 0);
  pendingLetter = 0;
  pendingLength = 0;
}

/// \return Whether a name stands at the position that ends the search of the sector.
bool KZipFileSearcher::StopsAtNameIn(ByteView bytes, std::size_t position) {
  return TryGroup(bytes[position], bytes, position);
}

bool KZipFileSearcher::TryGroup(std::uint8_t letter, ByteView bytes, std::size_t position) {
  for (const ZipName& name : ZipNamesUnder(letter)) {
    if (TryName(name, bytes, position)) return name.then == AtName::kSearchEnds;
  }
  return false;
}

/// Takes note of a name that stands at the position: of its kind if it stands in front of the sector's last byte,
/// otherwise of how much of it has been seen. Of a name that began in the sector before, the rest is compared; which
/// of the group's names it was is not remembered.
/// \return Whether the name, or its beginning, stands there.
bool KZipFileSearcher::TryName(const ZipName& name, ByteView bytes, std::size_t position) {
  const ByteView rest = bytes.subspan(position);
  if (name.text.size() < rest.size()) {
    if (pendingLength > name.text.size() || !BeginsWith(rest, AsBytes(name.text.substr(pendingLength)))) return false;
    fileCode = name.code;
    return true;
  }
  if (!BeginsWith(AsBytes(name.text), rest)) return false;
  pendingLetter = bytes[position];
  pendingLength = static_cast<std::uint32_t>(rest.size());
  return true;
}

}  // namespace qzmtraw
