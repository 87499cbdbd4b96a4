#include "frame/StartOnly.h"
#include "frame/ZeroPairWalk.h"

/// \file
/// Kinds of audio and video that are known by their first bytes, some of them with a size among these.

namespace qzmtraw {

namespace {

constexpr SizeHints kUsualSizes{0x4000, 0x4000000};

}  // namespace

/// Dictation of digital recorders, in the formats of their first and second generation.
class CKMDssFileType final : public StartOnly<CKMDssFileType> {
 public:
  static constexpr auto kHead = At(0, "\002dss") || At(0, "\003ds2");
  static constexpr SizeHints kHints = kUsualSizes;
};

/// Finale scores.
class CKMMusFileType final : public StartOnly<CKMMusFileType> {
 public:
  static constexpr auto kHead = At(0, "ENIGMA BINARY FILE");
  static constexpr SizeHints kHints = kUsualSizes;
};

/// Songs of the FL Studio sequencer: a header chunk with 6 bytes of contents, and a data chunk.
class CKMFlpFileType final : public StartOnly<CKMFlpFileType> {
 public:
  static constexpr auto kHead = At(0, "FLhd\x06\0\0\0");

  static std::uint64_t SizeAt(const Sector& sector) { return sector.U32(18) + 22; }
};

/// Songs of Reason.
class CKMRnsFileType final : public StartOnly<CKMRnsFileType> {
 public:
  static constexpr auto kHead = At(0, "Propellerheads Reason Song File");
  static constexpr SizeHints kHints = kUsualSizes;
};

/// Sibelius scores.
class CKMSibFileType final : public StartOnly<CKMSibFileType> {
 public:
  static constexpr auto kHead = At(0, "\017SIBELIUS");
  static constexpr SizeHints kHints = kUsualSizes;
};

/// Material Exchange Format (SMPTE ST 377-1): the key of a partition pack.
class CKMMxfFileType final : public StartOnly<CKMMxfFileType> {
 public:
  static constexpr auto kHead = At(0, "\x06\x0E\x2B\x34\x02\x05\x01\x01\x0D\x01\x02");
  static constexpr SizeHints kHints = kUsualSizes;
};

/// Creative Music Format, version 1.1.
class CKMCmfFileType final : public StartOnly<CKMCmfFileType> {
 public:
  static constexpr auto kHead = At(0, "CTMF\x01\x01");
  static constexpr SizeHints kHints = kUsualSizes;
};

/// Monkey's Audio from version 3.98 on: the sizes of the header and of the audio data. The sum wraps at 32 bits.
class CKMApeFileType final : public StartOnly<CKMApeFileType> {
 public:
  static constexpr auto kHead = At(0, "MAC ");

  static std::uint64_t SizeAt(const Sector& sector) { return sector.U32(76) + sector.U32(24); }
};

/// Musepack of stream version 7, and of version 8 with a stream header packet of 16 bytes.
class CKMpcFileType final : public StartOnly<CKMpcFileType> {
 public:
  static constexpr auto kHead = At(0, "MP+") || At(0, "MPCKSH\x10");
  static constexpr SizeHints kHints{0x4000, 0x64000000};
};

/// True Audio, also behind an ID3v2.4 tag that begins with the title. Version 2 tells its size.
class CKMTtaFileType final : public StartOnly<CKMTtaFileType> {
 public:
  static constexpr auto kHead = At(0, "TTA1") || (At(0, "ID3\x04") && At(10, "TIT2")) || At(0, "TTA2");
  static constexpr SizeHints kHints = kUsualSizes;

  static std::uint64_t SizeAt(const Sector& sector) { return sector.Has(0, Bytes("TTA2")) ? sector.U64(24) : 0; }
};

/// TwinVQ audio.
class CKMVqfFileType final : public StartOnly<CKMVqfFileType> {
 public:
  static constexpr auto kHead = At(0, "TWIN97012000");
  static constexpr SizeHints kHints = kUsualSizes;
};

/// Bink video. The size field leaves out the eight bytes that it ends. The sum wraps at 32 bits.
class CKMBikFileType final : public StartOnly<CKMBikFileType> {
 public:
  static constexpr auto kHead = At(0, "BIKi");

  static std::uint64_t SizeAt(const Sector& sector) { return sector.U32(4) + 8; }
};

/// Shockwave movies of Director.
class CKMDcrFileType final : public StartOnly<CKMDcrFileType> {
 public:
  static constexpr auto kHead = At(7, "\0MDGF") && At(0, "XFIR");
  static constexpr SizeHints kHints = kUsualSizes;
};

/// What Windows shows as the tracks of an audio disc: RIFF files. The size is the chunk's, without its header.
class CKMCdaFileType final : public StartOnly<CKMCdaFileType> {
 public:
  static constexpr auto kHead = At(8, "CDDA") && At(0, "RIFF") && At(12, "fmt");

  static std::uint64_t SizeAt(const Sector& sector) { return sector.U32(4); }
};

/// Animations of NEOchrome on the Atari ST; and animated cursors, which share the extension and tell their size.
class CKMAniFileType final : public StartOnly<CKMAniFileType> {
 public:
  static constexpr auto kHead = At(0, "\xBA\xBE\xEB\xEA") || (At(8, "ACON") && At(0, "RIFF") && At(12, "anih"));
  static constexpr SizeHints kHints = kUsualSizes;

  static std::uint64_t SizeAt(const Sector& sector) { return sector.Has(0, Bytes("RIFF")) ? sector.U32(4) : 0; }
};

/// Pictures and clips of the QV-10 camera.
class CKMCamFileType final : public StartOnly<CKMCamFileType> {
 public:
  static constexpr auto kHead = At(0, "\x07\x20MM");
  static constexpr SizeHints kHints = kUsualSizes;
};

/// Smacker video, version 4.
class CKMSmkFileType final : public StartOnly<CKMSmkFileType> {
 public:
  static constexpr auto kHead = At(0, "SMK4");
  static constexpr SizeHints kHints = kUsualSizes;
};

/// Shows of BluffTitler: text in UTF-16. The first of the two zeros that end the file counts.
class CKMBtFileType final : public ZeroPairWalk<CKMBtFileType> {
 public:
  static constexpr auto kHead = At(2, Utf16("BluffTitler")) && At(0, "\xFF\xFE");
  static constexpr std::int64_t kLimit = 0x2000000;
  static constexpr std::uint64_t kZerosCounted = 1;
};

DETECTOR(CKMDssFileType);
DETECTOR(CKMMusFileType);
DETECTOR(CKMFlpFileType);
DETECTOR(CKMRnsFileType);
DETECTOR(CKMSibFileType);
DETECTOR(CKMMxfFileType);
DETECTOR(CKMCmfFileType);
DETECTOR(CKMApeFileType);
DETECTOR(CKMpcFileType);
DETECTOR(CKMTtaFileType);
DETECTOR(CKMVqfFileType);
DETECTOR(CKMBikFileType);
DETECTOR(CKMDcrFileType);
DETECTOR(CKMCdaFileType);
DETECTOR(CKMAniFileType);
DETECTOR(CKMCamFileType);
DETECTOR(CKMSmkFileType);
DETECTOR(CKMBtFileType);

}  // namespace qzmtraw
