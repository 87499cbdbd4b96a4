#ifndef QZMTRAW_HOST_RECOVERY_COPY_POOL_H
#define QZMTRAW_HOST_RECOVERY_COPY_POOL_H

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <deque>
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
  /// As ReadableName.
  std::string readable;
  std::uint64_t unreadableBytes = 0;
  /// Why there is no copy; empty as well when the work was stopped.
  std::string error;
};

/// Threads that copy files from a device, each a whole file at a time.
class CopyPool {
 public:
  /// What a thread takes, in bytes.
  static std::uint64_t MemoryPerThread(std::uint32_t sectorSize);

  /// Throws Failure when there are no threads to be had.
  /// \param device  Must live as long as the pool.
  CopyPool(Device& device, std::size_t threadCount);
  CopyPool(const CopyPool&) = delete;
  CopyPool& operator=(const CopyPool&) = delete;
  /// Stops.
  ~CopyPool();

  /// Begins a copy, in the order of calls.
  /// \param task  Must live until it is settled, and is the pool's until then.
  void Submit(CopyTask& task);

  /// Waits for a copy, but not for long.
  /// \return Whether it is settled: it is complete, or there won't be any.
  bool WaitFor(const CopyTask& task);

  /// Stops all copies that aren't complete and ends the threads. All tasks are settled then.
  void Stop();

  /// How many bytes were copied by now.
  [[nodiscard]] std::uint64_t BytesCopied() const { return bytesCopied_; }

 private:
  void Work();
  void Copy(CopyTask& task, std::span<std::uint8_t> buffer);
  bool CopyBytes(CopyTask& task, std::span<std::uint8_t> buffer);
  [[nodiscard]] bool IsStopped() const;

  Device& device_;
  std::atomic<std::uint64_t> bytesCopied_ = 0;
  std::atomic<bool> isStopped_ = false;
  /// Guards what follows it.
  std::mutex mutex_;
  std::condition_variable hasWork_;
  std::condition_variable hasSettled_;
  std::deque<CopyTask*> waiting_;
  /// Those that nobody has waited for yet.
  std::vector<const CopyTask*> settled_;
  std::vector<std::jthread> threads_;
};

}  // namespace qzmtraw::host

#endif  // QZMTRAW_HOST_RECOVERY_COPY_POOL_H
