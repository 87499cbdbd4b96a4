#ifndef QZMTRAW_HOST_BASE_SANDBOX_H
#define QZMTRAW_HOST_BASE_SANDBOX_H

#include <string>
#include <vector>

namespace qzmtraw::host {

/// What may still be opened from within a sandbox. Files that are open already aren't touched by it. A path that isn't
/// there counts for nothing.
struct SandboxRules {
  /// Folders beneath which files and folders may be made, read, written, renamed and removed.
  std::vector<std::string> writableFolders{};
  /// Files, and folders beneath which files, may be read.
  std::vector<std::string> readablePaths{};
};

/// Gives up, for this thread and those that it starts later on, and for good: to open any file that the rules don't
/// name, to run programs, to reach the network over TCP, to send signals to other processes, and to gain rights by
/// running a program. What of this the kernel can't take away remains.
/// \return What went wrong, for people; empty: it worked. All rights but the last one are still there then.
std::string EnterSandbox(const SandboxRules& rules);

}  // namespace qzmtraw::host

#endif  // QZMTRAW_HOST_BASE_SANDBOX_H
