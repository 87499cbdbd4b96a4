#include "host/outputs/TextLines.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "host/base/Error.h"
#include "host/base/Text.h"

namespace qzmtraw::host {

TextLines::TextLines(const std::string& path)
    : path_(path), file_(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK)) {
  struct stat status {};
  if (!file_.IsOpen() || ::fstat(file_.Get(), &status) != 0) {
    throw Failure("cannot open the list " + Quoted(path) + ": " + ErrorText(errno));
  }
  if (!S_ISREG(status.st_mode)) throw Failure("the list " + Quoted(path) + " is not a file");
  Fill();
}

bool TextLines::NextLine() {
  if (!HasCharacter()) return false;
  ++number_;
  return true;
}

void TextLines::GoTo(std::uint64_t offset, std::uint64_t number) {
  bufferOffset_ = offset;
  used_ = 0;
  filled_ = 0;
  number_ = number;
  Fill();
}

bool TextLines::Finish() {
  while (!IsLineEnd()) {
    if (++used_ == filled_) Fill();
  }
  if (!HasCharacter()) return false;
  if (++used_ == filled_) Fill();
  return true;
}

void TextLines::Advance() {
  if (allowance_ == 0) throw Failure(Where() + ": is too long: give a list as this program wrote it");
  --allowance_;
  if (++used_ == filled_) Fill();
}

/// Reads on behind what is in memory.
void TextLines::Fill() {
  bufferOffset_ += filled_;
  used_ = 0;
  filled_ = 0;
  ssize_t count = 0;
  do {
    count = ::pread(file_.Get(), buffer_.data(), buffer_.size(), static_cast<off_t>(bufferOffset_));
  } while (count < 0 && errno == EINTR);
  if (count < 0) throw Failure("cannot read the list " + Quoted(path_) + ": " + ErrorText(errno));
  filled_ = static_cast<std::size_t>(count);
}

std::string TextLines::Where() const { return Quoted(path_) + ", line " + std::to_string(number_); }

}  // namespace qzmtraw::host
