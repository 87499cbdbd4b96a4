#include "host/base/Interrupt.h"

#include <atomic>
#include <csignal>

namespace qzmtraw::host {
namespace {

/// The signal may come to any thread.
std::atomic<bool> interrupted = false;
static_assert(std::atomic<bool>::is_always_lock_free, "a signal handler must not wait");

void SetMark(int /*signal*/) { interrupted = true; }

}  // namespace

void CatchSignals() {
  struct sigaction action {};
  action.sa_handler = SetMark;
  action.sa_flags = static_cast<int>(SA_RESETHAND);
  for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
    struct sigaction before {};
    sigaction(signal, nullptr, &before);
    if (before.sa_handler != SIG_IGN) sigaction(signal, &action, nullptr);
  }

  struct sigaction ignore {};
  ignore.sa_handler = SIG_IGN;
  sigaction(SIGPIPE, &ignore, nullptr);
  sigaction(SIGXFSZ, &ignore, nullptr);
}

bool IsInterrupted() { return interrupted; }

}  // namespace qzmtraw::host
