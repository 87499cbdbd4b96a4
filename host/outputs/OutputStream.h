#ifndef QZMTRAW_HOST_OUTPUTS_OUTPUT_STREAM_H
#define QZMTRAW_HOST_OUTPUTS_OUTPUT_STREAM_H

#include <array>
#include <climits>
#include <cstdint>
#include <ostream>
#include <streambuf>
#include <string>

namespace qzmtraw::host {

/// A stream of lines into a file. Lines are written whole, so that who reads them gets no half of one
/// when the tool is killed; only those that are too long for that are written in parts. Writing or flushing throws
/// Failure, with the reason, as soon as the file takes no more; what is still buffered is then dropped.
class OutputStream final : public std::ostream {
 public:
  /// \param descriptor  Stays the caller's.
  /// \param name        The file's, as messages have it.
  explicit OutputStream(int descriptor, std::string name = "the standard output");

 private:
  class Buffer final : public std::streambuf {
   public:
    Buffer(int descriptor, std::string name);

   protected:
    int_type overflow(int_type character) override;
    int sync() override;

   private:
    void Drain(const char* end);

    int descriptor_;
    std::string name_;
    std::uint64_t written_ = 0;
    /// As much as pipes take at once or not at all.
    std::array<char, PIPE_BUF> memory_{};
  };

  Buffer buffer_;
};

}  // namespace qzmtraw::host

#endif  // QZMTRAW_HOST_OUTPUTS_OUTPUT_STREAM_H
