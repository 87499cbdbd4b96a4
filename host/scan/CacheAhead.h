#ifndef QZMTRAW_HOST_SCAN_CACHE_AHEAD_H
#define QZMTRAW_HOST_SCAN_CACHE_AHEAD_H

#include <algorithm>
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
    end_ = next_ + memory.size();
    share_ = (kStepsAtOnce * memory.size() / steps + kLine) / kLine * kLine;
  }

  void Step() {
    if (++steps_ % kStepsAtOnce == 0 && next_ != end_) Bring();
  }

 private:
  void Bring() {
    const std::uint8_t* const end = next_ + std::min(share_, static_cast<std::size_t>(end_ - next_));
    for (const std::uint8_t* line = next_; line < end; line += kLine) __builtin_prefetch(line);
    next_ = end;
  }

  static constexpr std::size_t kLine = 64;
  static constexpr std::size_t kMost = std::size_t{64} << 10;
  /// What a few steps are to bring is brought at once, since asking takes time as well.
  static constexpr unsigned kStepsAtOnce = 4;

  const std::uint8_t* next_ = nullptr;
  const std::uint8_t* end_ = nullptr;
  std::size_t share_ = 0;
  unsigned steps_ = 0;
};

}  // namespace qzmtraw::host

#endif  // QZMTRAW_HOST_SCAN_CACHE_AHEAD_H
