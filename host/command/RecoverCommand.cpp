#include "host/command/RecoverCommand.h"

#include <algorithm>
#include <memory>
#include <optional>

#include "host/base/Error.h"
#include "host/base/Interrupt.h"
#include "host/base/Text.h"
#include "host/finds/FindStore.h"
#include "host/recovery/OutputDirectory.h"
#include "host/scan/GiveUpRights.h"
#include "host/scan/Progress.h"

namespace qzmtraw::host {
namespace {

constexpr std::size_t kSectorDigits = 12;
constexpr std::uint32_t kCopySize = 1U << 20U;

/// The extension as a name that any file system takes.
std::string FolderName(const std::string& extension) {
  std::string name;
  for (const char c : extension) {
    const bool isPlain = (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
    name += isPlain ? c : '_';
  }
  return name.empty() ? "bin" : name;
}

std::uint64_t TotalLength(const FindStore& finds, const CarvePlanner& planner) {
  std::uint64_t total = 0;
  PlannedFinds plannedFinds(finds, planner);
  while (const auto planned = plannedFinds.Next()) total += planned->plan.length;
  return total;
}

/// Copies the finds of a finished scan.
class Recovery {
 public:
  /// \param finds  Sorted.
  Recovery(ScanJob& job, const FindStore& finds, OutputDirectory& directory, std::ostream* progress)
      : job_(job),
        directory_(directory),
        buffer_(std::max(1U, kCopySize / job.ScannedDevice().SectorSize()) *
                std::size_t{job.ScannedDevice().SectorSize()}),
        findCount_(finds.Count()),
        progress_(progress, "copying", TotalLength(finds, job.Planner())) {}

  /// Copies one find.
  /// \return The path of the copy, or none if the work was stopped, which the job knows then.
  std::optional<std::string> Copy(const Find& find, const CarvePlan& plan) {
    number_ = find.startSector == previous_.startSector && find.row == previous_.row ? number_ + 1 : 1;
    previous_ = find;
    if (!job_.GoesOn()) return std::nullopt;
    const std::string extension = FolderName(job_.TypeOf(find).extension);
    try {
      const auto file = directory_.Create(extension, RecoveredName(find, extension, number_), plan.length);
      if (!CopyBytes(find.startSector, plan.length, *file)) return std::nullopt;
      file->Finish();
      ++filesWritten_;
      return file->Path();
    } catch (const Failure& failure) {
      // The list goes on without copies: it is worth as much as they are.
      job_.SetError(failure.what());
      return std::nullopt;
    }
  }

  [[nodiscard]] std::uint64_t FilesWritten() const { return filesWritten_; }

 private:
  bool IsStopped() {
    if (IsInterrupted()) job_.SetInterrupted();
    progress_.Update(bytesCopied_, findCount_);
    job_.FlushNowAndThen();
    return !job_.GoesOn();
  }

  bool CopyBytes(std::uint64_t sector, std::uint64_t length, OutputFile& file) {
    Device& device = job_.ScannedDevice();
    while (length > 0) {
      if (IsStopped()) return false;
      const std::uint64_t sectors =
          std::min<std::uint64_t>(buffer_.size() / device.SectorSize(), (length - 1) / device.SectorSize() + 1);
      const auto piece = std::span(buffer_).first(static_cast<std::size_t>(sectors * device.SectorSize()));
      device.Read(sector, piece, [this] { return IsStopped(); });
      if (device.IsLost()) job_.SetLost();
      if (!job_.GoesOn()) return false;
      const std::uint64_t count = std::min<std::uint64_t>(length, piece.size());
      file.Write(piece.first(static_cast<std::size_t>(count)));
      sector += sectors;
      length -= count;
      bytesCopied_ += count;
    }
    return true;
  }

  ScanJob& job_;
  OutputDirectory& directory_;
  std::vector<std::uint8_t> buffer_;
  std::uint64_t bytesCopied_ = 0;
  std::uint64_t filesWritten_ = 0;
  Find previous_{.row = -1};
  std::size_t number_ = 0;
  std::uint64_t findCount_;
  Progress progress_;
};

}  // namespace

std::string RecoveredName(const Find& find, const std::string& extension, std::size_t number) {
  const std::string sector = std::to_string(find.startSector);
  std::string name = sector.size() < kSectorDigits ? std::string(kSectorDigits - sector.size(), '0') + sector : sector;
  name += "-r" + std::to_string(find.row);
  if (number > 1) name += "-" + std::to_string(number);
  return name + "." + extension;
}

ExitCode RunRecoverCommand(const ScanOptions& options, const RecoveryOptions& recoveryOptions, const Console& console) {
  ScanJob job(options, console);
  OutputDirectory output(recoveryOptions.directory);
  GiveUpRights(options, {.writableFolders = {recoveryOptions.directory}}, console);
  FindStore finds(job.StoreMemory());
  job.Scan([&](const Find& find) { finds.Add(find); });
  finds.Sort();
  {
    Recovery recovery(job, finds, output, console.progress);
    PlannedFinds plannedFinds(finds, job.Planner());
    while (const auto planned = plannedFinds.Next()) {
      const auto& [find, plan] = *planned;
      job.Add({.find = find,
               .type = &job.TypeOf(find),
               .plan = plan,
               .recovered = RecoveredFile{.path = recovery.Copy(find, plan), .sha256 = {}}});
    }
    job.SetFilesWritten(recovery.FilesWritten());
  }
  return job.Finish();
}

}  // namespace qzmtraw::host
