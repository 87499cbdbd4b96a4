#ifndef QZMTRAW_FUZZ_FAILURE_H
#define QZMTRAW_FUZZ_FAILURE_H

#include <cstdio>
#include <cstdlib>
#include <string>

namespace qzmtraw::fuzz {

/// Says which invariant an input breaks and ends the process, which is how libFuzzer learns of it.
[[noreturn]] inline void Fail(const std::string& message) {
  std::fprintf(stderr, "FINDING: %s\n", message.c_str());
  std::abort();
}

inline void Check(bool holds, const char* message) {
  if (!holds) Fail(message);
}

}  // namespace qzmtraw::fuzz

#endif  // QZMTRAW_FUZZ_FAILURE_H
