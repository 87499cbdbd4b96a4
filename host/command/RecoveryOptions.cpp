#include "host/command/Options.h"

namespace qzmtraw::host {

void AddRecoveryOptions(CLI::App& command, RecoveryOptions& options) {
  command.option_defaults()->group("Recovery");
  command.add_option("--out", options.directory, "Where the copies go; a new or an empty directory")
      ->required()
      ->type_name("DIR");
}

}  // namespace qzmtraw::host
