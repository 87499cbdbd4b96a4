#ifndef QZMTRAW_HOST_SCAN_SCAN_JOB_H
#define QZMTRAW_HOST_SCAN_SCAN_JOB_H

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "host/base/MemoryBudget.h"
#include "host/command/Console.h"
#include "host/command/ExitCode.h"
#include "host/finds/CarvePlan.h"
#include "host/finds/FindOptions.h"
#include "host/outputs/OutputOptions.h"
#include "host/outputs/Report.h"
#include "host/scan/Lanes.h"
#include "host/scan/RunOptions.h"
#include "host/scan/SavedScan.h"
#include "host/scan/ScanLoop.h"
#include "host/sources/Device.h"
#include "host/sources/Source.h"
#include "host/sources/SourceOptions.h"
#include "host/types/TypeOptions.h"

namespace qzmtraw::host {

/// What to scan, for what, and how to tell.
struct ScanOptions {
  SourceOptions source{};
  TypeOptions types{};
  FindOptions finds{};
  OutputOptions outputs{};
  RunOptions run{};
};

/// One scan of one source with its report: construct, Scan, Add for every find, Finish.
class ScanJob {
 public:
  /// Opens everything. Throws UsageError or Failure.
  ScanJob(const ScanOptions& options, const Console& console);

  /// Scans the source. The report gets its beginning, and `take` what is found, as RunScan tells. What goes wrong ends
  /// the scan and is told by Finish, with what was found before; only the output may not fail.
  void Scan(const FindTaker& take);

  [[nodiscard]] CarvePlanner Planner() const { return {catalogue_, device_.Size(), device_.SectorSize()}; }
  /// In bytes, for finds that are kept.
  [[nodiscard]] std::size_t StoreMemory() const { return memory_.storeMemory; }
  [[nodiscard]] const TypeInfo& TypeOf(const Find& find) const;
  [[nodiscard]] Device& ScannedDevice() { return device_; }

  /// Whether the work goes on: it was neither interrupted nor has it failed.
  [[nodiscard]] bool GoesOn() const { return !summary_.isInterrupted && summary_.error.empty(); }
  void SetInterrupted() { summary_.isInterrupted = true; }
  void SetError(const std::string& error) { summary_.error = error; }
  /// Of the source.
  void SetLost();
  void SetFilesWritten(std::uint64_t count) { summary_.filesWritten = count; }

  /// Lists a find.
  void Add(const FindRecord& record);

  /// Brings what was listed to its reader, if that was long ago. For calls during long work.
  void FlushNowAndThen();

  /// Ends the report and tells about what went wrong.
  ExitCode Finish();

 private:
  void TellOf(const std::string& text) const;
  [[nodiscard]] std::uint64_t BytesOf(std::uint64_t sectors) const;

  const ScanOptions& options_;
  Console console_;
  TypeCatalogue catalogue_;
  std::vector<std::int32_t> chosenRows_;
  /// Those of the shard.
  Lane rows_;
  std::unique_ptr<ISource> source_;
  Device device_;
  MemoryBudget memory_;
  /// Null: the scan isn't kept.
  std::unique_ptr<SavedScan> saved_;
  std::unique_ptr<IReport> report_;
  Summary summary_;
  std::chrono::steady_clock::time_point lastFlush_;
};

}  // namespace qzmtraw::host

#endif  // QZMTRAW_HOST_SCAN_SCAN_JOB_H
