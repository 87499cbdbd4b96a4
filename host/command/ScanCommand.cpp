#include "host/command/ScanCommand.h"

#include <algorithm>

#include "host/finds/FindStore.h"
#include "host/finds/JudgedFinds.h"
#include "host/scan/GiveUpRights.h"

namespace qzmtraw::host {
namespace {

/// Programs may want finds as they come; people want them by place.
bool IsForPeople(const OutputOptions& outputs) {
  return outputs.format == OutputFormat::kTable ||
         std::ranges::find(outputs.files, OutputFormat::kTable, &OutputTarget::format) != outputs.files.end();
}

}  // namespace

ExitCode RunScanCommand(const ScanOptions& options, const Console& console) {
  ScanJob job(options, console);
  GiveUpRights(options, {}, console);
  const FindJudge judge = job.Judge();
  // Judging takes all of them.
  if (options.finds.all && !IsForPeople(options.outputs)) {
    job.Scan([&](const Find& find) { job.Add(judge.Record(find, judge.Planner().Plan(find).plan)); });
    return job.Finish();
  }
  FindStore finds(job.StoreMemory());
  job.Scan([&](const Find& find) {
    finds.Add(find);
    job.AddProvisional(find);
  });
  finds.Sort();
  JudgedFinds judged(finds, judge, job.Listing());
  while (const auto record = judged.Next()) job.Add(*record);
  return job.Finish();
}

}  // namespace qzmtraw::host
