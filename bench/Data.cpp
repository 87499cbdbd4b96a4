#include "bench/Data.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <string_view>

namespace qzmtraw::bench {

namespace {

constexpr std::size_t kSectorSize = 512;

void AppendFile(const std::filesystem::path& path, std::vector<std::uint8_t>& bytes) {
  std::ifstream file(path, std::ios::binary);
  bytes.insert(bytes.end(), std::istreambuf_iterator<char>(file), {});
  bytes.resize((bytes.size() + kSectorSize - 1) / kSectorSize * kSectorSize);
}

}  // namespace

std::vector<std::uint8_t> Zeros(std::size_t size) { return std::vector<std::uint8_t>(size); }

std::vector<std::uint8_t> Noise(std::size_t size) {
  std::vector<std::uint8_t> bytes(size);
  std::mt19937_64 random(1);
  for (std::size_t i = 0; i + 8 <= size; i += 8) {
    const std::uint64_t word = random();
    std::memcpy(bytes.data() + i, &word, sizeof word);
  }
  return bytes;
}

std::vector<std::uint8_t> Text(std::size_t size) {
  static constexpr std::array<std::string_view, 12> kWords = {
      "sector ", "the ", "file ", "of ", "a\n", "header, ", "and ", "its ", "size. ", "1024 ", "(offset) ", "to "};
  std::vector<std::uint8_t> bytes;
  bytes.reserve(size + 16);
  std::mt19937 random(1);
  while (bytes.size() < size) {
    const std::string_view word = kWords[random() % kWords.size()];
    bytes.insert(bytes.end(), word.begin(), word.end());
  }
  bytes.resize(size);
  return bytes;
}

std::vector<std::uint8_t> RealFiles(std::size_t size) {
  std::vector<std::uint8_t> bytes;
  bytes.reserve(size + (std::size_t{64} << 20));
  constexpr std::uintmax_t kLargestFile = 16 << 20;
  for (const char* folder : {"/usr/share/doc", "/usr/bin", "/usr/include", "/usr/share", "/usr/lib"}) {
    const std::size_t share = bytes.size() + size / 5;
    std::vector<std::filesystem::path> paths;
    std::error_code error;
    for (std::filesystem::recursive_directory_iterator it(
             folder, std::filesystem::directory_options::skip_permission_denied, error);
         it != std::filesystem::recursive_directory_iterator() && paths.size() < 20000; it.increment(error)) {
      if (error) break;
      if (it->is_regular_file(error) && !it->is_symlink(error) && it->file_size(error) <= kLargestFile) {
        paths.push_back(it->path());
      }
    }
    std::sort(paths.begin(), paths.end());
    std::shuffle(paths.begin(), paths.end(), std::mt19937(1));
    for (auto path = paths.begin(); path != paths.end() && bytes.size() < std::min(share, size); ++path) {
      AppendFile(*path, bytes);
    }
  }
  return bytes;
}

double MemoryReadRate(const std::vector<std::uint8_t>& bytes) {
  double best = 0;
  for (int round = 0; round < 5; ++round) {
    const std::clock_t start = std::clock();
    std::array<std::uint64_t, 8> sums{};
    for (std::size_t i = 0; i + sizeof sums <= bytes.size(); i += sizeof sums) {
      std::array<std::uint64_t, 8> words;
      std::memcpy(words.data(), bytes.data() + i, sizeof words);
      for (std::size_t k = 0; k < words.size(); ++k) sums[k] += words[k];
    }
    const double seconds = static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC;
    // The sums are needed, or nothing is read.
    volatile std::uint64_t keep = 0;
    for (const std::uint64_t sum : sums) keep = keep + sum;
    best = std::max(best, static_cast<double>(bytes.size()) / seconds);
  }
  return best;
}

}  // namespace qzmtraw::bench
