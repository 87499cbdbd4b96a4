#ifndef QZMTRAW_HOST_REPORT_H
#define QZMTRAW_HOST_REPORT_H

#include <chrono>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <ostream>
#include <string>

#include "host/CarvePlan.h"
#include "host/Find.h"
#include "host/SectorSet.h"
#include "host/TypeCatalogue.h"

namespace qzmtraw::host {

/// How lists are written.
enum class OutputFormat {
  /// For people.
  kTable,
  /// One JSON object a line, for programs.
  kJsonLines,
};

/// What a report is about.
struct SourceInfo {
  /// As the user gave it; any bytes.
  std::string path;
  /// In bytes.
  std::uint64_t size = 0;
  std::uint32_t sectorSize = 0;
  /// Number of kinds that are looked for.
  std::size_t typeCount = 0;
  std::chrono::system_clock::time_point started;
};

/// A find that is told to the user.
struct FindRecord {
  Find find;
  /// Belongs to the caller.
  const TypeInfo* type = nullptr;
  CarvePlan plan;
  /// The finds are being recovered.
  bool isRecovery = false;
  /// Where its bytes were written; none if they were not.
  std::optional<std::string> path;
};

/// How it all went.
struct Summary {
  /// Number of finds of every extension.
  std::map<std::string, std::uint64_t> findsByExtension;
  std::uint64_t findCount = 0;
  std::uint64_t bytesScanned = 0;
  /// What the scan alone took.
  double seconds = 0;
  /// What the source's size is at the end, in bytes.
  std::uint64_t sizeAtEnd = 0;
  bool isInterrupted = false;
  /// Empty, or why the work ended early.
  std::string error;
  /// Set when finds are being recovered.
  std::optional<std::uint64_t> filesWritten;
};

/// Writes a list of finds.
class IReport {
 public:
  IReport() = default;
  IReport(const IReport&) = delete;
  IReport& operator=(const IReport&) = delete;
  virtual ~IReport() = default;

  /// Comes first, once.
  virtual void Begin(const SourceInfo& source) = 0;
  virtual void Add(const FindRecord& record) = 0;
  /// Comes last, once.
  /// \param unreadable  The sectors that could not be read.
  virtual void End(const Summary& summary, const SectorSet& unreadable) = 0;
};

/// \param out  Must live as long as the report.
std::unique_ptr<IReport> MakeReport(OutputFormat format, std::ostream& out);

}  // namespace qzmtraw::host

#endif  // QZMTRAW_HOST_REPORT_H
