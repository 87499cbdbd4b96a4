#ifndef QZMTRAW_HOST_COMMAND_RECOVER_COMMAND_H
#define QZMTRAW_HOST_COMMAND_RECOVER_COMMAND_H

#include <string>

#include "host/command/Console.h"
#include "host/command/ExitCode.h"
#include "host/recovery/RecoveryOptions.h"
#include "host/scan/ScanJob.h"

namespace qzmtraw::host {

/// The file name of a recovered find: start sector, row, and, from the second find of the same row at the same place
/// on, its number: "000000000128-r144.7z", "000000000128-r144-2.7z".
/// \param number  Counted from 1.
std::string RecoveredName(const Find& find, const std::string& extension, std::size_t number);

/// Scans a source and copies every find into `directory`, which is made or must be empty, into a folder per extension.
/// A copy that cannot be finished is removed, and the finds behind it are listed as not written. Throws UsageError or
/// Failure when it cannot begin or cannot write the list.
ExitCode RunRecoverCommand(const ScanOptions& options, const RecoveryOptions& recoveryOptions, const Console& console);

}  // namespace qzmtraw::host

#endif  // QZMTRAW_HOST_COMMAND_RECOVER_COMMAND_H
