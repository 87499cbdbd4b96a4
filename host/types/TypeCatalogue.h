#ifndef QZMTRAW_HOST_TYPES_TYPE_CATALOGUE_H
#define QZMTRAW_HOST_TYPES_TYPE_CATALOGUE_H

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "host/types/TypeFacts.h"
#include "qzmtraw/RawFileTypeFactory.h"

namespace qzmtraw::host {

/// The sizes, in bytes, that files of a kind are taken to have.
struct SizeHints {
  std::uint64_t least = 0;
  std::uint64_t greatest = 0;
};

/// What is known about one kind of file: what the library says, and what the tool knows beyond that.
struct TypeInfo {
  /// Row of the registry.
  std::int32_t row = 0;
  /// In UTF-8, as is the description.
  std::string extension;
  std::string description;
  /// The number as the registry gives it, see CategoryName.
  std::int32_t category = -1;
  /// Empty for a kind that stands alone, else a letter: A for the group that comes first in the registry.
  std::string group;
  /// Empty for a kind that stands alone, else the group's mark as "{00000000-0000-0000-0000-000000000000}".
  std::string groupGuid;
  /// None for kinds whose detectors always determine the size, and for some others.
  std::optional<SizeHints> hints;
  TypeFacts facts{};
  TypeRule rule{};
  /// The size to which this scan clips, in bytes; 0: it clips to none. As in `rule`, unless the user wants another.
  std::uint64_t greatestSize = 0;
};

/// All kinds; a kind's place is its row.
using TypeCatalogue = std::vector<TypeInfo>;

/// Ends a detector's life through its own operation.
struct DetectorRelease {
  void operator()(IRawFileType* detector) const { detector->Release(); }
};

/// Owns a detector.
using DetectorPtr = std::unique_ptr<IRawFileType, DetectorRelease>;

/// Asks the registry for everything that it knows.
TypeCatalogue ReadTypeCatalogue(IRawFileTypeFactory& registry);

/// The name of a category as people see it: "archives". "other" for every number that is none.
std::string_view CategoryName(std::int32_t category);

}  // namespace qzmtraw::host

#endif  // QZMTRAW_HOST_TYPES_TYPE_CATALOGUE_H
