#ifndef QZMTRAW_HOST_COMMAND_DESCRIBE_H
#define QZMTRAW_HOST_COMMAND_DESCRIBE_H

#include <ostream>
#include <string>

#include "host/types/TypeCatalogue.h"

namespace CLI {
class App;
}

namespace qzmtraw::host {

/// Lets the command line describe itself, for what is made of it when the tool is built: a command that is not shown,
/// with the name of the description as its argument, which goes into `form`.
CLI::App* AddDescribeCommand(CLI::App& app, std::string& form);

/// Writes what AddDescribeCommand asks for: "bash", "zsh" or "fish", the shell's completions, or "man", the part of the
/// manual page that tells of commands and options. Throws UsageError when there is no such description.
void Describe(CLI::App& app, const TypeCatalogue& catalogue, const std::string& form, std::ostream& out);

}  // namespace qzmtraw::host

#endif  // QZMTRAW_HOST_COMMAND_DESCRIBE_H
