#include "frame/KFileSimulator.h"

#include <algorithm>
#include <cstring>
#include <limits>

#include "frame/NullLogger.h"

namespace qzmtraw {

namespace {

constexpr std::uint64_t kEmptyCache = std::numeric_limits<std::uint64_t>::max();

/// Sector numbers and positions are compared as signed values.
bool IsInRange(std::uint64_t value, std::uint64_t first, std::uint64_t end) {
  return static_cast<std::int64_t>(value) >= static_cast<std::int64_t>(first) &&
         static_cast<std::int64_t>(value) < static_cast<std::int64_t>(end);
}

}  // namespace

bool KFileSimulator::Read(void* buffer, std::uint32_t size) {
  auto* const target = static_cast<std::uint8_t*>(buffer);
  std::uint32_t got = 0;
  // A pass copies or fills the cache. The number of passes bounds a read that makes no progress.
  for (std::uint64_t pass = 0; got < size && pass <= size && block->sectorSize > 0; ++pass) {
    std::uint32_t copied = CopyFromBlock(target + got, size - got);
    if (copied == 0) copied = CopyFromCache(target + got, size - got);
    if (copied == 0) FillCache();
    got += copied;
    position += copied;
  }
  if (got != size) LogDiagnostic("Read file failed(%u, %u)!\r\n", got, size);
  return got == size;
}

/// Serves the part of a request that reaches to the end of a sector of the block, and no request inside one sector.
std::uint32_t KFileSimulator::CopyFromBlock(std::uint8_t* target, std::uint32_t remaining) const {
  const auto sectorSize = static_cast<std::uint64_t>(block->sectorSize);
  const std::uint64_t sector = baseSector + position / sectorSize;
  const std::uint64_t offset = position % sectorSize;
  const std::uint64_t blockEnd = block->startSector + static_cast<std::uint64_t>(block->sectorCount);
  if (block->data == nullptr || !IsInRange(sector, block->startSector, blockEnd)) return 0;

  std::uint64_t endSector = baseSector + (position + remaining) / sectorSize;
  if (static_cast<std::int64_t>(endSector) >= static_cast<std::int64_t>(blockEnd)) endSector = blockEnd;
  if (static_cast<std::int64_t>(endSector) <= static_cast<std::int64_t>(sector)) return 0;
  const auto reachable = static_cast<std::uint32_t>((endSector - sector) * sectorSize - offset);
  const std::uint32_t count = std::min(reachable, remaining);
  std::memcpy(target, block->data + (sector - block->startSector) * sectorSize + offset, count);
  return count;
}

std::uint32_t KFileSimulator::CopyFromCache(std::uint8_t* target, std::uint32_t remaining) const {
  if (cachePosition == kEmptyCache || !IsInRange(position, cachePosition, cachePosition + cacheLength)) return 0;
  const auto offset = static_cast<std::uint32_t>(position - cachePosition);
  const std::uint32_t count = std::min(cacheLength - offset, remaining);
  std::memcpy(target, cache.data() + offset, count);
  return count;
}

void KFileSimulator::FillCache() {
  const auto sectorSize = static_cast<std::uint32_t>(block->sectorSize);
  const std::uint64_t sectorOfFile = position / sectorSize;
  const std::uint32_t sectorCount = kCacheSize / sectorSize;
  if (cachePosition == kEmptyCache) cache.fill(0);
  cachePosition = sectorOfFile * sectorSize;
  cacheLength = sectorCount * sectorSize;
  if (block->reader != nullptr) block->reader->ReadSectors(baseSector + sectorOfFile, cache.data(), sectorCount);
}

std::uint8_t KFileSimulator::ReadByte() {
  std::uint8_t byte = 0;
  Read(&byte, 1);
  return byte;
}

bool KFileSimulator::SetPos(std::uint64_t pos) {
  position = pos;
  return true;
}

bool KFileSimulator::Skip(std::int64_t delta) {
  position += static_cast<std::uint64_t>(delta);
  return true;
}

}  // namespace qzmtraw
