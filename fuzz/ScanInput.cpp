#include "fuzz/ScanInput.h"

#include <algorithm>
#include <random>

#include "fuzz/Rows.h"

namespace qzmtraw::fuzz {

namespace {

/// Chosen by the bytes from 128 on. The others choose 512.
constexpr int kSectorSizes[] = {512, 1,   2,    3,    4,    7,    8,    9,    13,   15,    16,    17,    31,
                                32,  33,  50,   51,   63,   64,   100,  128,  255,  256,   511,   513,   516,
                                520, 528, 1000, 1024, 2048, 2352, 4096, 4224, 8192, 16384, 32767, 32768, 32769};
constexpr std::uint64_t kFirstSectors[] = {
    1000,           0,           1,           2,           63,          64,          0x7FFFFFFE,        0x80000000,
    0xFFFFFFFE,     1ULL << 32U, 1ULL << 40U, 1ULL << 53U, 1ULL << 55U, 1ULL << 62U, (1ULL << 63U) - 3, 1ULL << 63U,
    ~0ULL - 0x10000};
/// Chosen by the bytes from 128 on. The others choose none.
constexpr std::uint64_t kLimits[] = {
    0,          1,        255,        256,        511,        512,         1023,  4096,
    65535,      0x100000, 0x7FFFFFFF, 0x80000000, 0xFFFFFFFF, 1ULL << 32U, ~0ULL, (1ULL << 63U) - 1,
    1ULL << 63U};
/// A device has at most so many blocks, so that one row more or less doesn't take long.
constexpr int kMostBlocks = 256;

std::uint8_t ByteAt(std::span<const std::uint8_t> bytes, std::size_t index) {
  return index < bytes.size() ? bytes[index] : std::uint8_t{0};
}

/// The input's bytes, repeated and with zeros in front and behind, as whole sectors.
test::Device DeviceOf(std::span<const std::uint8_t> head, std::span<const std::uint8_t> bytes, int sectorSize) {
  const std::uint8_t layout = ByteAt(head, 11);
  const int sectorsInFront = layout & 3;
  const int sectorsBehind = layout >> 2 & 3;
  const std::size_t repeats = std::size_t{1} << (layout >> 4 & 7);
  const auto size = static_cast<std::size_t>(sectorSize);
  const std::size_t mostBytes = std::min(ScanInput::kMostBytes, std::size_t{ScanInput::kMostSectors - 6} * size);
  const std::size_t sectorsOfBytes = (std::min(bytes.size(), mostBytes) + size - 1) / size;
  const std::size_t mostRepeats =
      sectorsOfBytes == 0 ? 1 : std::max<std::size_t>(1, mostBytes / (sectorsOfBytes * size));
  const std::size_t sectors = sectorsOfBytes * std::min(repeats, mostRepeats);

  const std::uint64_t firstSector = kFirstSectors[ByteAt(head, 1) % std::size(kFirstSectors)];
  // A device has at least one sector.
  const int sectorCount = std::max(1, static_cast<int>(sectors) + sectorsInFront + sectorsBehind);
  test::Device device(sectorCount, sectorSize, firstSector, 0);
  for (std::size_t sector = 0; sector < sectors; sector += sectorsOfBytes) {
    const std::size_t count = std::min(bytes.size(), sectorsOfBytes * size);
    device.Put(firstSector + static_cast<std::uint64_t>(sectorsInFront) + sector,
               {reinterpret_cast<const char*>(bytes.data()), count});
  }
  return device;
}

std::vector<std::int32_t> ChosenRows(std::span<const std::uint8_t> head, std::span<const std::int32_t> rows) {
  std::vector<std::int32_t> chosen(rows.begin(), rows.end());
  if (ByteAt(head, 4) >= 128) {
    const std::size_t place = ByteAt(head, 4) * std::size_t{256} + ByteAt(head, 5);
    chosen = RowsOfSameGroup(rows[place % rows.size()]);
    std::erase_if(chosen, [&](std::int32_t row) { return std::ranges::find(rows, row) == rows.end(); });
  }
  const std::uint8_t order = ByteAt(head, 6);
  if (order == 1) std::ranges::reverse(chosen);
  if (order > 1) std::ranges::shuffle(chosen, std::minstd_rand(order));
  return chosen;
}

}  // namespace

std::vector<int> Cut::Blocks(int sectorCount) const {
  std::vector<int> blocks;
  std::minstd_rand random(choice_);
  for (int first = 0; first < sectorCount; first += blocks.back()) {
    int sectors = choice_;
    if (choice_ == 0) sectors = sectorCount;
    if (choice_ >= 128) sectors = static_cast<int>(1 + random() % 9);
    blocks.push_back(std::min(std::max(sectors, leastSectors_), sectorCount - first));
  }
  return blocks;
}

int SectorSizeOf(std::span<const std::uint8_t> input) {
  const std::uint8_t choice = ByteAt(input, 0);
  return choice < 128 ? 512 : kSectorSizes[(choice - 128) % std::size(kSectorSizes)];
}

ScanInput DecodeScanInput(std::span<const std::uint8_t> input, std::span<const std::int32_t> rows) {
  const std::span<const std::uint8_t> head = input.first(std::min(input.size(), ScanInput::kHeadSize));
  test::Device device = DeviceOf(head, input.subspan(head.size()), SectorSizeOf(input));
  const int leastSectors = (device.SectorCount() + kMostBlocks - 1) / kMostBlocks;
  const std::uint8_t limit = ByteAt(head, 8);
  return {
      .device = device,
      .rows = ChosenRows(head, rows),
      .cut = Cut(ByteAt(head, 2), leastSectors),
      .otherCut = Cut(static_cast<std::uint8_t>(ByteAt(head, 3) + 1), leastSectors),
      .manner = static_cast<ReaderManner>(ByteAt(head, 7) % kReaderManners),
      .maxFileSize = limit < 128 ? std::nullopt : std::optional(kLimits[(limit - 128U) % std::size(kLimits)]),
      .laneCount = std::size_t{1} + ByteAt(head, 9) % 8,
      .resetKind = static_cast<ResetKind>(ByteAt(head, 10) % 3),
      .hasEmptyBlocks = ByteAt(head, 10) >= 128,
  };
}

}  // namespace qzmtraw::fuzz
