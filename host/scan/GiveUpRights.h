#ifndef QZMTRAW_HOST_SCAN_GIVE_UP_RIGHTS_H
#define QZMTRAW_HOST_SCAN_GIVE_UP_RIGHTS_H

#include <string>
#include <vector>

#include "host/base/Sandbox.h"
#include "host/command/Console.h"

namespace qzmtraw::host {

struct ScanOptions;

/// The folder that a file is in, for rules about what is made beside it, such as a database's journal.
std::string FolderOf(const std::string& path);

/// The files of an image that may consist of several: those beside it whose names differ from its name in the extension
/// alone, or in what stands between its name and its extension, as in disk.E01 and disk.E02, disk.001 and disk.002,
/// disk.vmdk and disk-s001.vmdk.
std::vector<std::string> FilesOfImage(const std::string& path);

/// Enters a sandbox for a scan: what is scanned, what is looked up in data of installed packages, and the temporary
/// directory stay within reach, and what `rules` name. To be called when everything is open and no thread was started.
/// Where the sandbox can't be had, a message says so and the work goes on. Does nothing when the options ask for that,
/// or when the process isn't the tool's own.
void GiveUpRights(const ScanOptions& options, SandboxRules rules, const Console& console);

}  // namespace qzmtraw::host

#endif  // QZMTRAW_HOST_SCAN_GIVE_UP_RIGHTS_H
