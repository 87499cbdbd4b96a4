#ifndef QZMTRAW_HOST_RECOVERY_RECOVERY_OPTIONS_H
#define QZMTRAW_HOST_RECOVERY_RECOVERY_OPTIONS_H

#include <string>

namespace qzmtraw::host {

/// How files are copied.
struct RecoveryOptions {
  /// Where the copies go.
  std::string directory;
  /// A list of finds that stands in for a scan. Empty: the source is scanned.
  std::string list{};
  /// Keep identical contents once.
  bool dedupe = false;
  /// Copy finds that lie inside of others, too.
  bool embedded = false;
  /// Begin even if the copies may not fit.
  bool ignoreFreeSpace = false;
};

}  // namespace qzmtraw::host

#endif  // QZMTRAW_HOST_RECOVERY_RECOVERY_OPTIONS_H
