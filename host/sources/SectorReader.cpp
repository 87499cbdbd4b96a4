#include "host/sources/SectorReader.h"

#include <cstddef>
#include <span>

namespace qzmtraw::host {

std::int32_t SectorReader::ReadSectors(std::uint64_t startSector, void* buffer, std::uint32_t sectorCount) {
  if (sectorCount == 0) return 0;
  if (buffer == nullptr) return 1;
  const std::span into(static_cast<std::uint8_t*>(buffer), std::size_t{sectorCount} * device_.SectorSize());
  return device_.Read(startSector, into) ? 0 : 1;
}

}  // namespace qzmtraw::host
