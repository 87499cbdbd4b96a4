#include "bench/Data.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <random>
#include <string_view>

namespace qzmtraw::bench {

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

std::vector<std::uint8_t> HeadInEverySector(const Head& head, std::size_t size) {
  std::vector<std::uint8_t> bytes = Noise(size);
  for (std::size_t sector = 0; sector + kSectorSize <= size; sector += kSectorSize) {
    head.WriteTo(std::span(bytes).subspan(sector, kSectorSize));
  }
  return bytes;
}

OpenFiles FilesWithoutEnd(std::span<const Head> heads, std::span<const std::uint8_t> contents) {
  OpenFiles device;
  // Many kinds don't follow a file that begins at sector 0.
  std::vector<std::uint8_t>& bytes = device.bytes;
  bytes.resize(kSectorSize);
  const auto append = [&](const Head& head, std::span<const std::uint8_t> filler) {
    bytes.insert(bytes.end(), filler.begin(), filler.end());
    head.WriteTo(std::span(bytes).last(kSectorSize));
  };
  const std::vector<std::uint8_t> zeros(kSectorSize);
  for (const Head& head : heads) append(head, zeros);
  const auto hasZeros = [](const Head& head) {
    return std::ranges::any_of(head.parts, [](const Head::Part& part) {
      return part.bytes.find(std::string_view("\0\0", 2)) != std::string_view::npos;
    });
  };
  for (const bool hasZerosNow : {true, false}) {
    for (const Head& head : heads) {
      if (hasZeros(head) == hasZerosNow) append(head, contents.first(kSectorSize));
    }
  }
  device.headsEnd = bytes.size();
  bytes.insert(bytes.end(), contents.begin(), contents.end());
  return device;
}

void RemoveZeros(std::span<std::uint8_t> bytes) { std::ranges::replace(bytes, std::uint8_t{0}, std::uint8_t{0xA7}); }

}  // namespace qzmtraw::bench
