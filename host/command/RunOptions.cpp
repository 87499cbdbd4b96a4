#include <map>
#include <string>

#include "host/command/Options.h"

namespace qzmtraw::host {
namespace {

void AddMemoryOption(CLI::App& command, std::uint64_t& memory) {
  command.add_option("--memory", memory, "Most memory to use, 32MiB and more; default 256MiB")
      ->transform(CLI::AsSizeValue(false).description(""))
      ->check(CLI::Range(kLeastMemory, kGreatestMemory).description(""))
      ->type_name("SIZE");
}

}  // namespace

void AddRunOptions(CLI::App& command, RunOptions& options) {
  command.option_defaults()->group("Run");
  command.add_option("--jobs", options.jobs, "Threads that scan, 1 to 256; as many as there are cores")
      ->check(CLI::Range(1U, kMaxJobs).description(""))
      ->type_name("N");
  AddMemoryOption(command, options.memory);
  const std::map<std::string, ProgressMode> modes = {{"auto", ProgressMode::kAuto},
                                                     {"none", ProgressMode::kNone},
                                                     {"line", ProgressMode::kLine},
                                                     {"json", ProgressMode::kJson}};
  command
      .add_option_function<std::string>(
          "--progress", [&options, modes](const std::string& name) { options.progress = modes.at(name); },
          "auto (on terminals), none, line, or json")
      ->check(CLI::IsMember(modes).description(""))
      ->type_name("HOW");
  command
      .add_option_function<std::string>(
          "--shard", [&options](const std::string& text) { options.shard = ParseShard(text); },
          "Only the K-th of N shares of the types")
      ->type_name("K/N");
  CLI::Option* state =
      command.add_option("--resume", options.state, "Keep the state here, and go on from it")
          ->check(CLI::Validator([](const std::string& path) { return path.empty() ? "no name" : ""; }, ""))
          ->type_name("STATE");
  command.add_option("--rewind", options.rewind, "Go on so much before the break; default 4GiB")
      ->transform(CLI::AsSizeValue(false).description(""))
      ->option_text("SIZE")
      ->needs(state);
  command.add_flag("--no-sandbox", options.keepsRights, "Keep all rights of the user while scanning");
  // For tests, which can't wait.
  command
      .add_option_function<unsigned>(
          "--save-interval", [&options](unsigned value) { options.saveInterval = std::chrono::milliseconds(value); })
      ->group("");
}

void AddMergeOptions(CLI::App& command, MergeOptions& options) {
  command.option_defaults()->group(kArgumentGroup);
  command.add_option("LIST", options.lists, "Lists of one source: JSON lines or databases of scan")
      ->required()
      ->type_name("")
      ->option_text(" ");
  AddAllOption(command, options.finds);
  AddOutputOptions(command, options.outputs);
  command.option_defaults()->group("Run");
  AddMemoryOption(command, options.memory);
}

}  // namespace qzmtraw::host
