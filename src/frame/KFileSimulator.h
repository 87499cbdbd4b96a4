#ifndef QZMTRAW_FRAME_KFILESIMULATOR_H
#define QZMTRAW_FRAME_KFILESIMULATOR_H

#include <array>
#include <cstdint>

#include "qzmtraw/RawFileType.h"

namespace qzmtraw {

/// Reads a candidate file by positions counted from its first byte: from the block under scan where whole sectors of it
/// are asked for, otherwise from a cache of 32768 bytes that the host's reader fills. A detector makes one for a single
/// candidate and drops it.
///
/// The host's reader is trusted with nothing but its buffer: its result isn't looked at, and what it leaves untouched
/// reads as zeros or as what the cache held before.
class KFileSimulator {
 public:
  static constexpr std::uint32_t kCacheSize = 32768;

  /// \param scannedBlock  The block under scan. It must outlive the simulator.
  /// \param firstSector   The device's sector at which the file starts.
  /// \param sizeLimit     The creator's limit for the file's size. No read stops at it.
  KFileSimulator(const RawSectorBlock* scannedBlock, std::uint64_t firstSector, std::uint64_t sizeLimit)
      : block(scannedBlock), baseSector(firstSector), limit(sizeLimit) {}
  virtual ~KFileSimulator() = default;
  KFileSimulator(const KFileSimulator&) = delete;
  KFileSimulator& operator=(const KFileSimulator&) = delete;

  /// Reads `size` bytes at the position and moves it behind them. Sectors of more than 32768 bytes can't be cached:
  /// then a read delivers the whole sectors that the block holds, and fails for the rest.
  /// \return Whether all bytes were delivered.
  bool Read(void* buffer, std::uint32_t size);
  /// \return The byte at the position; 0 also when it can't be read.
  std::uint8_t ReadByte();
  std::uint64_t GetPos() const { return position; }
  /// Any position is taken. \return true.
  bool SetPos(std::uint64_t pos);
  /// Moves the position by `delta` bytes, with wrap-around. \return true.
  bool Skip(std::int64_t delta);

  /// The limit that the creator gave.
  std::uint64_t Limit() const { return limit; }

 private:
  std::uint32_t CopyFromBlock(std::uint8_t* target, std::uint32_t remaining) const;
  std::uint32_t CopyFromCache(std::uint8_t* target, std::uint32_t remaining) const;
  void FillCache();

  const RawSectorBlock* block;
  std::uint64_t baseSector;
  std::uint64_t position = 0;
  std::uint64_t limit;
  // Filled with zeros before its first use, which most simulators never come to.
  std::array<std::uint8_t, kCacheSize> cache;  // NOLINT(cppcoreguidelines-pro-type-member-init)
  /// File position of the cache's first byte; all bits set while the cache is empty.
  std::uint64_t cachePosition = ~std::uint64_t{0};
  /// Bytes in the cache, a whole number of sectors.
  std::uint32_t cacheLength = 0;
};

}  // namespace qzmtraw

#endif  // QZMTRAW_FRAME_KFILESIMULATOR_H
