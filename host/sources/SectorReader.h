#ifndef QZMTRAW_HOST_SOURCES_SECTOR_READER_H
#define QZMTRAW_HOST_SOURCES_SECTOR_READER_H

#include <cstdint>

#include "host/sources/Device.h"
#include "qzmtraw/RawFileType.h"

namespace qzmtraw::host {

/// Gives the detectors of a lane access to any sector of a device.
class SectorReader final : public IRawSectorReader {
 public:
  /// \param device  Must live as long as the reader.
  explicit SectorReader(Device& device) : device_(device) {}

  std::uint32_t ReservedOperation1() override { return 0; }
  std::uint32_t ReservedOperation2() override { return 0; }
  std::uint32_t ReservedOperation3() override { return 0; }

  /// \return 0 when all sectors exist and were read, otherwise 1; the missing ones are zero.
  std::int32_t ReadSectors(std::uint64_t startSector, void* buffer, std::uint32_t sectorCount) override;

 private:
  Device& device_;
};

}  // namespace qzmtraw::host

#endif  // QZMTRAW_HOST_SOURCES_SECTOR_READER_H
