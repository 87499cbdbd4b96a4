#include "host/command/Options.h"

namespace qzmtraw::host {

void AddRecoveryOptions(CLI::App& command, RecoveryOptions& options) {
  command.option_defaults()->group("Recovery");
  command.add_option("--out", options.directory, "Where the copies go; new, empty, or of a broken-off run")
      ->required()
      ->type_name("DIR");
  command.add_option("--from", options.list, "Copy what this list of a scan has, without a scan")->type_name("LIST");
  command.add_flag("--dedupe", options.dedupe, "Keep identical contents once");
  command.add_flag("--embedded", options.embedded, "Copy files inside of other finds, too");
  command.add_flag("--ignore-free-space", options.ignoreFreeSpace, "Begin even if the copies may not fit");
}

}  // namespace qzmtraw::host
