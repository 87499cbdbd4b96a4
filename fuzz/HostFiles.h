#ifndef QZMTRAW_FUZZ_HOST_FILES_H
#define QZMTRAW_FUZZ_HOST_FILES_H

#include <string>

#include "fuzz/Choices.h"
#include "host/types/TypeCatalogue.h"

namespace qzmtraw::fuzz {

/// All rows of the library.
const host::TypeCatalogue& Catalogue();

/// Whether any terminal can take a text.
bool IsHarmless(const std::string& text);

/// The parts of the host target that are about files which the tool once wrote and reads again, and about those which
/// it finds. Each takes an input.
/// @{
void ReadListOf(Choices choices);
void ReadDatabaseOf(Choices choices);
void OpenStateOf(Choices choices);
void GoOnCopyingOf(Choices choices);
void ReadProfileOf(Choices choices);
void WalkToEndOf(Choices choices);
void ReadTitleOf(Choices choices);
/// @}

}  // namespace qzmtraw::fuzz

#endif  // QZMTRAW_FUZZ_HOST_FILES_H
