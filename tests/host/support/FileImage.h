#ifndef QZMTRAW_TESTS_HOST_SUPPORT_FILE_IMAGE_H
#define QZMTRAW_TESTS_HOST_SUPPORT_FILE_IMAGE_H

#include <string>
#include <vector>

#include "tests/host/support/Tool.h"
#include "tests/host/support/Workspace.h"

namespace qzmtraw::host {

/// All test files but one that takes long, each at the start of a sector, in an order and at distances that the seed
/// decides, and among them heads that detectors write into. Some stand in noise and some in zeros.
Bytes ImageOfFiles(unsigned seed);

/// A list without the lines that tell when and how long.
std::string WithoutEnds(const std::string& list);

/// WithoutEnds of what the tool lists. Fails the test when it doesn't end well.
std::string Listing(const std::string& image, const std::vector<std::string>& options);

}  // namespace qzmtraw::host

#endif  // QZMTRAW_TESTS_HOST_SUPPORT_FILE_IMAGE_H
