#include "tests/support/LiteralTailWalk.h"

#include <algorithm>
#include <random>

namespace qzmtraw::test {

Hits LiteralTailWalk::Scan(const Device& device) const {
  Hits hits;
  std::uint64_t fileStart = 0;
  std::uint64_t fileSize = 0;
  std::size_t tailMatched = 0;
  std::uint32_t tailCount = 0;
  bool fileOpen = false;
  const auto sectorSize = static_cast<std::size_t>(device.SectorSize());
  const std::size_t m = tail.size();
  const std::string bytes(device.Bytes().begin(), device.Bytes().end());

  const auto report = [&] {
    hits.push_back({fileStart, fileSize});
    fileStart = fileSize = 0;
    fileOpen = false;
  };
  const auto countsAsEnd = [&] {
    if (tailCount + 1 < tailsToEnd) {
      ++tailCount;
      return false;
    }
    tailCount = 0;
    return true;
  };
  const auto findTail = [&](const std::string& s, const std::string& rest) {
    if (tailMatched != 0) {
      const std::size_t k = tailMatched;
      const bool goesOn = rest.compare(0, m - k, tail, k, m - k) == 0;
      if (goesOn || !keepsBeginning) tailMatched = 0;
      if (!goesOn && losesSector) return true;
      if (goesOn && countsAsEnd()) {
        fileSize += sizeUpToRest(k);
        report();
        return true;
      }
    }
    bool found = false;
    std::size_t i = 0;
    const std::size_t n = s.size();
    const std::size_t compared = comparedBytes == 0 ? m : comparedBytes;
    for (; i + m < n || (seesTailAtEnd && i + m == n); ++i) {
      if (seesWholeTails && s.compare(i, compared, tail, 0, compared) == 0 && countsAsEnd()) {
        fileSize += sizeUpTo(i);
        report();
        found = true;
        if (keepsBeginning) tailMatched = 0;
        break;
      }
    }
    if (found && stopsAtTail) return true;
    for (; i < n && straddles; ++i) {
      if (n - i <= m && s.compare(i, n - i, tail, 0, n - i) == 0) {
        tailMatched = n - i;
        break;
      }
    }
    return found;
  };

  for (int index = 0; index < device.SectorCount(); ++index) {
    const std::string rest = bytes.substr(static_cast<std::size_t>(index) * sectorSize);
    const bool atHead = isHead ? isHead(rest) : std::any_of(heads.begin(), heads.end(), [&](const std::string& head) {
      return rest.compare(0, head.size(), head) == 0;
    });
    if (atHead) {
      const bool sizeSaysSo = fileSize != 0 && (headAsksFileSizeAlone || fileStart != 0);
      if (headAsksFileStart ? fileStart != 0 : sizeSaysSo) {
        report();
        tailCount = 0;
        if (headForgetsMatch) tailMatched = 0;
      }
      fileStart = device.FirstSector() + static_cast<std::uint64_t>(index);
      fileOpen = true;
    }
    if (!(hasOpenFlag ? fileOpen : fileStart != 0)) continue;
    const std::size_t uncounted = atHead ? uncountedAtHead : 0;
    if (findTail(rest.substr(0, sectorSize - std::min(uncounted, sectorSize)), rest)) continue;
    fileSize += sectorSize - uncounted;
    if (static_cast<std::int64_t>(fileSize) >= static_cast<std::int64_t>(firstSizeTooLarge)) {
      fileSize = limit;
      report();
      tailMatched = 0;
      tailCount = 0;
    }
  }
  return hits;
}

Device DeviceOfPieces(std::uint32_t seed, const std::vector<std::string>& heads, const std::string& tail,
                      int leastSectorSize) {
  std::mt19937 random(seed);
  const int sectorSize = leastSectorSize + static_cast<int>(random() % 40);
  const int sectorCount = 1 + static_cast<int>(random() % 60);
  const auto size = static_cast<std::size_t>(sectorSize) * static_cast<std::size_t>(sectorCount);
  const std::uint64_t firstSector = random() % 8 == 0 ? 0 : Device::kFirstSector;
  std::string bytes;
  while (bytes.size() < size) {
    const std::string& piece = random() % 3 == 0 ? heads[random() % heads.size()] : tail;
    switch (random() % 6) {
      case 0:
        bytes += heads[random() % heads.size()];
        break;
      case 1:
        bytes += tail;
        break;
      case 2:
        bytes += piece.substr(0, random() % (piece.size() + 1));
        break;
      case 3:
        bytes += piece.substr(random() % piece.size());
        break;
      case 4:
        bytes.resize((bytes.size() / static_cast<std::size_t>(sectorSize) + 1) * static_cast<std::size_t>(sectorSize));
        break;
      default:
        bytes += std::string(random() % 20, 'x');
    }
  }
  bytes.resize(size);
  Device device(sectorCount, sectorSize, firstSector);
  device.Put(firstSector, bytes);
  return device;
}

}  // namespace qzmtraw::test
