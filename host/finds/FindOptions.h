#ifndef QZMTRAW_HOST_FINDS_FIND_OPTIONS_H
#define QZMTRAW_HOST_FINDS_FIND_OPTIONS_H

namespace qzmtraw::host {

/// Which finds to list, and what to learn about them.
struct FindOptions {
  /// Everything as the detectors report it, in their order, instead of the judged list.
  bool all = false;
  /// Look into each find whether it is what it claims to be.
  bool verify = false;
};

}  // namespace qzmtraw::host

#endif  // QZMTRAW_HOST_FINDS_FIND_OPTIONS_H
