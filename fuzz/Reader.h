#ifndef QZMTRAW_FUZZ_READER_H
#define QZMTRAW_FUZZ_READER_H

#include <cstdint>

#include "qzmtraw/RawFileType.h"
#include "tests/support/Device.h"

namespace qzmtraw::fuzz {

/// How a reader behaves.
enum class ReaderManner : std::uint8_t {
  kServes,            ///< The device; behind its end zeros and an error.
  kServesZeros,       ///< The device; behind its end zeros.
  kServesEndlessly,   ///< The device over and over, in both directions.
  kFails,             ///< Nothing, and says so.
  kLeavesBuffer,      ///< Nothing, and claims success.
  kFailsHalfway,      ///< Half of what it is asked for, then an error.
  kServesRubbish,     ///< Bytes that aren't the device's, the same whenever they are asked for.
  kServesChangingly,  ///< Something else at each call.
  kIsNull,            ///< There is none.
};
inline constexpr int kReaderManners = 9;

/// Whether the reader brings what the blocks hold.
constexpr bool IsTruthful(ReaderManner manner) {
  return manner == ReaderManner::kServes || manner == ReaderManner::kServesZeros ||
         manner == ReaderManner::kServesEndlessly;
}

/// What a reader was asked for.
struct Readings {
  std::uint64_t calls = 0;
  /// The most bytes that one call asked for.
  std::uint64_t mostBytes = 0;
};

/// A reader of a device. It allocates nothing.
class Reader final : public IRawSectorReader {
 public:
  /// \param device  Must live as long as the reader.
  Reader(const test::Device& device, ReaderManner manner) : device_(device), manner_(manner) {}

  std::uint32_t ReservedOperation1() override { return 0; }
  std::uint32_t ReservedOperation2() override { return 0; }
  std::uint32_t ReservedOperation3() override { return 0; }
  std::int32_t ReadSectors(std::uint64_t startSector, void* buffer, std::uint32_t sectorCount) override;

  /// What it was asked for since the last call of this.
  Readings TakeReadings();

 private:
  bool ServeSector(std::uint64_t sector, std::uint8_t* target) const;

  const test::Device& device_;
  ReaderManner manner_;
  Readings readings_;
  std::uint64_t callsInAll_ = 0;
};

}  // namespace qzmtraw::fuzz

#endif  // QZMTRAW_FUZZ_READER_H
