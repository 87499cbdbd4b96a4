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
#include "host/finds/JudgedFinds.h"
#include "host/finds/Verifier.h"
#include "host/outputs/OutputOptions.h"
#include "host/outputs/Outputs.h"
#include "host/outputs/Report.h"
#include "host/scan/Lanes.h"
#include "host/scan/RunOptions.h"
#include "host/scan/SavedScan.h"
#include "host/scan/ScanLoop.h"
#include "host/sources/Device.h"
#include "host/sources/RescueMap.h"
#include "host/sources/Source.h"
#include "host/sources/SourceOptions.h"
#include "host/sources/SourcePart.h"
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

  /// Gives the report its beginning, for work without a scan.
  void Begin();

  /// Scans the source. The report gets its beginning, and `take` what is found, as RunScan tells. What goes wrong ends
  /// the scan and is told by Finish, with what was found before.
  void Scan(const FindTaker& take);

  [[nodiscard]] CarvePlanner Planner() const { return {catalogue_, device_.RangeEnd(), device_.SectorSize()}; }
  [[nodiscard]] FindJudge Judge() const { return {catalogue_, device_.RangeEnd(), device_.SectorSize()}; }
  /// Which finds are to be listed.
  [[nodiscard]] JudgedFinds::Listing Listing() const {
    return options_.finds.all ? JudgedFinds::Listing::kAll : JudgedFinds::Listing::kJudged;
  }
  /// In bytes, for finds that are kept.
  [[nodiscard]] std::size_t StoreMemory() const { return memory_.storeMemory; }
  /// How many files are to be copied at a time.
  [[nodiscard]] std::size_t CopyThreadCount() const;
  [[nodiscard]] const TypeInfo& TypeOf(const Find& find) const;
  [[nodiscard]] const TypeCatalogue& Catalogue() const { return catalogue_; }
  /// Those that were chosen, in ascending order.
  [[nodiscard]] const std::vector<std::int32_t>& Rows() const { return chosenRows_; }
  [[nodiscard]] Device& ScannedDevice() { return device_; }
  [[nodiscard]] const Device& ScannedDevice() const { return device_; }

  /// Whether the work goes on: it was neither interrupted nor has it failed.
  [[nodiscard]] bool GoesOn() const { return !summary_.isInterrupted && summary_.error.empty(); }
  void SetInterrupted() { summary_.isInterrupted = true; }
  void SetError(const std::string& error) { summary_.error = error; }
  /// Of the source.
  void SetLost();
  void SetFilesWritten(std::uint64_t count) { summary_.filesWritten = count; }

  /// Lists a find, and looks into it first if that is wanted.
  void Add(const FindRecord& record);

  /// Lists a find that was just made where lists have room for such. For scans whose finds are added later.
  void AddProvisional(const Find& find);

  /// Brings what was listed to its reader, if that was long ago. For calls during long work.
  void FlushNowAndThen();

  /// Ends the report and tells about what went wrong.
  ExitCode Finish();

 private:
  void TellOf(const std::string& text) const;
  bool WriteMap();
  [[nodiscard]] std::uint64_t RangeSize() const { return device_.RangeEnd() - device_.RangeBegin(); }
  void Verify(FindRecord& record);
  void NoteFailedOutputs();
  [[nodiscard]] std::uint64_t BytesBefore(std::uint64_t sector) const;

  const ScanOptions& options_;
  Console console_;
  TypeCatalogue catalogue_;
  std::vector<std::int32_t> chosenRows_;
  /// Those of the shard.
  Lane rows_;
  std::unique_ptr<ISource> source_;
  SourcePart part_;
  Device device_;
  /// Null: none is wanted.
  std::unique_ptr<RescueMapFile> map_;
  /// The sector before which all is done.
  std::uint64_t sectorsDone_ = 0;
  MemoryBudget memory_;
  /// Asked while the process may still look at everything.
  Provenance run_;
  Outputs outputs_;
  /// Only where finds are to be verified.
  std::unique_ptr<Verifier> verifier_;
  /// Null: the scan isn't kept.
  std::unique_ptr<SavedScan> saved_;
  Summary summary_;
  std::chrono::steady_clock::time_point lastFlush_;
};

}  // namespace qzmtraw::host

#endif  // QZMTRAW_HOST_SCAN_SCAN_JOB_H
