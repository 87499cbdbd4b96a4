#ifndef QZMTRAW_HOST_BASE_INTERRUPT_H
#define QZMTRAW_HOST_BASE_INTERRUPT_H

namespace qzmtraw::host {

/// From now on the first SIGINT, SIGTERM or SIGHUP only sets a mark, so that the work can end in order; a second one of
/// its kind ends the process. Those that the process was started to ignore, as nohup does, stay ignored. Writing to a
/// closed pipe or beyond a limit of file size becomes an error instead of a signal.
void CatchSignals();

/// Whether such a signal has come.
bool IsInterrupted();

}  // namespace qzmtraw::host

#endif  // QZMTRAW_HOST_BASE_INTERRUPT_H
