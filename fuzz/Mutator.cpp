// Mutates inputs of scans so that heads stay where heads are looked for: at the start of sectors.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <random>

#include "fuzz/ScanInput.h"

extern "C" std::size_t LLVMFuzzerMutate(std::uint8_t* data, std::size_t size, std::size_t maxSize);

namespace qzmtraw::fuzz {
namespace {

class Mutation {
 public:
  Mutation(std::uint8_t* data, std::size_t size, std::size_t maxSize, unsigned seed)
      : data_(data),
        size_(size),
        maxSize_(maxSize),
        random_(seed),
        sectorSize_(static_cast<std::size_t>(SectorSizeOf({data, size}))),
        sectors_(size < ScanInput::kHeadSize ? 0 : (size - ScanInput::kHeadSize) / sectorSize_) {}

  /// \return The input's new size.
  std::size_t Apply() {
    switch (sectors_ == 0 ? 0 : Below(8)) {
      case 1:
        return MutateInPlace(0, ScanInput::kHeadSize);
      case 2:
      case 3:
        return MutateSectorStart();
      case 4:
        return CopySector();
      case 5:
        return InsertSector();
      default:
        return LLVMFuzzerMutate(data_, size_, maxSize_);
    }
  }

 private:
  std::size_t Below(std::size_t end) { return random_() % end; }
  std::uint8_t* Sector(std::size_t index) { return data_ + ScanInput::kHeadSize + index * sectorSize_; }

  std::size_t MutateInPlace(std::size_t offset, std::size_t length) {
    LLVMFuzzerMutate(data_ + offset, length, length);
    return size_;
  }

  std::size_t MutateSectorStart() {
    constexpr std::size_t kHeadReach = 64;
    const std::size_t offset = ScanInput::kHeadSize + Below(sectors_) * sectorSize_;
    return MutateInPlace(offset, std::min(sectorSize_, kHeadReach));
  }

  std::size_t CopySector() {
    std::memmove(Sector(Below(sectors_)), Sector(Below(sectors_)), sectorSize_);
    return size_;
  }

  std::size_t InsertSector() {
    if (size_ + sectorSize_ > maxSize_) return CopySector();
    const std::size_t index = Below(sectors_);
    const std::size_t from = ScanInput::kHeadSize + index * sectorSize_;
    std::memmove(data_ + from + sectorSize_, data_ + from, size_ - from);
    return size_ + sectorSize_;
  }

  std::uint8_t* data_;
  std::size_t size_;
  std::size_t maxSize_;
  std::minstd_rand random_;
  std::size_t sectorSize_;
  std::size_t sectors_;
};

}  // namespace
}  // namespace qzmtraw::fuzz

extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size, std::size_t maxSize,
                                               unsigned seed) {
  return qzmtraw::fuzz::Mutation(data, size, maxSize, seed).Apply();
}
