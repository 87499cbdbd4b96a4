#ifndef QZMTRAW_HOST_COMMAND_EXIT_CODE_H
#define QZMTRAW_HOST_COMMAND_EXIT_CODE_H

namespace qzmtraw::host {

/// What the tool tells the shell. Scripts rely on these numbers.
enum class ExitCode : int {
  kDone = 0,
  /// Something went wrong; a message on the error output says what.
  kFailed = 1,
  /// The command line makes no sense.
  kUsage = 2,
  /// Everything was done, but some sectors of the source could not be read and were taken as zeros, or the source is
  /// now of another size than it was at the start.
  kUnreadable = 3,
  /// Stopped by a signal: SIGINT, SIGTERM or SIGHUP. What was found so far has been listed.
  kInterrupted = 130,
};

}  // namespace qzmtraw::host

#endif  // QZMTRAW_HOST_COMMAND_EXIT_CODE_H
