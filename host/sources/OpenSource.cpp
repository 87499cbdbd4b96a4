#include "host/sources/OpenSource.h"

#include "host/sources/RawSource.h"

namespace qzmtraw::host {

std::unique_ptr<ISource> OpenSource(const SourceOptions& options) { return std::make_unique<RawSource>(options.image); }

}  // namespace qzmtraw::host
