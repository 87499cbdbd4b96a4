#ifndef QZMTRAW_HOST_RECOVERY_RECOVERY_H
#define QZMTRAW_HOST_RECOVERY_RECOVERY_H

#include <cstdint>
#include <deque>
#include <memory>
#include <optional>
#include <ostream>
#include <string>

#include "host/finds/FindStore.h"
#include "host/recovery/ContentIndex.h"
#include "host/recovery/CopyNames.h"
#include "host/recovery/CopyPool.h"
#include "host/recovery/FindsToCopy.h"
#include "host/recovery/OutputDirectory.h"
#include "host/recovery/RecoveryOptions.h"
#include "host/scan/Progress.h"
#include "host/scan/ScanJob.h"

namespace qzmtraw::host {

/// The head of the manifest for a recovery.
ManifestHead ManifestHeadFor(const ScanJob& job, const RecoveryOptions& options);

/// Copies the finds of a finished scan and lists them. Several copies are made at a time, but they get their names, and
/// are listed, one by one in the order of the finds, so that all comes out the same however many there are, and what an
/// earlier run did is always the beginning of it.
class Recovery {
 public:
  /// \param finds     Sorted. Lives as long as this, as everything here does.
  /// \param progress  As Progress takes it.
  Recovery(ScanJob& job, const FindStore& finds, OutputDirectory& directory, const RecoveryOptions& options,
           std::ostream* progress);

  /// Copies and lists all finds. When a copy fails the ones before it stay, and it and those behind it are listed as
  /// not written; the job knows why then. Throws Failure when the list can't be written.
  void Run();

  /// Bytes of all copies, those of earlier runs as well, that could not be read.
  [[nodiscard]] std::uint64_t UnreadableBytes() const { return unreadableBytes_; }

 private:
  /// A find on its way.
  struct Step {
    FindRecord record;
    CopyName name;
    /// The copy of an earlier run.
    std::optional<ManifestEntry> done{};
    /// The copy that is being made.
    std::unique_ptr<CopyTask> task{};
  };

  [[nodiscard]] FindsToCopy Finds();
  [[nodiscard]] bool IsToCopy(const FindRecord& record) const;
  void Prepare();
  std::unique_ptr<Step> Begin(const FindRecord& record);
  ManifestEntry TakeDone(const FindRecord& record);
  void Settle(Step& step);
  std::optional<ManifestEntry> Keep(Step& step);
  std::string NameCopy(Step& step);
  void List(Step& step, const std::optional<ManifestEntry>& copy);
  void Attend();

  ScanJob& job_;
  const FindStore& finds_;
  OutputDirectory& directory_;
  const RecoveryOptions& options_;
  std::ostream* terminal_;
  WalkedEnds ends_;
  CopyNamer namer_;
  /// Of the copies of earlier runs.
  std::uint64_t doneLeft_;
  Manifest::Cursor done_;
  /// The next name may have been given by an earlier run that couldn't list it any more.
  bool mayHaveName_ = true;
  std::optional<ContentIndex> contents_;
  std::optional<Progress> progress_;
  /// Those that aren't listed yet.
  std::deque<std::unique_ptr<Step>> steps_;
  std::unique_ptr<CopyPool> pool_;
  /// A copy is missing, and so none may come behind it.
  bool isBroken_ = false;
  std::uint64_t filesWritten_ = 0;
  std::uint64_t unreadableBytes_ = 0;
};

}  // namespace qzmtraw::host

#endif  // QZMTRAW_HOST_RECOVERY_RECOVERY_H
