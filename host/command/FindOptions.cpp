#include "host/command/Options.h"

namespace qzmtraw::host {

void AddFindOptions(CLI::App& command, FindOptions& options) {
  command.add_flag("--all", options.all, "Everything as it was found; else the best find at each place");
}

}  // namespace qzmtraw::host
