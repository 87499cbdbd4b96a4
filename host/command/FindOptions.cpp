#include "host/command/Options.h"

namespace qzmtraw::host {

void AddAllOption(CLI::App& command, FindOptions& options) {
  command.option_defaults()->group("Lists");
  command.add_flag("--all", options.all, "Everything as found, not the best find at each place");
}

void AddFindOptions(CLI::App& command, FindOptions& options) {
  AddAllOption(command, options);
  command.add_flag("--verify", options.verify, "Look into each find whether it is what it seems");
}

}  // namespace qzmtraw::host
