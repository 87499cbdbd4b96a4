#include "frame/HeadTail.h"
#include "frame/SizedByHead.h"
#include "frame/StartOnly.h"

/// \file
/// Pictures of one layer that are decided by their first sector, or end with bytes of their own.

namespace qzmtraw {
namespace {

/// The number of images in an icon or a cursor.
std::int32_t ImageCount(const Sector& sector) { return static_cast<std::int8_t>(sector.U8(4)); }

/// Where an image's entry stands in the directory of an icon or a cursor.
constexpr std::int64_t EntryOf(std::int32_t image) { return 6 + std::int64_t{16} * image; }

/// Whether an image is 1 to 127 pixels wide and high.
bool IsSmall(const Sector& sector, std::int32_t image) {
  const auto width = static_cast<std::int8_t>(sector.U8(EntryOf(image)));
  const auto height = static_cast<std::int8_t>(sector.U8(EntryOf(image) + 1));
  return width > 0 && height > 0;
}

constexpr bool IsIn(std::uint8_t value, std::uint8_t first, std::uint8_t last) {
  return value >= first && value <= last;
}

}  // namespace

/// PNG (ISO/IEC 15948): a signature, and chunks up to the one of type IEND, which is empty, so that its CRC is always
/// the same. The tail is that type and CRC.
class KPngFileType final : public HeadTail<KPngFileType> {
 public:
  static constexpr auto kHead = At(0, "\x89PNG\r\n\x1A\n");
  static constexpr auto kTail = Bytes("IEND\xAE\x42\x60\x82");
  static constexpr std::int32_t kFloor = 9;
  static constexpr std::uint64_t kDefaultMaxFileSize = 0xA00000;
};

DETECTOR(KPngFileType);

/// PCX (ZSoft's technical reference manual): the manufacturer, a version of 0 or 2 to 5, the run-length encoding, and a
/// header that is filled up with zeros. The format has no end mark; the tail is what the last lines of many pictures
/// happen to be.
class KPCXFileType final : public HeadTail<KPCXFileType> {
 public:
  static constexpr auto kTail = Bytes("\xFC\xFC\xCC\xFC\xFC\xDC\xFC\xFC");
  static constexpr std::int32_t kFloor = 128;
  static constexpr std::uint64_t kDefaultMaxFileSize = 0x7F000000;

  /// The three bytes, but of the version only that it is below 8.
  static constexpr Probe kHeadProbe{0, 0x00FFF8FF, 0x0001000A};

  static bool IsHead(const Sector& sector) {
    constexpr ByteString<54> kFiller;
    const std::uint8_t version = sector.U8(1);
    return sector.U8(0) == 10 && version != 1 && version <= 5 && sector.U8(2) == 1 && sector.Has(74, kFiller);
  }
};

DETECTOR(KPCXFileType);

/// BMP: Microsoft's BITMAPFILEHEADER, which tells the size, and one of the headers BITMAPINFOHEADER, BITMAPV4HEADER and
/// BITMAPV5HEADER.
class KBmpFileType final : public SizedByHead<KBmpFileType> {
 public:
  static constexpr auto kHead = At(0, "BM") && At(6, "\0\0\0\0");
  static constexpr std::int32_t kFloor = 17;
  static constexpr std::uint64_t kDefaultMaxFileSize = 0x3200000;

  static bool IsHead(const Sector& sector) {
    const std::uint32_t headerSize = sector.U32(14);
    return headerSize == 40 || headerSize == 108 || headerSize == 124;
  }

  static std::int32_t SizeAt(const Sector& sector) { return static_cast<std::int32_t>(sector.U32(2)); }
};

DETECTOR(KBmpFileType);

/// Windows cursors: the head and directory entry of one image, and its bytes.
class KCurFileType final : public SizedByHead<KCurFileType> {
 public:
  static constexpr auto kHead = At(0, "\0\0\2\0");
  static constexpr std::int32_t kFloor = 17;
  static constexpr std::int64_t kMinimum = 128;
  static constexpr std::uint64_t kDefaultMaxFileSize = 0x100000;

  static bool IsHead(const Sector& sector) { return ImageCount(sector) > 0 && IsSmall(sector, 0); }

  static std::int32_t SizeAt(const Sector& sector) { return static_cast<std::int32_t>(sector.U32(14) + 22); }
};

DETECTOR(KCurFileType);

/// Windows icons: a directory of images, whose entries tell the images' sizes.
class KIcoFileType final : public SizedByHead<KIcoFileType> {
 public:
  static constexpr auto kHead = At(0, "\0\0\1\0");
  static constexpr std::int32_t kFloor = 512;
  static constexpr std::int64_t kMinimum = 128;
  static constexpr std::uint64_t kDefaultMaxFileSize = 0x100000;

  static bool IsHead(const Sector& sector) {
    const std::int32_t count = ImageCount(sector);
    for (std::int32_t k = 0; k < count; ++k) {
      if (!IsSmall(sector, k)) return false;
    }
    return count > 0;
  }

  /// For every image the word in front of its entry by eight bytes, and 22. That is the low half of the size of the
  /// image before; so the last image's own size is never added, and for the first image what precedes the icon is.
  static std::int32_t SizeAt(const Sector& sector) {
    std::uint32_t size = 0;
    const std::int32_t count = ImageCount(sector);
    for (std::int32_t k = 0; k < count; ++k) size += sector.U16(EntryOf(k) - 8) + std::uint32_t{22};
    return static_cast<std::int32_t>(size);
  }
};

DETECTOR(KIcoFileType);

/// TGA (Truevision's file format specification): a picture in true colours, plain or run-length encoded, without alpha
/// bits. The format has no signature. The size is that of the plain picture.
class CKGTgaFileType final : public StartOnly<CKGTgaFileType> {
 public:
  static constexpr SizeHints kHints{512, 0x2000000};

  /// A colour map flag of 0 or 1, and, but for one bit, an image type of 2 or 10.
  static constexpr Probe kHeadProbe{0, 0x00F7FE00, 0x00020000};

  static bool IsHead(const Sector& sector) {
    const std::uint8_t imageType = sector.U8(2);
    const std::uint16_t depth = Depth(sector);
    return sector.U8(0) < 255 && sector.U8(1) <= 1 && (imageType == 2 || imageType == 10) &&
           (depth == 16 || depth == 24 || depth == 32) && Width(sector) != 0 && Height(sector) != 0;
  }

  /// The number of bits wraps at 32 bits.
  static std::uint64_t SizeAt(const Sector& sector) {
    const std::uint32_t bits = std::uint32_t{Depth(sector)} * Height(sector) * Width(sector);
    return (bits >> 3) + 18;
  }

 private:
  static std::uint16_t Width(const Sector& sector) { return sector.U16(12); }
  static std::uint16_t Height(const Sector& sector) { return sector.U16(14); }
  /// Bits per pixel, with the descriptor byte above, which must be 0.
  static std::uint16_t Depth(const Sector& sector) { return sector.U16(16); }
};

DETECTOR(CKGTgaFileType);

/// SGI images (Paul Haeberli, The SGI Image File Format): a header of 512 bytes and the samples, as if they were plain.
class CKGSgiFileType final : public StartOnly<CKGSgiFileType> {
 public:
  static constexpr auto kHead = At(0, "\x01\xDA");
  static constexpr SizeHints kHints{512, 0x2000000};

  /// The way of storage, the bytes per channel, the dimensions, and 1, 3 or 4 channels.
  static bool IsHead(const Sector& sector) {
    const std::uint8_t channels = sector.U8(11);
    return sector.U8(2) <= 1 && IsIn(sector.U8(3), 1, 2) && sector.U8(4) == 0 && IsIn(sector.U8(5), 1, 3) &&
           ((sector.U8(10) == 0 && channels == 1) || channels == 3 || channels == 4);
  }

  /// Columns, rows and channels, multiplied at 32 bits.
  static std::uint64_t SizeAt(const Sector& sector) {
    const std::uint32_t samples = Doubled(sector.U8(7)) * Doubled(sector.U8(9)) * Doubled(sector.U8(11));
    return std::uint64_t{samples} + 512;
  }

 private:
  /// A dimension of two bytes that takes its low byte for both.
  static std::uint32_t Doubled(std::uint8_t lowByte) { return lowByte * std::uint32_t{257}; }
};

DETECTOR(CKGSgiFileType);

/// Pictures of Casio's QV cameras. Only the start is known.
class KCAMFileType final : public StartOnly<KCAMFileType> {
 public:
  static constexpr auto kHead = At(0, "\x07 MM");
  static constexpr std::int32_t kFloor = 5;
  static constexpr SizeHints kHints{0xA00000, 0x1400000};
};

DETECTOR(KCAMFileType);

}  // namespace qzmtraw
