#include "host/base/MemoryBudget.h"

#include <algorithm>
#include <string>

#include "host/base/Error.h"
#include "host/base/Text.h"

namespace qzmtraw::host {
namespace {

/// For the program, its threads and the detectors.
constexpr std::uint64_t kOwnMemory = std::uint64_t{24} << 20U;

/// More pieces don't make the reading smoother, and leave the caches.
constexpr std::uint64_t kMostPieces = 4;

/// So many finds can be sorted at a time that more doesn't make it faster.
constexpr std::uint64_t kMostStoreMemory = std::uint64_t{1} << 30U;

/// What a waiting find takes at most, with what its queue needs for itself.
constexpr std::uint64_t kWaitingFindSize = 48;

}  // namespace

MemoryBudget DivideMemory(std::uint64_t memory, std::uint32_t sectorSize, std::size_t laneCount) {
  const std::uint64_t free = memory - kOwnMemory;
  const std::uint64_t forPieces = free / 2;
  const std::uint64_t blockSize = std::uint64_t{kSectorsPerBlock} * sectorSize;
  const std::uint64_t pieceSize = PieceSectors(sectorSize) * sectorSize;
  if (pieceSize > forPieces) {
    throw UsageError("--memory: sectors of " + std::to_string(sectorSize) + " bytes need at least " +
                     std::to_string(((2 * pieceSize + kOwnMemory) >> 20U) + 1) + "MiB");
  }
  // One lane scans the pieces themselves. Several may each have to copy a block, and two pieces keep them busy.
  const auto needs = [&](std::size_t lanes) { return lanes == 1 ? pieceSize : lanes * blockSize + 2 * pieceSize; };
  while (needs(laneCount) > forPieces) --laneCount;
  const std::uint64_t forCopies = laneCount == 1 ? 0 : laneCount * blockSize;

  MemoryBudget budget;
  budget.laneCount = laneCount;
  budget.scan.pieceCount = static_cast<std::size_t>(std::min(kMostPieces, (forPieces - forCopies) / pieceSize));
  budget.scan.mostFinds = static_cast<std::size_t>(free / 8 / kWaitingFindSize);
  budget.storeMemory = static_cast<std::size_t>(std::min(kMostStoreMemory, free / 4));
  budget.copyMemory = forPieces;
  return budget;
}

}  // namespace qzmtraw::host
