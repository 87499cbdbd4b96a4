#ifndef QZMTRAW_HOST_OUTPUTS_REPORT_H
#define QZMTRAW_HOST_OUTPUTS_REPORT_H

#include <chrono>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

#include "host/finds/CarvePlan.h"
#include "host/finds/Find.h"
#include "host/outputs/OutputOptions.h"
#include "host/outputs/Provenance.h"
#include "host/sources/SectorSet.h"
#include "host/types/TypeCatalogue.h"

namespace qzmtraw::host {

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
  /// What is scanned of a source, in bytes.
  struct Part {
    std::uint64_t offset = 0;
    std::uint64_t size = 0;
    /// So many sectors of it are not, because they belong to files.
    std::uint64_t leftOutSectors = 0;
  };
  /// None: all of it.
  std::optional<Part> part{};
  /// Of the source's bytes, in small hexadecimal digits; empty if nobody worked it out.
  std::string sha256{};
  /// Who looks.
  Provenance run{};
};

/// How sure it is that a find is what it claims to be, from the least on.
enum class Confidence {
  /// What was read speaks against it.
  kDoubtful,
  /// Its first bytes alone speak for it.
  kStartOnly,
  /// Its size follows from its header.
  kFromHeader,
  /// Its size is known, and its end was looked at.
  kCheckedEnd,
};

/// What a look at a find's content said.
enum class Verdict {
  kNotLooked,
  /// Nothing speaks for or against what it claims to be.
  kUndecided,
  kConfirmed,
  kContradicted,
};

/// As every list gives them: "doubtful", "start-only", "from-header", "checked-end".
std::string_view ConfidenceName(Confidence confidence);

/// As every list gives them: "not-looked", "undecided", "confirmed", "contradicted".
std::string_view VerdictName(Verdict verdict);

/// What became of a find's bytes.
struct RecoveredFile {
  /// Where they were written, or where the same bytes had been written before; none if they were not.
  std::optional<std::string> path;
  /// In small hexadecimal digits; empty if it isn't known.
  std::string sha256;
  /// The path is that of an earlier file with the same content.
  bool isDuplicate = false;
};

/// A find that is told to the user.
struct FindRecord {
  Find find;
  /// Belongs to the caller.
  const TypeInfo* type = nullptr;
  CarvePlan plan;
  Confidence confidence = Confidence::kStartOnly;
  /// The find that this one lies wholly inside of.
  std::optional<Find> embeddedIn{};
  Verdict verdict = Verdict::kNotLooked;
  /// What the content turned out to be, in the words of who looked; may be empty.
  std::string content{};
  /// What else is to be said: "clipped to the greatest size of its type".
  std::vector<std::string> notes{};
  /// Set when the finds are being recovered.
  std::optional<RecoveredFile> recovered{};
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
  /// The sectors that a map says are not there; null: no map. Belongs to the caller.
  const SectorSet* skipped = nullptr;
  std::chrono::system_clock::time_point ended{};
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
  /// Takes a find that was just made, while the scan goes on. What becomes of it is known only when the scan is over;
  /// then all that remain come through Add. Most lists leave it out.
  virtual void AddProvisional(const FindRecord& /*record*/) {}
  virtual void Add(const FindRecord& record) = 0;
  /// Comes last, once.
  /// \param unreadable  The sectors that could not be read.
  virtual void End(const Summary& summary, const SectorSet& unreadable) = 0;
  /// Lets who reads the list have what was added so far. What the report writes into is flushed by others.
  virtual void Flush() {}
  /// Whether AddProvisional does something.
  [[nodiscard]] virtual bool WantsProvisional() const { return false; }
};

/// \param format  Any that goes into a stream.
/// \param out     Must live as long as the report.
std::unique_ptr<IReport> MakeReport(OutputFormat format, std::ostream& out);

}  // namespace qzmtraw::host

#endif  // QZMTRAW_HOST_OUTPUTS_REPORT_H
