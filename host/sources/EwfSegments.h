#ifndef QZMTRAW_HOST_SOURCES_EWF_SEGMENTS_H
#define QZMTRAW_HOST_SOURCES_EWF_SEGMENTS_H

#include <string>

namespace qzmtraw::host {

/// How the segment behind one of an E01 image is called: "E01" to "E99", then "EAA" to "EZZ", "FAA" and so on to "ZZZ",
/// in the letters' case of the first one. Empty behind the last one, and where there is no such extension.
std::string NextSegmentName(const std::string& path);

/// Sees whether all segments of an E01 image are there, since those who read it take a missing one for zeros. Throws
/// Failure, which names the first one that is missing or cut off.
void CheckSegments(const std::string& path);

}  // namespace qzmtraw::host

#endif  // QZMTRAW_HOST_SOURCES_EWF_SEGMENTS_H
