#include "tests/host/support/FakeSource.h"

#include <algorithm>

namespace qzmtraw::host {

ReadResult FakeSource::ReadAt(std::uint64_t offset, std::span<std::uint8_t> into) {
  ++readCount;
  if (offset + into.size() > content_.size()) throw std::out_of_range("read behind the end of the source");
  ReadResult result{std::min(into.size(), mostAtOnce), 0};
  const auto bad = badOffsets.lower_bound(offset);
  if (bad != badOffsets.end() && *bad < offset + result.count) {
    result = {static_cast<std::size_t>(*bad - offset), error};
  }
  std::copy_n(content_.begin() + static_cast<std::ptrdiff_t>(offset), result.count, into.begin());
  return result;
}

}  // namespace qzmtraw::host
