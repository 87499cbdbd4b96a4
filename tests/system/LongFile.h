#ifndef QZMTRAW_TESTS_SYSTEM_LONG_FILE_H
#define QZMTRAW_TESTS_SYSTEM_LONG_FILE_H

#include <algorithm>
#include <string_view>
#include <vector>

#include "tests/support/Scanning.h"

namespace qzmtraw::test {

/// Sectors of 16 MiB, fed one by one, for files that run to a limit of 1 GiB.
class LongFile {
 public:
  static constexpr std::size_t kSectorSize = std::size_t{1} << 24;
  static constexpr std::uint64_t kSectorsToLimit = 64;

  /// Feeds a sector that begins with `start`, ends with `end` and is full of x between. \return What was found.
  Hits Feed(IRawFileType& detector, std::uint64_t number, std::string_view start = {}, std::string_view end = {}) {
    std::copy(start.begin(), start.end(), memory_.begin());
    std::copy(end.begin(), end.end(), memory_.end() - static_cast<std::ptrdiff_t>(end.size()));
    const RawSectorBlock block{number, memory_.data(), 1, static_cast<std::int32_t>(kSectorSize), nullptr};
    RecordingSink sink;
    detector.Scan(&block, &sink);
    std::fill_n(memory_.begin(), start.size(), std::uint8_t{'x'});
    std::fill_n(memory_.end() - static_cast<std::ptrdiff_t>(end.size()), end.size(), std::uint8_t{'x'});
    return sink.Found();
  }

 private:
  std::vector<std::uint8_t> memory_ = std::vector<std::uint8_t>(kSectorSize, 'x');
};

}  // namespace qzmtraw::test

#endif  // QZMTRAW_TESTS_SYSTEM_LONG_FILE_H
