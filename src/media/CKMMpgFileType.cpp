#include "frame/FrameWalk.h"

namespace qzmtraw {

/// MPEG program streams and video streams (ISO/IEC 11172-1 and 13818-1, 11172-2 and 13818-2), walked from start code
/// to start code. Pictures and slices tell no length, so bare video ends at its first picture.
class CKMMpgFileType final : public FrameWalk<CKMMpgFileType, 14> {
 public:
  static constexpr auto kHead =
      At(0, "\0\0\x01\xB3") || At(0, "\0\0\x01\xB5") || At(0, "\0\0\x01\xBA") || At(0, "\0\0\x01\xBB");

  static std::uint32_t LengthOf(const std::uint8_t* p) {
    if (p[0] != 0 || p[1] != 0 || p[2] != 1) return 0;
    switch (p[3]) {
      case 0xB3:
        return SequenceHeaderLength(p);
      case 0xB5:
        return ExtensionLength(p);
      case 0xB8:  // group of pictures
        return (p[5] & 0x40) != 0 ? 8 : 0;
      case 0xB9:  // program end
        return 4;
      case 0xBA:
        return PackHeaderLength(p);
      case 0xBB:  // system header
      case 0xBD:  // private stream 1
      case 0xBE:  // padding
      case 0xBF:  // private stream 2
        return PacketLength(p);
      default:
        return p[3] >= 0xC0 && p[3] <= 0xEF ? PacketLength(p) : 0;  // audio and video
    }
  }

 private:
  /// Packs of MPEG-2 and MPEG-1 differ in the bits that mark the clock's parts off.
  static std::uint32_t PackHeaderLength(const std::uint8_t* p) {
    const bool isMpeg2 = (p[4] & 0xC4) == 0x44 && (p[6] & 0x04) != 0 && (p[8] & 0x04) != 0 && (p[9] & 0x01) != 0 &&
                         (p[12] & 0x03) == 0x03;
    if (isMpeg2) return 14 + (p[13] & 0x07U);
    const bool isMpeg1 =
        (p[4] & 0xF1) == 0x21 && (p[6] & 0x01) != 0 && (p[8] & 0x01) != 0 && (p[9] & 0x80) != 0 && (p[11] & 0x01) != 0;
    return isMpeg1 ? 12 : 0;
  }

  /// With a matrix of 64 bytes behind it, or without.
  static std::uint32_t SequenceHeaderLength(const std::uint8_t* p) {
    if ((p[10] & 0x20) == 0) return 0;
    return (p[11] & 0x03) != 0 ? 76 : 12;
  }

  static std::uint32_t ExtensionLength(const std::uint8_t* p) {
    switch (p[4] >> 4) {
      case 1:  // sequence
        return (p[7] & 0x01) != 0 ? 10 : 0;
      case 2:  // sequence display
        if ((p[4] & 0x01) == 0) return (p[6] & 0x02) != 0 ? 9 : 0;
        return (p[9] & 0x02) != 0 ? 12 : 0;
      case 4:
        return (p[8] & 0x40) != 0 ? 11 : 9;
      default:
        return 0;
    }
  }

  static std::uint32_t PacketLength(const std::uint8_t* p) { return LoadBig<std::uint16_t>(p + 4) + 6U; }
};

DETECTOR(CKMMpgFileType);

}  // namespace qzmtraw
