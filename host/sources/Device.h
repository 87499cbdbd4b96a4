#ifndef QZMTRAW_HOST_SOURCES_DEVICE_H
#define QZMTRAW_HOST_SOURCES_DEVICE_H

#include <atomic>
#include <cstdint>
#include <functional>
#include <limits>
#include <mutex>
#include <span>
#include <string>
#include <vector>

#include "host/sources/SectorSet.h"
#include "host/sources/Source.h"

namespace qzmtraw::host {

/// What a device shows of its source. Sectors keep the numbers that they have there.
struct DeviceView {
  /// What lies outside is taken as what lies behind the end of a source. Cut to what the source has.
  SectorRange range{0, std::numeric_limits<std::uint64_t>::max()};
  /// Sectors nobody asked for: taken as zeros, as though they had been read.
  SectorSet leftOut{};
  /// Sectors that are known not to be there: taken as zeros, as those that can't be read.
  SectorSet skipped{};
};

/// A source seen as numbered sectors. Every sector number can be asked for: what can't be read, and what lies behind
/// the end, comes as zeros. A last sector that the source fills only in part is filled up with zeros. Several threads
/// may read at once.
class Device {
 public:
  /// Asked now and then during a long read; true: give up.
  using StopCheck = std::function<bool()>;

  /// \param source      Must live as long as the device.
  /// \param sectorSize  Bytes per sector, at least 1.
  /// \param view        What of the source is shown: all of it unless stated.
  Device(ISource& source, std::uint32_t sectorSize, DeviceView view = {});

  /// Of the source, in bytes.
  [[nodiscard]] std::uint64_t Size() const { return size_; }
  /// In bytes.
  [[nodiscard]] std::uint32_t SectorSize() const { return sectorSize_; }
  /// Number of the source's sectors, the incomplete last one included.
  [[nodiscard]] std::uint64_t SectorCount() const { return sectorCount_; }

  /// The sectors that are shown.
  [[nodiscard]] const SectorRange& Range() const { return range_; }
  /// In bytes, where the range begins and ends. An incomplete last sector counts with what it has.
  [[nodiscard]] std::uint64_t RangeBegin() const { return range_.first * sectorSize_; }
  [[nodiscard]] std::uint64_t RangeEnd() const;

  /// Fills `into` with the sectors from `startSector` on. Where the source reports an error, reads in smaller and
  /// smaller parts, down to single sectors, and in larger ones again behind it; remembers the sectors that can't be
  /// read and doesn't try them again. Nor does it try what lies behind a place where the source turned out to end
  /// early. Without room to remember, the source counts as lost.
  /// \param into  A whole number of sectors, or empty.
  /// \return Whether all of these sectors exist and were read, or were left out.
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
  /// The sectors that nobody asked for, and those that are known not to be there. Not while other threads read.
  [[nodiscard]] const SectorSet& LeftOut() const { return leftOut_; }
  [[nodiscard]] const SectorSet& Skipped() const { return skipped_; }

  enum class SectorState {
    /// It was read, or can be tried.
    kReadable,
    kUnreadable,
    kSkipped,
    kLeftOut,
  };
  /// Neighbouring sectors of one state.
  struct Stretch {
    SectorState state = SectorState::kReadable;
    std::uint64_t count = 0;
  };
  /// The state of a sector of the source, and how many from it on share it: `most` of them, at least 1, are looked at.
  [[nodiscard]] Stretch StretchAt(std::uint64_t sector, std::uint64_t most) const;

  /// Whether the source as a whole gives nothing any more, such as a drive that was unplugged.
  [[nodiscard]] bool IsLost() const { return isLost_; }

  /// Empty, or why the source is lost and at which byte. Not while other threads read.
  [[nodiscard]] const std::string& Loss() const { return loss_; }

 private:
  std::uint64_t ReadSectors(std::uint64_t startSector, std::span<std::uint8_t> into);
  bool ReadInside(std::uint64_t startSector, std::span<std::uint8_t> into, const StopCheck& stop);
  void SetEnd(std::uint64_t sector);
  void SetLost(const std::string& reason);

  ISource& source_;
  std::uint64_t size_;
  std::uint32_t sectorSize_;
  std::uint64_t sectorCount_;
  SectorRange range_;
  /// From this sector on the source turned out to have nothing.
  std::atomic<std::uint64_t> endSector_;
  /// Guards what follows it.
  mutable std::mutex mutex_;
  SectorSet leftOut_;
  SectorSet skipped_;
  SectorSet unreadable_;
  std::vector<SectorRange> newUnreadable_;
  std::string loss_;
  std::atomic<bool> isLost_ = false;
  std::atomic<bool> isWatched_ = false;
};

}  // namespace qzmtraw::host

#endif  // QZMTRAW_HOST_SOURCES_DEVICE_H
