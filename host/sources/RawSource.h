#ifndef QZMTRAW_HOST_SOURCES_RAW_SOURCE_H
#define QZMTRAW_HOST_SOURCES_RAW_SOURCE_H

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "host/base/FileDescriptor.h"
#include "host/sources/Source.h"

namespace qzmtraw::host {

/// A raw image file or a block device. It is opened for reading only.
class RawSource final : public ISource {
 public:
  /// Throws Failure when `path` is missing, is neither a file nor a block device, or can't be opened.
  explicit RawSource(const std::string& path);

  [[nodiscard]] std::uint64_t Size() const override { return size_; }
  [[nodiscard]] std::uint64_t SizeNow() const override;
  [[nodiscard]] std::optional<std::uint32_t> SectorSize() const override { return sectorSize_; }
  [[nodiscard]] std::vector<std::string> Notes() const override;
  /// What Notes gives.
  void SetNote(std::string note) { note_ = std::move(note); }
  ReadResult ReadAt(std::uint64_t offset, std::span<std::uint8_t> into) override;

 private:
  FileDescriptor file_;
  std::uint64_t size_ = 0;
  std::optional<std::uint32_t> sectorSize_;
  std::string note_;
};

}  // namespace qzmtraw::host

#endif  // QZMTRAW_HOST_SOURCES_RAW_SOURCE_H
