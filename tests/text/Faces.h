#ifndef QZMTRAW_TESTS_TEXT_FACES_H
#define QZMTRAW_TESTS_TEXT_FACES_H

#include <cstddef>
#include <cstdint>
#include <ostream>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "tests/support/Scanning.h"

namespace qzmtraw::test {

/// A hit of one of several faces. Sectors are counted from the first one of the bytes that were fed.
struct FaceHit {
  std::int64_t sector;
  std::string className;
  std::uint64_t size;
  auto operator<=>(const FaceHit&) const = default;  // NOLINT(modernize-use-nullptr): clang-tidy 14 errs here.
};
using FaceHits = std::vector<FaceHit>;
std::ostream& operator<<(std::ostream& out, const FaceHit& hit);

/// The faces of plain text by their codes, which begin with 2.
extern const std::vector<std::string> kTextFaces;
/// The faces of text with the byte order mark of UTF-8.
extern const std::vector<std::string> kUtf8Faces;

/// Bytes of which each piece begins a sector. The rest of a piece's last sector is zero.
std::string Sectors(const std::vector<std::string>& pieces, std::size_t sectorSize = 512);

/// Numbers of sectors that no block of this process had before.
std::uint64_t UnusedSectors(std::size_t count);

/// All faces of a classifier. The classifier lives as long as the process and remembers texts, so that tests begin by
/// bringing it into a known state.
class Faces {
 public:
  explicit Faces(const std::vector<std::string>& classNames);

  /// Ends what is open and leaves the kind 0 and nothing counted behind, as at the start of the process.
  void Settle();

  /// Feeds bytes block by block, each block to all faces. Ordered by sector.
  FaceHits Feed(const std::string& bytes, std::size_t sectorSize = 512, Cut cut = {});
  FaceHits FeedAt(std::uint64_t firstSector, const std::string& bytes, std::size_t sectorSize = 512, Cut cut = {});

  /// Feeds the bytes whole and in blocks of one, two and three sectors, from a known state each time; all must agree.
  FaceHits FeedAnyCut(const std::string& bytes, std::size_t sectorSize = 512);

 private:
  std::vector<std::pair<std::string, Detector>> faces_;
};

}  // namespace qzmtraw::test

#endif  // QZMTRAW_TESTS_TEXT_FACES_H
