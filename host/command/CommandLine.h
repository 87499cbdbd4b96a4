#ifndef QZMTRAW_HOST_COMMAND_COMMAND_LINE_H
#define QZMTRAW_HOST_COMMAND_COMMAND_LINE_H

#include "host/command/Console.h"
#include "host/command/ExitCode.h"

namespace qzmtraw::host {

/// Reads the command line and does what it says. Messages about bad command lines and failures go to the console's
/// error stream; only std::bad_alloc and the like come through.
ExitCode RunCommandLine(int argc, const char* const* argv, const Console& console);

}  // namespace qzmtraw::host

#endif  // QZMTRAW_HOST_COMMAND_COMMAND_LINE_H
