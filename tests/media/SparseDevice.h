#ifndef QZMTRAW_TESTS_MEDIA_SPARSE_DEVICE_H
#define QZMTRAW_TESTS_MEDIA_SPARSE_DEVICE_H

#include <cstdint>
#include <map>
#include <string>

#include "tests/support/Scanning.h"

namespace qzmtraw::test {

/// A device of any size, zero but for a few bytes, on which a file starts at sector 5000. Sectors have 512 bytes.
class SparseDevice final : public IRawSectorReader {
 public:
  static constexpr std::uint64_t kFileSector = 5000;

  /// Writes bytes at a position of the file.
  SparseDevice& Put(std::uint64_t position, std::string bytes) {
    pieces_[position] = std::move(bytes);
    return *this;
  }

  /// Feeds the file's first sector, as a block.
  Hits ScanHead(IRawFileType& detector) {
    std::vector<std::uint8_t> memory(kSectorSize);
    ReadSectors(kFileSector, memory.data(), 1);
    readCalls_ = 0;
    const RawSectorBlock block{kFileSector, memory.data(), 1, kSectorSize, this};
    RecordingSink sink;
    detector.Scan(&block, &sink);
    return sink.Found();
  }

  int ReadCalls() const { return readCalls_; }

  std::uint32_t ReservedOperation1() override { return 0; }
  std::uint32_t ReservedOperation2() override { return 0; }
  std::uint32_t ReservedOperation3() override { return 0; }
  std::int32_t ReadSectors(std::uint64_t startSector, void* buffer, std::uint32_t sectorCount) override {
    ++readCalls_;
    const std::uint64_t begin = (startSector - kFileSector) * kSectorSize;
    const std::uint64_t size = std::uint64_t{sectorCount} * kSectorSize;
    auto* target = static_cast<std::uint8_t*>(buffer);
    for (std::uint64_t i = 0; i < size; ++i) target[i] = 0;
    for (const auto& [position, bytes] : pieces_) {
      for (std::size_t i = 0; i < bytes.size(); ++i) {
        const std::uint64_t offset = position + i - begin;
        if (offset < size) target[offset] = static_cast<std::uint8_t>(bytes[i]);
      }
    }
    return 0;
  }

 private:
  static constexpr std::int32_t kSectorSize = 512;
  std::map<std::uint64_t, std::string> pieces_;
  int readCalls_ = 0;
};

}  // namespace qzmtraw::test

#endif  // QZMTRAW_TESTS_MEDIA_SPARSE_DEVICE_H
