#include "host/base/TemporaryFile.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>

#include "host/base/Error.h"
#include "host/base/Text.h"

namespace qzmtraw::host {

std::string TemporaryDirectory() {
  const char* directory = std::getenv("TMPDIR");
  return directory == nullptr || *directory == '\0' ? "/tmp" : directory;
}

TemporaryFile::TemporaryFile() : directory_(TemporaryDirectory()) {
  std::string path = directory_ + "/qzmtraw-XXXXXX";
  file_ = FileDescriptor(::mkostemp(path.data(), O_CLOEXEC));
  if (!file_.IsOpen()) Fail("make", errno);
  ::unlink(path.c_str());
}

void TemporaryFile::WriteAt(std::uint64_t offset, std::span<const std::byte> bytes) {
  while (!bytes.empty()) {
    const ssize_t count = ::pwrite(file_.Get(), bytes.data(), bytes.size(), static_cast<off_t>(offset));
    if (count < 0 && errno != EINTR) Fail("write", errno);
    if (count <= 0) continue;
    offset += static_cast<std::uint64_t>(count);
    bytes = bytes.subspan(static_cast<std::size_t>(count));
  }
}

void TemporaryFile::ReadAt(std::uint64_t offset, std::span<std::byte> into) const {
  while (!into.empty()) {
    const ssize_t count = ::pread(file_.Get(), into.data(), into.size(), static_cast<off_t>(offset));
    if (count == 0) Fail("read", ENODATA);
    if (count < 0 && errno != EINTR) Fail("read", errno);
    if (count < 0) continue;
    offset += static_cast<std::uint64_t>(count);
    into = into.subspan(static_cast<std::size_t>(count));
  }
}

void TemporaryFile::Forget(std::uint64_t offset, std::uint64_t length) {
  ::fallocate(file_.Get(), FALLOC_FL_PUNCH_HOLE | FALLOC_FL_KEEP_SIZE, static_cast<off_t>(offset),
              static_cast<off_t>(length));
}

std::optional<std::uint64_t> TemporaryFile::NextData(std::uint64_t offset) const {
  const off_t next = ::lseek(file_.Get(), static_cast<off_t>(offset), SEEK_DATA);
  if (next >= 0) return static_cast<std::uint64_t>(next);
  return errno == ENXIO ? std::nullopt : std::optional(offset);
}

void TemporaryFile::Fail(const char* what, int error) const {
  throw Failure(std::string("cannot ") + what + " a temporary file in " + Quoted(directory_) + ": " + ErrorText(error) +
                ": set TMPDIR to a directory that can be written to and has room");
}

}  // namespace qzmtraw::host
