#include "host/types/TypeSelection.h"

#include <algorithm>
#include <charconv>
#include <iterator>
#include <limits>
#include <set>

#include "host/base/Error.h"
#include "host/base/Text.h"

namespace qzmtraw::host {
namespace {

using RowSet = std::set<std::int32_t>;

/// A warning names no more rows than this.
constexpr std::size_t kRowsNamed = 8;

char Lower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

bool IsSameName(std::string_view a, std::string_view b) { return std::ranges::equal(a, b, {}, Lower, Lower); }

std::string_view Trimmed(std::string_view text) {
  const std::size_t first = text.find_first_not_of(' ');
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(' ') - first + 1);
}

std::vector<std::string_view> NamesOf(std::string_view list) {
  std::vector<std::string_view> names;
  while (true) {
    const std::size_t comma = list.find(',');
    names.push_back(Trimmed(list.substr(0, comma)));
    if (comma == std::string_view::npos) return names;
    list.remove_prefix(comma + 1);
  }
}

/// A category's name as it is compared: small letters, and blanks for what people put between words.
std::string CategoryKey(std::string_view name) {
  std::string key;
  for (const char c : name) key += c == '-' || c == '_' ? ' ' : Lower(c);
  return key;
}

/// The row that `name` states as a number, or -1.
std::int32_t RowNamed(std::string_view name, const TypeCatalogue& catalogue) {
  std::int32_t row = -1;
  const auto [end, error] = std::from_chars(name.data(), name.data() + name.size(), row);
  const bool isNumber = error == std::errc{} && end == name.data() + name.size();
  return isNumber && row >= 0 && static_cast<std::size_t>(row) < catalogue.size() ? row : -1;
}

template <typename Test>
std::vector<std::int32_t> RowsWhere(const TypeCatalogue& catalogue, const Test& test) {
  std::vector<std::int32_t> rows;
  for (const TypeInfo& type : catalogue) {
    if (test(type)) rows.push_back(type.row);
  }
  return rows;
}

std::vector<std::int32_t> RowsNamed(std::string_view name, const TypeCatalogue& catalogue) {
  if (name.empty()) return {};
  const std::string_view extension = name.starts_with('.') ? name.substr(1) : name;
  auto rows = RowsWhere(
      catalogue, [&](const TypeInfo& type) { return !extension.empty() && IsSameName(type.extension, extension); });
  if (!rows.empty()) return rows;
  if (const std::int32_t row = RowNamed(name, catalogue); row >= 0) return {row};
  rows = RowsWhere(catalogue, [&](const TypeInfo& type) { return IsSameName(type.facts.className, name); });
  if (!rows.empty()) return rows;
  const std::string key = CategoryKey(name);
  return RowsWhere(catalogue, [&](const TypeInfo& type) { return CategoryName(type.category) == key; });
}

std::vector<std::int32_t> RowsOfName(std::string_view name, const TypeCatalogue& catalogue, const std::string& origin) {
  std::vector<std::int32_t> rows = RowsNamed(name, catalogue);
  if (rows.empty()) {
    throw UsageError(origin + ": there is no file type " + Quoted(name) + "; 'qzmtraw types' lists them all");
  }
  return rows;
}

/// What one place, a profile or the command line, wants.
struct Wishes {
  bool hasChosen = false;
  RowSet chosen;
  RowSet excluded;
};

/// Notes what has no effect in setting the greatest size of rows.
class SizeSetter {
 public:
  SizeSetter(TypeCatalogue& catalogue, std::vector<std::string>& warnings)
      : catalogue_(catalogue), warnings_(warnings) {}

  void Set(std::string_view list, const std::string& origin) {
    for (const std::string_view item : NamesOf(list)) SetOne(item, origin);
  }

 private:
  void SetOne(std::string_view item, const std::string& origin) {
    const std::size_t sign = item.find('=');
    const std::optional<std::uint64_t> size =
        sign == std::string_view::npos ? std::nullopt : SizeNamed(Trimmed(item.substr(sign + 1)));
    if (!size) {
      throw UsageError(origin + ": " + Quoted(item) +
                       " isn't a type and a size from 1 byte to 8 EiB, such as png=64MiB");
    }
    std::vector<std::int32_t> without;
    for (const std::int32_t row : RowsOfName(Trimmed(item.substr(0, sign)), catalogue_, origin)) {
      TypeInfo& type = catalogue_[static_cast<std::size_t>(row)];
      if (type.rule.isGreatestSizeSettable) {
        type.greatestSize = *size;
      } else {
        without.push_back(row);
      }
    }
    if (without.empty()) return;
    std::string text = origin + ": " + Quoted(item) + " has no effect on row";
    if (without.size() > 1) text += 's';
    for (std::size_t i = 0; i < std::min(without.size(), kRowsNamed); ++i) {
      text += (i == 0 ? " " : ", ") + std::to_string(without[i]);
    }
    if (without.size() > kRowsNamed) text += " and " + std::to_string(without.size() - kRowsNamed) + " more";
    warnings_.push_back(text + ", whose sizes have no limit that can be set");
  }

  TypeCatalogue& catalogue_;
  std::vector<std::string>& warnings_;
};

void Choose(Wishes& wishes, const std::vector<std::int32_t>& rows) {
  wishes.hasChosen = true;
  wishes.chosen.insert(rows.begin(), rows.end());
}

void Exclude(Wishes& wishes, const std::vector<std::int32_t>& rows) {
  wishes.excluded.insert(rows.begin(), rows.end());
}

Wishes WishesOf(const Profile& profile, const TypeCatalogue& catalogue, SizeSetter& sizes) {
  Wishes wishes;
  for (const Profile::Entry& entry : profile.entries) {
    const std::string origin = profile.name + ", line " + std::to_string(entry.line) + ": " + entry.key;
    if (entry.key == "types") {
      Choose(wishes, SelectTypes(catalogue, entry.value, origin));
    } else if (entry.key == "category") {
      Choose(wishes, SelectCategories(catalogue, entry.value, origin));
    } else if (entry.key == "exclude") {
      Exclude(wishes, SelectTypes(catalogue, entry.value, origin));
    } else {
      sizes.Set(entry.value, origin);
    }
  }
  return wishes;
}

Wishes WishesOf(const TypeOptions& options, const TypeCatalogue& catalogue, SizeSetter& sizes) {
  Wishes wishes;
  if (options.types) Choose(wishes, SelectTypes(catalogue, *options.types, "--types"));
  if (options.categories) Choose(wishes, SelectCategories(catalogue, *options.categories, "--category"));
  if (options.exclude) Exclude(wishes, SelectTypes(catalogue, *options.exclude, "--exclude"));
  for (const std::string& each : options.greatestSizes) sizes.Set(each, "--max-size");
  return wishes;
}

void Remove(RowSet& rows, const RowSet& excluded) {
  std::erase_if(rows, [&](std::int32_t row) { return excluded.contains(row); });
}

}  // namespace

std::vector<std::int32_t> SelectTypes(const TypeCatalogue& catalogue, std::string_view list,
                                      const std::string& origin) {
  RowSet selected;
  for (const std::string_view name : NamesOf(list)) {
    const std::vector<std::int32_t> rows = RowsOfName(name, catalogue, origin);
    selected.insert(rows.begin(), rows.end());
  }
  return {selected.begin(), selected.end()};
}

std::vector<std::int32_t> SelectCategories(const TypeCatalogue& catalogue, std::string_view list,
                                           const std::string& origin) {
  std::set<std::string_view> all;
  for (const TypeInfo& type : catalogue) all.insert(CategoryName(type.category));
  std::set<std::string_view> selected;
  for (const std::string_view name : NamesOf(list)) {
    const std::string key = CategoryKey(name);
    std::vector<std::string_view> meant;
    std::ranges::copy_if(all, std::back_inserter(meant),
                         [&](std::string_view each) { return !key.empty() && each.starts_with(key); });
    if (meant.size() == 1) {
      selected.insert(meant.front());
      continue;
    }
    std::string text = origin + ": " + Quoted(name) + (meant.empty() ? " is no category; there are" : " may be");
    const char* separator = " ";
    for (const std::string_view each : meant.empty() ? std::vector(all.begin(), all.end()) : meant) {
      text.append(separator).append(each);
      separator = ", ";
    }
    throw UsageError(text);
  }
  return RowsWhere(catalogue, [&](const TypeInfo& type) { return selected.contains(CategoryName(type.category)); });
}

std::optional<std::uint64_t> SizeNamed(std::string_view text) {
  std::uint64_t number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error != std::errc{}) return std::nullopt;
  std::string unit;
  for (const char c : Trimmed(text.substr(static_cast<std::size_t>(end - text.data())))) unit += Lower(c);
  unsigned shift = 0;
  if (!unit.empty() && unit != "b") {
    constexpr std::string_view kUnits = "kmgt";
    const std::size_t power = kUnits.find(unit.front());
    const std::string_view rest = std::string_view(unit).substr(1);
    if (power == std::string_view::npos || !(rest.empty() || rest == "b" || rest == "ib")) return std::nullopt;
    shift = 10 * (static_cast<unsigned>(power) + 1);
  }
  constexpr auto kMost = static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max());
  if (number == 0 || number > kMost >> shift) return std::nullopt;
  return number << shift;
}

TypeChoice ChooseTypes(TypeCatalogue& catalogue, const TypeOptions& options, const ProfilePlaces& places) {
  TypeChoice choice;
  SizeSetter sizes(catalogue, choice.warnings);
  RowSet rows;
  if (options.profile) {
    const Wishes wishes = WishesOf(ReadProfile(*options.profile, places), catalogue, sizes);
    const std::vector<std::int32_t> all = AllTypes(catalogue);
    rows = wishes.hasChosen ? wishes.chosen : RowSet(all.begin(), all.end());
    Remove(rows, wishes.excluded);
  }
  Wishes wishes = WishesOf(options, catalogue, sizes);
  if (!wishes.hasChosen && !options.profile) Choose(wishes, AllTypes(catalogue));
  rows.insert(wishes.chosen.begin(), wishes.chosen.end());
  Remove(rows, wishes.excluded);
  if (rows.empty()) throw UsageError("no file type is left to look for: all are excluded");
  choice.rows.assign(rows.begin(), rows.end());
  return choice;
}

std::vector<std::int32_t> AllTypes(const TypeCatalogue& catalogue) {
  return RowsWhere(catalogue, [](const TypeInfo&) { return true; });
}

}  // namespace qzmtraw::host
