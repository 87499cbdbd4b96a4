#include "host/base/FileDescriptor.h"

#include <unistd.h>

#include <cerrno>
#include <utility>

namespace qzmtraw::host {

FileDescriptor::FileDescriptor(FileDescriptor&& other) noexcept : descriptor_(std::exchange(other.descriptor_, -1)) {}

FileDescriptor& FileDescriptor::operator=(FileDescriptor&& other) noexcept {
  std::swap(descriptor_, other.descriptor_);
  return *this;
}

FileDescriptor::~FileDescriptor() { Close(); }

int FileDescriptor::Close() {
  if (!IsOpen()) return 0;
  return ::close(std::exchange(descriptor_, -1)) == 0 ? 0 : errno;
}

}  // namespace qzmtraw::host
