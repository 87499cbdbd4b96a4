#include "host/command/ScanCommand.h"

#include "host/finds/FindStore.h"
#include "host/finds/JudgedFinds.h"
#include "host/scan/GiveUpRights.h"

namespace qzmtraw::host {

ExitCode RunScanCommand(const ScanOptions& options, const Console& console) {
  ScanJob job(options, console);
  GiveUpRights(options, {}, console);
  const FindJudge judge = job.Judge();
  if (options.finds.all && options.outputs.format == OutputFormat::kJsonLines) {
    // Programs may want finds as they come; judging takes all of them, and people want them by place.
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
