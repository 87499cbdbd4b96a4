#ifndef QZMTRAW_FUZZ_SCAN_INPUT_H
#define QZMTRAW_FUZZ_SCAN_INPUT_H

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "fuzz/Reader.h"
#include "tests/support/Device.h"

namespace qzmtraw::fuzz {

/// How a device is cut into blocks.
class Cut {
 public:
  /// \param choice        0: one block; up to 127: blocks of so many sectors; above: of sizes that it leads to.
  /// \param leastSectors  No block but the last has fewer sectors.
  Cut(std::uint8_t choice, int leastSectors) : choice_(choice), leastSectors_(leastSectors) {}

  /// The number of sectors of each block, in order. They add up to `sectorCount`.
  std::vector<int> Blocks(int sectorCount) const;

 private:
  std::uint8_t choice_;
  int leastSectors_;
};

enum class ResetKind : std::uint8_t { kReset, kLight, kFull };

/// A scan as an input asks for it: a device and all that a host may choose.
///
/// The first bytes of an input choose, one by one; bytes that it doesn't have are 0, which is what a usual host does.
/// All others are the device's.
struct ScanInput {
  /// The bytes that choose.
  static constexpr std::size_t kHeadSize = 12;
  static constexpr int kMostSectors = 4096;
  static constexpr std::size_t kMostBytes = std::size_t{1} << 18U;

  test::Device device;
  /// In the order in which a block is shown to them.
  std::vector<std::int32_t> rows;
  Cut cut;
  Cut otherCut;
  ReaderManner manner;
  std::optional<std::uint64_t> maxFileSize;
  std::size_t laneCount;
  ResetKind resetKind;
  /// Whether blocks without sectors come in between.
  bool hasEmptyBlocks;
};

/// \param input  Any bytes.
/// \param rows   Those that the input may choose from, in ascending order.
ScanInput DecodeScanInput(std::span<const std::uint8_t> input, std::span<const std::int32_t> rows);

/// The bytes per sector that an input asks for.
int SectorSizeOf(std::span<const std::uint8_t> input);

}  // namespace qzmtraw::fuzz

#endif  // QZMTRAW_FUZZ_SCAN_INPUT_H
