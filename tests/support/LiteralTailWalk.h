#ifndef QZMTRAW_TESTS_SUPPORT_LITERAL_TAIL_WALK_H
#define QZMTRAW_TESTS_SUPPORT_LITERAL_TAIL_WALK_H

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "tests/support/Scanning.h"

namespace qzmtraw::test {

/// The rules of a tail walk, step by step and byte by byte, as the measure for the detectors that run them fast.
struct LiteralTailWalk {
  std::vector<std::string> heads;
  std::string tail;
  std::function<std::uint64_t(std::size_t)> sizeUpTo;      ///< By the tail's offset in the sector.
  std::function<std::uint64_t(std::size_t)> sizeUpToRest;  ///< By the bytes matched in the sector before.
  std::uint64_t firstSizeTooLarge;
  std::uint64_t limit;
  bool headAsksFileStart = false;  ///< A head closes the file before it when its start, not its size, isn't zero.
  std::uint32_t tailsToEnd = 1;
  bool stopsAtTail = false;
  bool headAsksFileSizeAlone = false;  ///< Otherwise a file with a size, but without a start, isn't closed by a head.
  bool hasOpenFlag = false;            ///< A file is open from its head on, at sector 0 as well.
  std::size_t comparedBytes = 0;       ///< Of the tail, inside a sector; 0: all.
  bool seesTailAtEnd = false;          ///< A whole tail may touch the sector's last byte.
  bool straddles = true;               ///< A tail across two sectors is seen.
  bool seesWholeTails = true;          ///< A whole tail inside a sector is seen.
  bool losesSector = false;            ///< A sector that doesn't go on with a tail that was begun isn't counted.
  bool keepsBeginning = false;         ///< A tail that was begun may go on at any later sector, until the file's end.
  bool headForgetsMatch = false;       ///< A head that closes a file forgets the beginning of a tail.
  std::size_t uncountedAtHead = 0;     ///< Bytes at the end of a head's sector that aren't searched or counted.
  /// Instead of `heads`, where bytes inside the head may be any. Is given the bytes from the sector's start on.
  std::function<bool(const std::string&)> isHead = {};

  /// The hits in the device's whole length.
  Hits Scan(const Device& device) const;
};

/// A device of small sectors that is made of pieces of heads and tails as often as of other bytes, always the same for
/// a seed. The sectors have up to 40 bytes, or as many more as the least size is above 1.
Device DeviceOfPieces(std::uint32_t seed, const std::vector<std::string>& heads, const std::string& tail,
                      int leastSectorSize = 1);

}  // namespace qzmtraw::test

#endif  // QZMTRAW_TESTS_SUPPORT_LITERAL_TAIL_WALK_H
