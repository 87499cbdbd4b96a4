#include "host/finds/FindStore.h"

#include <algorithm>
#include <type_traits>
#include <utility>

namespace qzmtraw::host {
namespace {

static_assert(std::is_trivially_copyable_v<Find>);

/// So many runs of one level are merged into one of the next, which keeps the number of runs small.
constexpr std::size_t kRunsPerMerge = 64;

/// The share of the memory that the buffers of one cursor take.
constexpr std::size_t kCursorShare = 8;

/// Below this a store isn't worth its name.
constexpr std::size_t kLeastCapacity = 16;

/// For heaps, at whose front stands what comes last in their order.
constexpr auto kComesLater = [](const auto& a, const auto& b) { return ComesBefore(b.find, a.find); };

}  // namespace

FindStore::FindStore(std::size_t memory) : capacity_(std::max(kLeastCapacity, memory / sizeof(Find))) {}

void FindStore::Add(const Find& find) {
  if (finds_.size() == capacity_) Spill();
  // Memory that is set aside at once doesn't have to move, and counts only as far as it gets filled.
  if (finds_.capacity() == 0) finds_.reserve(capacity_);
  finds_.push_back(find);
  ++count_;
}

void FindStore::Sort() { std::ranges::sort(finds_, ComesBefore); }

/// Writes what is in memory as a run.
void FindStore::Spill() {
  if (file_ == nullptr) file_ = std::make_unique<TemporaryFile>();
  Sort();
  const std::uint64_t end = Append(fileEnd_, finds_);
  runs_.push_back({fileEnd_, finds_.size(), 0});
  fileEnd_ = end;
  finds_.clear();
  const auto isFull = [this] {
    return runs_.size() >= kRunsPerMerge && runs_[runs_.size() - kRunsPerMerge].level == runs_.back().level;
  };
  if (!isFull()) return;
  std::vector<Find>().swap(finds_);
  while (isFull()) MergeFrom(runs_.size() - kRunsPerMerge);
}

/// Makes one run of all from `firstRun` on. Takes the place of the finds in memory, of which there must be none.
void FindStore::MergeFrom(std::size_t firstRun) {
  const std::span<const Run> merged = std::span(runs_).subspan(firstRun);
  const std::size_t bufferSize = capacity_ / (merged.size() + 1);
  Cursor cursor(ReadersFrom(firstRun, bufferSize), {});
  Run result{fileEnd_, 0, merged.front().level + 1};
  std::vector<Find> out;
  out.reserve(bufferSize);
  std::uint64_t end = fileEnd_;
  while (const auto find = cursor.Next()) {
    out.push_back(*find);
    ++result.count;
    if (out.size() < bufferSize) continue;
    end = Append(end, out);
    out.clear();
  }
  fileEnd_ = Append(end, out);
  for (const Run& run : merged) file_->Forget(run.first * sizeof(Find), run.count * sizeof(Find));
  runs_.resize(firstRun);
  runs_.push_back(result);
}

std::vector<FindStore::RunReader> FindStore::ReadersFrom(std::size_t firstRun, std::size_t bufferSize) const {
  std::vector<RunReader> readers;
  for (const Run& run : std::span(runs_).subspan(firstRun)) {
    readers.emplace_back(*file_, run, std::max<std::size_t>(1, bufferSize));
  }
  return readers;
}

/// \param place  Counted in finds.
/// \return The place behind them.
std::uint64_t FindStore::Append(std::uint64_t place, const std::vector<Find>& finds) {
  file_->WriteAt(place * sizeof(Find), std::as_bytes(std::span(finds)));
  return place + finds.size();
}

std::optional<Find> FindStore::RunReader::Next() {
  if (next_ == end_) return std::nullopt;
  if (used_ == buffer_.size()) {
    buffer_.resize(static_cast<std::size_t>(std::min<std::uint64_t>(bufferSize_, end_ - next_)));
    file_->ReadAt(next_ * sizeof(Find), std::as_writable_bytes(std::span(buffer_)));
    used_ = 0;
  }
  ++next_;
  return buffer_[used_++];
}

FindStore::Cursor::Cursor(const FindStore& store)
    : Cursor(store.ReadersFrom(0, store.capacity_ / kCursorShare / std::max<std::size_t>(1, store.runs_.size())),
             store.finds_) {}

FindStore::Cursor::Cursor(std::vector<RunReader> runs, std::span<const Find> memory)
    : runs_(std::move(runs)), memory_(memory) {
  for (std::size_t run = 0; run <= runs_.size(); ++run) Advance(run);
}

std::optional<Find> FindStore::Cursor::Next() {
  if (heads_.empty()) return std::nullopt;
  std::ranges::pop_heap(heads_, kComesLater);
  const Head head = heads_.back();
  heads_.pop_back();
  Advance(head.run);
  return head.find;
}

/// Puts the next find of a run, or, behind the runs, of the memory, among the heads.
void FindStore::Cursor::Advance(std::size_t run) {
  std::optional<Find> find;
  if (run < runs_.size()) {
    find = runs_[run].Next();
  } else if (!memory_.empty()) {
    find = memory_.front();
    memory_ = memory_.subspan(1);
  }
  if (!find) return;
  heads_.push_back({*find, run});
  std::ranges::push_heap(heads_, kComesLater);
}

}  // namespace qzmtraw::host
