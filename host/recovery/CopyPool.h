#ifndef QZMTRAW_HOST_RECOVERY_COPY_POOL_H
#define QZMTRAW_HOST_RECOVERY_COPY_POOL_H

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "host/finds/CarvePlan.h"
#include "host/recovery/ContentHash.h"
#include "host/recovery/OutputFile.h"
#include "host/sources/Device.h"

namespace qzmtraw::host {

/// A file to copy, and what came of it.
struct CopyTask {
  std::uint64_t startSector = 0;
  /// In bytes.
  std::uint64_t length = 0;
  /// Of the new file: its folder, its name until it is finished, and its path for messages.
  const FileDescriptor* folder = nullptr;
  std::string partName;
  std::string path;

  /// Set when the copy is complete.
  std::unique_ptr<OutputFile> file;
  ContentSum sum{};
  bool mayHaveTitle = false;
  /// As ReadableName.
  std::string readable;
  std::uint64_t unreadableBytes = 0;
  /// Why there is no copy; empty as well when the work was stopped.
  std::string error;
};

/// Threads that copy files from a device, each a whole file at a time. The one that waits for a copy is one of them: to
/// wake another one takes longer than to copy a small file.
class CopyPool {
 public:
  /// What the thread that waits does now and then, however long that is.
  using Attend = std::function<void()>;

  /// What a thread takes, in bytes.
  static std::uint64_t MemoryPerThread(std::uint32_t sectorSize);

  /// \param device       Must live as long as the pool.
  /// \param threadCount  With the one that waits. Fewer do when there are no more to be had.
  CopyPool(Device& device, std::size_t threadCount);
  CopyPool(const CopyPool&) = delete;
  CopyPool& operator=(const CopyPool&) = delete;
  /// Stops.
  ~CopyPool();

  /// Begins a copy, in the order of calls.
  /// \param task  Must live until it is settled, and is the pool's until then.
  void Submit(CopyTask& task);

  /// Waits until a copy is settled, which means that it is complete or that there won't be any, and makes copies
  /// meanwhile. For one thread.
  void WaitFor(const CopyTask& task, const Attend& attend);

  /// Stops all copies that aren't complete and ends the threads. All tasks are settled then.
  void Stop();

  /// How many bytes were copied by now.
  [[nodiscard]] std::uint64_t BytesCopied() const { return bytesCopied_; }

 private:
  void Work();
  void CopyNext(std::unique_lock<std::mutex>& lock, std::vector<std::uint8_t>& buffer, const Attend& attend);
  void Copy(CopyTask& task, std::vector<std::uint8_t>& buffer, const Attend& attend);
  bool CopyBytes(CopyTask& task, std::span<std::uint8_t> buffer, const Attend& attend);
  [[nodiscard]] bool IsStopped() const;

  Device& device_;
  std::atomic<std::uint64_t> bytesCopied_ = 0;
  std::atomic<bool> isStopped_ = false;
  /// Of the thread that waits.
  std::vector<std::uint8_t> buffer_;
  /// Guards what follows it.
  std::mutex mutex_;
  std::condition_variable hasWork_;
  std::condition_variable hasSettled_;
  std::deque<CopyTask*> waiting_;
  /// Those that nobody has waited for yet.
  std::vector<const CopyTask*> settled_;
  /// The one that somebody waits for and has nothing else to do.
  const CopyTask* awaited_ = nullptr;
  std::vector<std::jthread> threads_;
};

}  // namespace qzmtraw::host

#endif  // QZMTRAW_HOST_RECOVERY_COPY_POOL_H
