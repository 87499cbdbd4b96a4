#include "host/command/Options.h"

namespace qzmtraw::host {

void AddFindOptions(CLI::App&, FindOptions&) {}

}  // namespace qzmtraw::host
