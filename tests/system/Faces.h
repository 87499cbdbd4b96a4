#ifndef QZMTRAW_TESTS_SYSTEM_FACES_H
#define QZMTRAW_TESTS_SYSTEM_FACES_H

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <vector>

#include "tests/support/Scanning.h"

namespace qzmtraw::test {

/// A hit, and the kind that reported it.
struct FaceHit {
  std::string className;
  std::uint64_t sector;
  std::uint64_t size;
  bool operator==(const FaceHit&) const = default;
};
using FaceHits = std::vector<FaceHit>;

inline std::ostream& operator<<(std::ostream& out, const FaceHit& hit) {
  return out << "{" << hit.className << ", sector " << hit.sector << ", " << hit.size << " bytes}";
}

/// Feeds the device to all faces of a classifier, each block to all of them before the next. Another block comes first,
/// so that the classifier, which lives as long as the process, reads the device whatever it read before.
inline FaceHits ScanFaces(const std::vector<std::string>& faces, const Device& device, IRawSectorReader& reader,
                          Cut cut = {}) {
  constexpr std::uint64_t kElsewhere = std::uint64_t{1} << 40;
  Scan(*CreateDetector(faces.front()), Device(1, 512, kElsewhere));
  std::vector<Detector> detectors;
  for (const std::string& face : faces) detectors.push_back(CreateDetector(face));
  FaceHits found;
  ForEachBlock(device, reader, cut, [&](const RawSectorBlock& block) {
    for (std::size_t i = 0; i < faces.size(); ++i) {
      RecordingSink sink;
      detectors[i]->Scan(&block, &sink);
      for (const Hit& hit : sink.Found()) found.push_back({faces[i], hit.startSector, hit.size});
    }
  });
  return found;
}

inline FaceHits ScanFaces(const std::vector<std::string>& faces, const Device& device, Cut cut = {}) {
  DeviceReader reader(device);
  return ScanFaces(faces, device, reader, cut);
}

}  // namespace qzmtraw::test

#endif  // QZMTRAW_TESTS_SYSTEM_FACES_H
