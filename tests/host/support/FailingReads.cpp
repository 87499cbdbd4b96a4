// Loaded in front of the C library, makes a part of every file unreadable, as bad sectors of a disk are.

#include <dlfcn.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>

namespace {

off_t Position(const char* variable) {
  const char* text = std::getenv(variable);
  return text == nullptr ? 0 : std::atoll(text);
}

}  // namespace

extern "C" __attribute__((visibility("default"))) ssize_t pread(int file, void* buffer, size_t size, off_t offset) {
  static const off_t kFrom = Position("QZMTRAW_UNREADABLE_FROM");
  static const off_t kTo = Position("QZMTRAW_UNREADABLE_TO");
  static const auto kRealPread = reinterpret_cast<decltype(&pread)>(dlsym(RTLD_NEXT, "pread"));
  if (offset >= kFrom && offset < kTo) {
    errno = EIO;
    return -1;
  }
  if (offset < kFrom) size = std::min(size, static_cast<size_t>(kFrom - offset));
  return kRealPread(file, buffer, size, offset);
}

extern "C" __attribute__((visibility("default"))) ssize_t pread64(int file, void* buffer, size_t size, off_t offset) {
  return pread(file, buffer, size, offset);
}
