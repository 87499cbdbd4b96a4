#ifndef QZMTRAW_HOST_COMMAND_TYPES_COMMAND_H
#define QZMTRAW_HOST_COMMAND_TYPES_COMMAND_H

#include <cstdint>
#include <ostream>
#include <vector>

#include "host/command/Console.h"
#include "host/command/ExitCode.h"
#include "host/outputs/Report.h"
#include "host/types/TypeCatalogue.h"
#include "host/types/TypeOptions.h"

namespace qzmtraw::host {

/// Writes kinds, one a line, and how many there are.
/// \param rows  Of the catalogue.
void WriteTypes(const TypeCatalogue& catalogue, const std::vector<std::int32_t>& rows, OutputFormat format,
                std::ostream& out);

/// Lists the kinds of file that the options choose. Throws Failure when the list can't be written.
ExitCode RunTypesCommand(const TypeOptions& options, OutputFormat format, const Console& console);

}  // namespace qzmtraw::host

#endif  // QZMTRAW_HOST_COMMAND_TYPES_COMMAND_H
