#include "host/recovery/Recovery.h"

#include <algorithm>

#include "host/base/Error.h"
#include "host/base/Interrupt.h"
#include "host/base/Text.h"
#include "host/recovery/names/ReadableName.h"

namespace qzmtraw::host {
namespace {

/// So many copies a thread may wait for one before them.
constexpr std::size_t kStepsPerThread = 8;

}  // namespace

ManifestHead ManifestHeadFor(const ScanJob& job, const RecoveryOptions& options) {
  return {.sourceSize = job.ScannedDevice().Size(),
          .sectorSize = job.ScannedDevice().SectorSize(),
          .rows = NumberRanges(job.Rows()),
          .dedupe = options.dedupe,
          .embedded = options.embedded};
}

Recovery::Recovery(ScanJob& job, const FindStore& finds, OutputDirectory& directory, const RecoveryOptions& options,
                   std::ostream* progress)
    : job_(job),
      finds_(finds),
      directory_(directory),
      options_(options),
      terminal_(progress),
      doneLeft_(directory.Copies().Count()),
      done_(directory.Copies()) {}

void Recovery::Run() {
  FindsToCopy finds = Finds();
  try {
    if (job_.GoesOn()) Prepare();
  } catch (const Failure& failure) {
    // The list goes on without copies: it is worth as much as they are.
    job_.SetError(failure.what());
  }
  const std::size_t threads = job_.CopyThreadCount();
  // One thread goes step by step, so that what it leaves is always the same, too.
  const std::size_t mostSteps = threads == 1 ? 1 : kStepsPerThread * threads;
  bool isEnd = false;
  while (true) {
    while (!isEnd && steps_.size() < mostSteps) {
      if (const auto record = finds.Next()) {
        steps_.push_back(Begin(*record));
      } else {
        isEnd = true;
      }
    }
    if (steps_.empty()) break;
    Settle(*steps_.front());
    steps_.pop_front();
  }
  pool_.reset();
  progress_.reset();
  job_.SetFilesWritten(filesWritten_);
  try {
    directory_.WriteSums();
  } catch (const Failure& failure) {
    if (job_.GoesOn()) job_.SetError(failure.what());
  }
}

FindsToCopy Recovery::Finds() { return {finds_, job_.Judge(), job_.Listing(), job_.ScannedDevice(), ends_}; }

bool Recovery::IsToCopy(const FindRecord& record) const { return options_.embedded || !record.embeddedIn; }

/// Sees to it that the work can be done.
void Recovery::Prepare() {
  std::uint64_t total = 0;
  std::uint64_t copies = 0;
  FindsToCopy finds = Finds();
  while (const auto record = finds.Next()) {
    if (IsInterrupted()) return job_.SetInterrupted();
    if (IsToCopy(*record) && ++copies > doneLeft_) total += record->plan.length;
  }
  if (const auto free = directory_.FreeSpace(); free && total > *free && !options_.ignoreFreeSpace) {
    throw Failure("the copies have up to " + std::to_string(total) + " bytes (" + FormatSize(total) + "), and " +
                  Quoted(options_.directory) + " has room for " + std::to_string(*free) + " (" + FormatSize(*free) +
                  "); nothing was copied: recover to a larger disk, choose fewer types with --types, or begin anyhow "
                  "with --ignore-free-space");
  }
  if (options_.dedupe) contents_.emplace(copies);
  PrepareReadableNames();
  pool_ = std::make_unique<CopyPool>(job_.ScannedDevice(), job_.CopyThreadCount());
  progress_.emplace(terminal_, "copying", total);
}

std::unique_ptr<Recovery::Step> Recovery::Begin(const FindRecord& record) {
  auto step = std::make_unique<Step>(Step{.record = record, .name = namer_.NameFor(record.find, *record.type)});
  // Where a file ends may not have been found out then.
  if (IsInterrupted()) job_.SetInterrupted();
  if (!IsToCopy(record) || !job_.GoesOn() || isBroken_) return step;
  try {
    if (doneLeft_ > 0) {
      step->done = TakeDone(record);
      return step;
    }
    const CopyName& name = step->name;
    auto task = std::make_unique<CopyTask>();
    task->startSector = record.find.startSector;
    task->length = record.plan.length;
    task->folder = &directory_.Folder(name.category, name.type);
    task->partName = name.PartName();
    task->path = directory_.PathOf(name.category + '/' + name.type + '/' + name.FileName({}));
    step->task = std::move(task);
    pool_->Submit(*step->task);
  } catch (const Failure& failure) {
    job_.SetError(failure.what());
  }
  return step;
}

/// The next copy of the earlier runs, which must be of this find.
ManifestEntry Recovery::TakeDone(const FindRecord& record) {
  --doneLeft_;
  const std::optional<ManifestEntry> entry = done_.Next();
  if (!entry || entry->find != record.find || entry->plan.length != record.plan.length) {
    throw Failure("what is in " + Quoted(options_.directory) + " was copied from other finds than these, from sector " +
                  std::to_string(record.find.startSector) +
                  " on: go on with the same source and list, or name another "
                  "directory");
  }
  if (!directory_.Has(entry->path, entry->plan.length)) {
    throw Failure(Quoted(directory_.PathOf(entry->path)) +
                  " was copied before, but is missing or has another size: put it back, or name another directory");
  }
  if (contents_ && !entry->isDuplicate) contents_->Add(entry->sum, done_.Place());
  return *entry;
}

/// Waits for a copy, keeps it and lists it.
void Recovery::Settle(Step& step) {
  std::optional<ManifestEntry> copy = step.done;
  if (step.task != nullptr) {
    pool_->WaitFor(*step.task, [this] { Attend(); });
    try {
      if (!isBroken_) copy = Keep(step);
    } catch (const Failure& failure) {
      job_.SetError(failure.what());
    }
    if (!copy) {
      isBroken_ = true;
      pool_->Stop();
      if (IsInterrupted()) job_.SetInterrupted();
      if (job_.ScannedDevice().IsLost()) job_.SetLost();
    }
    step.task->file.reset();
  }
  if (copy) {
    if (!copy->isDuplicate) ++filesWritten_;
    unreadableBytes_ += copy->unreadableBytes;
  }
  List(step, copy);
}

/// Gives a copy its name and adds it to the manifest. Throws Failure.
/// \return None: there is no copy, because the work was stopped.
std::optional<ManifestEntry> Recovery::Keep(Step& step) {
  const CopyTask& task = *step.task;
  if (!task.error.empty()) throw Failure(task.error);
  if (task.file == nullptr) return std::nullopt;
  ManifestEntry entry{.path = {},
                      .sum = task.sum,
                      .find = step.record.find,
                      .plan = step.record.plan,
                      .unreadableBytes = task.unreadableBytes};
  const auto earlier = contents_ ? contents_->Find(entry.sum) : std::nullopt;
  if (earlier) {
    entry.isDuplicate = true;
    entry.path = directory_.Copies().At(*earlier).path;
  } else {
    entry.path = NameCopy(step);
  }
  mayHaveName_ = false;
  const std::uint64_t place = directory_.Copies().Add(entry);
  if (contents_ && !earlier) contents_->Add(entry.sum, place);
  return entry;
}

/// \return The path in the directory.
std::string Recovery::NameCopy(Step& step) {
  const CopyTask& task = *step.task;
  const std::string name = step.name.FileName(task.readable);
  std::string path = step.name.category + '/' + step.name.type + '/' + name;
  const bool isThere =
      !task.file->Finish(name) && !(mayHaveName_ && directory_.HasContent(path, step.record.plan.length, task.sum));
  if (isThere) {
    throw Failure("cannot create " + Quoted(directory_.PathOf(path)) +
                  ", because there is such a file: move it away and start the command again");
  }
  return path;
}

void Recovery::List(Step& step, const std::optional<ManifestEntry>& copy) {
  FindRecord& record = step.record;
  RecoveredFile& recovered = record.recovered.emplace();
  if (copy) {
    recovered = {.path = directory_.PathOf(copy->path), .sha256 = HexText(copy->sum), .isDuplicate = copy->isDuplicate};
    if (copy->unreadableBytes != 0) {
      record.notes.push_back(std::to_string(copy->unreadableBytes) + " bytes could not be read and are zeros");
    }
  }
  job_.Add(record);
}

/// For the user, while copies are made.
void Recovery::Attend() {
  if (IsInterrupted()) job_.SetInterrupted();
  progress_->Update(pool_->BytesCopied(), finds_.Count());
  job_.FlushNowAndThen();
}

}  // namespace qzmtraw::host
