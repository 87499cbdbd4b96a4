#include "host/scan/ScanJob.h"

#include <algorithm>
#include <new>
#include <span>
#include <thread>
#include <utility>

#include "host/base/Error.h"
#include "host/base/Interrupt.h"
#include "host/base/Text.h"
#include "host/base/Version.h"
#include "host/recovery/CopyPool.h"
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

/// \param what  What is the matter with the sectors.
std::string UnreadableText(const SectorSet& sectors, const std::string& what) {
  const bool isOne = sectors.Count() == 1;
  std::string text = std::to_string(sectors.Count()) + (isOne ? " sector" : " sectors") + what +
                     (isOne ? " and was taken as zeros:" : " and were taken as zeros:");
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

/// Warnings go to `err`.
std::vector<std::int32_t> ChooseRows(TypeCatalogue& catalogue, const TypeOptions& options, std::ostream& err) {
  const TypeChoice choice = ChooseTypes(catalogue, options, UsualProfilePlaces());
  for (const std::string& warning : choice.warnings) err << kProgramName << ": " << warning << '\n';
  return choice.rows;
}

/// The limits that differ from the detectors' own: "73=67108864".
std::string SetLimitsText(std::span<const std::int32_t> rows, const TypeCatalogue& catalogue) {
  std::string text;
  for (const std::int32_t row : rows) {
    const TypeInfo& type = catalogue.at(static_cast<std::size_t>(row));
    if (type.greatestSize == type.rule.greatestSize) continue;
    text += (text.empty() ? "" : ",") + std::to_string(row) + '=' + std::to_string(type.greatestSize);
  }
  return text.empty() ? "none" : text;
}

}  // namespace

ScanJob::ScanJob(const ScanOptions& options, const Console& console)
    : options_(options),
      console_(console),
      catalogue_(ReadTypeCatalogue(OpenRegistry())),
      chosenRows_(ChooseRows(catalogue_, options.types, console.err)),
      rows_(RowsOfShard(chosenRows_, catalogue_, options.run.shard)),
      source_(OpenSource(options.source)),
      part_(ChoosePart(options.source, *source_)),
      device_(*source_, part_.sectorSize, std::move(part_.view)),
      map_(options.source.mapToWrite.empty() ? nullptr : std::make_unique<RescueMapFile>(options.source.mapToWrite)),
      memory_(DivideMemory(options.run.memory, device_.SectorSize(), LaneCount(options))),
      run_(ThisRun()),
      outputs_(options.outputs, console.out) {
  if (options.finds.verify) verifier_ = std::make_unique<Verifier>(device_);
  if (options.run.state.empty()) return;
  ScanSettings settings = SettingsOf(device_, chosenRows_, options.run.shard);
  settings.emplace_back("the list of greatest sizes", SetLimitsText(chosenRows_, catalogue_));
  saved_ = std::make_unique<SavedScan>(options.run, settings, rows_, device_, console.err);
}

void ScanJob::Begin() {
  for (const std::string& note : part_.notes) TellOf(note);
  SourceInfo info{.path = options_.source.image,
                  .size = device_.Size(),
                  .sectorSize = device_.SectorSize(),
                  .typeCount = static_cast<std::size_t>(std::ranges::count(rows_, false, &LaneRow::isSilent)),
                  .started = std::chrono::system_clock::now(),
                  .run = run_};
  if (part_.isPart) info.part = SourceInfo::Part{device_.RangeBegin(), RangeSize(), device_.LeftOut().Count()};
  // A reader on a pipe learns at once what is going on, and a full disk shows before hours of work.
  outputs_.Begin(info);
  NoteFailedOutputs();
}

void ScanJob::Scan(const FindTaker& take) {
  if (device_.Size() == 0) {
    TellOf("is empty: nothing to scan");
  }
  Begin();
  if (!GoesOn()) return;

  std::vector<DetectorPtr> owners;
  std::vector<DetectorLane> lanes;
  for (const Lane& rows : DealRows(std::span<const LaneRow>(rows_), catalogue_, memory_.laneCount)) {
    DetectorLane& lane = lanes.emplace_back();
    for (const LaneRow& each : rows) {
      owners.emplace_back(OpenRegistry().CreateType(each.row, nullptr, nullptr));
      const TypeInfo& type = catalogue_.at(static_cast<std::size_t>(each.row));
      const bool isDefault = type.greatestSize == type.rule.greatestSize;
      lane.push_back({each.row, owners.back().get(), each.isSilent, isDefault ? 0 : type.greatestSize});
    }
  }
  const auto start = std::chrono::steady_clock::now();
  try {
    Progress progress(console_.progress, "scanning", RangeSize());
    const ScanStart begin = saved_ ? saved_->Start() : ScanStart{device_.Range().first, device_.Range().first};
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
      summary_.bytesScanned = BytesBefore(std::max(sectorsDone, begin.newsFrom));
      progress.Update(BytesBefore(sectorsDone), findsBefore + findCount);
      if (saved_) saved_->SaveNowAndThen(sectorsDone);
      sectorsDone_ = std::max(sectorsDone, begin.newsFrom);
      outputs_.Flush();
      NoteFailedOutputs();
      return !IsInterrupted() && GoesOn();
    };
    if (saved_) saved_->ReadFinds(takeKnown);
    const ScanOutcome outcome = RunScan(device_, lanes, memory_.scan, takeNew, watch, begin);
    if (saved_) saved_->Save(outcome.sectorsDone);
    summary_.bytesScanned = BytesBefore(std::max(outcome.sectorsDone, begin.newsFrom));
    sectorsDone_ = std::max(outcome.sectorsDone, begin.newsFrom);
    summary_.isInterrupted = outcome.isInterrupted && GoesOn();
    if (device_.IsLost()) SetLost();
  } catch (const Failure& failure) {
    summary_.error = failure.what();
  } catch (const std::bad_alloc&) {
    summary_.error =
        "out of memory while scanning " + Quoted(options_.source.image) + ": use fewer threads, with --jobs";
  }
  const std::chrono::duration<double> span = std::chrono::steady_clock::now() - start;
  summary_.seconds = span.count() + (saved_ ? saved_->SecondsBefore() : 0);
}

std::size_t ScanJob::CopyThreadCount() const {
  // The pieces of the scan are gone by then.
  const std::uint64_t threads = memory_.copyMemory / CopyPool::MemoryPerThread(device_.SectorSize());
  return static_cast<std::size_t>(std::clamp<std::uint64_t>(threads, 1, LaneCount(options_)));
}

const TypeInfo& ScanJob::TypeOf(const Find& find) const { return catalogue_.at(static_cast<std::size_t>(find.row)); }

void ScanJob::SetLost() {
  summary_.error = Quoted(options_.source.image) + ": " + device_.Loss() + "; the list holds what was found before";
}

void ScanJob::Add(const FindRecord& record) {
  ++summary_.findCount;
  ++summary_.findsByExtension[record.type->extension];
  if (verifier_ == nullptr) {
    outputs_.Add(record);
  } else {
    FindRecord verified = record;
    Verify(verified);
    outputs_.Add(verified);
  }
  FlushNowAndThen();
}

void ScanJob::Verify(FindRecord& record) {
  const auto isStopped = [this] {
    if (IsInterrupted()) SetInterrupted();
    return !GoesOn();
  };
  // What was found is listed in any case; looking into it ends when the work does.
  if (!isStopped()) verifier_->Look(record, isStopped);
  if (device_.IsLost()) SetLost();
}

void ScanJob::AddProvisional(const Find& find) {
  if (!outputs_.WantsProvisional()) return;
  const FindJudge judge = Judge();
  outputs_.AddProvisional(judge.Record(find, judge.Planner().Plan(find).plan));
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
  const SectorSet& skipped = device_.Skipped();
  if (!options_.source.map.empty()) summary_.skipped = &skipped;
  summary_.ended = std::chrono::system_clock::now();
  NoteFailedOutputs();
  outputs_.End(summary_, unreadable);
  const bool hasChanged = summary_.sizeAtEnd != device_.Size();
  if (unreadable.Count() != 0) TellOf(UnreadableText(unreadable, " could not be read"));
  if (skipped.Count() != 0) TellOf(UnreadableText(skipped, " could not be rescued, the map says,"));
  if (hasChanged) {
    TellOf("had " + std::to_string(device_.Size()) + " bytes at the start and has " +
           std::to_string(summary_.sizeAtEnd) + " now: scan it again when nobody writes to it");
  } else if (unreadable.Count() != 0) {
    TellOf("copy it with a tool for failing drives before it gets worse, and scan the copy");
  }
  if (summary_.isInterrupted) {
    TellOf("interrupted when " + std::to_string(summary_.bytesScanned) + " of " + std::to_string(RangeSize()) +
           " bytes were scanned; the list holds what was found there" +
           (saved_ ? "; the same command goes on from there" : ""));
  }
  const bool hasMap = WriteMap();
  if (!summary_.error.empty()) console_.err << kProgramName << ": " << summary_.error << '\n';
  for (const std::string& error : outputs_.Errors()) {
    if (error != summary_.error) console_.err << kProgramName << ": " << error << '\n';
  }
  if (!hasMap || !summary_.error.empty() || !outputs_.Errors().empty()) return ExitCode::kFailed;
  if (summary_.isInterrupted) return ExitCode::kInterrupted;
  // The list is whole, but what was asked for besides wasn't done.
  if (saved_ && saved_->HasFailed()) return ExitCode::kFailed;
  return unreadable.Count() != 0 || skipped.Count() != 0 || hasChanged ? ExitCode::kUnreadable : ExitCode::kDone;
}

/// \return Whether the map was written, or none is wanted.
bool ScanJob::WriteMap() {
  if (map_ == nullptr) return true;
  try {
    map_->Write(device_, sectorsDone_);
    return true;
  } catch (const Failure& failure) {
    console_.err << kProgramName << ": " << failure.what() << '\n';
    return false;
  }
}

/// Says something about the source.
void ScanJob::TellOf(const std::string& text) const {
  console_.err << kProgramName << ": " << Quoted(options_.source.image) << ": " << text << '\n';
}

/// How many bytes of the range stand before a sector.
std::uint64_t ScanJob::BytesBefore(std::uint64_t sector) const {
  const SectorRange& range = device_.Range();
  if (sector <= range.first) return 0;
  return sector >= range.first + range.count ? RangeSize() : (sector - range.first) * device_.SectorSize();
}

}  // namespace qzmtraw::host
