#ifndef QZMTRAW_TESTS_HOST_SUPPORT_FAKE_SOURCE_H
#define QZMTRAW_TESTS_HOST_SUPPORT_FAKE_SOURCE_H

#include <atomic>
#include <cstdint>
#include <set>

#include "host/sources/Source.h"
#include "tests/host/support/Workspace.h"

namespace qzmtraw::host {

/// A source in memory some bytes of which can't be read.
class FakeSource final : public ISource {
 public:
  explicit FakeSource(Bytes content) : content_(std::move(content)) {}

  /// A read that meets one of these bytes stops in front of it with `error`.
  std::set<std::uint64_t> badOffsets;
  int error = 0;
  /// Most bytes that one read brings.
  std::size_t mostAtOnce = SIZE_MAX;
  std::atomic<int> readCount = 0;

  [[nodiscard]] std::uint64_t Size() const override { return content_.size(); }
  ReadResult ReadAt(std::uint64_t offset, std::span<std::uint8_t> into) override;

 private:
  Bytes content_;
};

}  // namespace qzmtraw::host

#endif  // QZMTRAW_TESTS_HOST_SUPPORT_FAKE_SOURCE_H
