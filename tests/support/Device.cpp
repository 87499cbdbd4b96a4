#include "tests/support/Device.h"

#include <algorithm>
#include <cstring>
#include <stdexcept>

namespace qzmtraw::test {

namespace {

std::string Little(std::uint64_t value, int width) {
  std::string bytes;
  for (int i = 0; i < width; ++i) bytes += static_cast<char>(value >> 8 * i);
  return bytes;
}

}  // namespace

std::string LittleU16(std::uint16_t value) { return Little(value, 2); }
std::string LittleU32(std::uint32_t value) { return Little(value, 4); }
std::string LittleU64(std::uint64_t value) { return Little(value, 8); }

std::string BigU32(std::uint32_t value) {
  std::string bytes = Little(value, 4);
  std::reverse(bytes.begin(), bytes.end());
  return bytes;
}

Device::Device(int sectorCount, int sectorSize, std::uint64_t firstSector, std::uint8_t filler)
    : bytes_(static_cast<std::size_t>(sectorCount) * static_cast<std::size_t>(sectorSize), filler),
      firstSector_(firstSector),
      sectorCount_(sectorCount),
      sectorSize_(sectorSize) {}

Device& Device::Put(std::uint64_t sector, std::size_t offset, std::string_view bytes) {
  const std::size_t position = (sector - firstSector_) * static_cast<std::size_t>(sectorSize_) + offset;
  if (sector < firstSector_ || position + bytes.size() > bytes_.size()) {
    throw std::out_of_range("a test puts bytes behind its device's end");
  }
  std::copy(bytes.begin(), bytes.end(), bytes_.begin() + static_cast<std::ptrdiff_t>(position));
  return *this;
}

std::int32_t DeviceReader::ReadSectors(std::uint64_t startSector, void* buffer, std::uint32_t sectorCount) {
  calls_.push_back({startSector, sectorCount});
  if (manner_ == Manner::kAnswersError) return 1;
  if (manner_ == Manner::kLeavesBuffer) return 0;
  const auto sectorSize = static_cast<std::size_t>(device_.SectorSize());
  auto* target = static_cast<std::uint8_t*>(buffer);
  if (manner_ == Manner::kFillsRubbish) {
    std::fill_n(target, sectorCount * sectorSize, ++rubbish_);
    return 0;
  }
  for (std::uint32_t i = 0; i < sectorCount; ++i, target += sectorSize) {
    const std::uint64_t index = startSector + i - device_.FirstSector();
    if (index < static_cast<std::uint64_t>(device_.SectorCount())) {
      std::memcpy(target, device_.Bytes().data() + index * sectorSize, sectorSize);
    } else {
      std::memset(target, 0, sectorSize);
    }
  }
  return 0;
}

}  // namespace qzmtraw::test
