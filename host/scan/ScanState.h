#ifndef QZMTRAW_HOST_SCAN_SCAN_STATE_H
#define QZMTRAW_HOST_SCAN_SCAN_STATE_H

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "host/base/SqliteDatabase.h"
#include "host/finds/Find.h"
#include "host/sources/SectorSet.h"

namespace qzmtraw::host {

/// What two scans must have in common to find the same: names, as the user knows them, and values.
using ScanSettings = std::vector<std::pair<std::string, std::string>>;

/// A value that couldn't be told, and is taken for the same as any other.
inline constexpr const char* kUnknownSetting = "unknown";

/// What a file is that is named as the state of a scan.
enum class StateKind {
  /// Nothing that could be lost.
  kEmpty,
  kState,
  /// A state of a later version of the tool.
  kNewer,
  /// Somebody else's.
  kForeign,
};

/// So many bytes of a file tell what it is.
inline constexpr std::size_t kStateHeadSize = 100;

/// Tells it from the file's first bytes.
/// \param head  kStateHeadSize of them, or fewer where the file has no more.
StateKind StateKindOf(std::span<const std::uint8_t> head);

/// A file that keeps how far a scan has come and what it found so far: an SQLite database, which is whole at any time,
/// however the process ends. While it is open nobody else can open it.
class ScanState {
 public:
  /// Opens a state, or begins one where there is no file yet, or an empty one.
  /// Throws UsageError where the file is something else, or belongs to a scan with other settings, of which all are
  /// told; it is left as it is then. Throws Failure where it is damaged, in use, or can't be made or written.
  ScanState(const std::string& path, const ScanSettings& settings);
  ScanState(const ScanState&) = delete;
  ScanState& operator=(const ScanState&) = delete;
  /// What wasn't committed is lost.
  ~ScanState();

  /// As of the last Commit: the sector before which everything is done, and the time that the scan took up to there.
  /// @{
  [[nodiscard]] std::uint64_t SectorsDone() const { return sectorsDone_; }
  [[nodiscard]] double Seconds() const { return seconds_; }
  /// @}

  /// Hands over the finds of the sectors that are done, as they were added. Throws Failure.
  void ReadFinds(const std::function<void(const ReportedFind&)>& take) const;

  /// Hands over the sectors that couldn't be read. Throws Failure.
  void ReadUnreadable(const std::function<void(const SectorRange&)>& take) const;

  /// Each throws Failure when the file can't take more. It keeps what was committed before, and isn't to be written to
  /// any more.
  /// @{
  void Add(const ReportedFind& find);
  void AddUnreadable(const SectorRange& sectors);
  void Commit(std::uint64_t sectorsDone, double seconds);
  /// @}

 private:
  void Open(bool isNew);
  [[nodiscard]] bool IsBegun() const;
  void Create(const ScanSettings& settings);
  void Compare(const ScanSettings& settings) const;
  void Load();
  void Begin();
  [[noreturn]] void FailAsDamaged(const std::string& how) const;

  std::string path_;
  std::unique_ptr<SqliteDatabase> database_;
  std::unique_ptr<SqliteStatement> addFind_;
  std::unique_ptr<SqliteStatement> addUnreadable_;
  std::uint64_t sectorsDone_ = 0;
  double seconds_ = 0;
};

}  // namespace qzmtraw::host

#endif  // QZMTRAW_HOST_SCAN_SCAN_STATE_H
