#include "host/command/Options.h"

namespace qzmtraw::host {

void AddRunOptions(CLI::App& command, RunOptions& options) {
  command.option_defaults()->group("Run");
  command.add_option("--jobs", options.jobs, "Threads that scan, 1 to 256; as many as there are cores")
      ->check(CLI::Range(1U, kMaxJobs).description(""))
      ->type_name("N");
  command.add_option("--memory", options.memory, "Most memory to use, 32MiB and more; default 256MiB")
      ->transform(CLI::AsSizeValue(false).description(""))
      ->check(CLI::Range(kLeastMemory, kGreatestMemory).description(""))
      ->type_name("SIZE");
  command.add_flag("--no-sandbox", options.keepsRights, "Keep all rights of the user while scanning");
}

}  // namespace qzmtraw::host
