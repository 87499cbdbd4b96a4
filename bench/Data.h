#ifndef QZMTRAW_BENCH_DATA_H
#define QZMTRAW_BENCH_DATA_H

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "bench/Heads.h"

namespace qzmtraw::bench {

inline constexpr std::size_t kMebibyte = std::size_t{1} << 20U;
inline constexpr std::size_t kSectorSize = 512;

/// What a device may hold. Each function makes `size` bytes, always the same.
std::vector<std::uint8_t> Zeros(std::size_t size);
std::vector<std::uint8_t> Noise(std::size_t size);
/// Lines of words and numbers.
std::vector<std::uint8_t> Text(std::size_t size);

/// Noise of which every sector begins with `head`.
std::vector<std::uint8_t> HeadInEverySector(const Head& head, std::size_t size);

/// A device that opens files and then goes on with other contents.
struct OpenFiles {
  std::vector<std::uint8_t> bytes;
  /// Up to here stand the sectors that open the files.
  std::size_t headsEnd = 0;
};

/// A sector for each head, filled up with zeros, then another for each, filled up with the beginning of `contents`, and
/// `contents` behind them. Some kinds want zeros in their first sector, others end at the first ones they meet; so
/// among the second sectors those with zeros stand first.
OpenFiles FilesWithoutEnd(std::span<const Head> heads, std::span<const std::uint8_t> contents);

/// Replaces the zero bytes of `bytes`, so that no file ends that is ended by some.
void RemoveZeros(std::span<std::uint8_t> bytes);

}  // namespace qzmtraw::bench

#endif  // QZMTRAW_BENCH_DATA_H
