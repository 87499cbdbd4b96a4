#include "host/outputs/OutputOptions.h"

#include <map>
#include <string>

#include "host/command/Options.h"

namespace qzmtraw::host {
namespace {

using Formats = std::map<std::string, OutputFormat>;

void AddFormat(CLI::App& command, OutputOptions& options, const Formats& formats, const std::string& description) {
  command.option_defaults()->group("Lists");
  command
      .add_option_function<std::string>(
          "--format", [&options, formats](const std::string& name) { options.format = formats.at(name); }, description)
      ->check(CLI::IsMember(formats).description(""))
      ->type_name("FORMAT");
}

}  // namespace

void AddListFormat(CLI::App& command, OutputOptions& options) {
  AddFormat(command, options, {{"table", OutputFormat::kTable}, {"jsonl", OutputFormat::kJsonLines}},
            "table, or jsonl: one JSON object a line");
}

void AddOutputOptions(CLI::App& command, OutputOptions& options) {
  AddFormat(command, options,
            {{"table", OutputFormat::kTable},
             {"jsonl", OutputFormat::kJsonLines},
             {"csv", OutputFormat::kCsv},
             {"dfxml", OutputFormat::kDfxml},
             {"none", OutputFormat::kNone}},
            "table, jsonl, csv, dfxml or none");
  command
      .add_option_function<std::vector<std::string>>(
          "--output",
          [&options](const std::vector<std::string>& names) {
            for (const std::string& name : names) options.files.push_back(OutputTargetOf(name));
          },
          "New .txt, .jsonl, .csv, .xml or .sqlite; may be repeated")
      ->option_text("FILE")
      ->allow_extra_args(false);
}

}  // namespace qzmtraw::host
