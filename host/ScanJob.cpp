#include "host/ScanJob.h"

#include <algorithm>
#include <chrono>
#include <thread>

#include "host/Interrupt.h"
#include "host/Lanes.h"
#include "host/Progress.h"
#include "host/Registry.h"
#include "host/Text.h"
#include "host/TypeSelection.h"
#include "host/Version.h"

namespace qzmtraw::host {
namespace {

/// More ranges than that are only counted; the JSON lines have them all.
constexpr std::size_t kRangesShown = 20;

std::string UnreadableText(const SectorRanges& sectors) {
  std::string text = std::to_string(sectors.SectorCount()) + " sectors could not be read and were taken as zeros:";
  std::size_t shown = 0;
  for (const auto& [first, end] : sectors.Ranges()) {
    if (shown == kRangesShown) {
      return text + " and " + std::to_string(sectors.Ranges().size() - shown) + " more ranges";
    }
    text += shown++ == 0 ? " " : ", ";
    text += std::to_string(first);
    if (end - first > 1) text += "-" + std::to_string(end - 1);
  }
  return text;
}

std::size_t LaneCount(const ScanOptions& options) {
  return options.jobs.value_or(std::clamp(std::thread::hardware_concurrency(), 1U, kMaxJobs));
}

}  // namespace

ScanJob::ScanJob(const ScanOptions& options, const Console& console)
    : options_(options),
      console_(console),
      catalogue_(ReadTypeCatalogue(OpenRegistry())),
      rows_(options.types ? SelectTypes(catalogue_, *options.types) : AllTypes(catalogue_)),
      memory_(DivideMemory(options.memory, options.sectorSize, LaneCount(options))),
      source_(options.image),
      device_(source_, options.sectorSize),
      report_(MakeReport(options.format, console.out)) {}

void ScanJob::Scan(const FindTaker& take) {
  if (device_.Size() == 0) {
    console_.err << kProgramName << ": " << Quoted(options_.image) << " is empty: nothing to scan\n";
  }
  report_->Begin(
      {options_.image, device_.Size(), device_.SectorSize(), rows_.size(), std::chrono::system_clock::now()});
  // A reader on a pipe learns at once what is going on, and a full disk shows before hours of work.
  console_.out.flush();

  std::vector<DetectorPtr> owners;
  std::vector<DetectorLane> lanes;
  for (const Lane& rows : DealRows(rows_, catalogue_, memory_.laneCount)) {
    DetectorLane& lane = lanes.emplace_back();
    for (const LaneRow& each : rows) {
      owners.emplace_back(OpenRegistry().CreateType(each.row, nullptr, nullptr));
      lane.push_back({each.row, owners.back().get(), each.isSilent});
    }
  }
  const auto bytesOf = [&](std::uint64_t sectors) { return std::min(sectors * device_.SectorSize(), device_.Size()); };
  const auto start = std::chrono::steady_clock::now();
  ScanOutcome outcome;
  {
    Progress progress(console_.progress, "scanning", device_.Size());
    outcome = RunScan(device_, lanes, memory_.scan, take, [&](std::uint64_t sectorsDone, std::uint64_t findCount) {
      progress.Update(bytesOf(sectorsDone), findCount);
      console_.out.flush();
      return !IsInterrupted();
    });
  }
  const std::chrono::duration<double> span = std::chrono::steady_clock::now() - start;
  summary_.seconds = span.count();
  summary_.bytesScanned = bytesOf(outcome.sectorsDone);
  summary_.isInterrupted = outcome.isInterrupted;
  summary_.error = device_.Loss();
}

const TypeInfo& ScanJob::TypeOf(const Find& find) const { return catalogue_.at(static_cast<std::size_t>(find.row)); }

void ScanJob::Add(const FindRecord& record) {
  ++summary_.findCount;
  ++summary_.findsByExtension[record.type->extension];
  report_->Add(record);
}

ExitCode ScanJob::Finish() {
  summary_.unreadable = device_.Unreadable();
  report_->End(summary_);
  console_.out.flush();
  const bool hasGaps = summary_.unreadable.SectorCount() != 0;
  if (hasGaps) console_.err << kProgramName << ": " << UnreadableText(summary_.unreadable) << '\n';
  if (summary_.isInterrupted) console_.err << kProgramName << ": interrupted; the list holds what was found so far\n";
  if (!summary_.error.empty()) {
    console_.err << kProgramName << ": " << summary_.error << '\n';
    return ExitCode::kFailed;
  }
  if (summary_.isInterrupted) return ExitCode::kInterrupted;
  return hasGaps ? ExitCode::kUnreadable : ExitCode::kDone;
}

}  // namespace qzmtraw::host
