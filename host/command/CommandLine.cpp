#include "host/command/CommandLine.h"

#include <CLI/CLI.hpp>
#include <string>

#include "host/base/Error.h"
#include "host/base/Version.h"
#include "host/command/Options.h"
#include "host/command/RecoverCommand.h"
#include "host/command/ScanCommand.h"
#include "host/command/TypesCommand.h"

namespace qzmtraw::host {
namespace {

constexpr const char* kExitCodes =
    "Exit codes: 0 done, 1 failed, 2 bad command line, 3 done but some of the source\n"
    "could not be read, 130 interrupted.";

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
  app.get_formatter()->column_width(22);
  app.set_help_flag("--help", "Show this help");

  ScanOptions options;
  RecoveryOptions recoveryOptions;
  CLI::App* scan = app.add_subcommand("scan", "List the files on an image");
  AddScanOptions(*scan, options);
  scan->footer(kExitCodes);

  CLI::App* recover = app.add_subcommand("recover", "List the files on an image and copy them");
  AddScanOptions(*recover, options);
  AddRecoveryOptions(*recover, recoveryOptions);
  recover->footer(std::string("Copies are named DIR/CATEGORY/EXT/SECTOR[_TITLE].EXT and listed in DIR.\n"
                              "A recovery that was broken off goes on when it is started again.\n\n") +
                  kExitCodes);

  CLI::App* types = app.add_subcommand("types", "List the file types that can be found");
  AddOutputOptions(*types, options.outputs);

  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    return TellParseResult(app, error, console);
  }
  if (scan->parsed()) return RunScanCommand(options, console);
  if (recover->parsed()) return RunRecoverCommand(options, recoveryOptions, console);
  return RunTypesCommand(options.outputs.format, console);
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
