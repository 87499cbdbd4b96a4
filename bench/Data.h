#ifndef QZMTRAW_BENCH_DATA_H
#define QZMTRAW_BENCH_DATA_H

#include <cstddef>
#include <cstdint>
#include <vector>

namespace qzmtraw::bench {

/// What a device may hold. Each function makes about `size` bytes, a whole number of 512-byte sectors.
std::vector<std::uint8_t> Zeros(std::size_t size);
std::vector<std::uint8_t> Noise(std::size_t size);
std::vector<std::uint8_t> Text(std::size_t size);
/// Files of this machine's own programs and documentation, each at a sector's start. Less than `size` bytes where the
/// machine has no more.
std::vector<std::uint8_t> RealFiles(std::size_t size);

/// The best rate, in bytes per second of processor time, at which one core reads `bytes`.
double MemoryReadRate(const std::vector<std::uint8_t>& bytes);

}  // namespace qzmtraw::bench

#endif  // QZMTRAW_BENCH_DATA_H
