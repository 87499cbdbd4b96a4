#ifndef QZMTRAW_TESTS_SUPPORT_DEVICE_H
#define QZMTRAW_TESTS_SUPPORT_DEVICE_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "qzmtraw/RawFileType.h"

namespace qzmtraw::test {

/// The bytes of a string literal, zero bytes inside it included.
template <std::size_t kLength>
std::string Literal(const char (&literal)[kLength]) {
  return std::string(literal, kLength - 1);
}

/// Numbers as a file holds them.
std::string LittleU16(std::uint16_t value);
std::string LittleU32(std::uint32_t value);
std::string LittleU64(std::uint64_t value);
std::string BigU32(std::uint32_t value);

/// A device in memory, or a stretch of one: sectors `firstSector` and up. Sectors are named by their number on the
/// device. Building calls can be chained.
class Device {
 public:
  static constexpr std::uint64_t kFirstSector = 1000;

  explicit Device(int sectorCount, int sectorSize = 512, std::uint64_t firstSector = kFirstSector,
                  std::uint8_t filler = 0xEE);

  /// Writes bytes at an offset of a sector. They may reach into later sectors, but not behind the device's end.
  Device& Put(std::uint64_t sector, std::size_t offset, std::string_view bytes);
  Device& Put(std::uint64_t sector, std::string_view bytes) { return Put(sector, 0, bytes); }

  std::uint64_t FirstSector() const { return firstSector_; }
  int SectorCount() const { return sectorCount_; }
  int SectorSize() const { return sectorSize_; }
  const std::vector<std::uint8_t>& Bytes() const { return bytes_; }

 private:
  std::vector<std::uint8_t> bytes_;
  std::uint64_t firstSector_;
  int sectorCount_;
  int sectorSize_;
};

/// How a reader behaves when it is asked for sectors.
enum class Manner {
  kServes,        ///< As it should. Zeros outside the device.
  kAnswersError,  ///< Leaves the buffer as it was and says so.
  kLeavesBuffer,  ///< Leaves the buffer as it was and claims success.
  kFillsRubbish,  ///< Fills the buffer with other bytes at each call and claims success.
};

/// Serves a device, and counts.
class DeviceReader final : public IRawSectorReader {
 public:
  struct Call {
    std::uint64_t startSector;
    std::uint32_t sectorCount;
    bool operator==(const Call&) const = default;
  };

  explicit DeviceReader(const Device& device, Manner manner = Manner::kServes) : device_(device), manner_(manner) {}

  std::uint32_t ReservedOperation1() override { return 0; }
  std::uint32_t ReservedOperation2() override { return 0; }
  std::uint32_t ReservedOperation3() override { return 0; }
  std::int32_t ReadSectors(std::uint64_t startSector, void* buffer, std::uint32_t sectorCount) override;

  const std::vector<Call>& Calls() const { return calls_; }

 private:
  const Device& device_;
  Manner manner_;
  std::uint8_t rubbish_ = 0;
  std::vector<Call> calls_;
};

}  // namespace qzmtraw::test

#endif  // QZMTRAW_TESTS_SUPPORT_DEVICE_H
