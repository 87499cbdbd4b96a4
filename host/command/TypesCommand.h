#ifndef QZMTRAW_HOST_COMMAND_TYPES_COMMAND_H
#define QZMTRAW_HOST_COMMAND_TYPES_COMMAND_H

#include <ostream>

#include "host/command/Console.h"
#include "host/command/ExitCode.h"
#include "host/outputs/Report.h"
#include "host/types/TypeCatalogue.h"

namespace qzmtraw::host {

/// Writes all kinds, one a line, and how many there are.
void WriteTypes(const TypeCatalogue& catalogue, OutputFormat format, std::ostream& out);

/// Lists the kinds of file that the library knows. Throws Failure when the list can't be written.
ExitCode RunTypesCommand(OutputFormat format, const Console& console);

}  // namespace qzmtraw::host

#endif  // QZMTRAW_HOST_COMMAND_TYPES_COMMAND_H
