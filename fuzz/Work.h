#ifndef QZMTRAW_FUZZ_WORK_H
#define QZMTRAW_FUZZ_WORK_H

#include <cstddef>
#include <cstdint>

/// \file
/// What the library does and keeps, counted.

namespace qzmtraw::fuzz {

/// The edges of the library's control flow that were passed so far. Stays 0 in programs whose library isn't built to
/// count them. What the standard library does inside a call, such as memchr, counts as nothing.
std::uint64_t StepCount();

/// The bytes that were allocated while an InLibrary lived and haven't been freed.
std::int64_t LibraryBytes();

/// Around every call of the library.
class InLibrary {
 public:
  InLibrary() { ++depth; }
  InLibrary(const InLibrary&) = delete;
  InLibrary& operator=(const InLibrary&) = delete;
  ~InLibrary() { --depth; }

  static bool IsInside() { return depth > 0; }

 private:
  friend class OutOfLibrary;
  static inline int depth = 0;
};

/// Around what the library calls of its host.
class OutOfLibrary {
 public:
  OutOfLibrary() : depth_(InLibrary::depth) { InLibrary::depth = 0; }
  OutOfLibrary(const OutOfLibrary&) = delete;
  OutOfLibrary& operator=(const OutOfLibrary&) = delete;
  ~OutOfLibrary() { InLibrary::depth = depth_; }

 private:
  int depth_;
};

}  // namespace qzmtraw::fuzz

#endif  // QZMTRAW_FUZZ_WORK_H
