#include "host/command/ScanCommand.h"

#include <optional>

#include "host/finds/FindStore.h"
#include "host/scan/GiveUpRights.h"

namespace qzmtraw::host {

ExitCode RunScanCommand(const ScanOptions& options, const Console& console) {
  ScanJob job(options, console);
  GiveUpRights(options, {}, console);
  const auto list = [&job](const PlannedFind& planned) {
    job.Add({planned.find, &job.TypeOf(planned.find), planned.plan});
  };
  if (options.outputs.format == OutputFormat::kJsonLines) {
    // Programs want finds as they come; people want them by place.
    job.Scan([&](const Find& find) { list(job.Planner().Plan(find)); });
    return job.Finish();
  }
  FindStore finds(job.StoreMemory());
  job.Scan([&](const Find& find) { finds.Add(find); });
  finds.Sort();
  PlannedFinds plannedFinds(finds, job.Planner());
  while (const auto planned = plannedFinds.Next()) list(*planned);
  return job.Finish();
}

}  // namespace qzmtraw::host
