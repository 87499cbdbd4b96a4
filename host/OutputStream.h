#ifndef QZMTRAW_HOST_OUTPUT_STREAM_H
#define QZMTRAW_HOST_OUTPUT_STREAM_H

#include <array>
#include <ostream>
#include <streambuf>

namespace qzmtraw::host {

/// A stream into an open file, such as the standard output. Writing or flushing throws Failure, with the reason, as
/// soon as the file takes no more; what is still buffered is then dropped.
class OutputStream final : public std::ostream {
 public:
  /// \param descriptor  Stays the caller's.
  explicit OutputStream(int descriptor);

 private:
  class Buffer final : public std::streambuf {
   public:
    explicit Buffer(int descriptor);

   protected:
    int_type overflow(int_type character) override;
    int sync() override;

   private:
    void Drain();

    int descriptor_;
    std::array<char, 16384> memory_{};
  };

  Buffer buffer_;
};

}  // namespace qzmtraw::host

#endif  // QZMTRAW_HOST_OUTPUT_STREAM_H
