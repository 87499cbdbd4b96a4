#ifndef QZMTRAW_HOST_COMMAND_SCAN_COMMAND_H
#define QZMTRAW_HOST_COMMAND_SCAN_COMMAND_H

#include "host/command/Console.h"
#include "host/command/ExitCode.h"
#include "host/scan/ScanJob.h"

namespace qzmtraw::host {

/// Lists the files on a source. Throws UsageError or Failure when it cannot begin or cannot write the list.
ExitCode RunScanCommand(const ScanOptions& options, const Console& console);

}  // namespace qzmtraw::host

#endif  // QZMTRAW_HOST_COMMAND_SCAN_COMMAND_H
