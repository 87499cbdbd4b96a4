#include "fuzz/Rows.h"

#include <algorithm>
#include <array>
#include <map>
#include <stdexcept>

namespace qzmtraw::fuzz {

namespace {

struct Range {
  std::int32_t first;
  std::int32_t last;
};
struct Subsystem {
  std::string_view name;
  std::vector<Range> ranges;
};

// clang-format off
const std::array kSubsystems = {
    Subsystem{"archives", {{144, 146}, {148, 158}, {160, 172}}},
    Subsystem{"containers",
              {{0, 13}, {15, 16}, {18, 18}, {20, 22}, {25, 27}, {31, 32}, {34, 35}, {44, 44}, {65, 65}, {96, 96},
               {99, 100}, {142, 143}, {147, 147}, {159, 159}, {173, 173}, {198, 198}, {236, 236}, {240, 240},
               {242, 242}, {253, 253}, {258, 258}, {265, 265}}},
    Subsystem{"images",
              {{17, 17}, {62, 64}, {66, 91}, {93, 94}, {97, 98}, {101, 107}, {109, 134}, {136, 138}, {140, 140}}},
    Subsystem{"media", {{95, 95}, {174, 197}, {199, 205}, {207, 225}, {268, 268}}},
    Subsystem{"stores",
              {{19, 19}, {23, 23}, {28, 29}, {33, 33}, {36, 37}, {40, 42}, {45, 46}, {226, 227}, {230, 233},
               {235, 235}, {237, 239}, {241, 241}, {243, 251}, {254, 257}, {259, 259}, {261, 263}, {266, 267}}},
    Subsystem{"system",
              {{270, 275}, {277, 278}, {282, 297}, {299, 302}, {304, 304}, {306, 306}, {311, 314}, {316, 319}}},
    Subsystem{"text",
              {{14, 14}, {24, 24}, {30, 30}, {38, 39}, {43, 43}, {47, 61}, {92, 92}, {108, 108}, {135, 135},
               {139, 139}, {141, 141}, {206, 206}, {228, 229}, {234, 234}, {252, 252}, {260, 260}, {264, 264},
               {269, 269}, {276, 276}, {279, 281}, {298, 298}, {303, 303}, {305, 305}, {307, 310}, {315, 315}}},
};
// clang-format on

using RowLists = std::map<std::string_view, std::vector<std::int32_t>>;

RowLists MakeRowLists() {
  RowLists lists;
  std::vector<std::int32_t>& all = lists["all"];
  for (const Subsystem& subsystem : kSubsystems) {
    for (const Range& range : subsystem.ranges) {
      for (std::int32_t row = range.first; row <= range.last; ++row) {
        lists[subsystem.name].push_back(row);
        all.push_back(row);
      }
    }
  }
  std::ranges::sort(all);
  std::vector<std::int32_t> expected(static_cast<std::size_t>(GetRawFileTypeFactory()->GetTypeCount()));
  for (std::size_t i = 0; i < expected.size(); ++i) expected[i] = static_cast<std::int32_t>(i);
  if (all != expected) throw std::logic_error("fuzz/Rows.cpp must name every row of the table once");
  return lists;
}

const host::TypeCatalogue& Catalogue() {
  static const host::TypeCatalogue kCatalogue = host::ReadTypeCatalogue(*GetRawFileTypeFactory());
  return kCatalogue;
}

const host::TypeInfo& TypeOf(std::int32_t row) { return Catalogue().at(static_cast<std::size_t>(row)); }

}  // namespace

std::span<const std::int32_t> RowsOf(std::string_view subsystem) {
  static const RowLists kLists = MakeRowLists();
  return kLists.at(subsystem);
}

std::vector<std::int32_t> RowsOfSameGroup(std::int32_t row) {
  std::vector<std::int32_t> rows;
  for (const host::TypeInfo& type : Catalogue()) {
    const bool isSame = type.row == row || (!type.group.empty() && type.group == TypeOf(row).group);
    if (isSame) rows.push_back(type.row);
  }
  return rows;
}

std::string NameOf(std::int32_t row) { return "row " + std::to_string(row) + " (" + TypeOf(row).extension + ")"; }

std::vector<host::Lane> Deal(std::vector<std::int32_t> rows, std::size_t laneCount) {
  std::ranges::sort(rows);
  return host::DealRows(rows, Catalogue(), laneCount);
}

}  // namespace qzmtraw::fuzz
