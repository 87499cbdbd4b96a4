#ifndef QZMTRAW_TESTS_IMAGES_LITERAL_DRAWINGS_H
#define QZMTRAW_TESTS_IMAGES_LITERAL_DRAWINGS_H

#include <cstdint>
#include <functional>
#include <ostream>
#include <string>
#include <vector>

#include "tests/support/Scanning.h"

namespace qzmtraw::test {

/// What a walk carries from sector to sector.
struct LiteralDrawingState {
  std::uint64_t fileStart = 0;
  std::uint64_t fileSize = 0;
  std::size_t tailMatched = 0;
  std::size_t followMatched = 0;
  int endMatched = 0;
  bool zeroPending = false;
};

enum class Ending { kNone, kEnds, kEndsKeepingFollow };

/// The rules of a drawing that a tail ends, step by step and byte by byte, as the measure for the detectors that run
/// them fast. A sector is the first n bytes of `rest`, which goes on to the device's end.
struct LiteralDrawing {
  std::string className;
  std::string head;
  std::vector<std::string> tails;  ///< Of which devices are made.
  std::size_t offset;              ///< A tail at offset i of the sector adds i + offset.
  std::int64_t firstSizeTooLarge;
  std::int64_t limit;
  bool marksBySize;
  std::function<bool(const std::string& rest, std::size_t n)> isHead;
  std::function<Ending(LiteralDrawingState& state, const std::string& rest, std::size_t n)> search;

  /// The hits in the device's whole length.
  Hits Scan(const Device& device) const;
};

/// For the names of tests.
inline std::ostream& operator<<(std::ostream& out, const LiteralDrawing& drawing) { return out << drawing.className; }

/// All nine.
const std::vector<LiteralDrawing>& LiteralDrawings();

/// A device of heads, tails and pieces of them, many of them across two sectors, always the same for a seed.
Device DeviceOfDrawings(std::uint32_t seed, const LiteralDrawing& drawing);

}  // namespace qzmtraw::test

#endif  // QZMTRAW_TESTS_IMAGES_LITERAL_DRAWINGS_H
