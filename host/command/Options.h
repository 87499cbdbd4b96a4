#ifndef QZMTRAW_HOST_COMMAND_OPTIONS_H
#define QZMTRAW_HOST_COMMAND_OPTIONS_H

#include <CLI/CLI.hpp>

#include "host/command/MergeCommand.h"
#include "host/finds/FindOptions.h"
#include "host/outputs/OutputOptions.h"
#include "host/recovery/RecoveryOptions.h"
#include "host/scan/RunOptions.h"
#include "host/sources/SourceOptions.h"
#include "host/types/TypeOptions.h"

namespace qzmtraw::host {

/// The group of options beneath whose heading the help lists a command's arguments that aren't options.
constexpr const char* kArgumentGroup = "Source";

/// Each lets a command have the options of one kind. What is read goes into `options`, which must live until the
/// command line was read.
/// @{
void AddSourceOptions(CLI::App& command, SourceOptions& options);
void AddTypeOptions(CLI::App& command, TypeOptions& options);
void AddFindOptions(CLI::App& command, FindOptions& options);
/// Of the find options only what needs no source.
void AddAllOption(CLI::App& command, FindOptions& options);
void AddOutputOptions(CLI::App& command, OutputOptions& options);
/// Of the output options only the form of the list, for lists of other things than finds.
void AddListFormat(CLI::App& command, OutputOptions& options);
void AddRunOptions(CLI::App& command, RunOptions& options);
void AddMergeOptions(CLI::App& command, MergeOptions& options);
void AddRecoveryOptions(CLI::App& command, RecoveryOptions& options);
/// @}

}  // namespace qzmtraw::host

#endif  // QZMTRAW_HOST_COMMAND_OPTIONS_H
