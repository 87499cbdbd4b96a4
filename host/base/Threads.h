#ifndef QZMTRAW_HOST_BASE_THREADS_H
#define QZMTRAW_HOST_BASE_THREADS_H

#include <atomic>
#include <exception>
#include <mutex>
#include <system_error>
#include <thread>
#include <utility>

#include "host/base/Error.h"

namespace qzmtraw::host {

/// Calls `work` on a new thread. Throws Failure when there is none to be had.
template <class Work>
std::jthread StartThread(Work work) {
  try {
    return std::jthread(std::move(work));
  } catch (const std::system_error& error) {
    throw Failure("cannot start a thread: " + error.code().message() + ": use fewer, with --jobs");
  }
}

/// Carries the first exception of several threads to the one that waits for them.
class Failures {
 public:
  /// Calls `work` and keeps what it throws.
  template <class Work>
  void Guard(const Work& work) noexcept {
    try {
      work();
    } catch (...) {
      const std::scoped_lock lock(mutex_);
      if (first_ == nullptr) first_ = std::current_exception();
      hasAny_ = true;
    }
  }

  [[nodiscard]] bool HasAny() const { return hasAny_; }

  /// Throws the first one, if there is any. For when the threads are gone.
  void Rethrow() const {
    if (first_ != nullptr) std::rethrow_exception(first_);
  }

 private:
  std::mutex mutex_;
  std::exception_ptr first_;
  std::atomic<bool> hasAny_ = false;
};

}  // namespace qzmtraw::host

#endif  // QZMTRAW_HOST_BASE_THREADS_H
