#ifndef QZMTRAW_BENCH_REPORT_H
#define QZMTRAW_BENCH_REPORT_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "host/types/TypeCatalogue.h"

namespace qzmtraw::bench {

/// Names of cases that aims are set for.
inline constexpr const char* kZerosCase = "zeros";
inline constexpr const char* kNoiseCase = "noise";
inline constexpr const char* kTextCase = "text";
inline constexpr const char* kFilesCase = "real files";

/// A number of lanes that everything is measured with.
struct Column {
  std::size_t laneCount = 1;
  /// How fast as many threads read memory, in bytes per second.
  double memoryReadRate = 0;
};

/// How fast a device is scanned, in bytes per second, by column.
struct CaseResult {
  std::string name;
  std::vector<double> rates;
  /// Made to be dear.
  bool isWorstCase = false;
};

struct RowTime {
  host::TypeInfo type;
  /// Nanoseconds per sector.
  double time = 0;
};

/// What the rows take on a device, in nanoseconds per sector.
struct RowTable {
  std::string device;
  std::vector<RowTime> rows;
  double fetching = 0;
  /// Rows and fetching together, and the same measured without looking at the clock between rows.
  double sum = 0;
  double whole = 0;
};

/// Every sector begins with the head; in bytes per second, on one core.
struct HeadResult {
  std::string name;
  double rate = 0;
};

struct Results {
  std::string machine;
  std::string realFiles;
  std::size_t typeCount = 0;
  /// All types are measured, so the aims hold.
  bool isComplete = true;
  /// The first is for one lane, the last for as many as there are cores.
  std::vector<Column> columns;
  std::vector<CaseResult> cases;
  std::vector<RowTable> rowTables;
  std::vector<HeadResult> heads;
  /// Share of all cores' time that went to other programs meanwhile; negative if not known.
  double foreignLoad = -1;
};

/// Prints the report for people to the standard output.
/// \param rowCount  How many of the dearest rows and heads are shown.
void PrintReport(const Results& results, std::size_t rowCount);

/// Everything that was measured, as a JSON object. Throws host::Failure when `path` exists or can't be written.
void WriteJson(const Results& results, const std::string& path);

}  // namespace qzmtraw::bench

#endif  // QZMTRAW_BENCH_REPORT_H
