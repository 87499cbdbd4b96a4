#include <map>
#include <string>

#include "host/command/Options.h"

namespace qzmtraw::host {

void AddOutputOptions(CLI::App& command, OutputOptions& options) {
  command.option_defaults()->group("Outputs");
  const std::map<std::string, OutputFormat> formats = {{"table", OutputFormat::kTable},
                                                       {"jsonl", OutputFormat::kJsonLines}};
  command
      .add_option_function<std::string>(
          "--format", [&options, formats](const std::string& name) { options.format = formats.at(name); },
          "table, or jsonl: one JSON object a line")
      ->check(CLI::IsMember(formats).description(""))
      ->type_name("FORMAT");
}

}  // namespace qzmtraw::host
