#ifndef QZMTRAW_TESTS_SUPPORT_ROWS_H
#define QZMTRAW_TESTS_SUPPORT_ROWS_H

#include <cstdint>
#include <optional>
#include <span>
#include <string_view>

namespace qzmtraw::test {

/// What hosts rely on for a row, written down apart from the library's own table.
struct Row {
  std::int32_t index;
  std::string_view className;
  std::string_view description;
  std::string_view extension;
  std::int32_t category;
  char group;  ///< ' ' for a kind that stands alone.
};

struct Hints {
  std::uint64_t least;
  std::uint64_t greatest;
  bool operator==(const Hints&) const = default;
};

/// All 320 rows in order.
std::span<const Row> Rows();
/// The first row with this class. Throws when there is none.
const Row& RowOf(std::string_view className);
/// The size hints of a class, if it has any.
std::optional<Hints> HintsOf(std::string_view className);
/// The number of classes that have hints.
std::size_t HintedClassCount();

}  // namespace qzmtraw::test

#endif  // QZMTRAW_TESTS_SUPPORT_ROWS_H
