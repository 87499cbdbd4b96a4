#include "host/outputs/OutputStream.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <string>
#include <string_view>
#include <utility>

#include "host/base/Error.h"
#include "host/base/Text.h"

namespace qzmtraw::host {
namespace {

std::string OutputAdvice(int error) {
  if (error == EPIPE) return "the program that reads it has ended";
  return "run the command again with its output on a disk with room";
}

}  // namespace

OutputStream::OutputStream(int descriptor, std::string name)
    : std::ostream(nullptr), buffer_(descriptor, std::move(name)) {
  rdbuf(&buffer_);
  exceptions(std::ios::badbit | std::ios::failbit);
}

OutputStream::Buffer::Buffer(int descriptor, std::string name) : descriptor_(descriptor), name_(std::move(name)) {
  setp(memory_.data(), memory_.data() + memory_.size());
}

OutputStream::Buffer::int_type OutputStream::Buffer::overflow(int_type character) {
  const std::string_view waiting(pbase(), pptr());
  const std::size_t newline = waiting.rfind('\n');
  Drain(newline == std::string_view::npos ? pptr() : pbase() + newline + 1);
  if (!traits_type::eq_int_type(character, traits_type::eof())) sputc(traits_type::to_char_type(character));
  return traits_type::not_eof(character);
}

int OutputStream::Buffer::sync() {
  Drain(pptr());
  return 0;
}

/// Writes what is buffered before `end`.
void OutputStream::Buffer::Drain(const char* end) {
  const char* next = pbase();
  const auto rest = static_cast<std::size_t>(pptr() - end);
  setp(memory_.data(), memory_.data() + memory_.size());
  while (next < end) {
    const ssize_t count = ::write(descriptor_, next, static_cast<std::size_t>(end - next));
    if (count >= 0) {
      next += count;
      written_ += static_cast<std::uint64_t>(count);
    } else if (errno != EINTR) {
      throw Failure("cannot write " + name_ + ": " + ErrorText(errno) + " after " + std::to_string(written_) +
                    " bytes: " + OutputAdvice(errno));
    }
  }
  std::copy_n(end, rest, memory_.data());
  pbump(static_cast<int>(rest));
}

}  // namespace qzmtraw::host
