#ifndef QZMTRAW_HOST_SCAN_JOB_H
#define QZMTRAW_HOST_SCAN_JOB_H

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "host/Console.h"
#include "host/Device.h"
#include "host/ExitCode.h"
#include "host/RawSource.h"
#include "host/Report.h"
#include "host/ScanLoop.h"

namespace qzmtraw::host {

inline constexpr std::uint32_t kDefaultSectorSize = 512;
inline constexpr std::uint32_t kMaxSectorSize = 1U << 20U;

/// What to scan, for what, and how to tell.
struct ScanOptions {
  std::string image;
  OutputFormat format = OutputFormat::kTable;
  /// In bytes, from 1 to kMaxSectorSize.
  std::uint32_t sectorSize = kDefaultSectorSize;
  /// As SelectTypes takes it. None: all.
  std::optional<std::string> types{};
};

/// One scan of one source with its report: construct, Scan, Add for every find, Finish.
class ScanJob {
 public:
  /// Opens everything. Throws UsageError or Failure.
  ScanJob(const ScanOptions& options, const Console& console);

  /// Scans the source. The report gets its beginning.
  void Scan();

  /// What was found, in order.
  [[nodiscard]] std::span<const Find> Finds() const { return outcome_.finds; }
  /// Which bytes each find stands for, in the same order.
  [[nodiscard]] std::span<const CarvePlan> Plans() const { return plans_; }
  [[nodiscard]] const TypeInfo& TypeOf(const Find& find) const;
  [[nodiscard]] Device& ScannedDevice() { return device_; }

  /// Whether the work goes on: it was neither interrupted nor has it failed.
  [[nodiscard]] bool GoesOn() const { return !summary_.isInterrupted && summary_.error.empty(); }
  void SetInterrupted() { summary_.isInterrupted = true; }
  void SetError(const std::string& error) { summary_.error = error; }
  void SetFilesWritten(std::uint64_t count) { summary_.filesWritten = count; }

  /// Lists a find.
  void Add(const FindRecord& record);

  /// Ends the report and tells about what went wrong.
  ExitCode Finish();

 private:
  const ScanOptions& options_;
  Console console_;
  TypeCatalogue catalogue_;
  std::vector<std::int32_t> rows_;
  RawSource source_;
  Device device_;
  std::unique_ptr<IReport> report_;
  ScanOutcome outcome_;
  std::vector<CarvePlan> plans_;
  Summary summary_;
};

}  // namespace qzmtraw::host

#endif  // QZMTRAW_HOST_SCAN_JOB_H
