#ifndef QZMTRAW_HOST_BASE_ERROR_H
#define QZMTRAW_HOST_BASE_ERROR_H

#include <stdexcept>

namespace qzmtraw::host {

/// The work cannot go on. The text is for the user: what happened, to which file, what to do.
class Failure : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// The command line asks for something that does not exist.
class UsageError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

}  // namespace qzmtraw::host

#endif  // QZMTRAW_HOST_BASE_ERROR_H
