#ifndef QZMTRAW_HOST_TYPES_COMMAND_H
#define QZMTRAW_HOST_TYPES_COMMAND_H

#include <ostream>

#include "host/Console.h"
#include "host/ExitCode.h"
#include "host/Report.h"
#include "host/TypeCatalogue.h"

namespace qzmtraw::host {

/// Writes all kinds, one a line, and how many there are.
void WriteTypes(const TypeCatalogue& catalogue, OutputFormat format, std::ostream& out);

/// Lists the kinds of file that the library knows. Throws Failure when the list can't be written.
ExitCode RunTypesCommand(OutputFormat format, const Console& console);

}  // namespace qzmtraw::host

#endif  // QZMTRAW_HOST_TYPES_COMMAND_H
