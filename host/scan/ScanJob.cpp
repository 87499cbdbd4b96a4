#include "host/scan/ScanJob.h"

#include <algorithm>
#include <new>
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
      rows_(ChosenRows(catalogue_, options.types)),
      source_(OpenSource(options.source)),
      device_(*source_, options.source.sectorSize.value_or(source_->SectorSize().value_or(kDefaultSectorSize))),
      memory_(DivideMemory(options.run.memory, device_.SectorSize(), LaneCount(options))),
      outputs_(options.outputs, console.out) {}

void ScanJob::Scan(const FindTaker& take) {
  if (device_.Size() == 0) {
    TellOf("is empty: nothing to scan");
  }
  // A reader on a pipe learns at once what is going on, and a full disk shows before hours of work.
  outputs_.Begin({.path = options_.source.image,
                  .size = device_.Size(),
                  .sectorSize = device_.SectorSize(),
                  .typeCount = rows_.size(),
                  .started = std::chrono::system_clock::now(),
                  .run = ThisRun()});
  NoteFailedOutputs();
  if (!GoesOn()) return;

  std::vector<DetectorPtr> owners;
  std::vector<DetectorLane> lanes;
  for (const Lane& rows : DealRows(rows_, catalogue_, memory_.laneCount)) {
    DetectorLane& lane = lanes.emplace_back();
    for (const LaneRow& each : rows) {
      owners.emplace_back(OpenRegistry().CreateType(each.row, nullptr, nullptr));
      lane.push_back({each.row, owners.back().get(), each.isSilent});
    }
  }
  const auto start = std::chrono::steady_clock::now();
  try {
    Progress progress(console_.progress, "scanning", device_.Size());
    const auto watch = [&](std::uint64_t sectorsDone, std::uint64_t findCount) {
      summary_.bytesScanned = BytesOf(sectorsDone);
      progress.Update(summary_.bytesScanned, findCount);
      outputs_.Flush();
      NoteFailedOutputs();
      return !IsInterrupted() && GoesOn();
    };
    const ScanOutcome outcome = RunScan(device_, lanes, memory_.scan, take, watch);
    summary_.bytesScanned = BytesOf(outcome.sectorsDone);
    summary_.isInterrupted = outcome.isInterrupted && GoesOn();
    if (device_.IsLost()) SetLost();
  } catch (const Failure& failure) {
    summary_.error = failure.what();
  } catch (const std::bad_alloc&) {
    summary_.error =
        "out of memory while scanning " + Quoted(options_.source.image) + ": use fewer threads, with --jobs";
  }
  const std::chrono::duration<double> span = std::chrono::steady_clock::now() - start;
  summary_.seconds = span.count();
}

const TypeInfo& ScanJob::TypeOf(const Find& find) const { return catalogue_.at(static_cast<std::size_t>(find.row)); }

void ScanJob::SetLost() {
  summary_.error = Quoted(options_.source.image) + ": " + device_.Loss() + "; the list holds what was found before";
}

void ScanJob::Add(const FindRecord& record) {
  ++summary_.findCount;
  ++summary_.findsByExtension[record.type->extension];
  outputs_.Add(record);
  FlushNowAndThen();
}

void ScanJob::AddProvisional(const Find& find) {
  if (!outputs_.WantsProvisional()) return;
  const PlannedFind planned = Planner().Plan(find);
  outputs_.AddProvisional({planned.find, &TypeOf(find), planned.plan});
}

void ScanJob::FlushNowAndThen() {
  NoteFailedOutputs();
  const auto now = std::chrono::steady_clock::now();
  if (now - lastFlush_ < kFlushInterval) return;
  outputs_.Flush();
  lastFlush_ = now;
}

/// A list that can't be written ends the work; the other lists get what is known by then.
void ScanJob::NoteFailedOutputs() {
  if (summary_.error.empty() && !outputs_.Errors().empty()) summary_.error = outputs_.Errors().front();
}

ExitCode ScanJob::Finish() {
  summary_.sizeAtEnd = source_->SizeNow();
  const SectorSet& unreadable = device_.Unreadable();
  summary_.ended = std::chrono::system_clock::now();
  NoteFailedOutputs();
  outputs_.End(summary_, unreadable);
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
           " bytes were scanned; the list holds what was found there");
  }
  if (!summary_.error.empty()) console_.err << kProgramName << ": " << summary_.error << '\n';
  for (const std::string& error : outputs_.Errors()) {
    if (error != summary_.error) console_.err << kProgramName << ": " << error << '\n';
  }
  if (!summary_.error.empty() || !outputs_.Errors().empty()) return ExitCode::kFailed;
  if (summary_.isInterrupted) return ExitCode::kInterrupted;
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
