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
  while (threads_.size() < threadCount) {
    try {
      threads_.push_back(StartThread([this] { Work(); }));
    } catch (const Failure&) {
      // Fewer do as well.
      if (threads_.empty()) throw;
      return;
    }
  }
}

CopyPool::~CopyPool() { Stop(); }

void CopyPool::Submit(CopyTask& task) {
  const std::scoped_lock lock(mutex_);
  waiting_.push_back(&task);
  hasWork_.notify_one();
}

bool CopyPool::WaitFor(const CopyTask& task) {
  std::unique_lock lock(mutex_);
  const auto isSettled = [&] { return std::ranges::find(settled_, &task) != settled_.end(); };
  if (!hasSettled_.wait_for(lock, kLongestWait, isSettled)) return false;
  std::erase(settled_, &task);
  return true;
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
  const std::uint32_t sectorSize = device_.SectorSize();
  std::vector<std::uint8_t> buffer(std::max(1U, kBufferSize / sectorSize) * std::size_t{sectorSize});
  std::unique_lock lock(mutex_);
  while (true) {
    hasWork_.wait(lock, [this] { return isStopped_ || !waiting_.empty(); });
    if (waiting_.empty()) return;
    CopyTask& task = *waiting_.front();
    waiting_.pop_front();
    lock.unlock();
    Copy(task, buffer);
    lock.lock();
    settled_.push_back(&task);
    hasSettled_.notify_all();
  }
}

void CopyPool::Copy(CopyTask& task, std::span<std::uint8_t> buffer) {
  try {
    if (IsStopped()) return;
    task.file = std::make_unique<OutputFile>(*task.folder, task.partName, task.path, task.length);
    bool isComplete = CopyBytes(task, buffer);
    if (isComplete) {
      task.file->Complete();
      ByteReader file(device_, task.startSector, task.length, kTitlePieceSize, kMostTitlePieces);
      task.readable = ReadableName(file);
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
bool CopyPool::CopyBytes(CopyTask& task, std::span<std::uint8_t> buffer) {
  const std::uint32_t sectorSize = device_.SectorSize();
  std::uint64_t sector = task.startSector;
  ContentHash hash;
  for (std::uint64_t left = task.length; left > 0;) {
    const std::uint64_t sectors = std::min<std::uint64_t>(buffer.size() / sectorSize, (left - 1) / sectorSize + 1);
    const auto piece = buffer.first(static_cast<std::size_t>(sectors * sectorSize));
    const std::uint64_t count = std::min<std::uint64_t>(left, piece.size());
    const bool isRead = device_.Read(sector, piece, [this] { return IsStopped(); });
    if (IsStopped()) return false;
    if (!isRead) task.unreadableBytes += CountUnreadable(device_, sector, piece, count);
    if (IsStopped()) return false;
    const auto bytes = piece.first(static_cast<std::size_t>(count));
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
