#include "host/recovery/CopyPool.h"

#include <algorithm>
#include <new>

#include "host/base/Error.h"
#include "host/base/Interrupt.h"
#include "host/base/Threads.h"
#include "host/recovery/ByteReader.h"
#include "host/recovery/names/ReadableName.h"

namespace qzmtraw::host {
namespace {

constexpr std::uint32_t kBufferSize = 1U << 20U;

/// For what is looked at to tell a title.
constexpr std::uint64_t kTitleMemory = 3U << 20U;

/// Progress is to be seen, and interrupts to be heard.
constexpr std::chrono::milliseconds kLongestWait{100};

/// How many of the bytes that were read just now are missing. Sectors that can't be read aren't tried again.
std::uint64_t CountUnreadable(Device& device, std::uint64_t sector, std::span<std::uint8_t> bytes,
                              std::uint64_t length) {
  std::uint64_t count = 0;
  const std::uint32_t size = device.SectorSize();
  for (std::uint64_t at = 0; at < length; at += size) {
    const bool isRead = device.Read(sector++, bytes.subspan(static_cast<std::size_t>(at), size));
    if (!isRead) count += std::min<std::uint64_t>(size, length - at);
  }
  return count;
}

}  // namespace

std::uint64_t CopyPool::MemoryPerThread(std::uint32_t sectorSize) {
  return kTitleMemory + 2 * std::uint64_t{std::max(kBufferSize / 2, sectorSize)};
}

CopyPool::CopyPool(Device& device, std::size_t threadCount) : device_(device) {
  try {
    while (threads_.size() + 1 < threadCount) threads_.push_back(StartThread([this] { Work(); }));
  } catch (const Failure&) {
    // Fewer do as well.
    return;
  }
}

CopyPool::~CopyPool() { Stop(); }

void CopyPool::Submit(CopyTask& task) {
  const std::scoped_lock lock(mutex_);
  waiting_.push_back(&task);
  hasWork_.notify_one();
}

void CopyPool::WaitFor(const CopyTask& task, const Attend& attend) {
  attend();
  std::unique_lock lock(mutex_);
  while (std::erase(settled_, &task) == 0) {
    if (!waiting_.empty()) {
      CopyNext(lock, buffer_, attend);
      continue;
    }
    awaited_ = &task;
    hasSettled_.wait_for(lock, kLongestWait);
    awaited_ = nullptr;
    lock.unlock();
    attend();
    lock.lock();
  }
}

void CopyPool::Stop() {
  {
    const std::scoped_lock lock(mutex_);
    isStopped_ = true;
  }
  hasWork_.notify_all();
  threads_.clear();
}

void CopyPool::Work() {
  std::vector<std::uint8_t> buffer;
  std::unique_lock lock(mutex_);
  while (true) {
    hasWork_.wait(lock, [this] { return isStopped_ || !waiting_.empty(); });
    if (waiting_.empty()) return;
    CopyNext(lock, buffer, [] {});
  }
}

/// Settles the copy that waits first.
/// \param lock  Of what is guarded; released meanwhile.
void CopyPool::CopyNext(std::unique_lock<std::mutex>& lock, std::vector<std::uint8_t>& buffer, const Attend& attend) {
  CopyTask& task = *waiting_.front();
  waiting_.pop_front();
  lock.unlock();
  Copy(task, buffer, attend);
  lock.lock();
  settled_.push_back(&task);
  if (awaited_ == &task) hasSettled_.notify_one();
}

void CopyPool::Copy(CopyTask& task, std::vector<std::uint8_t>& buffer, const Attend& attend) {
  try {
    if (IsStopped()) return;
    const std::uint32_t sectorSize = device_.SectorSize();
    buffer.resize(std::max(1U, kBufferSize / sectorSize) * std::size_t{sectorSize});
    task.file = std::make_unique<OutputFile>(*task.folder, task.partName, task.path, task.length);
    bool isComplete = CopyBytes(task, buffer, attend);
    if (isComplete) {
      task.file->Complete();
      if (task.mayHaveTitle) {
        ByteReader file(device_, task.startSector, task.length, kTitlePieceSize, kMostTitlePieces);
        task.readable = ReadableName(file);
      }
      // With half a title its name would not be the same the next time.
      isComplete = !IsStopped();
    }
    if (!isComplete) task.file.reset();
  } catch (const Failure& failure) {
    task.file.reset();
    task.error = failure.what();
  } catch (const std::bad_alloc&) {
    task.file.reset();
    task.error = "out of memory while copying to " + task.path + ": use fewer threads, with --jobs";
  }
}

/// \return Whether the bytes are all there, as opposed to that the work was stopped.
bool CopyPool::CopyBytes(CopyTask& task, std::span<std::uint8_t> buffer, const Attend& attend) {
  const std::uint32_t sectorSize = device_.SectorSize();
  std::uint64_t sector = task.startSector;
  ContentHash hash;
  const auto isStopped = [&] {
    attend();
    return IsStopped();
  };
  for (std::uint64_t left = task.length; left > 0;) {
    const std::uint64_t sectors = std::min<std::uint64_t>(buffer.size() / sectorSize, (left - 1) / sectorSize + 1);
    const auto piece = buffer.first(static_cast<std::size_t>(sectors * sectorSize));
    const std::uint64_t count = std::min<std::uint64_t>(left, piece.size());
    const bool isRead = device_.Read(sector, piece, isStopped);
    if (isStopped()) return false;
    if (!isRead) task.unreadableBytes += CountUnreadable(device_, sector, piece, count);
    if (IsStopped()) return false;
    const auto bytes = piece.first(static_cast<std::size_t>(count));
    if (left == task.length) task.mayHaveTitle = MayHaveReadableName(bytes);
    hash.Add(bytes);
    task.file->Write(bytes);
    sector += sectors;
    left -= count;
    bytesCopied_ += count;
  }
  task.sum = hash.Finish();
  return true;
}

bool CopyPool::IsStopped() const { return isStopped_ || IsInterrupted() || device_.IsLost(); }

}  // namespace qzmtraw::host
