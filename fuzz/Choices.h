#ifndef QZMTRAW_FUZZ_CHOICES_H
#define QZMTRAW_FUZZ_CHOICES_H

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

namespace qzmtraw::fuzz {

/// An input as a row of choices. Behind its end all of them are 0.
class Choices {
 public:
  explicit Choices(std::span<const std::uint8_t> input) : rest_(input) {}

  bool IsEmpty() const { return rest_.empty(); }

  /// A number of `bytes` bytes.
  std::uint64_t Number(std::size_t bytes) {
    std::uint64_t number = 0;
    for (std::size_t i = 0; i < bytes && !rest_.empty(); ++i) {
      number |= std::uint64_t{rest_.front()} << (8 * i);
      rest_ = rest_.subspan(1);
    }
    return number;
  }

  /// From 0 to `end` - 1, at most 65535.
  std::size_t Below(std::size_t end) { return static_cast<std::size_t>(Number(2)) % end; }

  /// All that is left.
  std::string Rest() {
    std::string text(rest_.begin(), rest_.end());
    rest_ = {};
    return text;
  }

 private:
  std::span<const std::uint8_t> rest_;
};

}  // namespace qzmtraw::fuzz

#endif  // QZMTRAW_FUZZ_CHOICES_H
