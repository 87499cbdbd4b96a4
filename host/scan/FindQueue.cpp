#include "host/scan/FindQueue.h"

#include <algorithm>

namespace qzmtraw::host {
namespace {

/// Most finds of a batch.
constexpr std::size_t kBatchSize = 4096;

/// Who takes is told when so many blocks are new, so that it doesn't wake for each.
constexpr std::uint64_t kBlocksPerNews = 32;

}  // namespace

FindQueue::FindQueue(std::size_t laneCount, std::size_t mostFinds)
    : mostFinds_(mostFinds), lanes_(laneCount), lanesAtWork_(laneCount) {}

bool FindQueue::Begin(std::uint64_t block) {
  if (waiting_ < mostFinds_) return !isStopped_;
  std::unique_lock lock(mutex_);
  hasNews_.notify_one();
  mayBegin_.wait(lock, [&] { return isStopped_ || waiting_ < mostFinds_ || block == blocksTaken_; });
  return !isStopped_;
}

void FindQueue::End(std::size_t lane, std::uint64_t block, std::vector<Find>& finds) {
  LaneState& state = lanes_[lane];
  const bool isNews = (block + 1) % kBlocksPerNews == 0;
  if (finds.empty() && !isNews) {
    state.blocksDone = block + 1;
    return;
  }
  const std::scoped_lock lock(mutex_);
  for (const Find& find : finds) state.finds.push_back({find, block});
  waiting_ += finds.size();
  finds.clear();
  state.blocksDone = block + 1;
  if (isNews) hasNews_.notify_one();
}

void FindQueue::Leave() {
  const std::scoped_lock lock(mutex_);
  --lanesAtWork_;
  hasNews_.notify_one();
}

void FindQueue::Stop() {
  const std::scoped_lock lock(mutex_);
  isStopped_ = true;
  mayBegin_.notify_all();
}

FindQueue::Batch FindQueue::Take(std::chrono::milliseconds patience) {
  Batch batch;
  std::unique_lock lock(mutex_);
  hasNews_.wait_for(lock, patience, [this] {
    const std::uint64_t newBlocks = BlocksDoneByAll() - blocksTaken_;
    return lanesAtWork_ == 0 || newBlocks >= kBlocksPerNews || (newBlocks > 0 && waiting_ >= mostFinds_);
  });
  const std::uint64_t endBlock = BlocksDoneByAll();
  LaneState* lane = nullptr;
  while (batch.finds.size() < kBatchSize && (lane = NextLane(endBlock)) != nullptr) {
    batch.finds.push_back(lane->finds.front());
    lane->finds.pop_front();
  }
  waiting_ -= batch.finds.size();
  if (NextLane(endBlock) == nullptr) {
    blocksTaken_ = endBlock;
    batch.isLast = lanesAtWork_ == 0;
  }
  mayBegin_.notify_all();
  batch.blocksDone = blocksTaken_;
  return batch;
}

std::uint64_t FindQueue::BlocksDoneByAll() const {
  std::uint64_t blocks = lanes_.front().blocksDone;
  for (const LaneState& lane : lanes_) blocks = std::min<std::uint64_t>(blocks, lane.blocksDone);
  return blocks;
}

/// The lane with the next find in order among those of the blocks before `endBlock`; null: there is none.
FindQueue::LaneState* FindQueue::NextLane(std::uint64_t endBlock) {
  LaneState* next = nullptr;
  for (LaneState& lane : lanes_) {
    if (lane.finds.empty() || lane.finds.front().block >= endBlock) continue;
    const QueuedFind& find = lane.finds.front();
    const bool isEarlier = next == nullptr || find.block < next->finds.front().block ||
                           (find.block == next->finds.front().block && find.row < next->finds.front().row);
    if (isEarlier) next = &lane;
  }
  return next;
}

}  // namespace qzmtraw::host
