/// \file
/// Drawings whose head tells the size. All sums are made in 32 bits.

#include "frame/SizedByHead.h"

namespace qzmtraw {

/// Corel drawings up to version 13, in the Resource Interchange File Format. The byte behind "CDR" is the version.
class KCDRFileType final : public SizedByHead<KCDRFileType> {
 public:
  static constexpr std::int32_t kFloor = 17;
  static constexpr auto kHead = At(0, "RIFF") && (At(8, "CDR") || At(8, "CDr")) && At(12, "vrsn");
  static constexpr std::uint64_t kDefaultMaxFileSize = 0x7FFFFFFF;
  static std::int32_t SizeAt(const Sector& sector) { return static_cast<std::int32_t>(sector.U32(4) + 8); }
};
DETECTOR(KCDRFileType);

/// Windows metafiles ([MS-WMF]) with a placeable header, of 22 bytes. The header behind it counts in words of two
/// bytes.
class KWmfFileType final : public SizedByHead<KWmfFileType> {
 public:
  static constexpr std::int32_t kFloor = 33;
  static constexpr auto kHead = At(0, "\xD7\xCD\xC6\x9A");
  static constexpr std::uint64_t kDefaultMaxFileSize = 0x200000;
  static std::int32_t SizeAt(const Sector& sector) { return static_cast<std::int32_t>(sector.U32(28) * 2 + 22); }
};
DETECTOR(KWmfFileType);

/// Enhanced metafiles ([MS-EMF]): the header is the first record, of type 1, and tells the metafile's size.
class KEMFFileType final : public SizedByHead<KEMFFileType> {
 public:
  static constexpr std::int32_t kFloor = 89;
  static constexpr auto kHead = At(40, " EMF") && At(0, "\x01\0\0\0");
  static constexpr std::uint64_t kDefaultMaxFileSize = 0x200000;
  static std::int32_t SizeAt(const Sector& sector) { return static_cast<std::int32_t>(sector.U32(48)); }
};
DETECTOR(KEMFFileType);

/// Flash films (SWF File Format Specification, version 19). A compressed one ("CWS") tells the length that it has when
/// it is uncompressed, and is reported with it.
class KSwfFileType final : public SizedByHead<KSwfFileType> {
 public:
  static constexpr std::int32_t kFloor = 9;
  static constexpr auto kHead = At(0, "FWS") || At(0, "CWS");
  static constexpr std::uint64_t kDefaultMaxFileSize = 0x200000;
  static std::int32_t SizeAt(const Sector& sector) { return static_cast<std::int32_t>(sector.U32(4)); }
};
DETECTOR(KSwfFileType);

/// Maya scenes in binary form. The chunk's length is taken for the file's, without the eight bytes of its header.
class KMbFileType final : public SizedByHead<KMbFileType> {
 public:
  static constexpr std::int32_t kFloor = 17;
  static constexpr auto kHead = At(0, "FOR4") && At(8, "Maya") && At(12, "FOR4");
  static constexpr std::uint64_t kDefaultMaxFileSize = 0x2000000;
  static std::int32_t SizeAt(const Sector& sector) { return static_cast<std::int32_t>(sector.BigU32(4)); }
};
DETECTOR(KMbFileType);

}  // namespace qzmtraw
