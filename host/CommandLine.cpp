#include "host/CommandLine.h"

#include <CLI/CLI.hpp>
#include <map>
#include <string>

#include "host/Error.h"
#include "host/RecoverCommand.h"
#include "host/ScanCommand.h"
#include "host/TypesCommand.h"
#include "host/Version.h"

namespace qzmtraw::host {
namespace {

constexpr const char* kExitCodes =
    "Exit codes: 0 done, 1 failed, 2 bad command line, 3 done but some of the source\n"
    "could not be read, 130 interrupted.";

void AddFormat(CLI::App& command, OutputFormat& format) {
  const std::map<std::string, OutputFormat> formats = {{"table", OutputFormat::kTable},
                                                       {"jsonl", OutputFormat::kJsonLines}};
  command
      .add_option_function<std::string>(
          "--format", [&format, formats](const std::string& name) { format = formats.at(name); },
          "table, or jsonl: one JSON object a line")
      ->check(CLI::IsMember(formats).description(""))
      ->type_name("FORMAT");
}

void AddScanOptions(CLI::App& command, ScanOptions& options) {
  command.add_option("IMAGE", options.image, "Raw disk image or block device; it is only read")
      ->required()
      ->type_name("")
      ->option_text(" ");
  AddFormat(command, options.format);
  command.add_option("--sector-size", options.sectorSize, "Bytes per sector, 1 to 1048576; default 512")
      ->check(CLI::Range(1U, kMaxSectorSize).description(""))
      ->type_name("N");
  command.add_option("--jobs", options.jobs, "Threads that scan, 1 to 256; as many as there are cores")
      ->check(CLI::Range(1U, kMaxJobs).description(""))
      ->type_name("N");
  command.add_option("--memory", options.memory, "Most memory to use, 32MiB and more; default 256MiB")
      ->transform(CLI::AsSizeValue(false).description(""))
      ->check(CLI::Range(kLeastMemory, kGreatestMemory).description(""))
      ->type_name("SIZE");
  command.add_option("--types", options.types, "Only these types: extensions or rows, as in doc,jpg,157")
      ->type_name("LIST");
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
  std::string directory;
  CLI::App* scan = app.add_subcommand("scan", "List the files on an image");
  AddScanOptions(*scan, options);
  scan->footer(kExitCodes);

  CLI::App* recover = app.add_subcommand("recover", "List the files on an image and copy them");
  AddScanOptions(*recover, options);
  recover->add_option("--out", directory, "Where the copies go; a new or an empty directory")
      ->required()
      ->type_name("DIR");
  recover->footer(std::string("Copies are named DIR/EXT/SECTOR-rROW.EXT. Of a file of unknown size as much is\n"
                              "copied as may belong to it. A copy that fails is removed.\n\n") +
                  kExitCodes);

  CLI::App* types = app.add_subcommand("types", "List the file types that can be found");
  AddFormat(*types, options.format);

  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    return TellParseResult(app, error, console);
  }
  if (scan->parsed()) return RunScanCommand(options, console);
  if (recover->parsed()) return RunRecoverCommand(options, directory, console);
  return RunTypesCommand(options.format, console);
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
