#include "host/sources/RawSource.h"

#include <fcntl.h>
#include <linux/fs.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <optional>

#include "host/base/Error.h"
#include "host/base/Text.h"

namespace qzmtraw::host {
namespace {

std::string AdviceFor(int error) {
  switch (error) {
    case ENOENT:
    case ENOTDIR:
      return ": check the path";
    case EACCES:
    case EPERM:
      return ": reading it needs more rights, for a device usually those of root";
    case ENOMEDIUM:
      return ": insert a medium";
    case EMFILE:
      return ": allow more open files, with ulimit -n";
    default:
      return "";
  }
}

[[noreturn]] void FailToOpen(const std::string& path, int error) {
  throw Failure("cannot open " + Quoted(path) + ": " + ErrorText(error) + AdviceFor(error));
}

/// \return None with `errno` set when it can't be told.
std::optional<std::uint64_t> SizeOf(int file) {
  struct stat status {};
  if (::fstat(file, &status) != 0) return std::nullopt;
  if (!S_ISBLK(status.st_mode)) return static_cast<std::uint64_t>(status.st_size);
  std::uint64_t size = 0;
  return ::ioctl(file, BLKGETSIZE64, &size) == 0 ? std::optional(size) : std::nullopt;
}

/// The logical sectors of a block device, by which everything on it counts.
std::optional<std::uint32_t> SectorSizeOf(int file) {
  int size = 0;
  if (::ioctl(file, BLKSSZGET, &size) != 0 || size <= 0) return std::nullopt;
  return static_cast<std::uint32_t>(size);
}

FileDescriptor OpenReadOnly(const std::string& path) {
  // Looking at evidence should not even change its access time, but only its owner may ask for that.
  FileDescriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOATIME));
  if (!file.IsOpen() && errno == EPERM) file = FileDescriptor(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
  if (!file.IsOpen()) FailToOpen(path, errno);
  return file;
}

}  // namespace

RawSource::RawSource(const std::string& path) {
  // Asked before opening, because to open a named pipe would wait for its other end.
  struct stat status {};
  if (::stat(path.c_str(), &status) != 0) FailToOpen(path, errno);
  if (S_ISDIR(status.st_mode)) {
    throw Failure(Quoted(path) + " is a directory: name a disk image or a block device");
  }
  if (!S_ISREG(status.st_mode) && !S_ISBLK(status.st_mode)) {
    throw Failure(Quoted(path) + " is neither a file nor a block device: name a disk image or a block device");
  }
  file_ = OpenReadOnly(path);
  const std::optional<std::uint64_t> size = SizeOf(file_.Get());
  if (!size) throw Failure("cannot tell the size of " + Quoted(path) + ": " + ErrorText(errno));
  size_ = *size;
  if (S_ISBLK(status.st_mode)) sectorSize_ = SectorSizeOf(file_.Get());
  ::posix_fadvise(file_.Get(), 0, 0, POSIX_FADV_SEQUENTIAL);
}

std::uint64_t RawSource::SizeNow() const { return SizeOf(file_.Get()).value_or(size_); }

std::vector<std::string> RawSource::Notes() const {
  return note_.empty() ? std::vector<std::string>() : std::vector{note_};
}

ReadResult RawSource::ReadAt(std::uint64_t offset, std::span<std::uint8_t> into) {
  ReadResult result;
  while (result.count < into.size()) {
    const auto rest = into.subspan(result.count);
    const ssize_t count = ::pread(file_.Get(), rest.data(), rest.size(), static_cast<off_t>(offset + result.count));
    if (count == 0) break;
    if (count > 0) {
      result.count += static_cast<std::size_t>(count);
    } else if (errno != EINTR) {
      result.error = errno;
      break;
    }
  }
  return result;
}

}  // namespace qzmtraw::host
