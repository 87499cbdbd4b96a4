// How fast devices are scanned: as bytes per second, as a share of the rate at which this machine reads memory,
// measured in the same run, and row by row.

#include <unistd.h>

#include <CLI/CLI.hpp>
#include <cstdio>
#include <ctime>
#include <exception>
#include <fstream>
#include <functional>
#include <numeric>
#include <sstream>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "bench/Data.h"
#include "bench/Heads.h"
#include "bench/Measure.h"
#include "bench/RealFiles.h"
#include "bench/Report.h"
#include "host/base/Error.h"
#include "host/base/Text.h"
#include "host/scan/Lanes.h"
#include "host/types/Registry.h"
#include "host/types/TypeCatalogue.h"
#include "host/types/TypeSelection.h"

namespace qzmtraw::bench {
namespace {

constexpr std::size_t kPlainSize = 256 * kMebibyte;
constexpr std::size_t kRealFilesSize = 1024 * kMebibyte;
/// Some kinds give up a file at 32 MiB, so those without an end are followed no further.
constexpr std::size_t kOpenFilesSize = 31 * kMebibyte;
constexpr std::size_t kHeadsSize = 64 * kMebibyte;

constexpr Patience kPlainPatience{3, 10};
constexpr Patience kWorstPatience{0.7, 2};
constexpr Patience kHeadsPatience{0.1, 0.25};

struct Options {
  std::string only;
  std::string types;
  std::string json;
  std::size_t rowCount = 10;
};

/// A device to be scanned, made when its turn comes.
struct Case {
  std::string name;
  bool isWorstCase = false;
  /// Rows are measured one by one as well.
  bool hasRowTable = false;
  std::function<Device()> make;
};

void Say(const std::string& text) {
  if (::isatty(STDERR_FILENO) != 0) std::fprintf(stderr, "\r\033[K%s", text.c_str());
}

/// The share of all cores' time that other programs take between construction and call.
class ForeignLoad {
 public:
  ForeignLoad() : start_(Read()) {}

  /// Negative if the machine doesn't tell.
  [[nodiscard]] double Share() const {
    const Times end = Read();
    const double total = end.total - start_.total;
    if (total <= 0) return -1;
    return std::max(0.0, (end.busy - start_.busy - (end.own - start_.own)) / total);
  }

 private:
  /// In seconds.
  struct Times {
    double total = 0;
    double busy = 0;
    double own = 0;
  };

  static Times Read() {
    std::ifstream file("/proc/stat");
    std::string name;
    file >> name;
    // User, nice, system, idle, waiting, interrupts twice, stolen by other machines.
    std::array<double, 8> fields{};
    for (double& field : fields) file >> field;
    if (!file) return {};
    const auto unit = static_cast<double>(::sysconf(_SC_CLK_TCK));
    const double total = std::accumulate(fields.begin(), fields.end(), 0.0) / unit;
    const double idle = (fields[3] + fields[4]) / unit;
    return {total, total - idle, static_cast<double>(std::clock()) / CLOCKS_PER_SEC};
  }

  Times start_;
};

std::string ProcessorName() {
  std::ifstream file("/proc/cpuinfo");
  for (std::string line; std::getline(file, line);) {
    const std::size_t colon = line.find(": ");
    if (line.starts_with("model name") && colon != std::string::npos) return line.substr(colon + 2);
  }
  return "unknown processor";
}

std::size_t CoreCount() { return std::max(1U, std::thread::hardware_concurrency()); }

std::string Describe(const RealFiles& image) {
  std::ostringstream text;
  text << host::FormatSize(image.bytes.size()) << ", " << image.fileCount << " files";
  if (image.distinctCount < image.fileCount) text << " (" << image.distinctCount << " different ones)";
  const char* separator = ": ";
  for (const auto& [kind, size] : image.kinds) {
    text << std::exchange(separator, ", ") << kind << ' ' << host::FormatSize(size);
  }
  return text.str();
}

Device OpenFilesDevice(const std::vector<Head>& heads, std::vector<std::uint8_t> contents) {
  OpenFiles files = FilesWithoutEnd(heads, contents);
  return {std::move(files.bytes), files.headsEnd};
}

std::vector<std::uint8_t> NoiseWithoutZeros(std::size_t size) {
  std::vector<std::uint8_t> bytes = Noise(size);
  RemoveZeros(bytes);
  return bytes;
}

/// \param realFiles  Receives the description of the image of real files when that is made.
std::vector<Case> Cases(std::string& realFiles) {
  std::vector<Case> cases = {
      {kZerosCase, false, false, [] { return Device{Zeros(kPlainSize)}; }},
      {kNoiseCase, false, true, [] { return Device{Noise(kPlainSize)}; }},
      {kTextCase, false, false, [] { return Device{Text(kPlainSize)}; }},
      {kFilesCase, false, true,
       [&realFiles] {
         RealFiles image = BuildRealFiles(kRealFilesSize);
         if (image.bytes.empty()) throw host::Failure("no file below /usr can be read");
         realFiles = Describe(image);
         return Device{std::move(image.bytes)};
       }},
  };
  for (const Head& head : CommonHeads()) {
    cases.push_back({"every sector " + std::string(head.name), true, false,
                     [&head] { return Device{HeadInEverySector(head, kPlainSize)}; }});
  }
  const std::vector<Head> zip = {{"zip", {{0, "PK\3\4"}}}};
  cases.push_back({"open files, noise", true, true,
                   [] { return OpenFilesDevice(LaboriousHeads(), NoiseWithoutZeros(kOpenFilesSize)); }});
  cases.push_back(
      {"open files, text", true, false, [] { return OpenFilesDevice(LaboriousHeads(), Text(kOpenFilesSize)); }});
  cases.push_back({"open zip, noise", true, false, [zip] { return OpenFilesDevice(zip, Noise(kPlainSize)); }});
  cases.push_back({"open zip, zeros", true, false, [zip] { return OpenFilesDevice(zip, Zeros(kPlainSize)); }});
  cases.push_back({"open zip, text", true, false, [zip] { return OpenFilesDevice(zip, Text(kPlainSize)); }});
  return cases;
}

/// Measures whatever the options ask for.
class Bench {
 public:
  explicit Bench(const Options& options)
      : options_(options),
        catalogue_(host::ReadTypeCatalogue(host::OpenRegistry())),
        rows_(options.types.empty() ? host::AllTypes(catalogue_) : host::SelectTypes(catalogue_, options.types)) {}

  Results Run() {
    const ForeignLoad foreignLoad;
    results_.typeCount = rows_.size();
    results_.isComplete = rows_.size() == catalogue_.size();
    results_.machine =
        ProcessorName() + ", " + std::to_string(CoreCount()) + " cores; compiled with " + QZMTRAW_COMPILER + ".";
    std::vector<std::size_t> laneCounts = {1, 2, CoreCount()};
    laneCounts.erase(std::remove_if(laneCounts.begin(), laneCounts.end(), [](auto n) { return n > CoreCount(); }),
                     laneCounts.end());
    laneCounts.erase(std::unique(laneCounts.begin(), laneCounts.end()), laneCounts.end());
    for (const std::size_t count : laneCounts) {
      Say("memory");
      results_.columns.push_back({count, MemoryReadRate(count)});
    }
    for (const Case& each : Cases(results_.realFiles)) {
      if (IsAskedFor(each.name)) Measure(each);
    }
    if (IsAskedFor("heads")) MeasureHeads();
    Say("");
    results_.foreignLoad = foreignLoad.Share();
    return std::move(results_);
  }

 private:
  [[nodiscard]] bool IsAskedFor(const std::string& name) const { return name.find(options_.only) != std::string::npos; }

  [[nodiscard]] std::vector<host::Lane> Lanes(std::size_t count) const {
    return host::DealRows(rows_, catalogue_, count);
  }

  void Measure(const Case& each) {
    Say(each.name);
    Device device = each.make();
    CaseResult result{each.name, {}, each.isWorstCase};
    for (const Column& column : results_.columns) {
      Say(each.name + ", lanes: " + std::to_string(column.laneCount));
      result.rates.push_back(
          ScanRate(Lanes(column.laneCount), device, each.isWorstCase ? kWorstPatience : kPlainPatience));
    }
    if (each.hasRowTable) {
      Say(each.name + ", row by row");
      const RowTimes times = MeasureRows(Lanes(1).front(), device);
      RowTable table{each.name, {}, times.fetching, times.Sum(), 1e9 * kSectorSize / result.rates.front()};
      for (std::size_t i = 0; i < rows_.size(); ++i) {
        table.rows.push_back({catalogue_[static_cast<std::size_t>(rows_[i])], times.rows[i]});
      }
      results_.rowTables.push_back(std::move(table));
    }
    results_.cases.push_back(std::move(result));
  }

  void MeasureHeads() {
    for (const Head& head : LaboriousHeads()) {
      Say("heads, " + std::string(head.name));
      Device device{HeadInEverySector(head, kHeadsSize)};
      results_.heads.push_back({std::string(head.name), ScanRate(Lanes(1), device, kHeadsPatience)});
    }
  }

  const Options& options_;
  host::TypeCatalogue catalogue_;
  std::vector<std::int32_t> rows_;
  Results results_;
};

int RunCommandLine(int argc, const char* const* argv) {
  CLI::App app("Measures throughput.", "qzmtraw_bench");
  Options options;
  app.get_formatter()->column_width(22);
  app.add_option("--only", options.only, "Only cases whose name contains this, as in noise, open, heads")
      ->type_name("TEXT");
  app.add_option("--types", options.types, "Only these types: extensions or rows, as in doc,jpg,157")
      ->type_name("LIST");
  app.add_option("--top", options.rowCount, "How many of the dearest rows and heads to show; default 10")
      ->type_name("N");
  app.add_option("--json", options.json, "Also write all figures to this new file")->type_name("FILE");
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    return app.exit(error) == 0 ? 0 : 2;
  }
  const Results results = Bench(options).Run();
  PrintReport(results, options.rowCount);
  if (!options.json.empty()) WriteJson(results, options.json);
  return 0;
}

}  // namespace
}  // namespace qzmtraw::bench

int main(int argc, char** argv) {
  try {
    return qzmtraw::bench::RunCommandLine(argc, argv);
  } catch (const qzmtraw::host::UsageError& error) {
    std::fprintf(stderr, "qzmtraw_bench: %s\n", error.what());
    return 2;
  } catch (const std::exception& error) {
    std::fprintf(stderr, "qzmtraw_bench: %s\n", error.what());
    return 1;
  }
}
