#include "tests/support/ZipScanning.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>

namespace qzmtraw::test {

std::ostream& operator<<(std::ostream& out, const ZipHit& hit) {
  return out << "{sector " << hit.startSector << ", " << hit.size << " bytes, code " << hit.code << "}";
}

const std::vector<ZipName>& ZipNames() {
  static const std::vector<ZipName> kNames = {
      {"application/vnd.oasis.opendocument.formula", 10},
      {"application/x-vnd.oasis.opendocument.formula", 10},
      {"application/epub", 13},
      {"AndroidManifest.xml", 14},
      {"docProps/thumbnail.jpeg", 12, true},
      {"iTunesArtwork", 15},
      {"mimetypeapplication/vnd.oasis.opendocument.text", 4},
      {"mimetypeapplication/vnd.oasis.opendocument.spreadsheet", 5},
      {"mimetypeapplication/vnd.oasis.opendocument.presentation", 6},
      {"mimetypeapplication/vnd.sun.xml.base", 8},
      {"mimetypeapplication/vnd.oasis.opendocument.graphics", 7},
      {"META-INF/MANIFEST.MF", 9},
      {"mimetypeapplication/epub", 13},
      {"mimetypeapplication/vnd.adobe.xfl", 16},
      {"mimetypeapplication/vnd.oasis.opendocument.base", 19},
      {"ppt/slides/", 3, true},
      {"ppt/slideLayouts/", 3, true},
      {"ppt/slideMasters/", 3, true},
      {"ppt/media/", 3, true},
      {"ppt/presProps.xml", 3, true},
      {"PxlPkg.plist", 11},
      {"\x52\x49\x4D\x41\x52\x59\xFF\x79\x65\x61\x72\x49\x6E\x64\x65\x78", 17},
      {"template/database/databaseProperties.xml", 18},
      {"word/_rels/document.xml.rels", 1},
      {"word/document.xml", 1},
      {"word/footnotes.xml", 1},
      {"word/endnotes.xml", 1},
      {"word/settings.xml", 1},
      {"word/styles.xml", 1},
      {"xl/_rels/workbook.xml", 2},
      {"xl/workbook.xml", 2},
      {"xl/worksheets/", 2},
  };
  return kNames;
}

ZipDetectors::ZipDetectors() {
  for (const std::string_view face : kZipFaces) faces_.push_back(CreateDetector(face));
}

ZipHits ZipDetectors::Scan(const ZipBlock& block) {
  std::vector<std::uint8_t> memory(block.bytes.begin(), block.bytes.end());
  const RawSectorBlock raw{block.startSector, memory.data(), static_cast<std::int32_t>(block.SectorCount()),
                           block.sectorSize, nullptr};
  ZipHits hits;
  for (std::uint32_t code = 0; code < faces_.size(); ++code) {
    RecordingSink sink;
    ScanBlock(*faces_[code], raw, sink);
    for (const Hit& hit : sink.Found()) hits.push_back({hit.startSector, hit.size, code});
  }
  return hits;
}

ZipHits ZipDetectors::Scan(const Device& device, Cut cut) {
  const int blockSectors = cut.blockSectors == 0 ? device.SectorCount() : cut.blockSectors;
  ZipHits hits;
  for (int first = 0; first < device.SectorCount(); first += blockSectors) {
    const int count = std::min(blockSectors, device.SectorCount() - first);
    const auto begin = device.Bytes().begin() + std::ptrdiff_t{first} * device.SectorSize();
    const ZipHits more = Scan(ZipBlock{device.FirstSector() + static_cast<std::uint64_t>(first),
                                       device.SectorSize(),
                                       {begin, begin + std::ptrdiff_t{count} * device.SectorSize()}});
    hits.insert(hits.end(), more.begin(), more.end());
  }
  return hits;
}

ZipHits ScanZipAnyCut(const Device& device) {
  const auto sortedHits = [&](Cut cut) {
    ZipHits hits = ZipDetectors().Scan(device, cut);
    std::sort(hits.begin(), hits.end());
    return hits;
  };
  ZipHits whole = sortedHits({});
  for (int blockSectors = 1; blockSectors <= 3; ++blockSectors) {
    EXPECT_EQ(sortedHits({blockSectors}), whole) << "in blocks of " << blockSectors << " sectors";
  }
  return whole;
}

namespace {

constexpr std::string_view kSignature("PK\5\6\0\0\0\0", 8);
constexpr std::string_view kLocalHeader = "PK\3\4";
constexpr std::int64_t kMaxFileSize = 0x1400000;

}  // namespace

ZipHits LiteralZipSearcher::Scan(const ZipBlock& block) {
  ZipHits hits;
  const auto n = static_cast<std::size_t>(block.sectorSize);
  for (std::size_t index = 0; index < block.SectorCount(); ++index) {
    const std::string fromSectorOn = block.bytes.substr(index * n);
    const std::string sector = fromSectorOn.substr(0, n);
    if (n >= 51 && sector.compare(0, 4, kLocalHeader) == 0) {
      if (fileOpen_ && fileSize_ >= 256 && fileSize_ > kMaxFileSize) {
        hits.push_back({fileStart_, static_cast<std::uint64_t>(kMaxFileSize), fileCode_});
      }
      if (fileCode_ == 0) {
        fileStart_ = block.startSector + index;
        fileSize_ = 0;
        fileOpen_ = true;
        if (sector.compare(30, 8, "content/") == 0 && sector.compare(38, 4, kLocalHeader) != 0) fileCode_ = 20;
      }
    }
    if (!fileOpen_) continue;
    if (pendingLetter_ != 0) {
      MatchUnder(pendingLetter_, sector, 0);
      pendingLetter_ = 0;
      pendingLength_ = 0;
    }
    std::uint64_t end = 0;
    if (!SearchEnd(sector, fromSectorOn, end)) {
      fileSize_ += static_cast<std::int64_t>(n);
      continue;
    }
    fileSize_ += static_cast<std::int64_t>(end);
    if (fileSize_ >= 256) {
      hits.push_back({fileStart_, static_cast<std::uint64_t>(std::min(fileSize_, kMaxFileSize)), fileCode_});
    }
    fileSize_ = 0;
    fileOpen_ = false;
    fileCode_ = 0;
  }
  std::stable_sort(hits.begin(), hits.end(), [](const ZipHit& a, const ZipHit& b) { return a.code < b.code; });
  return hits;
}

bool LiteralZipSearcher::SearchEnd(const std::string& sector, const std::string& fromSectorOn, std::uint64_t& end) {
  const bool classifies = fileCode_ == 0;
  const std::size_t n = sector.size();
  if (endMatched_ > 0) {
    const std::size_t k = endMatched_;
    endMatched_ = 0;
    if (fromSectorOn.substr(0, 8 - k) == kSignature.substr(k)) {
      end = 22 - k;
      return true;
    }
  }
  std::size_t i = 0;
  for (; i + 8 < n; ++i) {
    if (sector.compare(i, 8, kSignature) == 0) {
      end = i + 22;
      return true;
    }
    if (classifies && Match(sector, i)) break;
  }
  for (; i < n; ++i) {
    if (n - i <= 8 && sector.compare(i, n - i, kSignature, 0, n - i) == 0) {
      endMatched_ = n - i;
      return false;
    }
    if (classifies && Match(sector, i)) return false;
  }
  return false;
}

bool LiteralZipSearcher::Match(const std::string& sector, std::size_t position) {
  return MatchUnder(static_cast<unsigned char>(sector[position]), sector, position);
}

bool LiteralZipSearcher::MatchUnder(unsigned char letter, const std::string& sector, std::size_t position) {
  if (letter < 65 || letter > 120) return false;
  for (const ZipName& name : ZipNames()) {
    const bool inGroup = std::tolower(letter) == std::tolower(static_cast<unsigned char>(name.text[0]));
    if (inGroup && MatchOne(name, sector, position)) return !name.weak;
  }
  return false;
}

bool LiteralZipSearcher::MatchOne(const ZipName& name, const std::string& sector, std::size_t position) {
  const std::size_t n = sector.size();
  if (position + name.text.size() < n) {
    if (pendingLength_ > name.text.size()) return false;
    const std::string rest = name.text.substr(pendingLength_);
    if (sector.compare(position, rest.size(), rest) != 0) return false;
    fileCode_ = name.code;
    return true;
  }
  if (sector.substr(position) != name.text.substr(0, n - position)) return false;
  pendingLetter_ = static_cast<unsigned char>(sector[position]);
  pendingLength_ = n - position;
  return true;
}

}  // namespace qzmtraw::test
