#ifndef QZMTRAW_HOST_TYPES_TYPE_SELECTION_H
#define QZMTRAW_HOST_TYPES_TYPE_SELECTION_H

#include <cstdint>
#include <string_view>
#include <vector>

#include "host/types/TypeCatalogue.h"
#include "host/types/TypeOptions.h"

namespace qzmtraw::host {

/// The rows that a list such as "doc,JPG,157" names: an extension, in any case and with or without a dot, stands for
/// all kinds that bear it, a number for one row. Throws UsageError for a name that nothing answers to.
/// \return The rows in ascending order, each once.
std::vector<std::int32_t> SelectTypes(const TypeCatalogue& catalogue, std::string_view list);

/// The rows that the options choose, in ascending order. Throws UsageError as SelectTypes does.
std::vector<std::int32_t> ChosenRows(const TypeCatalogue& catalogue, const TypeOptions& options);

/// All rows, in order.
std::vector<std::int32_t> AllTypes(const TypeCatalogue& catalogue);

}  // namespace qzmtraw::host

#endif  // QZMTRAW_HOST_TYPES_TYPE_SELECTION_H
