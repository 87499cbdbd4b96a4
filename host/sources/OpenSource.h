#ifndef QZMTRAW_HOST_SOURCES_OPEN_SOURCE_H
#define QZMTRAW_HOST_SOURCES_OPEN_SOURCE_H

#include <memory>

#include "host/sources/Source.h"
#include "host/sources/SourceOptions.h"

namespace qzmtraw::host {

/// Opens what the options name, for reading only. Throws Failure, which tells what to do, when it can't be opened.
std::unique_ptr<ISource> OpenSource(const SourceOptions& options);

}  // namespace qzmtraw::host

#endif  // QZMTRAW_HOST_SOURCES_OPEN_SOURCE_H
