#ifndef QZMTRAW_HOST_BASE_VERSION_H
#define QZMTRAW_HOST_BASE_VERSION_H

namespace qzmtraw::host {

/// The name under which the tool speaks of itself.
inline constexpr const char* kProgramName = "qzmtraw";

/// The tool's version: "1.2.3".
const char* Version();

}  // namespace qzmtraw::host

#endif  // QZMTRAW_HOST_BASE_VERSION_H
