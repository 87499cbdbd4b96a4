#ifndef QZMTRAW_TESTS_HOST_SUPPORT_IMAGE_H
#define QZMTRAW_TESTS_HOST_SUPPORT_IMAGE_H

#include <cstdint>

#include "tests/host/support/Workspace.h"

namespace qzmtraw::host {

/// A 7z archive by its head, of `size` bytes: at least 33 and less than 2 GiB. The rest is noise without zero bytes.
Bytes SevenZip(std::uint32_t size);

/// The start of an ACE archive, which does not state its size.
Bytes Ace();

/// A disk image in memory.
class Image {
 public:
  /// All zero.
  explicit Image(std::size_t size) : bytes_(size) {}

  /// Puts `content` at byte `offset`; what lies beyond the end is left out.
  Image& Put(std::size_t offset, const Bytes& content);

  [[nodiscard]] const Bytes& Content() const { return bytes_; }

 private:
  Bytes bytes_;
};

/// An image of 4 MiB, of sectors of 512 bytes: a 7z of 1132 bytes at sector 128, an ACE at 300, a 7z of 1 MiB at 1000,
/// and a 7z of 500 bytes at 8000.
Image ImageOfArchives();

}  // namespace qzmtraw::host

#endif  // QZMTRAW_TESTS_HOST_SUPPORT_IMAGE_H
