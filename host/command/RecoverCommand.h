#ifndef QZMTRAW_HOST_COMMAND_RECOVER_COMMAND_H
#define QZMTRAW_HOST_COMMAND_RECOVER_COMMAND_H

#include "host/command/Console.h"
#include "host/command/ExitCode.h"
#include "host/recovery/RecoveryOptions.h"
#include "host/scan/ScanJob.h"

namespace qzmtraw::host {

/// Scans a source, or takes a list of a scan, and copies every find into the output directory. A copy that cannot be
/// finished is removed, and the finds behind it are listed as not written. Throws UsageError or Failure when it cannot
/// begin or cannot write the list.
ExitCode RunRecoverCommand(const ScanOptions& options, const RecoveryOptions& recoveryOptions, const Console& console);

}  // namespace qzmtraw::host

#endif  // QZMTRAW_HOST_COMMAND_RECOVER_COMMAND_H
