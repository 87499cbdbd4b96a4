#include "host/command/Options.h"

namespace qzmtraw::host {

void AddRecoveryOptions(CLI::App& command, RecoveryOptions& options) {
  command.add_option("--out", options.directory, "Where the copies go; a new or an empty directory")
      ->required()
      ->type_name("DIR");
  command.add_flag("--embedded", options.embedded, "Copy files that lie inside of others as well");
}

}  // namespace qzmtraw::host
