#ifndef QZMTRAW_BENCH_REAL_FILES_H
#define QZMTRAW_BENCH_REAL_FILES_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace qzmtraw::bench {

/// An image of files that the machine's own packages have installed.
struct RealFiles {
  std::vector<std::uint8_t> bytes;
  std::size_t fileCount = 0;
  /// How many of these are other files than all before them.
  std::size_t distinctCount = 0;
  /// The kinds of files, such as "fonts", and how many bytes are of them.
  std::vector<std::pair<std::string, std::size_t>> kinds;
};

/// Builds the image: an equal share of each kind as far as there are as many, the rest of whatever there is, all of it
/// mixed. Each file begins at a sector's start, up to seven sectors of zeros behind the one before. The same machine
/// gets the same image until its packages change. Files are used again, in another order, where there are fewer than
/// `size` bytes of them.
/// \return At least `size` bytes; none when no file could be read.
RealFiles BuildRealFiles(std::size_t size);

}  // namespace qzmtraw::bench

#endif  // QZMTRAW_BENCH_REAL_FILES_H
