#ifndef QZMTRAW_HOST_SCAN_COMMAND_H
#define QZMTRAW_HOST_SCAN_COMMAND_H

#include "host/Console.h"
#include "host/ExitCode.h"
#include "host/ScanJob.h"

namespace qzmtraw::host {

/// Lists the files on a source. Throws UsageError or Failure when it cannot begin or cannot write the list.
ExitCode RunScanCommand(const ScanOptions& options, const Console& console);

}  // namespace qzmtraw::host

#endif  // QZMTRAW_HOST_SCAN_COMMAND_H
