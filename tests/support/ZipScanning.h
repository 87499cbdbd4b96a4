#ifndef QZMTRAW_TESTS_SUPPORT_ZIP_SCANNING_H
#define QZMTRAW_TESTS_SUPPORT_ZIP_SCANNING_H

#include <array>
#include <cstdint>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

#include "tests/support/Scanning.h"

namespace qzmtraw::test {

/// The classes of the kinds of ZIP file, by the code that the searcher sorts them into.
inline constexpr std::array<std::string_view, 21> kZipFaces = {
    "KZipFileType",
    "KWord2007FileType",
    "KExcel2007FileType",
    "KPowerPoint2007FileType",
    "KOpenOfficeTextFile",
    "KOpenOfficeSheetFile",
    "KOpenOfficePresentationFile",
    "KOpenOfficeDrawingFile",
    "KOpenOfficeDataBaseFile",
    "KJarFileType",
    "KOdfFileType",
    "KPxlFileType",
    "CKXpsFileType",
    "CKEpubFileType",
    "CKAApkFileType",
    "CKAIpaFileType",
    "CKMZFlaFileType",
    "CKDEnlFileType",
    "CKDAccdtFileType",
    "CKDOdbFileType",
    "CKaNewCdrFileType",
};

/// A hit and the code of the face that reported it.
struct ZipHit {
  std::uint64_t startSector;
  std::uint64_t size;
  std::uint32_t code;
  auto operator<=>(const ZipHit&) const = default;  // NOLINT(modernize-use-nullptr): in the generated code
};
using ZipHits = std::vector<ZipHit>;
std::ostream& operator<<(std::ostream& out, const ZipHit& hit);

/// A name that tells the kind of a ZIP file.
struct ZipName {
  std::string text;
  std::uint32_t code;
  bool weak = false;  ///< Lets the search of its sector go on.
};
/// All names, those with the same first letter in the order in which they are tried.
const std::vector<ZipName>& ZipNames();

/// A block with memory of its own, whose size is exactly the block's.
struct ZipBlock {
  std::uint64_t startSector;
  int sectorSize;
  std::string bytes;  ///< Whole sectors.

  std::uint64_t SectorCount() const { return bytes.size() / static_cast<std::size_t>(sectorSize); }
};

/// All kinds of ZIP file together, as a host drives them. Making one forgets what any other has open.
class ZipDetectors {
 public:
  ZipDetectors();

  IRawFileType& OfCode(std::uint32_t code) { return *faces_.at(code); }
  /// Hands a block to each kind and returns the hits in the order of their codes.
  ZipHits Scan(const ZipBlock& block);
  /// Hands the device's blocks to all kinds and returns the hits in the order of their blocks and codes.
  ZipHits Scan(const Device& device, Cut cut = {});

 private:
  std::vector<Detector> faces_;
};

/// Scans with all kinds, whole and in blocks of one, two and three sectors, which must all agree. The hits come sorted.
ZipHits ScanZipAnyCut(const Device& device);

/// The searcher's rules, step by step and byte by byte, as the measure for the one that runs them fast.
class LiteralZipSearcher {
 public:
  /// \return What is found in the block, in the order of the codes.
  ZipHits Scan(const ZipBlock& block);

 private:
  bool Match(const std::string& sector, std::size_t position);
  bool MatchUnder(unsigned char letter, const std::string& sector, std::size_t position);
  bool MatchOne(const ZipName& name, const std::string& sector, std::size_t position);
  bool SearchEnd(const std::string& sector, const std::string& fromSectorOn, std::uint64_t& end);

  bool fileOpen_ = false;
  std::uint64_t fileStart_ = 0;
  std::int64_t fileSize_ = 0;
  std::uint32_t fileCode_ = 0;
  unsigned char pendingLetter_ = 0;
  std::size_t pendingLength_ = 0;
  std::size_t endMatched_ = 0;
};

}  // namespace qzmtraw::test

#endif  // QZMTRAW_TESTS_SUPPORT_ZIP_SCANNING_H
