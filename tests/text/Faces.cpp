#include "tests/text/Faces.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace qzmtraw::test {

const std::vector<std::string> kTextFaces = {
    "CKNewTxtFileType", "CKSrcHFileType",  "CKSrcCFileType",       "CKJavaFileType",
    "CKJsFileType",     "CKPyFileType",    "CKPlFileType",         "CKOCHFileType",
    "CKOCMFileType",    "CKIEUrlFileType", "CKCodeTxtPhpFileType", "CKGCgmTxtFileType",
    "CKGPltFileType",   "CKMM3uFileType",  "CKIEMsfFileType",      "CKIEMimeEmailEmlFileType",
    "CKDDifFileType",   "CKOMapFileType",  "CKORegFileType",       "CKOTxtCntFileType",
    "CKGuiFileType",    "CKClwFileType",   "CKDspFileType",        "CKDswFileType",
    "CKVbpFileType",    "CKDbfFileType"};

const std::vector<std::string> kUtf8Faces = {"CKNewUTF8FileType", "CKCsharpFileType", "CKVBFileType", "CKAspxFileType",
                                             "CKSlnFileType"};

std::ostream& operator<<(std::ostream& out, const FaceHit& hit) {
  return out << "{sector " << hit.sector << ", " << hit.className << ", " << hit.size << " bytes}";
}

std::string Sectors(const std::vector<std::string>& pieces, std::size_t sectorSize) {
  std::string bytes;
  for (const std::string& piece : pieces) {
    bytes += piece;
    bytes.resize((bytes.size() + sectorSize - 1) / sectorSize * sectorSize);
  }
  return bytes;
}

std::uint64_t UnusedSectors(std::size_t count) {
  static std::uint64_t next = 1000000;
  const std::uint64_t first = next;
  next += count;
  return first;
}

Faces::Faces(const std::vector<std::string>& classNames) {
  for (const std::string& name : classNames) faces_.emplace_back(name, CreateDetector(std::string_view(name)));
  Settle();
}

void Faces::Settle() {
  // The zeros end a text. The first short text may be dropped if an undecided one came before, the second isn't and so
  // ends the count, and the third belongs to a kind that is no text.
  Feed(Sectors({Literal("\0"), "ab", "ab", "VCPCH0"}));
}

FaceHits Faces::Feed(const std::string& bytes, std::size_t sectorSize, Cut cut) {
  return FeedAt(UnusedSectors(bytes.size() / sectorSize + 1), bytes, sectorSize, cut);
}

FaceHits Faces::FeedAt(std::uint64_t firstSector, const std::string& bytes, std::size_t sectorSize, Cut cut) {
  const std::size_t sectorCount = bytes.size() / sectorSize;
  const std::size_t blockSectors = cut.blockSectors == 0 ? sectorCount : static_cast<std::size_t>(cut.blockSectors);
  FaceHits hits;
  for (std::size_t first = 0; first < sectorCount; first += blockSectors) {
    const std::size_t count = std::min(blockSectors, sectorCount - first);
    const auto begin = bytes.begin() + static_cast<std::ptrdiff_t>(first * sectorSize);
    std::vector<std::uint8_t> memory(begin, begin + static_cast<std::ptrdiff_t>(count * sectorSize));
    const RawSectorBlock block{firstSector + first, memory.data(), static_cast<std::int32_t>(count),
                               static_cast<std::int32_t>(sectorSize), nullptr};
    for (const auto& [name, face] : faces_) {
      RecordingSink sink;
      ScanBlock(*face, block, sink);
      for (const Hit& hit : sink.Found()) {
        hits.push_back({static_cast<std::int64_t>(hit.startSector - firstSector), name, hit.size});
      }
    }
    // What the classifier keeps of the block must be its own.
    std::fill(memory.begin(), memory.end(), std::uint8_t{'#'});
  }
  std::sort(hits.begin(), hits.end());
  return hits;
}

FaceHits Faces::FeedAnyCut(const std::string& bytes, std::size_t sectorSize) {
  Settle();
  FaceHits whole = Feed(bytes, sectorSize);
  for (int blockSectors = 1; blockSectors <= 3; ++blockSectors) {
    Settle();
    EXPECT_EQ(Feed(bytes, sectorSize, {blockSectors}), whole) << "in blocks of " << blockSectors << " sectors";
  }
  return whole;
}

}  // namespace qzmtraw::test
