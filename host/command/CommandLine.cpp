#include "host/command/CommandLine.h"

#include <CLI/CLI.hpp>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "host/base/Error.h"
#include "host/base/Version.h"
#include "host/command/Describe.h"
#include "host/command/MergeCommand.h"
#include "host/command/Options.h"
#include "host/command/RecoverCommand.h"
#include "host/command/ScanCommand.h"
#include "host/command/TypesCommand.h"
#include "host/scan/Progress.h"
#include "host/types/Registry.h"

namespace qzmtraw::host {
namespace {

constexpr const char* kExitCodes = "\nExit codes: 0 done, 1 failed, 2 bad usage, 3 not all readable, 130 interrupted";

/// Leaves out the empty lines between groups of options, and lists positional arguments with the group of options to
/// which they belong, so that the help fits a screen.
class CompactFormatter final : public CLI::Formatter {
 public:
  [[nodiscard]] std::string make_positionals(  // NOLINT(readability-identifier-naming)
      const CLI::App* app) const override {
    const auto arguments = app->get_options(IsArgument);
    return arguments.empty() ? std::string() : make_group(arguments.front()->get_group(), true, arguments);
  }

  [[nodiscard]] std::string make_group(std::string group, bool isPositional,  // NOLINT(readability-identifier-naming)
                                       std::vector<const CLI::Option*> options) const override {
    const std::string text = Formatter::make_group(group, isPositional, std::move(options));
    const std::string heading = "\n" + group + ":\n";
    // The arguments stand above, beneath the same heading.
    const std::size_t begin = group == kArgumentGroup && !isPositional ? heading.size() : 1;
    return text.substr(begin, text.find_last_not_of('\n') + (isPositional ? 2 : 1) - begin);
  }

 private:
  static bool IsArgument(const CLI::Option* option) { return option->get_positional() && !option->get_group().empty(); }
};

void AddScanOptions(CLI::App& command, ScanOptions& options) {
  AddSourceOptions(command, options.source);
  AddTypeOptions(command, options.types);
  AddFindOptions(command, options.finds);
  AddOutputOptions(command, options.outputs);
  AddRunOptions(command, options.run);
}

ExitCode TellParseResult(const CLI::App& app, const CLI::ParseError& error, const Console& console) {
  const bool isError = error.get_exit_code() != 0;
  if (isError) console.err << kProgramName << ": ";
  app.exit(error, console.out, console.err);
  console.out.flush();
  return isError ? ExitCode::kUsage : ExitCode::kDone;
}

ExitCode ParseAndRun(int argc, const char* const* argv, const Console& console) {
  CLI::App app("Finds files on disk images and devices by their contents.", kProgramName);
  app.set_version_flag("--version", std::string(kProgramName) + " " + Version());
  app.require_subcommand(1);
  app.footer(kExitCodes);
  const auto formatter = std::make_shared<CompactFormatter>();
  formatter->column_width(23);
  app.formatter(formatter);
  app.set_help_flag("--help", "Show this help");

  ScanOptions options;
  RecoveryOptions recoveryOptions;
  CLI::App* scan = app.add_subcommand("scan", "List the files on an image");
  AddScanOptions(*scan, options);
  scan->footer(kExitCodes);

  CLI::App* recover = app.add_subcommand("recover", "List the files on an image and copy them");
  AddScanOptions(*recover, options);
  AddRecoveryOptions(*recover, recoveryOptions);
  recover->footer(std::string("\nCopies are named DIR/CATEGORY/EXT/SECTOR[_TITLE].EXT. Repeat it to go on.") +
                  kExitCodes);

  MergeOptions mergeOptions;
  CLI::App* merge = app.add_subcommand("merge", "Make one list of the finds of several");
  AddMergeOptions(*merge, mergeOptions);
  merge->footer(kExitCodes);

  CLI::App* types = app.add_subcommand("types", "List the file types that can be found");
  AddTypeOptions(*types, options.types);
  AddListFormat(*types, options.outputs);

  // Who reads it in the help knows it.
  for (CLI::App* command : {scan, recover, merge, types}) command->get_help_ptr()->group("");

  std::string form;
  const CLI::App* describe = AddDescribeCommand(app, form);

  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    return TellParseResult(app, error, console);
  }
  if (describe->parsed()) {
    Describe(app, ReadTypeCatalogue(OpenRegistry()), form, console.out);
    console.out.flush();
    return ExitCode::kDone;
  }
  if (merge->parsed()) return RunMergeCommand(mergeOptions, console);
  const auto progress = OpenProgress(options.run.progress, console.err, console.progress != nullptr);
  Console watched = console;
  watched.progress = progress.get();
  if (scan->parsed()) return RunScanCommand(options, watched);
  if (recover->parsed()) return RunRecoverCommand(options, recoveryOptions, watched);
  return RunTypesCommand(options.types, options.outputs.format, console);
}

}  // namespace

ExitCode RunCommandLine(int argc, const char* const* argv, const Console& console) {
  try {
    return ParseAndRun(argc, argv, console);
  } catch (const UsageError& error) {
    console.err << kProgramName << ": " << error.what() << '\n';
    return ExitCode::kUsage;
  } catch (const Failure& failure) {
    console.err << kProgramName << ": " << failure.what() << '\n';
    return ExitCode::kFailed;
  }
}

}  // namespace qzmtraw::host
