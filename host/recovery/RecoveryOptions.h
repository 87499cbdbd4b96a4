#ifndef QZMTRAW_HOST_RECOVERY_RECOVERY_OPTIONS_H
#define QZMTRAW_HOST_RECOVERY_RECOVERY_OPTIONS_H

#include <string>

namespace qzmtraw::host {

/// How files are copied.
struct RecoveryOptions {
  /// Where the copies go.
  std::string directory;
  /// Copy files that lie inside of others as well.
  bool embedded = false;
};

}  // namespace qzmtraw::host

#endif  // QZMTRAW_HOST_RECOVERY_RECOVERY_OPTIONS_H
