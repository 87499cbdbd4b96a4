#ifndef QZMTRAW_HOST_TYPES_REGISTRY_H
#define QZMTRAW_HOST_TYPES_REGISTRY_H

#include "qzmtraw/RawFileTypeFactory.h"

namespace qzmtraw::host {

/// Returns the library's registry. The library writes a log into the current directory when it is asked for the first
/// time; here it finds an empty directory of its own, below $TMPDIR or /tmp, which is gone when this returns. The
/// current directory is the same afterwards. Throws Failure when there is no place for that directory.
IRawFileTypeFactory& OpenRegistry();

}  // namespace qzmtraw::host

#endif  // QZMTRAW_HOST_TYPES_REGISTRY_H
