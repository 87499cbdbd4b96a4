#ifndef QZMTRAW_HOST_TYPES_TYPE_SELECTION_H
#define QZMTRAW_HOST_TYPES_TYPE_SELECTION_H

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "host/types/Profile.h"
#include "host/types/TypeCatalogue.h"
#include "host/types/TypeOptions.h"

namespace qzmtraw::host {

/// Names of kinds are the same in every list. In any case of letters, and in this order: an extension, with or without
/// a dot, stands for all kinds that bear it; a number for one row; a class name for the rows of the class; a whole
/// category name, as "source-code", for the kinds of the category. Lists have commas between names.

/// The rows that a list names. Throws UsageError for a name that nothing answers to.
/// \param origin  Where the list stands, for messages: "--types".
/// \return The rows in ascending order, each once.
std::vector<std::int32_t> SelectTypes(const TypeCatalogue& catalogue, std::string_view list,
                                      const std::string& origin = "--types");

/// The rows of the categories that a list names, by the beginnings of their names: "audio,doc". Throws UsageError for
/// one that is none or may be several.
std::vector<std::int32_t> SelectCategories(const TypeCatalogue& catalogue, std::string_view list,
                                           const std::string& origin);

/// The bytes that a text states: a number and one of the units b, k, m, g and t, or kb, KiB …, all powers of 1024. None
/// if it states none or more than IRawFileType::SetMaxFileSize takes.
std::optional<std::uint64_t> SizeNamed(std::string_view text);

/// What the user chose.
struct TypeChoice {
  /// In ascending order, at least one.
  std::vector<std::int32_t> rows;
  /// What was asked for and has no effect, each a sentence.
  std::vector<std::string> warnings;
};

/// Makes the choice: what the profile looks for, without what it excludes, and what the options look for, without what
/// they exclude. Greatest sizes go into `catalogue`; those of the options count more than the profile's. Throws
/// UsageError for what makes no sense, and where nothing is left to look for.
TypeChoice ChooseTypes(TypeCatalogue& catalogue, const TypeOptions& options, const ProfilePlaces& places);

/// All rows, in order.
std::vector<std::int32_t> AllTypes(const TypeCatalogue& catalogue);

}  // namespace qzmtraw::host

#endif  // QZMTRAW_HOST_TYPES_TYPE_SELECTION_H
