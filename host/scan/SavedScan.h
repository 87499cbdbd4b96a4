#ifndef QZMTRAW_HOST_SCAN_SAVED_SCAN_H
#define QZMTRAW_HOST_SCAN_SAVED_SCAN_H

#include <chrono>
#include <cstdint>
#include <ostream>
#include <span>
#include <string>

#include "host/scan/Lanes.h"
#include "host/scan/RunOptions.h"
#include "host/scan/ScanLoop.h"
#include "host/scan/ScanState.h"
#include "host/sources/Device.h"

namespace qzmtraw::host {

/// What a scan of the device for these rows has in common with every other that finds the same.
/// \param chosen  The rows of all shards.
ScanSettings SettingsOf(Device& device, std::span<const std::int32_t> chosen, const Shard& shard);

/// A scan whose state is kept in a file. When the file can't be written any more that is told once, and the scan goes
/// on without it.
class SavedScan {
 public:
  /// Opens the state, and tells the device what couldn't be read before. As ScanState's constructor.
  /// \param device    Must live as long as this, as must `messages`.
  /// \param rows      That are looked for.
  /// \param messages  For people.
  SavedScan(const RunOptions& options, const ScanSettings& settings, const Lane& rows, Device& device,
            std::ostream& messages);

  /// Where the scan goes on.
  [[nodiscard]] ScanStart Start() const { return start_; }
  /// What was spent on it so far.
  [[nodiscard]] double SecondsBefore() const { return secondsBefore_; }

  /// Hands over what was found in earlier runs, in order. Throws Failure where the state is damaged.
  void ReadFinds(const FindTaker& take) const;

  /// Takes what the scan finds and how far it has come, in the order in which RunScan tells it.
  /// @{
  void Add(const ReportedFind& find);
  void SaveNowAndThen(std::uint64_t sectorsDone);
  /// The scan is over, be it at its end or before.
  void Save(std::uint64_t sectorsDone);
  /// @}

  [[nodiscard]] bool HasFailed() const { return hasFailed_; }

 private:
  using Clock = std::chrono::steady_clock;

  template <class Work>
  void Guard(const Work& work);

  ScanState state_;
  const Lane& rows_;
  Device& device_;
  std::ostream& messages_;
  std::chrono::milliseconds interval_;
  ScanStart start_;
  double secondsBefore_;
  Clock::time_point began_ = Clock::now();
  Clock::time_point lastSave_ = began_;
  bool hasFailed_ = false;
};

}  // namespace qzmtraw::host

#endif  // QZMTRAW_HOST_SCAN_SAVED_SCAN_H
