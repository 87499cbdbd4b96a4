#include "bench/Report.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <optional>
#include <string_view>

#include "host/base/Error.h"
#include "host/base/JsonLine.h"
#include "host/base/Text.h"

namespace qzmtraw::bench {
namespace {

constexpr double kGiga = 1e9;

/// Something that is to be reached.
struct Aim {
  std::string name;
  std::string unit;
  double measured = 0;
  double aim = 0;
  /// What must be reached in any case, where that is less.
  std::optional<double> least;
};

std::string Number(double value, int decimals) {
  std::array<char, 64> text{};
  const int length = std::snprintf(text.data(), text.size(), "%.*f", decimals, value);
  return {text.data(), static_cast<std::size_t>(length)};
}

std::string Cores(std::size_t count) { return count == 1 ? "one core" : std::to_string(count) + " cores"; }

std::string Lanes(std::size_t count) { return count == 1 ? "one lane" : std::to_string(count) + " lanes"; }

std::vector<Aim> Aims(const Results& results) {
  std::vector<Aim> aims;
  if (!results.isComplete) return aims;
  const double memory = results.columns.front().memoryReadRate;
  const auto find = [&](std::string_view name) {
    const auto place = std::ranges::find(results.cases, name, &CaseResult::name);
    return place == results.cases.end() ? nullptr : &*place;
  };
  const auto share = [&](const char* name, double aim, double least) {
    if (const CaseResult* result = find(name)) {
      aims.push_back(
          {std::string(name) + ", one core", "% of memory read", 100 * result->rates.front() / memory, aim, least});
    }
  };
  share(kNoiseCase, 50, 25);
  share(kZerosCase, 50, 25);
  share(kFilesCase, 20, 10);

  std::optional<HeadResult> worst;
  const auto consider = [&](const std::string& name, double rate) {
    if (!worst || rate < worst->rate) worst = {name, rate};
  };
  for (const CaseResult& result : results.cases) {
    if (result.isWorstCase) consider(result.name, result.rates.front());
  }
  for (const HeadResult& head : results.heads) consider("every sector " + head.name, head.rate);
  if (worst) aims.push_back({"worst case, " + worst->name, "% of memory read", 100 * worst->rate / memory, 1, {}});

  const auto two = std::ranges::find(results.columns, std::size_t{2}, &Column::laneCount);
  if (two == results.columns.end()) return aims;
  for (const char* name : {kZerosCase, kNoiseCase, kTextCase, kFilesCase}) {
    if (const CaseResult* result = find(name)) {
      const double rate = result->rates[static_cast<std::size_t>(two - results.columns.begin())];
      aims.push_back({"two lanes, " + result->name, "times as fast as one", rate / result->rates.front(), 1.8, {}});
    }
  }
  return aims;
}

const char* Verdict(bool isReached) { return isReached ? "reached" : "not reached"; }

void PrintCases(const Results& results) {
  std::size_t width = 0;
  for (const CaseResult& result : results.cases) width = std::max(width, result.name.size());
  std::string captions = host::PadRight("", width);
  std::string units = host::PadRight("", width);
  for (const Column& column : results.columns) {
    const bool isFirst = column.laneCount == 1;
    captions += "  " + host::PadLeft(Lanes(column.laneCount), isFirst ? 18 : 27);
    units += "      GB/s  of memory";
    if (!isFirst) units += "  speedup";
  }
  std::printf("%s\n%s\n", captions.c_str(), units.c_str());
  for (const CaseResult& result : results.cases) {
    std::string line = host::PadRight(result.name, width);
    for (std::size_t i = 0; i < result.rates.size(); ++i) {
      const double rate = result.rates[i];
      line += "  " + host::PadLeft(Number(rate / kGiga, 3), 8);
      line += "  " + host::PadLeft(Number(100 * rate / results.columns[i].memoryReadRate, 1) + " %", 9);
      if (results.columns[i].laneCount > 1) line += host::PadLeft(Number(rate / result.rates.front(), 2), 9);
    }
    std::printf("%s\n", line.c_str());
  }
}

void PrintRows(const RowTable& table, std::size_t rowCount) {
  std::printf(
      "\nDearest rows on %s. All rows: %.1f ns per sector by the clock between them (of which the memory %.1f),\n",
      table.device.c_str(), table.sum, table.fetching);
  std::printf("%.1f without it.\n", table.whole);
  std::printf("  row  extension    ns per sector    share  description\n");
  std::vector<RowTime> rows = table.rows;
  std::ranges::stable_sort(rows, std::ranges::greater(), &RowTime::time);
  rows.resize(std::min(rows.size(), rowCount));
  for (const RowTime& row : rows) {
    const std::string group = row.type.group.empty() ? "" : " (group " + row.type.group + ")";
    std::printf("  %3d  %-12s %13.2f  %5.1f %%  %s%s\n", row.type.row, row.type.extension.c_str(), row.time,
                100 * row.time / table.sum, row.type.description.c_str(), group.c_str());
  }
}

void PrintHeads(const Results& results, std::size_t rowCount) {
  std::vector<HeadResult> heads = results.heads;
  std::ranges::stable_sort(heads, {}, &HeadResult::rate);
  std::printf("\nDearest of %zu heads, each in every sector of noise, one core:\n", heads.size());
  heads.resize(std::min(heads.size(), rowCount));
  for (const HeadResult& head : heads) {
    std::printf("  %-18s %8.3f GB/s  %5.1f %% of memory read\n", head.name.c_str(), head.rate / kGiga,
                100 * head.rate / results.columns.front().memoryReadRate);
  }
}

void PrintAims(const std::vector<Aim>& aims) {
  std::printf("\nAims:\n");
  std::size_t width = 0;
  for (const Aim& aim : aims) width = std::max(width, aim.name.size());
  for (const Aim& aim : aims) {
    std::printf("  %s  %6.2f %s; aim %g: %s", host::PadRight(aim.name, width).c_str(), aim.measured, aim.unit.c_str(),
                aim.aim, Verdict(aim.measured >= aim.aim));
    if (aim.least) std::printf("; at least %g: %s", *aim.least, Verdict(aim.measured >= *aim.least));
    std::printf("\n");
  }
}

}  // namespace

void PrintReport(const Results& results, std::size_t rowCount) {
  std::printf("%zu types, sectors of 512 bytes, blocks of 64 sectors. %s\n", results.typeCount,
              results.machine.c_str());
  if (results.foreignLoad >= 0) {
    std::printf("Other programs took %.0f %% of the processors meanwhile%s.\n", 100 * results.foreignLoad,
                results.foreignLoad > 0.05 ? ", which spoils the figures" : "");
  }
  std::printf("Memory is read at");
  for (const Column& column : results.columns) {
    std::printf("%s %.2f GB/s by %s", column.laneCount == 1 ? "" : ",", column.memoryReadRate / kGiga,
                Cores(column.laneCount).c_str());
  }
  std::printf(".\n");
  if (!results.realFiles.empty()) std::printf("Real files: %s.\n", results.realFiles.c_str());
  std::printf("\n");
  PrintCases(results);
  for (const RowTable& table : results.rowTables) PrintRows(table, rowCount);
  if (!results.heads.empty()) PrintHeads(results, rowCount);
  const std::vector<Aim> aims = Aims(results);
  if (!aims.empty()) PrintAims(aims);
}

void WriteJson(const Results& results, const std::string& path) {
  using host::Json;
  Json cases = Json::array();
  for (const CaseResult& result : results.cases) {
    Json rates = Json::array();
    for (std::size_t i = 0; i < result.rates.size(); ++i) {
      rates.push_back({{"lanes", results.columns[i].laneCount},
                       {"bytesPerSecond", result.rates[i]},
                       {"ofMemoryRead", result.rates[i] / results.columns[i].memoryReadRate}});
    }
    cases.push_back({{"name", result.name}, {"isWorstCase", result.isWorstCase}, {"rates", rates}});
  }
  Json memory = Json::array();
  for (const Column& column : results.columns) {
    memory.push_back({{"threads", column.laneCount}, {"bytesPerSecond", column.memoryReadRate}});
  }
  Json tables = Json::array();
  for (const RowTable& table : results.rowTables) {
    Json rows = Json::array();
    for (const RowTime& row : table.rows) {
      rows.push_back({{"row", row.type.row},
                      {"extension", row.type.extension},
                      {"description", row.type.description},
                      {"group", row.type.group},
                      {"nanosecondsPerSector", row.time},
                      {"share", row.time / table.sum}});
    }
    tables.push_back({{"device", table.device},
                      {"fetchingNanosecondsPerSector", table.fetching},
                      {"sumNanosecondsPerSector", table.sum},
                      {"wholeNanosecondsPerSector", table.whole},
                      {"rows", rows}});
  }
  Json heads = Json::array();
  for (const HeadResult& head : results.heads) heads.push_back({{"name", head.name}, {"bytesPerSecond", head.rate}});
  Json aims = Json::array();
  for (const Aim& aim : Aims(results)) {
    Json entry = {{"name", aim.name}, {"unit", aim.unit}, {"measured", aim.measured}, {"aim", aim.aim}};
    if (aim.least) entry["least"] = *aim.least;
    aims.push_back(entry);
  }
  const Json report = {{"machine", results.machine},
                       {"types", results.typeCount},
                       {"foreignLoad", results.foreignLoad},
                       {"realFiles", results.realFiles},
                       {"memoryRead", memory},
                       {"cases", cases},
                       {"rows", tables},
                       {"heads", heads},
                       {"aims", aims}};

  if (std::filesystem::exists(path)) {
    throw host::Failure("cannot write " + host::Quoted(path) + ": it exists: name another file");
  }
  std::ofstream file(path);
  file << host::JsonLine(report);
  file.close();
  if (!file) throw host::Failure("cannot write " + host::Quoted(path) + ": is there room, and may it be written?");
}

}  // namespace qzmtraw::bench
