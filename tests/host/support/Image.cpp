#include "tests/host/support/Image.h"

#include <algorithm>

namespace qzmtraw::host {

Bytes SevenZip(std::uint32_t size) {
  // The head takes 32 bytes. The end header has one byte, and what lies between is packed data.
  const std::uint32_t packedSize = size - 33;
  Bytes archive = {0x37, 0x7A, 0xBC, 0xAF, 0x27, 0x1C, 0, 4, 0, 0, 0, 0};
  for (unsigned shift = 0; shift < 64; shift += 8) {
    archive.push_back(shift < 32 ? static_cast<std::uint8_t>(packedSize >> shift) : std::uint8_t{0});
  }
  archive.push_back(1);
  archive.resize(32);
  std::uint32_t noise = size;
  while (archive.size() < size) {
    noise = noise * 1664525U + 1013904223U;
    archive.push_back(static_cast<std::uint8_t>((noise >> 24U) | 1U));
  }
  return archive;
}

Bytes Ace() { return BytesOf("1234567**ACE**rest"); }

Image& Image::Put(std::size_t offset, const Bytes& content) {
  const std::size_t count = std::min(content.size(), bytes_.size() - offset);
  std::copy_n(content.begin(), count, bytes_.begin() + static_cast<std::ptrdiff_t>(offset));
  return *this;
}

Image ImageOfArchives() {
  return Image(std::size_t{4} << 20U)
      .Put(std::size_t{128} * 512, SevenZip(1132))
      .Put(std::size_t{300} * 512, Ace())
      .Put(std::size_t{1000} * 512, SevenZip(1U << 20U))
      .Put(std::size_t{8000} * 512, SevenZip(500));
}

}  // namespace qzmtraw::host
