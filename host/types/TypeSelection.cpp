#include "host/types/TypeSelection.h"

#include <algorithm>
#include <charconv>
#include <set>
#include <string>

#include "host/base/Error.h"
#include "host/base/Text.h"

namespace qzmtraw::host {
namespace {

char Lower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

bool IsSameName(std::string_view a, std::string_view b) { return std::ranges::equal(a, b, {}, Lower, Lower); }

std::string_view Trimmed(std::string_view text) {
  const std::size_t first = text.find_first_not_of(' ');
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(' ') - first + 1);
}

/// The row that `name` states as a number, or -1.
std::int32_t RowNamed(std::string_view name, const TypeCatalogue& catalogue) {
  std::int32_t row = -1;
  const auto [end, error] = std::from_chars(name.data(), name.data() + name.size(), row);
  const bool isNumber = error == std::errc{} && end == name.data() + name.size();
  return isNumber && row >= 0 && static_cast<std::size_t>(row) < catalogue.size() ? row : -1;
}

std::vector<std::int32_t> RowsNamed(std::string_view name, const TypeCatalogue& catalogue) {
  const std::string_view extension = name.starts_with('.') ? name.substr(1) : name;
  std::vector<std::int32_t> rows;
  for (const TypeInfo& type : catalogue) {
    if (!extension.empty() && IsSameName(type.extension, extension)) rows.push_back(type.row);
  }
  if (rows.empty()) {
    if (const std::int32_t row = RowNamed(name, catalogue); row >= 0) rows.push_back(row);
  }
  return rows;
}

}  // namespace

std::vector<std::int32_t> SelectTypes(const TypeCatalogue& catalogue, std::string_view list) {
  std::set<std::int32_t> selected;
  while (true) {
    const std::size_t comma = list.find(',');
    const std::string_view name = Trimmed(list.substr(0, comma));
    const std::vector<std::int32_t> rows = RowsNamed(name, catalogue);
    if (rows.empty()) {
      throw UsageError("--types: there is no file type " + Quoted(name) + "; 'qzmtraw types' lists them all");
    }
    selected.insert(rows.begin(), rows.end());
    if (comma == std::string_view::npos) break;
    list.remove_prefix(comma + 1);
  }
  return {selected.begin(), selected.end()};
}

std::vector<std::int32_t> ChosenRows(const TypeCatalogue& catalogue, const TypeOptions& options) {
  return options.types ? SelectTypes(catalogue, *options.types) : AllTypes(catalogue);
}

std::vector<std::int32_t> AllTypes(const TypeCatalogue& catalogue) {
  std::vector<std::int32_t> rows;
  for (const TypeInfo& type : catalogue) rows.push_back(type.row);
  return rows;
}

}  // namespace qzmtraw::host
