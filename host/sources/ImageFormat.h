#ifndef QZMTRAW_HOST_SOURCES_IMAGE_FORMAT_H
#define QZMTRAW_HOST_SOURCES_IMAGE_FORMAT_H

#include <cstddef>
#include <cstdint>
#include <span>

namespace qzmtraw::host {

/// A format that disk images come in.
struct ImageFormat {
  enum class Reading {
    /// Its bytes are those of the disk.
    kAsItIs,
    kEwf,
    kAff,
    kVmdk,
    kVhd,
    /// Nothing here reads it.
    kNot,
  };
  Reading reading = Reading::kAsItIs;
  /// For people: "E01".
  const char* name = "raw";
};

/// How many bytes of an image's start tell its format.
inline constexpr std::size_t kFormatBytes = 512;

/// The format of an image. A VHD image of fixed size counts as raw, which it is, with a sector of its own at the end.
/// \param start  Its first kFormatBytes, or all that there are.
ImageFormat FormatOf(std::span<const std::uint8_t> start);

}  // namespace qzmtraw::host

#endif  // QZMTRAW_HOST_SOURCES_IMAGE_FORMAT_H
