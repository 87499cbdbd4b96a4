#include "host/scan/Lanes.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <map>
#include <string>
#include <string_view>

namespace qzmtraw::host {
namespace {

/// The kinds LightWave (lwo), Maya (mb) and Shape (shp) reverse a field where it stands, for the rows behind them to
/// see: 130 (mb) the one that 17 (mb) has read.
constexpr std::array<std::int32_t, 3> kWritingRows = {127, 130, 140};

/// They do so only in sectors that start like their kind: with an IFF form of either sort, or with the code of shapes.
constexpr std::size_t kStartSize = 4;
constexpr std::array<std::string_view, 3> kWrittenStarts = {"FORM", "FOR4",
                                                            std::string_view("\0\0\x27\x0A", kStartSize)};

/// What rows cost that take longer than others, in multiples of what most of them cost; a group by any row of it, for
/// all its rows together. Measured on blocks of noise and of a system's files, and the mean taken. It decides about the
/// time that a scan takes, and nothing else.
struct Cost {
  std::int32_t row;
  unsigned cost;
};
constexpr std::array kCosts = {
    Cost{49, 40},  // texts
    Cost{260, 12}, Cost{38, 12}, Cost{313, 10}, Cost{98, 8}, Cost{136, 7}, Cost{264, 5}, Cost{6, 4},   Cost{48, 3},
    Cost{68, 3},   Cost{290, 3}, Cost{0, 2},    Cost{77, 2}, Cost{174, 2}, Cost{180, 2}, Cost{220, 2}, Cost{148, 2},
};

/// Rows that stay together.
struct Unit {
  std::vector<std::int32_t> rows;
  unsigned cost = 1;
};

unsigned CostOf(const TypeInfo& type, const TypeCatalogue& catalogue) {
  for (const Cost& each : kCosts) {
    if (each.row == type.row) return each.cost;
    if (static_cast<std::size_t>(each.row) >= catalogue.size()) continue;
    const std::string& group = catalogue[static_cast<std::size_t>(each.row)].group;
    if (!group.empty() && group == type.group) return each.cost;
  }
  return 1;
}

/// The dearest units first.
std::vector<Unit> UnitsOf(std::span<const LaneRow> rows, const TypeCatalogue& catalogue) {
  std::vector<Unit> units;
  std::map<std::string, std::size_t> unitOfGroup;
  for (const auto& [row, isSilent] : rows) {
    if (isSilent) continue;
    const TypeInfo& type = catalogue.at(static_cast<std::size_t>(row));
    const auto [known, isNew] = unitOfGroup.try_emplace(type.group, units.size());
    if (type.group.empty() || isNew) {
      units.push_back({{row}, CostOf(type, catalogue)});
    } else {
      units[known->second].rows.push_back(row);
    }
  }
  std::ranges::stable_sort(units, [](const Unit& a, const Unit& b) { return a.cost > b.cost; });
  return units;
}

}  // namespace

std::vector<Lane> DealRows(std::span<const std::int32_t> rows, const TypeCatalogue& catalogue, std::size_t laneCount) {
  Lane whole;
  for (const std::int32_t row : rows) whole.push_back({row, false});
  return DealRows(std::span<const LaneRow>(whole), catalogue, laneCount);
}

std::vector<Lane> DealRows(std::span<const LaneRow> rows, const TypeCatalogue& catalogue, std::size_t laneCount) {
  const std::vector<Unit> units = UnitsOf(rows, catalogue);
  std::vector<Lane> lanes(std::clamp<std::size_t>(laneCount, 1, std::max<std::size_t>(1, units.size())));
  std::vector<unsigned> loads(lanes.size());
  for (const Unit& unit : units) {
    const auto lane = static_cast<std::size_t>(std::ranges::min_element(loads) - loads.begin());
    loads[lane] += unit.cost;
    for (const std::int32_t row : unit.rows) lanes[lane].push_back({row, false});
  }
  for (Lane& lane : lanes) {
    for (const auto& [row, isSilent] : rows) {
      if (WritesIntoBlocks(row) && std::ranges::find(lane, row, &LaneRow::row) == lane.end())
        lane.push_back({row, true});
    }
    std::ranges::sort(lane, {}, &LaneRow::row);
  }
  return lanes;
}

bool MayBeWrittenInto(std::span<const std::uint8_t> block, std::uint32_t sectorSize) {
  for (; block.size() >= kStartSize; block = block.subspan(std::min<std::size_t>(sectorSize, block.size()))) {
    for (const std::string_view start : kWrittenStarts) {
      if (std::memcmp(block.data(), start.data(), kStartSize) == 0) return true;
    }
  }
  return false;
}

bool WritesIntoBlocks(std::int32_t row) { return std::ranges::find(kWritingRows, row) != kWritingRows.end(); }

}  // namespace qzmtraw::host
