#include "host/command/MergeCommand.h"

#include <algorithm>
#include <chrono>
#include <utility>

#include "host/base/Error.h"
#include "host/base/Interrupt.h"
#include "host/base/Text.h"
#include "host/base/Version.h"
#include "host/finds/FindJudge.h"
#include "host/finds/FindStore.h"
#include "host/finds/FindUnion.h"
#include "host/finds/JudgedFinds.h"
#include "host/outputs/FindList.h"
#include "host/outputs/Outputs.h"
#include "host/outputs/Provenance.h"
#include "host/types/Registry.h"

namespace qzmtraw::host {
namespace {

std::string EndingText(const ListEnd& end) {
  switch (end.ending) {
    case ListEnding::kInterrupted:
      return "the scan was interrupted";
    case ListEnding::kFailed:
      return "the scan failed: " + end.error;
    default:
      return "its end is missing";
  }
}

/// Takes lists and writes what they have in all.
class Merger {
 public:
  Merger(const MergeOptions& options, const Console& console)
      : options_(options),
        console_(console),
        catalogue_(ReadTypeCatalogue(OpenRegistry())),
        finds_(DivideMemory(options.memory, 1, 1).storeMemory),
        outputs_(options.outputs, console.out) {}

  void Take(const std::string& path) {
    FindListReader list(path, catalogue_);
    SourceInfo source = list.Source();
    if (firstPath_.empty()) {
      firstPath_ = path;
      source_ = std::move(source);
    } else {
      CheckSource(path, source);
      source_.typeCount = std::min(source_.typeCount + source.typeCount, catalogue_.size());
    }
    while (const auto listed = list.Next()) {
      finds_.Add(listed->find);
      if (finds_.Count() % kFindsPerLook == 0 && IsInterrupted()) {
        summary_.isInterrupted = true;
        return;
      }
    }
    TakeEnd(path, list.End());
    list.ReadUnreadable([this](const SectorRange& sectors) { unreadable_.Add(sectors); });
  }

  [[nodiscard]] bool GoesOn() const { return !summary_.isInterrupted; }

  ExitCode Write() {
    source_.started = std::chrono::system_clock::now();
    source_.run = ThisRun();
    outputs_.Begin(source_);
    finds_.Sort();
    WriteFinds();
    summary_.sizeAtEnd = summary_.sizeAtEnd == 0 ? source_.size : summary_.sizeAtEnd;
    const bool isInterrupted = std::exchange(summary_.isInterrupted, summary_.isInterrupted || hasUnfinished_);
    summary_.ended = std::chrono::system_clock::now();
    outputs_.End(summary_, unreadable_);
    for (const std::string& error : outputs_.Errors()) Tell(error);
    if (!outputs_.Errors().empty()) return ExitCode::kFailed;
    if (isInterrupted) return ExitCode::kInterrupted;
    if (unreadable_.Count() != 0) {
      Tell("some of the source could not be read: the list has the sectors");
    }
    const bool isWhole = !hasUnfinished_ && unreadable_.Count() == 0 && summary_.sizeAtEnd == source_.size;
    return isWhole ? ExitCode::kDone : ExitCode::kUnreadable;
  }

 private:
  static constexpr std::uint64_t kFindsPerLook = 4096;

  void CheckSource(const std::string& path, const SourceInfo& source) const {
    if (source.size == source_.size && source.sectorSize == source_.sectorSize) return;
    const auto textOf = [](const SourceInfo& info) {
      return std::to_string(info.size) + " bytes in sectors of " + std::to_string(info.sectorSize);
    };
    throw UsageError(Quoted(path) + " is the list of a source of " + textOf(source) + ", " + Quoted(firstPath_) +
                     " of one of " + textOf(source_) + ": give lists of one source");
  }

  void TakeEnd(const std::string& path, const ListEnd& end) {
    // Shards scan the same bytes, and parts of a source different ones.
    summary_.bytesScanned += std::min(end.bytesScanned, source_.size - summary_.bytesScanned);
    if (end.ending != ListEnding::kMissing && end.sizeAtEnd != source_.size) summary_.sizeAtEnd = end.sizeAtEnd;
    if (end.ending == ListEnding::kFinished) return;
    hasUnfinished_ = true;
    Tell(Quoted(path) + " is unfinished, and so is the whole: " + EndingText(end));
  }

  void WriteFinds() {
    const FindJudge judge(catalogue_, source_.size, source_.sectorSize);
    if (options_.finds.all) {
      FindUnion finds(finds_, judge.Planner());
      while (const auto planned = finds.Next()) Add(judge.Record(planned->find, planned->plan));
    } else {
      JudgedFinds finds(finds_, judge);
      while (const auto record = finds.Next()) Add(*record);
    }
  }

  void Add(const FindRecord& record) {
    ++summary_.findCount;
    ++summary_.findsByExtension[record.type->extension];
    outputs_.Add(record);
  }

  void Tell(const std::string& text) const { console_.err << kProgramName << ": " << text << '\n'; }

  const MergeOptions& options_;
  Console console_;
  TypeCatalogue catalogue_;
  FindStore finds_;
  Outputs outputs_;
  SectorSet unreadable_;
  /// Of the first list, and then of all.
  std::string firstPath_;
  SourceInfo source_;
  Summary summary_;
  bool hasUnfinished_ = false;
};

}  // namespace

ExitCode RunMergeCommand(const MergeOptions& options, const Console& console) {
  Merger merger(options, console);
  for (const std::string& path : options.lists) {
    if (merger.GoesOn()) merger.Take(path);
  }
  return merger.Write();
}

}  // namespace qzmtraw::host
