// The stores of mail programs and browsers: messages, address books, caches.

#include <algorithm>

#include "frame/ChainWalk.h"
#include "frame/SizedByHead.h"
#include "frame/StartOnly.h"

namespace qzmtraw {

/// Outlook's personal folders ([MS-PST], 2.2.2.6). The two forms of the header keep the file's size at different
/// offsets; where it doesn't stand, there is a smaller number.
class KPSTFileType final : public SizedByHead<KPSTFileType> {
 public:
  static constexpr auto kHead = At(0, "!BDN");
  static constexpr std::int32_t kFloor = 192;
  static constexpr std::uint64_t kDefaultMaxFileSize = 0x7fffffff;
  static constexpr bool kClosesOnZeroSize = false;

  static std::int32_t SizeAt(const Sector& sector) {
    return std::max(static_cast<std::int32_t>(sector.U32(168)), static_cast<std::int32_t>(sector.U32(184)));
  }
};
DETECTOR(KPSTFileType);

/// Folders of Outlook Express 5 and 6. Byte 4 tells messages from the list of folders.
class KDBXFileType final : public SizedByHead<KDBXFileType> {
 public:
  static constexpr auto kHead = At(0, "\xCF\xAD\x12\xFE") && At(5, "\xFD\x74\x6F\x66\xE3\xD1\x11\x9A\x4E\x00\xC0");
  static constexpr std::int32_t kFloor = 128;
  static constexpr std::uint64_t kDefaultMaxFileSize = 0x7fffffff;
  static constexpr bool kClosesOnZeroSize = false;

  /// The length of the objects, and 4096 for what stands in front of them. Wraps at 32 bits.
  static std::int32_t SizeAt(const Sector& sector) { return static_cast<std::int32_t>(sector.U32(124) + 4096); }
};
DETECTOR(KDBXFileType);

/// The Windows address book.
class CKIEWabFileType final : public StartOnly<CKIEWabFileType> {
 public:
  static constexpr auto kHead = At(0, "\x9C\xCB\xCB\x8D\x13\x75\xD2\x11\x91\x58\x00\xC0\x4F\x79\x56\xA4");
  static constexpr SizeHints kHints{256, 67108864};
};
DETECTOR(CKIEWabFileType);

class CKIEAbdFileType final : public StartOnly<CKIEAbdFileType> {
 public:
  static constexpr auto kHead = At(0, "\x91\x89\x98\x19\x44\0\0\0");
  static constexpr SizeHints kHints{256, 67108864};
};
DETECTOR(CKIEAbdFileType);

/// Extensible storage engine databases, page format 0x620. The header begins with a checksum.
class CKIEEdbFileType final : public StartOnly<CKIEEdbFileType> {
 public:
  static constexpr auto kHead = At(4, "\xEF\xCD\xAB\x89\x20\x06\0\0");
  static constexpr SizeHints kHints{256, 67108864};
};
DETECTOR(CKIEEdbFileType);

class CKIENsfFileType final : public StartOnly<CKIENsfFileType> {
 public:
  static constexpr auto kHead = At(0, "\x1A\0\0\x04\0\0") && At(16, "%");
  static constexpr SizeHints kHints{256, 67108864};
};
DETECTOR(CKIENsfFileType);

/// Message bases of The Bat!: a header and, for each message, a header of its own with the length of what follows it.
class CKIETbbFileType final : public ChainWalk<StartOnly<CKIETbbFileType>> {
 public:
  static constexpr auto kHead = At(0, "\x20\x06\x79\x19\x08\x0C\0\0");

  std::uint64_t SizeAt(const Sector& sector) {
    constexpr std::uint64_t kHeaderLength = 3080;
    const auto next = [](KFileSimulator& file, std::uint64_t place) -> std::optional<std::uint64_t> {
      constexpr std::uint32_t kRecordMark = 0x19700921;
      std::array<std::uint8_t, 48> header{};
      file.Read(header.data(), header.size());
      if (LoadLittle<std::uint32_t>(header.data()) != kRecordMark) return std::nullopt;
      return place + LoadLittle<std::uint32_t>(&header[36]) + header.size();
    };
    return FollowChain(sector, kHeaderLength, next);
  }
};
DETECTOR(CKIETbbFileType);

/// The cache index of Internet Explorer 4 to 9.
class CKIEIindexDatFileType final : public StartOnly<CKIEIindexDatFileType> {
 public:
  static constexpr auto kHead = At(0, "Client UrlCache MMF Ver 5.2\0");

  static std::uint64_t SizeAt(const Sector& sector) { return sector.U32(28); }
};
DETECTOR(CKIEIindexDatFileType);

}  // namespace qzmtraw
