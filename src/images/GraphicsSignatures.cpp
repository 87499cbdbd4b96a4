/// \file
/// Graphics files that are known by their first bytes and finished with at once. Nine of them tell their size there.

#include "frame/StartOnly.h"

namespace qzmtraw {

/// What these kinds have in common: the sizes that their files are taken to have.
template <class Self>
class GraphicsSignature : public StartOnly<Self> {
 public:
  static constexpr SizeHints kHints{512, 0x2000000};
};

/// DICOM files (PS3.10, 7.1): a preamble of 128 bytes, the mark, and the length of the meta information's group.
class CKGDcmFileType final : public GraphicsSignature<CKGDcmFileType> {
 public:
  static constexpr std::int32_t kFloor = 51;
  static constexpr auto kHead = At(128, "DICM\x02\0\0\0UL");
};
DETECTOR(CKGDcmFileType);

/// QuarkXPress documents that begin with their mark.
class CKGQxdFileType final : public GraphicsSignature<CKGQxdFileType> {
 public:
  static constexpr std::int32_t kFloor = 51;
  static constexpr auto kHead = At(0, "XPR3");
};
DETECTOR(CKGQxdFileType);

/// QuarkXPress documents of later versions, which tell their byte order in front of the mark.
class CKGQxpFileType final : public GraphicsSignature<CKGQxpFileType> {
 public:
  static constexpr std::int32_t kFloor = 51;
  static constexpr auto kHead = At(2, "IIXPR3") || At(2, "MMXPR3");
};
DETECTOR(CKGQxpFileType);

/// Pictures of Animator Pro. The header of 64 bytes has the file's size, the type 9500, and 45 bytes at its end that
/// aren't used.
class CKGPorPicFileType final : public GraphicsSignature<CKGPorPicFileType> {
 public:
  static constexpr auto kHead = At(4, "\x1C\x25") && At(19, kZeros<45>);
  static std::uint64_t SizeAt(const Sector& sector) { return sector.U32(0); }
};
DETECTOR(CKGPorPicFileType);

/// Pictures of Animator: a header of 32 bytes, of which 16 aren't used, for 8 bits a pixel and no compression. It
/// tells the size of what follows.
class CKGPicFileType final : public GraphicsSignature<CKGPicFileType> {
 public:
  static constexpr auto kHead = At(0, "\x19\x91") && At(10, "\x08\0") && At(16, kZeros<16>);
  static std::uint64_t SizeAt(const Sector& sector) { return sector.U32(12) + 32; }
};
DETECTOR(CKGPicFileType);

/// Colour maps of Animator Pro.
class CKGColFileType final : public GraphicsSignature<CKGColFileType> {
 public:
  static constexpr auto kHead = At(4, "\xB1\x23\0\0");
  static std::uint64_t SizeAt(const Sector& sector) { return sector.U32(0); }
};
DETECTOR(CKGColFileType);

/// Pictures of Softimage.
class CKGNewPicFileType final : public GraphicsSignature<CKGNewPicFileType> {
 public:
  static constexpr auto kHead = At(0, "\x53\x80\xF6\x34\0\0\0\0") && At(88, "PICT");
};
DETECTOR(CKGNewPicFileType);

/// LightWave objects (LWOB and LWO2), in the Interchange File Format. The chunk's length is reversed where it stands.
class CKGLowFileType final : public GraphicsSignature<CKGLowFileType> {
 public:
  static constexpr auto kHead = At(0, "FORM") && At(8, "LWO");
  static std::uint64_t SizeAt(const Sector& sector) { return sector.ReverseU32InPlace(4) + 8; }
};
DETECTOR(CKGLowFileType);

/// 3D Studio meshes: a main chunk, whose length is the file's, with a version and then an editor or object chunk in it
/// (0x3D3D, 0x4000). It must not be the TIFF that its first two bytes might begin.
class CKG3dsFileType final : public GraphicsSignature<CKG3dsFileType> {
 public:
  static constexpr auto kHead = At(0, "MM") && At(6, "\x02\0") && (At(16, "==") || At(16, "\0@"));
  static bool IsHead(const Sector& sector) { return !sector.Has(2, Bytes("\0\x2A")); }
  static std::uint64_t SizeAt(const Sector& sector) { return sector.U32(2); }
};
DETECTOR(CKG3dsFileType);

/// Maya scenes in binary form that begin with a version group. The chunk's length is reversed where it stands, where
/// KMbFileType reads it too.
class CKG3dMbFileType final : public GraphicsSignature<CKG3dMbFileType> {
 public:
  static constexpr auto kHead = At(0, "FOR4") && At(8, "Maya") && At(12, "FOR4") && At(22, "ADVERS");
  static std::uint64_t SizeAt(const Sector& sector) { return sector.ReverseU32InPlace(4) + 8; }
};
DETECTOR(CKG3dMbFileType);

/// PaperPort scans. Without the field that tells the size there is no file.
class CKGPMaxFileType final : public GraphicsSignature<CKGPMaxFileType> {
 public:
  static constexpr auto kHead = At(0, "ViG") && At(5, "\x1A");
  static bool IsHead(const Sector& sector) { return sector.Holds(184, sizeof(std::uint32_t)); }
  static std::uint64_t SizeAt(const Sector& sector) { return sector.U32(184) + 32; }
};
DETECTOR(CKGPMaxFileType);

/// Corel presentation exchange drawings, in the Resource Interchange File Format.
class CKGCmxFileType final : public GraphicsSignature<CKGCmxFileType> {
 public:
  static constexpr auto kHead = At(0, "RIFF") && At(8, "CMX1") && At(12, "cont");
  static std::uint64_t SizeAt(const Sector& sector) { return sector.U32(4) + 8; }
};
DETECTOR(CKGCmxFileType);

/// MacPaint pictures: a header of 512 bytes with the version 2 and no patterns of its own.
class CKGMacFileType final : public GraphicsSignature<CKGMacFileType> {
 public:
  static constexpr auto kHead = At(0, "\0\0\0\x02") && At(4, kZeros<508>);
};
DETECTOR(CKGMacFileType);

/// Shapes (ESRI Shapefile Technical Description, 1998): the file code, five unused words, and the length in words of
/// two bytes, which is reversed where it stands.
class CKGShpFileType final : public GraphicsSignature<CKGShpFileType> {
 public:
  static constexpr auto kHead = At(0, "\0\0\x27\x0A") && At(4, kZeros<20>);
  static std::uint64_t SizeAt(const Sector& sector) { return std::uint32_t{sector.ReverseU32InPlace(24) * 2}; }
};
DETECTOR(CKGShpFileType);

}  // namespace qzmtraw
