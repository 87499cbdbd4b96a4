#include "host/OutputFile.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <utility>

#include "host/Error.h"
#include "host/Text.h"

namespace qzmtraw::host {
namespace {

/// Zeros are looked for in parts of this size; smaller holes are of no use to file systems.
constexpr std::size_t kHoleSize = 4096;

bool IsAllZero(std::span<const std::uint8_t> bytes) {
  return std::ranges::all_of(bytes, [](std::uint8_t byte) { return byte == 0; });
}

}  // namespace

OutputFile::OutputFile(const FileDescriptor& folder, std::string name, std::string path, std::uint64_t length)
    : folder_(folder.Get()),
      name_(std::move(name)),
      path_(std::move(path)),
      length_(length),
      file_(::openat(folder_, name_.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0666)) {
  if (!file_.IsOpen()) throw Failure("cannot create " + Quoted(path_) + ": " + ErrorText(errno));
}

OutputFile::~OutputFile() {
  if (!isFinished_) ::unlinkat(folder_, name_.c_str(), 0);
}

void OutputFile::Write(std::span<const std::uint8_t> bytes) {
  while (!bytes.empty()) {
    const auto part = bytes.first(std::min(bytes.size(), kHoleSize));
    if (IsAllZero(part)) {
      written_ += part.size();
    } else {
      WriteAll(part);
    }
    bytes = bytes.subspan(part.size());
  }
}

void OutputFile::Finish() {
  // The end may be a hole.
  if (::ftruncate(file_.Get(), static_cast<off_t>(written_)) != 0) Fail(errno);
  if (const int error = file_.Close(); error != 0) Fail(error);
  isFinished_ = true;
}

void OutputFile::WriteAll(std::span<const std::uint8_t> bytes) {
  while (!bytes.empty()) {
    const ssize_t count = ::pwrite(file_.Get(), bytes.data(), bytes.size(), static_cast<off_t>(written_));
    if (count >= 0) {
      written_ += static_cast<std::uint64_t>(count);
      bytes = bytes.subspan(static_cast<std::size_t>(count));
    } else if (errno != EINTR) {
      Fail(errno);
    }
  }
}

void OutputFile::Fail(int error) const {
  throw Failure("cannot write " + Quoted(path_) + ": " + ErrorText(error) + " after " + std::to_string(written_) +
                " of " + std::to_string(length_) + " bytes; this file was removed, the ones before it are whole");
}

}  // namespace qzmtraw::host
