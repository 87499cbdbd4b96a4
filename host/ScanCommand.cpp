#include "host/ScanCommand.h"

#include <optional>

namespace qzmtraw::host {

ExitCode RunScanCommand(const ScanOptions& options, const Console& console) {
  ScanJob job(options, console);
  job.Scan();
  for (std::size_t i = 0; i < job.Finds().size(); ++i) {
    const Find& find = job.Finds()[i];
    job.Add({find, &job.TypeOf(find), job.Plans()[i], false, std::nullopt});
  }
  return job.Finish();
}

}  // namespace qzmtraw::host
