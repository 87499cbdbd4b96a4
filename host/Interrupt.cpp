#include "host/Interrupt.h"

#include <csignal>

namespace qzmtraw::host {
namespace {

volatile std::sig_atomic_t interrupted = 0;

void SetMark(int /*signal*/) { interrupted = 1; }

}  // namespace

void CatchSignals() {
  struct sigaction action {};
  action.sa_handler = SetMark;
  action.sa_flags = static_cast<int>(SA_RESETHAND);
  sigaction(SIGINT, &action, nullptr);
  sigaction(SIGTERM, &action, nullptr);

  struct sigaction ignore {};
  ignore.sa_handler = SIG_IGN;
  sigaction(SIGPIPE, &ignore, nullptr);
  sigaction(SIGXFSZ, &ignore, nullptr);
}

bool IsInterrupted() { return interrupted != 0; }

}  // namespace qzmtraw::host
