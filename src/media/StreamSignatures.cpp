// Streams of which only the start can be told.

#include "frame/StartOnly.h"

namespace qzmtraw {

namespace {

/// The sizes that these streams are taken to have.
constexpr SizeHints kStreamHints{16384, 67108864};

}  // namespace

/// Transport streams in packets of 192 bytes (ISO/IEC 13818-1, with four bytes in front of each packet): a program
/// association table of one program, or a program map that names the registration of Blu-ray.
class CKMM2tsFileType final : public StartOnly<CKMM2tsFileType> {
 public:
  static constexpr auto kHead =
      At(4, "\x47\x40\0\x10\0\0\xB0\x11\0") || (At(4, "G") && (At(215, "HDMV") || At(215, "HDPR")));
  static constexpr SizeHints kHints = kStreamHints;
};

DETECTOR(CKMM2tsFileType);

/// DVD video: the first pack of a program stream, whose clock reads zero.
class CKMVobFileType final : public StartOnly<CKMVobFileType> {
 public:
  static constexpr auto kHead = At(0, "\0\0\x01\xBA\x44\0\x04\0\x04\x01\0\0");
  static constexpr SizeHints kHints = kStreamHints;
};

DETECTOR(CKMVobFileType);

/// Video CD: a pack of MPEG-1 at the constant rate of the disc, and a system header.
class CKMDatFileType final : public StartOnly<CKMDatFileType> {
 public:
  static constexpr auto kHead = At(0, "\0\0\x01\xBA\x2F\xFF\xFF\xE3\xE1\x80\x1B\x91\0\0\x01\xBB") && At(32, "\xF3\x0F");
  static constexpr SizeHints kHints = kStreamHints;
};

DETECTOR(CKMDatFileType);

/// FLAC audio (RFC 9639). The first metadata block is STREAMINFO, which may be the last one as well. The length in its
/// header has to be zero, though encoders write that of the block.
class CKMFlacFileType final : public StartOnly<CKMFlacFileType> {
 public:
  static constexpr auto kHead = At(0, "fLaC") && (At(4, "\0\0\0\0") || At(4, "\x80\0\0\0"));
  static constexpr SizeHints kHints = kStreamHints;
};

DETECTOR(CKMFlacFileType);

}  // namespace qzmtraw
