#ifndef QZMTRAW_HOST_SCAN_FIND_QUEUE_H
#define QZMTRAW_HOST_SCAN_FIND_QUEUE_H

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <mutex>
#include <vector>

#include "host/finds/Find.h"

namespace qzmtraw::host {

/// Brings the finds of several lanes into the order in which one lane would report them: by block, in a block by row,
/// and those of one row as they were reported. Lanes that are ahead wait when too many finds do.
class FindQueue {
 public:
  /// \param laneCount  Lanes have the numbers below it. Each must Leave when it ends.
  /// \param mostFinds  When so many wait, only the lanes at the first block that isn't taken yet go on, up to its end.
  FindQueue(std::size_t laneCount, std::size_t mostFinds);

  /// A lane asks whether it may begin a block, and waits until it may. Blocks are begun and ended in order: 0, 1 ….
  /// \return False: Stop was called.
  bool Begin(std::uint64_t block);

  /// A lane has done a block.
  /// \param finds  By row, and as they were reported. They are taken.
  void End(std::size_t lane, std::uint64_t block, std::vector<Find>& finds);

  /// A lane has seen its last block.
  void Leave();

  /// Lets all lanes that wait, or ask, know that they are to end.
  void Stop();

  /// A find and the number of the block in which it was reported.
  struct QueuedFind : Find {
    std::uint64_t block = 0;
  };

  /// What Take brings.
  struct Batch {
    /// The next finds, in order.
    std::vector<QueuedFind> finds;
    /// So many blocks are done by all lanes, and their finds have been taken.
    std::uint64_t blocksDone = 0;
    /// All lanes have left and nothing is left to be taken.
    bool isLast = false;
  };

  /// Waits, but not longer than `patience`, until there is enough new, and brings what there is.
  Batch Take(std::chrono::milliseconds patience);

 private:
  struct LaneState {
    std::deque<QueuedFind> finds;
    std::atomic<std::uint64_t> blocksDone = 0;
  };

  [[nodiscard]] std::uint64_t BlocksDoneByAll() const;
  [[nodiscard]] LaneState* NextLane(std::uint64_t endBlock);

  std::size_t mostFinds_;
  std::mutex mutex_;
  /// For the lanes.
  std::condition_variable mayBegin_;
  /// For who takes.
  std::condition_variable hasNews_;
  std::deque<LaneState> lanes_;
  std::size_t lanesAtWork_;
  /// Finds that wait.
  std::atomic<std::size_t> waiting_ = 0;
  std::uint64_t blocksTaken_ = 0;
  std::atomic<bool> isStopped_ = false;
};

}  // namespace qzmtraw::host

#endif  // QZMTRAW_HOST_SCAN_FIND_QUEUE_H
