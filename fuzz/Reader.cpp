#include "fuzz/Reader.h"

#include <algorithm>
#include <cstring>

namespace qzmtraw::fuzz {

std::int32_t Reader::ReadSectors(std::uint64_t startSector, void* buffer, std::uint32_t sectorCount) {
  const auto sectorSize = static_cast<std::size_t>(device_.SectorSize());
  ++readings_.calls;
  ++callsInAll_;
  readings_.mostBytes = std::max<std::uint64_t>(readings_.mostBytes, std::uint64_t{sectorCount} * sectorSize);
  auto* target = static_cast<std::uint8_t*>(buffer);
  switch (manner_) {
    case ReaderManner::kFails:
      return 1;
    case ReaderManner::kLeavesBuffer:
    case ReaderManner::kIsNull:
      return 0;
    case ReaderManner::kServesRubbish:
      for (std::uint32_t i = 0; i < sectorCount; ++i) {
        std::memset(target + i * sectorSize, static_cast<int>((startSector + i) & 0xFFU), sectorSize);
      }
      return 0;
    case ReaderManner::kServesChangingly:
      // Sometimes the device, so that a walk that began goes on.
      if (callsInAll_ % 3 == 0) return 1;
      if (callsInAll_ % 3 == 1) break;
      std::memset(target, static_cast<int>(callsInAll_ & 0xFFU), sectorCount * sectorSize);
      return 0;
    default:
      break;
  }
  const std::uint32_t served = manner_ == ReaderManner::kFailsHalfway ? sectorCount / 2 : sectorCount;
  bool isInside = served == sectorCount;
  for (std::uint32_t i = 0; i < served; ++i) {
    if (!ServeSector(startSector + i, target + i * sectorSize)) isInside = false;
  }
  return isInside || manner_ == ReaderManner::kServesZeros ? 0 : 1;
}

/// \return Whether the device has the sector.
bool Reader::ServeSector(std::uint64_t sector, std::uint8_t* target) const {
  const auto sectorSize = static_cast<std::size_t>(device_.SectorSize());
  const auto sectorCount = static_cast<std::uint64_t>(device_.SectorCount());
  std::uint64_t index = sector - device_.FirstSector();
  if (manner_ == ReaderManner::kServesEndlessly) {
    // Counted from the device's first sector, also for sectors in front of it.
    const bool isInFront = static_cast<std::int64_t>(index) < 0;
    index = isInFront ? sectorCount - 1 - ~index % sectorCount : index % sectorCount;
  }
  if (index >= sectorCount) {
    std::memset(target, 0, sectorSize);
    return false;
  }
  std::memcpy(target, device_.Bytes().data() + index * sectorSize, sectorSize);
  return true;
}

Readings Reader::TakeReadings() {
  const Readings taken = readings_;
  readings_ = {};
  return taken;
}

}  // namespace qzmtraw::fuzz
