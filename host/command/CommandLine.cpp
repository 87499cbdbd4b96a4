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

constexpr const char* kExitCodes =
    "\nExit codes: 0 done, 1 failed, 2 bad command line, 3 done but some of the source\n"
    "could not be read, 130 interrupted.";

/// Leaves out the empty lines between groups of options, so that the help fits a screen.
class CompactFormatter final : public CLI::Formatter {
 public:
  [[nodiscard]] std::string make_group(std::string group, bool isPositional,  // NOLINT(readability-identifier-naming)
                                       std::vector<const CLI::Option*> options) const override {
    std::string text = Formatter::make_group(std::move(group), isPositional, std::move(options));
    return isPositional ? text : text.substr(1, text.find_last_not_of('\n'));
  }
};

void AddScanOptions(CLI::App& command, ScanOptions& options) {
  AddSourceOptions(command, options.source);
  AddTypeOptions(command, options.types);
  AddFindOptions(command, options.finds);
  AddOutputOptions(command, options.outputs);
  AddRunOptions(command, options.run);
  // Who reads it in the help knows it.
  command.get_help_ptr()->group("");
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
  formatter->column_width(22);
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
  recover->footer(std::string("\nCopies are named DIR/CATEGORY/EXT/SECTOR[_TITLE].EXT and listed in DIR.\n"
                              "A recovery that was broken off goes on when it is started again.\n") +
                  kExitCodes);

  MergeOptions mergeOptions;
  CLI::App* merge = app.add_subcommand("merge", "Make one list of the finds of several");
  AddMergeOptions(*merge, mergeOptions);
  merge->footer(kExitCodes);

  CLI::App* types = app.add_subcommand("types", "List the file types that can be found");
  AddTypeOptions(*types, options.types);
  AddListFormat(*types, options.outputs);

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
