#include "host/OutputStream.h"

#include <unistd.h>

#include <cerrno>

#include "host/Error.h"
#include "host/Text.h"

namespace qzmtraw::host {

OutputStream::OutputStream(int descriptor) : std::ostream(nullptr), buffer_(descriptor) {
  rdbuf(&buffer_);
  exceptions(std::ios::badbit | std::ios::failbit);
}

OutputStream::Buffer::Buffer(int descriptor) : descriptor_(descriptor) {
  setp(memory_.data(), memory_.data() + memory_.size());
}

OutputStream::Buffer::int_type OutputStream::Buffer::overflow(int_type character) {
  Drain();
  if (!traits_type::eq_int_type(character, traits_type::eof())) sputc(traits_type::to_char_type(character));
  return traits_type::not_eof(character);
}

int OutputStream::Buffer::sync() {
  Drain();
  return 0;
}

void OutputStream::Buffer::Drain() {
  const char* next = pbase();
  const char* end = pptr();
  setp(memory_.data(), memory_.data() + memory_.size());
  while (next < end) {
    const ssize_t count = ::write(descriptor_, next, static_cast<std::size_t>(end - next));
    if (count >= 0) {
      next += count;
    } else if (errno != EINTR) {
      throw Failure("cannot write the output: " + ErrorText(errno));
    }
  }
}

}  // namespace qzmtraw::host
