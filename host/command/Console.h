#ifndef QZMTRAW_HOST_COMMAND_CONSOLE_H
#define QZMTRAW_HOST_COMMAND_CONSOLE_H

#include <ostream>

namespace qzmtraw::host {

/// Where the tool speaks. The streams belong to the caller.
struct Console {
  /// Data, and nothing else.
  std::ostream& out;
  /// Messages.
  std::ostream& err;
  /// Where progress is drawn; null when nobody watches.
  std::ostream* progress = nullptr;
  /// Whether the process is there for the tool alone, which then may give up rights for good.
  bool isOwnProcess = false;
};

}  // namespace qzmtraw::host

#endif  // QZMTRAW_HOST_COMMAND_CONSOLE_H
