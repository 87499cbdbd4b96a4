#include "host/base/Version.h"

namespace qzmtraw::host {

const char* Version() { return QZMTRAW_VERSION; }

}  // namespace qzmtraw::host
