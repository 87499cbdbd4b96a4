#ifndef QZMTRAW_TESTS_SUPPORT_LITERAL_COMPOUND_H
#define QZMTRAW_TESTS_SUPPORT_LITERAL_COMPOUND_H

#include <string>
#include <vector>

#include "tests/support/Scanning.h"

namespace qzmtraw::test {

/// A hit of a shared classifier.
struct CodedHit {
  std::uint32_t code;
  Hit hit;
};

/// The rules for compound documents, step by step and byte by byte on a device that is all there, as the measure for
/// the reader that runs them within bounds. Every sector is tried.
std::vector<CodedHit> LiteralCompoundScan(const Device& device);

}  // namespace qzmtraw::test

#endif  // QZMTRAW_TESTS_SUPPORT_LITERAL_COMPOUND_H
