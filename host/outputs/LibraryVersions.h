#ifndef QZMTRAW_HOST_OUTPUTS_LIBRARY_VERSIONS_H
#define QZMTRAW_HOST_OUTPUTS_LIBRARY_VERSIONS_H

#include <map>
#include <string>

namespace qzmtraw::host {

/// The versions of the libraries that the tool uses, by name, as they are at run time where the library tells that.
std::map<std::string, std::string> LibraryVersions();

}  // namespace qzmtraw::host

#endif  // QZMTRAW_HOST_OUTPUTS_LIBRARY_VERSIONS_H
