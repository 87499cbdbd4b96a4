// Documents, help files and profiles that are known by their start, or that tell their size in their head.

#include <array>

#include "frame/KFileSimulator.h"
#include "frame/SizedByHead.h"
#include "frame/StartOnly.h"

namespace qzmtraw {

/// FrameMaker. The version follows.
class CKFmFeileType final : public StartOnly<CKFmFeileType> {
 public:
  static constexpr auto kHead = At(0, "<MakerFile");
  static constexpr std::int32_t kFloor = 51;
  static constexpr SizeHints kHints{10485760, 67108864};
};
DETECTOR(CKFmFeileType);

/// Quattro Pro for DOS.
class CKWq1FeileType final : public StartOnly<CKWq1FeileType> {
 public:
  static constexpr auto kHead = At(0, "\0\0\x02\0\x20\x51\xCC\0\x02\0\0\x04\x06\0\x10\0\0\0\0\0");
  static constexpr std::int32_t kFloor = 51;
  static constexpr SizeHints kHints{10485760, 67108864};
};
DETECTOR(CKWq1FeileType);

/// Microsoft Money, which keeps its data in Jet's pages.
class CKMnyFeileType final : public StartOnly<CKMnyFeileType> {
 public:
  static constexpr auto kHead = At(0, "\0\x01\0\0MSISAM");
  static constexpr std::int32_t kFloor = 51;
  static constexpr SizeHints kHints{10485760, 104857600};
};
DETECTOR(CKMnyFeileType);

/// WordPerfect documents from version 6 on: the prefix's file kind and version, and its length field.
class KWpdFileType final : public SizedByHead<KWpdFileType> {
 public:
  static constexpr auto kHead = At(0, "\xFFWPC") && At(8, "\x01\x0A\x02\x01") && At(12, "\0\0\0\x02");
  static constexpr std::int32_t kFloor = 17;
  static constexpr std::uint64_t kDefaultMaxFileSize = 0x2000000;

  static std::int32_t SizeAt(const Sector& sector) { return static_cast<std::int32_t>(sector.U32(20)); }
};
DETECTOR(KWpdFileType);

/// WordPerfect graphics.
class CKWpgFileType final : public StartOnly<CKWpgFileType> {
 public:
  static constexpr auto kHead = At(0, "\xFFWPC") && At(7, "\0\x01\x16");

  static std::uint64_t SizeAt(const Sector& sector) { return sector.U32(20); }
};
DETECTOR(CKWpgFileType);

/// QuickBooks company files: a number of pages, and the power of two that is their size.
class CKQBWFileType final : public StartOnly<CKQBWFileType> {
 public:
  static constexpr auto kHead = At(15, "\0\x03\0\0\0\x5E\xBA\x7A\xDA");

  /// The page size takes five bits, and what the shift pushes out of 32 bits is lost.
  static std::uint64_t SizeAt(const Sector& sector) { return sector.U32(200) << (sector.U8(26) & 0x1FU); }
};
DETECTOR(CKQBWFileType);

/// Windows Help.
class KHLPFileType final : public SizedByHead<KHLPFileType> {
 public:
  static constexpr auto kHead = At(0, "\x3F\x5F\x03\0");
  static constexpr std::int32_t kFloor = 17;
  static constexpr std::uint64_t kDefaultMaxFileSize = 0x7fffffff;
  static constexpr bool kClosesOnZeroSize = false;

  static std::int32_t SizeAt(const Sector& sector) { return static_cast<std::int32_t>(sector.U32(12)); }
};
DETECTOR(KHLPFileType);

/// Compiled HTML Help ("Microsoft's HTML Help (.chm) format", Matthew Russotto). The header's first section holds the
/// size of the file.
class KCHMFileType final : public SizedByHead<KCHMFileType> {
 public:
  static constexpr auto kHead = At(0, "ITSF") &&
                                At(24, "\x10\xFD\x01\x7C\xAA\x7B\xD0\x11\x9E\x0C\x00\xA0\xC9\x22\xE6\xEC") &&
                                At(40, "\x11\xFD\x01\x7C\xAA\x7B\xD0\x11\x9E\x0C\x00\xA0\xC9\x22\xE6\xEC");
  static constexpr std::int32_t kFloor = 257;
  static constexpr std::uint64_t kDefaultMaxFileSize = 0x7fffffff;
  static constexpr bool kClosesOnZeroSize = false;

  static bool IsHead(const Sector& sector) {
    constexpr std::uint64_t kLastPlace = 232;
    constexpr std::uint32_t kSectionMark = 510;
    return Section(sector) <= kLastPlace && sector.U32(static_cast<std::int64_t>(Section(sector))) == kSectionMark;
  }

  static std::int32_t SizeAt(const Sector& sector) {
    return static_cast<std::int32_t>(sector.U32(static_cast<std::int64_t>(Section(sector)) + 8));
  }

 private:
  static std::uint64_t Section(const Sector& sector) { return sector.U64(56); }
};
DETECTOR(KCHMFileType);

/// Colour profiles (ICC.1:2010, 7.2), and Apple's of one kind, which lack the signature.
class KIccFileType final : public SizedByHead<KIccFileType> {
 public:
  static constexpr auto kHead = At(36, "acsp") || (At(4, "APPL") && At(8, "\x02\x40\0\0prtr"));
  static constexpr std::int32_t kFloor = 17;
  static constexpr std::uint64_t kDefaultMaxFileSize = 0x2000000;

  static std::int32_t SizeAt(const Sector& sector) { return static_cast<std::int32_t>(sector.BigU32(0)); }
};
DETECTOR(KIccFileType);

/// Books of Microsoft Reader, in the ITOL/ITLS container. A field of the header tells where the directory of its pieces
/// stands, and the file's size stands in there, be it in the head's sector or in a later one.
class CKLitFileType final : public StartOnly<CKLitFileType> {
 public:
  static constexpr auto kHead = At(0, "ITOLITLS");

  static std::uint64_t SizeAt(const Sector& sector) {
    constexpr std::int64_t kFieldOffset = 8;
    constexpr std::uint32_t kFieldSize = 4;
    constexpr std::uint64_t kLargestFile = 0x7fffffff;
    const std::int64_t field = std::int64_t{sector.U32(40)} + kFieldOffset;
    if (field + kFieldSize <= sector.Size()) return sector.U32(field);
    KFileSimulator simulator(sector.RawBlock(), sector.Number(), kLargestFile);
    std::array<std::uint8_t, kFieldSize> bytes{};
    simulator.SetPos(static_cast<std::uint64_t>(field));
    simulator.Read(bytes.data(), kFieldSize);
    return LoadLittle<std::uint32_t>(bytes.data());
  }
};
DETECTOR(CKLitFileType);

}  // namespace qzmtraw
