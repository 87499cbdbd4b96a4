#include "host/FindStore.h"

#include <algorithm>
#include <queue>
#include <span>
#include <type_traits>

namespace qzmtraw::host {
namespace {

static_assert(std::is_trivially_copyable_v<Find>);

/// So many runs of one level are merged into one of the next, which keeps the number of runs small.
constexpr std::size_t kRunsPerMerge = 64;

/// How many finds a cursor on the sorted finds reads at a time.
constexpr std::size_t kCursorBuffer = 4096;

/// Below this a store isn't worth its name.
constexpr std::size_t kLeastCapacity = 16;

}  // namespace

FindStore::FindStore(std::size_t memory) : capacity_(std::max(kLeastCapacity, memory / sizeof(Find))) {}

void FindStore::Add(const Find& find) {
  // Memory that is set aside at once doesn't have to move, and counts only as far as it gets filled.
  if (finds_.capacity() == 0) finds_.reserve(capacity_);
  if (finds_.size() == capacity_) Spill();
  finds_.push_back(find);
  ++count_;
}

void FindStore::Sort() {
  if (file_ == nullptr) {
    SortMemory();
    return;
  }
  Spill();
  std::vector<Find>().swap(finds_);
  if (runs_.size() > 1) MergeFrom(0);
}

void FindStore::SortMemory() { std::ranges::sort(finds_, ComesBefore); }

/// Writes what is in memory as a run.
void FindStore::Spill() {
  if (file_ == nullptr) file_ = std::make_unique<TemporaryFile>();
  SortMemory();
  runs_.push_back({fileEnd_, finds_.size(), 0});
  fileEnd_ = Append(fileEnd_, finds_);
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
  const std::size_t bufferSize = std::max<std::size_t>(1, capacity_ / (merged.size() + 1));
  std::vector<Cursor> cursors;
  struct Head {
    Find find;
    std::size_t run;
  };
  const auto comesLater = [](const Head& a, const Head& b) { return ComesBefore(b.find, a.find); };
  std::priority_queue<Head, std::vector<Head>, decltype(comesLater)> heads(comesLater);
  for (const Run& run : merged) {
    cursors.push_back(Cursor(*file_, run.first, run.count, bufferSize));
    if (const auto find = cursors.back().Next()) heads.push({*find, cursors.size() - 1});
  }

  Run result{fileEnd_, 0, merged.front().level + 1};
  std::vector<Find> out;
  out.reserve(bufferSize);
  while (!heads.empty()) {
    const Head head = heads.top();
    heads.pop();
    out.push_back(head.find);
    ++result.count;
    if (out.size() == bufferSize) {
      fileEnd_ = Append(fileEnd_, out);
      out.clear();
    }
    if (const auto find = cursors[head.run].Next()) heads.push({*find, head.run});
  }
  fileEnd_ = Append(fileEnd_, out);
  for (const Run& run : merged) file_->Forget(run.first * sizeof(Find), run.count * sizeof(Find));
  runs_.resize(firstRun);
  runs_.push_back(result);
}

/// \param place  Counted in finds.
/// \return The place behind them.
std::uint64_t FindStore::Append(std::uint64_t place, const std::vector<Find>& finds) {
  file_->WriteAt(place * sizeof(Find), std::as_bytes(std::span(finds)));
  return place + finds.size();
}

FindStore::Cursor::Cursor(const FindStore& store) : end_(store.count_), memory_(&store.finds_) {
  if (store.file_ == nullptr) return;
  *this = Cursor(*store.file_, store.runs_.front().first, store.runs_.front().count, kCursorBuffer);
}

FindStore::Cursor::Cursor(const TemporaryFile& file, std::uint64_t first, std::uint64_t count, std::size_t bufferSize)
    : file_(&file), next_(first), end_(first + count), bufferSize_(bufferSize) {}

std::optional<Find> FindStore::Cursor::Next() {
  if (next_ == end_) return std::nullopt;
  if (file_ == nullptr) return (*memory_)[static_cast<std::size_t>(next_++)];
  if (used_ == buffer_.size()) {
    buffer_.resize(static_cast<std::size_t>(std::min<std::uint64_t>(bufferSize_, end_ - next_)));
    file_->ReadAt(next_ * sizeof(Find), std::as_writable_bytes(std::span(buffer_)));
    used_ = 0;
  }
  ++next_;
  return buffer_[used_++];
}

}  // namespace qzmtraw::host
