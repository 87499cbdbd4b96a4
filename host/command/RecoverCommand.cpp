#include "host/command/RecoverCommand.h"

#include <algorithm>
#include <memory>

#include "host/base/Error.h"
#include "host/base/Text.h"
#include "host/base/Version.h"
#include "host/finds/FindStore.h"
#include "host/outputs/FindList.h"
#include "host/recovery/OutputDirectory.h"
#include "host/recovery/Recovery.h"
#include "host/scan/GiveUpRights.h"

namespace qzmtraw::host {
namespace {

/// Opens a list of the job's source. Throws Failure when it is about another one.
std::unique_ptr<FindListReader> OpenList(const ScanJob& job, const std::string& path) {
  auto list = std::make_unique<FindListReader>(path, job.Catalogue());
  const SourceInfo& source = list->Source();
  const Device& device = job.ScannedDevice();
  if (source.size != device.Size() || source.sectorSize != device.SectorSize()) {
    throw Failure("the list " + Quoted(path) + " is about a source of " + std::to_string(source.size) +
                  " bytes in sectors of " + std::to_string(source.sectorSize) + " bytes, and this one has " +
                  std::to_string(device.Size()) + " bytes in sectors of " + std::to_string(device.SectorSize()) +
                  ": name the source that was scanned (it was " + Quoted(source.path) + "), and its --sector-size");
  }
  return list;
}

/// Takes the finds of a list, of the chosen types, in place of a scan.
void TakeList(ScanJob& job, FindListReader& list, FindStore& finds) {
  job.Begin();
  const std::vector<std::int32_t>& rows = job.Rows();
  while (const auto listed = list.Next()) {
    if (std::ranges::binary_search(rows, listed->find.row)) finds.Add(listed->find);
  }
}

void TellIfUnfinished(const FindListReader& list, const std::string& path, const Console& console) {
  if (list.End().ending == ListEnding::kFinished) return;
  console.err << kProgramName << ": " << Quoted(path)
              << ": the scan that made this list did not come to its end: what it didn't reach is not copied\n";
}

}  // namespace

ExitCode RunRecoverCommand(const ScanOptions& options, const RecoveryOptions& recoveryOptions, const Console& console) {
  ScanJob job(options, console);
  const auto list = recoveryOptions.list.empty() ? nullptr : OpenList(job, recoveryOptions.list);
  OutputDirectory output(recoveryOptions.directory, ManifestHeadFor(job, recoveryOptions));
  GiveUpRights(options, {.writableFolders = {recoveryOptions.directory}}, console);
  FindStore finds(job.StoreMemory());
  if (list != nullptr) {
    TakeList(job, *list, finds);
    TellIfUnfinished(*list, recoveryOptions.list, console);
  } else {
    job.Scan([&](const Find& find) {
      finds.Add(find);
      job.AddProvisional(find);
    });
  }
  finds.Sort();
  Recovery recovery(job, finds, output, recoveryOptions, console.progress);
  recovery.Run();
  const ExitCode code = job.Finish();
  if (recovery.UnreadableBytes() == 0 || code != ExitCode::kDone) return code;
  console.err << kProgramName << ": " << recovery.UnreadableBytes()
              << " bytes of the copies could not be read by an earlier run and are zeros, see the manifest\n";
  return ExitCode::kUnreadable;
}

}  // namespace qzmtraw::host
