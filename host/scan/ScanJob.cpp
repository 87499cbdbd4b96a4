#include "host/scan/ScanJob.h"

#include <algorithm>
#include <new>
#include <span>
#include <thread>

#include "host/base/Error.h"
#include "host/base/Interrupt.h"
#include "host/base/Text.h"
#include "host/base/Version.h"
#include "host/scan/Lanes.h"
#include "host/scan/Progress.h"
#include "host/sources/OpenSource.h"
#include "host/types/Registry.h"
#include "host/types/TypeSelection.h"

namespace qzmtraw::host {
namespace {

/// The messages leave out ranges beyond so many; the lists have them all.
constexpr std::size_t kRangesShown = 20;

/// Who reads the list while it grows need not wait longer.
constexpr std::chrono::milliseconds kFlushInterval{500};

std::string UnreadableText(const SectorSet& sectors) {
  const bool isOne = sectors.Count() == 1;
  std::string text = std::to_string(sectors.Count()) + (isOne ? " sector" : " sectors") + " could not be read and " +
                     (isOne ? "was taken as zeros:" : "were taken as zeros:");
  SectorSet::Cursor ranges(sectors);
  std::size_t count = 0;
  while (const auto range = ranges.Next()) {
    if (++count > kRangesShown) continue;
    text += count == 1 ? " " : ", ";
    text += std::to_string(range->first);
    if (range->count > 1) text += "-" + std::to_string(range->first + range->count - 1);
  }
  if (count > kRangesShown) text += " and " + std::to_string(count - kRangesShown) + " more ranges, see the list";
  return text;
}

std::size_t LaneCount(const ScanOptions& options) {
  return options.run.jobs.value_or(std::clamp(std::thread::hardware_concurrency(), 1U, kMaxJobs));
}

}  // namespace

ScanJob::ScanJob(const ScanOptions& options, const Console& console)
    : options_(options),
      console_(console),
      catalogue_(ReadTypeCatalogue(OpenRegistry())),
      chosenRows_(ChosenRows(catalogue_, options.types)),
      rows_(RowsOfShard(chosenRows_, catalogue_, options.run.shard)),
      source_(OpenSource(options.source)),
      device_(*source_, options.source.sectorSize.value_or(source_->SectorSize().value_or(kDefaultSectorSize))),
      memory_(DivideMemory(options.run.memory, device_.SectorSize(), LaneCount(options))),
      report_(MakeReport(options.outputs.format, console.out)) {
  if (options.run.state.empty()) return;
  saved_ = std::make_unique<SavedScan>(options.run, SettingsOf(device_, chosenRows_, options.run.shard), rows_, device_,
                                       console.err);
}

void ScanJob::Scan(const FindTaker& take) {
  if (device_.Size() == 0) {
    TellOf("is empty: nothing to scan");
  }
  const auto typeCount = static_cast<std::size_t>(std::ranges::count(rows_, false, &LaneRow::isSilent));
  report_->Begin(
      {options_.source.image, device_.Size(), device_.SectorSize(), typeCount, std::chrono::system_clock::now()});
  // A reader on a pipe learns at once what is going on, and a full disk shows before hours of work.
  console_.out.flush();

  std::vector<DetectorPtr> owners;
  std::vector<DetectorLane> lanes;
  for (const Lane& rows : DealRows(std::span<const LaneRow>(rows_), catalogue_, memory_.laneCount)) {
    DetectorLane& lane = lanes.emplace_back();
    for (const LaneRow& each : rows) {
      owners.emplace_back(OpenRegistry().CreateType(each.row, nullptr, nullptr));
      lane.push_back({each.row, owners.back().get(), each.isSilent});
    }
  }
  const auto start = std::chrono::steady_clock::now();
  try {
    Progress progress(console_.progress, "scanning", device_.Size());
    const ScanStart begin = saved_ ? saved_->Start() : ScanStart{};
    std::uint64_t findsBefore = 0;
    const auto takeAny = [&](const ReportedFind& find) {
      progress.CountFind(TypeOf(find).category);
      take(find);
    };
    const auto takeKnown = [&](const ReportedFind& find) {
      ++findsBefore;
      takeAny(find);
    };
    const auto takeNew = [&](const ReportedFind& find) {
      if (saved_) saved_->Add(find);
      takeAny(find);
    };
    const auto watch = [&](std::uint64_t sectorsDone, std::uint64_t findCount) {
      summary_.bytesScanned = BytesOf(std::max(sectorsDone, begin.newsFrom));
      progress.Update(BytesOf(sectorsDone), findsBefore + findCount);
      if (saved_) saved_->SaveNowAndThen(sectorsDone);
      console_.out.flush();
      return !IsInterrupted();
    };
    if (saved_) saved_->ReadFinds(takeKnown);
    const ScanOutcome outcome = RunScan(device_, lanes, memory_.scan, takeNew, watch, begin);
    if (saved_) saved_->Save(outcome.sectorsDone);
    summary_.bytesScanned = BytesOf(std::max(outcome.sectorsDone, begin.newsFrom));
    summary_.isInterrupted = outcome.isInterrupted;
    if (device_.IsLost()) SetLost();
  } catch (const Failure& failure) {
    // What was found so far can be told if the output is not what failed.
    if (!console_.out.good()) throw;
    summary_.error = failure.what();
  } catch (const std::bad_alloc&) {
    summary_.error =
        "out of memory while scanning " + Quoted(options_.source.image) + ": use fewer threads, with --jobs";
  }
  const std::chrono::duration<double> span = std::chrono::steady_clock::now() - start;
  summary_.seconds = span.count() + (saved_ ? saved_->SecondsBefore() : 0);
}

const TypeInfo& ScanJob::TypeOf(const Find& find) const { return catalogue_.at(static_cast<std::size_t>(find.row)); }

void ScanJob::SetLost() {
  summary_.error = Quoted(options_.source.image) + ": " + device_.Loss() + "; the list holds what was found before";
}

void ScanJob::Add(const FindRecord& record) {
  ++summary_.findCount;
  ++summary_.findsByExtension[record.type->extension];
  report_->Add(record);
  FlushNowAndThen();
}

void ScanJob::FlushNowAndThen() {
  const auto now = std::chrono::steady_clock::now();
  if (now - lastFlush_ < kFlushInterval) return;
  console_.out.flush();
  lastFlush_ = now;
}

ExitCode ScanJob::Finish() {
  summary_.sizeAtEnd = source_->SizeNow();
  const SectorSet& unreadable = device_.Unreadable();
  report_->End(summary_, unreadable);
  console_.out.flush();
  const bool hasChanged = summary_.sizeAtEnd != device_.Size();
  if (unreadable.Count() != 0) TellOf(UnreadableText(unreadable));
  if (hasChanged) {
    TellOf("had " + std::to_string(device_.Size()) + " bytes at the start and has " +
           std::to_string(summary_.sizeAtEnd) + " now: scan it again when nobody writes to it");
  } else if (unreadable.Count() != 0) {
    TellOf("copy it with a tool for failing drives before it gets worse, and scan the copy");
  }
  if (summary_.isInterrupted) {
    TellOf("interrupted when " + std::to_string(summary_.bytesScanned) + " of " + std::to_string(device_.Size()) +
           " bytes were scanned; the list holds what was found there" +
           (saved_ ? "; the same command goes on from there" : ""));
  }
  if (!summary_.error.empty()) {
    console_.err << kProgramName << ": " << summary_.error << '\n';
    return ExitCode::kFailed;
  }
  if (summary_.isInterrupted) return ExitCode::kInterrupted;
  // The list is whole, but what was asked for besides wasn't done.
  if (saved_ && saved_->HasFailed()) return ExitCode::kFailed;
  return unreadable.Count() != 0 || hasChanged ? ExitCode::kUnreadable : ExitCode::kDone;
}

/// Says something about the source.
void ScanJob::TellOf(const std::string& text) const {
  console_.err << kProgramName << ": " << Quoted(options_.source.image) << ": " << text << '\n';
}

std::uint64_t ScanJob::BytesOf(std::uint64_t sectors) const {
  return std::min(sectors * device_.SectorSize(), device_.Size());
}

}  // namespace qzmtraw::host
