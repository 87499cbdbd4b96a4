#ifndef QZMTRAW_HOST_OUTPUTS_TEXT_LINES_H
#define QZMTRAW_HOST_OUTPUTS_TEXT_LINES_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <string>

#include "host/base/FileDescriptor.h"

namespace qzmtraw::host {

/// Reads a text file line by line, and every line character by character, so that lines may have any length.
class TextLines {
 public:
  /// Throws Failure when the file can't be opened, or is none that can be read again from any place.
  explicit TextLines(const std::string& path);

  /// Goes to the beginning of the next line.
  /// \return Whether there is one.
  bool NextLine();

  /// Goes to the beginning of a line. NextLine need not be called for it.
  /// \param offset  In bytes from the start of the file.
  /// \param number  The line's.
  void GoTo(std::uint64_t offset, std::uint64_t number);

  /// Where the next character stands, in bytes from the start of the file.
  [[nodiscard]] std::uint64_t Offset() const { return bufferOffset_ + used_; }
  /// Of the line, counted from 1.
  [[nodiscard]] std::uint64_t Number() const { return number_; }
  /// Passes over what is left of the line.
  /// \return Whether the line is whole, and not cut off by the file's end.
  bool Finish();

  /// So many characters may still be read of this line; reading more throws Failure.
  void SetAllowance(std::size_t count) { allowance_ = count; }

  /// The file's name and the line, for messages.
  [[nodiscard]] std::string Where() const;

  /// Goes through the characters of the line. All iterators of a reader stand at the same place.
  class Iterator {
   public:
    // NOLINTBEGIN(readability-identifier-naming): the names that the standard library asks for.
    using iterator_category = std::input_iterator_tag;
    using value_type = char;
    using difference_type = std::ptrdiff_t;
    using pointer = const char*;
    using reference = char;
    // NOLINTEND(readability-identifier-naming)

    /// The end.
    Iterator() = default;
    explicit Iterator(TextLines& lines) : lines_(&lines) {}

    char operator*() const { return lines_->buffer_[lines_->used_]; }
    Iterator& operator++() {
      lines_->Advance();
      return *this;
    }
    Iterator operator++(int) {
      lines_->Advance();
      return *this;
    }
    friend bool operator==(const Iterator& a, const Iterator& b) { return a.IsAtEnd() == b.IsAtEnd(); }
    friend bool operator!=(const Iterator& a, const Iterator& b) { return !(a == b); }

   private:
    [[nodiscard]] bool IsAtEnd() const { return lines_ == nullptr || lines_->IsLineEnd(); }

    TextLines* lines_ = nullptr;
  };

 private:
  [[nodiscard]] bool HasCharacter() const { return used_ < filled_; }
  [[nodiscard]] bool IsLineEnd() const { return !HasCharacter() || buffer_[used_] == '\n'; }
  void Advance();
  void Fill();

  std::string path_;
  FileDescriptor file_;
  std::uint64_t number_ = 0;
  std::size_t allowance_ = 0;
  /// What was read of the file, from `bufferOffset_` on; `filled_` bytes, of which `used_` are done. Unless the file is
  /// at its end there is always one more.
  std::uint64_t bufferOffset_ = 0;
  std::size_t used_ = 0;
  std::size_t filled_ = 0;
  std::array<char, 65536> buffer_{};
};

}  // namespace qzmtraw::host

#endif  // QZMTRAW_HOST_OUTPUTS_TEXT_LINES_H
