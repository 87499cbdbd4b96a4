#ifndef QZMTRAW_HOST_CACHE_AHEAD_H
#define QZMTRAW_HOST_CACHE_AHEAD_H

#include <cstddef>
#include <cstdint>
#include <span>

namespace qzmtraw::host {

/// Brings memory that is needed next into the processor's cache, a little at every step of something else. Detectors
/// look at a few bytes of each sector, in an order of their own, so that no processor foresees what they need.
class CacheAhead {
 public:
  /// \param memory  What is needed next. More than the cache might hold is left alone.
  /// \param steps   How many steps there are to bring it.
  CacheAhead(std::span<const std::uint8_t> memory, std::size_t steps) {
    if (memory.empty() || memory.size() > kMost || steps == 0) return;
    next_ = memory.data();
    left_ = memory.size();
    share_ = (left_ / steps + kLine) / kLine * kLine;
  }

  void Step() {
    const std::size_t share = left_ < share_ ? left_ : share_;
    for (std::size_t i = 0; i < share; i += kLine) __builtin_prefetch(next_ + i);
    next_ += share;
    left_ -= share;
  }

 private:
  static constexpr std::size_t kLine = 64;
  static constexpr std::size_t kMost = std::size_t{64} << 10;

  const std::uint8_t* next_ = nullptr;
  std::size_t left_ = 0;
  std::size_t share_ = 0;
};

}  // namespace qzmtraw::host

#endif  // QZMTRAW_HOST_CACHE_AHEAD_H
