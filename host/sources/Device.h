#ifndef QZMTRAW_HOST_SOURCES_DEVICE_H
#define QZMTRAW_HOST_SOURCES_DEVICE_H

#include <atomic>
#include <cstdint>
#include <functional>
#include <mutex>
#include <span>
#include <string>
#include <vector>

#include "host/sources/SectorSet.h"
#include "host/sources/Source.h"

namespace qzmtraw::host {

/// A source seen as numbered sectors. Every sector number can be asked for: what can't be read, and what lies behind
/// the end, comes as zeros. A last sector that the source fills only in part is filled up with zeros. Several threads
/// may read at once.
class Device {
 public:
  /// Asked now and then during a long read; true: give up.
  using StopCheck = std::function<bool()>;

  /// \param source      Must live as long as the device.
  /// \param sectorSize  Bytes per sector, at least 1.
  Device(ISource& source, std::uint32_t sectorSize);

  /// In bytes.
  [[nodiscard]] std::uint64_t Size() const { return size_; }
  /// In bytes.
  [[nodiscard]] std::uint32_t SectorSize() const { return sectorSize_; }
  /// Number of sectors, the incomplete last one included.
  [[nodiscard]] std::uint64_t SectorCount() const { return sectorCount_; }

  /// Fills `into` with the sectors from `startSector` on. Where the source reports an error, reads sector by sector,
  /// remembers the sectors that can't be read and doesn't try them again. Nor does it try what lies behind a place
  /// where the source turned out to end early. Without room to remember, the source counts as lost. \param into  A
  /// whole number of sectors, or empty. \return Whether all of these sectors exist and were read.
  bool Read(std::uint64_t startSector, std::span<std::uint8_t> into, const StopCheck& stop = {});

  /// States sectors that an earlier run could not read: they come as zeros without being tried. The range must not wrap
  /// around. Without room to remember them the source counts as lost.
  void AddUnreadable(const SectorRange& sectors);

  /// From now on keeps those that turn out to be unreadable for TakeNewUnreadable.
  void WatchUnreadable() { isWatched_ = true; }

  /// What turned out to be unreadable since the last call. Ranges may overlap.
  std::vector<SectorRange> TakeNewUnreadable();

  /// The sectors that could not be read so far. Not while other threads read.
  [[nodiscard]] const SectorSet& Unreadable() const { return unreadable_; }

  /// Whether the source as a whole gives nothing any more, such as a drive that was unplugged.
  [[nodiscard]] bool IsLost() const { return isLost_; }

  /// Empty, or why the source is lost and at which byte. Not while other threads read.
  [[nodiscard]] const std::string& Loss() const { return loss_; }

 private:
  bool ReadSectors(std::uint64_t startSector, std::span<std::uint8_t> into);
  bool ReadOneByOne(std::uint64_t startSector, std::span<std::uint8_t> into, const StopCheck& stop);
  [[nodiscard]] bool IsKnownUnreadable(const SectorRange& sectors) const;
  void SetEnd(std::uint64_t sector);
  void SetLost(const std::string& reason);

  ISource& source_;
  std::uint64_t size_;
  std::uint32_t sectorSize_;
  std::uint64_t sectorCount_;
  /// From this sector on the source turned out to have nothing.
  std::atomic<std::uint64_t> endSector_;
  /// Guards what follows it.
  mutable std::mutex mutex_;
  SectorSet unreadable_;
  std::vector<SectorRange> newUnreadable_;
  std::string loss_;
  std::atomic<bool> isLost_ = false;
  std::atomic<bool> isWatched_ = false;
};

}  // namespace qzmtraw::host

#endif  // QZMTRAW_HOST_SOURCES_DEVICE_H
