#include "host/recovery/OutputFile.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <utility>

#include "host/base/Error.h"
#include "host/base/Text.h"

namespace qzmtraw::host {
namespace {

/// Zeros are looked for in parts of this size; smaller holes are of no use to file systems.
constexpr std::size_t kHoleSize = 4096;

bool IsAllZero(std::span<const std::uint8_t> bytes) {
  return std::ranges::all_of(bytes, [](std::uint8_t byte) { return byte == 0; });
}

bool Exists(int folder, const std::string& name) {
  return ::faccessat(folder, name.c_str(), F_OK, AT_SYMLINK_NOFOLLOW) == 0;
}

/// Renames a file unless the new name is taken.
/// \return 0 or the error number.
int RenameNew(int folder, const std::string& from, const std::string& to) {
  if (::renameat2(folder, from.c_str(), folder, to.c_str(), RENAME_NOREPLACE) == 0) return 0;
  if (errno != EINVAL && errno != ENOSYS) return errno;
  // Some file systems can't promise it.
  if (Exists(folder, to)) return EEXIST;
  return ::renameat(folder, from.c_str(), folder, to.c_str()) == 0 ? 0 : errno;
}

}  // namespace

OutputFile::OutputFile(const FileDescriptor& folder, std::string partName, std::string path, std::uint64_t length)
    : folder_(folder.Get()), partName_(std::move(partName)), path_(std::move(path)), length_(length) {
  file_ =
      FileDescriptor(::openat(folder_, partName_.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0666));
  if (!file_.IsOpen()) throw Failure("cannot create " + Quoted(path_ + ".part") + ": " + ErrorText(errno));
}

OutputFile::~OutputFile() {
  if (!isFinished_) ::unlinkat(folder_, partName_.c_str(), 0);
}

void OutputFile::Write(std::span<const std::uint8_t> bytes) {
  std::size_t behindHole = 0;
  for (std::size_t at = 0; at < bytes.size(); at += kHoleSize) {
    const auto part = bytes.subspan(at, std::min(bytes.size() - at, kHoleSize));
    if (!IsAllZero(part)) continue;
    WriteAll(bytes.subspan(behindHole, at - behindHole));
    written_ += part.size();
    endsInHole_ = true;
    behindHole = at + part.size();
  }
  WriteAll(bytes.subspan(behindHole));
}

void OutputFile::Complete() {
  if (endsInHole_ && ::ftruncate(file_.Get(), static_cast<off_t>(written_)) != 0) Fail(errno);
  if (const int error = file_.Close(); error != 0) Fail(error);
}

bool OutputFile::Finish(const std::string& name) {
  const int error = RenameNew(folder_, partName_, name);
  if (error == EEXIST) return false;
  if (error != 0) Fail(error);
  isFinished_ = true;
  return true;
}

void OutputFile::WriteAll(std::span<const std::uint8_t> bytes) {
  while (!bytes.empty()) {
    const ssize_t count = ::pwrite(file_.Get(), bytes.data(), bytes.size(), static_cast<off_t>(written_));
    if (count >= 0) {
      endsInHole_ = false;
      written_ += static_cast<std::uint64_t>(count);
      bytes = bytes.subspan(static_cast<std::size_t>(count));
    } else if (errno != EINTR) {
      Fail(errno);
    }
  }
}

void OutputFile::Fail(int error) const {
  throw Failure("cannot write " + Quoted(path_) + ": " + ErrorText(error) + " after " + std::to_string(written_) +
                " of " + std::to_string(length_) +
                " bytes; this file was removed, the ones before it are whole: make room, or recover to a larger disk");
}

}  // namespace qzmtraw::host
