#include <algorithm>
#include <array>

#include "frame/HeadTail.h"
#include "frame/KFileSimulator.h"
#include "frame/SizedByHead.h"
#include "frame/StartOnly.h"

/// \file
/// Working files of paint and drawing programs whose sections are stepped over, or that end with bytes of their own.

namespace qzmtraw {

/// Paint Shop Pro images (Jasc's file format documentation): a file header of 36 bytes, and blocks that tell their
/// lengths. At least two are asked for, and no more than 16 are walked over.
class KPSPFileType final : public SizedByHead<KPSPFileType> {
 public:
  static constexpr auto kHead = At(0, "Paint Shop Pro Image File\n\x1A\0\0\0\0");
  static constexpr std::int32_t kFloor = 33;
  static constexpr std::uint64_t kDefaultMaxFileSize = 0x7FFFFFFF;

  /// The size leaves out the last ten bytes that were read. They are what isn't a block any more, but part of the file
  /// when the walk ends with its sixteenth block.
  static std::int32_t SizeAt(const Sector& sector) {
    constexpr int kMostBlocks = 16;
    constexpr std::uint32_t kBlockHeaderSize = 10;
    constexpr auto kMarker = Bytes("~BK\0");
    KFileSimulator file(sector.RawBlock(), sector.Number(), kDefaultMaxFileSize);
    file.SetPos(36);
    int count = 0;
    for (; count < kMostBlocks; ++count) {
      std::array<std::uint8_t, kBlockHeaderSize> header{};
      file.Read(header.data(), kBlockHeaderSize);
      if (!std::equal(kMarker.bytes.begin(), kMarker.bytes.end(), header.begin())) break;
      file.Skip(LoadLittle<std::uint32_t>(&header[6]));
    }
    return count < 2 ? 0 : static_cast<std::int32_t>(file.GetPos() - kBlockHeaderSize);
  }
};

DETECTOR(KPSPFileType);

/// openCanvas images: a header, and chunks with a tag and a length, up to the tag of the end or to one that isn't
/// known.
class KOciFileType final : public SizedByHead<KOciFileType> {
 public:
  static constexpr auto kHead = At(0, "OPIM") && At(4, "\x30\0\0\0");
  static constexpr std::int32_t kFloor = 81;
  static constexpr std::int64_t kMinimum = 512;
  static constexpr std::uint64_t kDefaultMaxFileSize = 0xA00000;

  /// The position wraps at 32 bits.
  static std::int32_t SizeAt(const Sector& sector) {
    constexpr int kMostChunks = 200;
    KFileSimulator file(sector.RawBlock(), sector.Number(), 512);
    std::uint32_t position = 52;
    for (int i = 0; i < kMostChunks; ++i) {
      std::array<std::uint8_t, 12> header{};
      file.SetPos(position);
      file.Read(header.data(), header.size());
      const ByteView tag = ByteView(header).subspan(4, 4);
      const auto isTag = [tag](ByteView other) { return std::equal(tag.begin(), tag.end(), other.begin()); };
      if (std::none_of(kTags.begin(), kTags.end(), isTag)) break;
      position += LoadLittle<std::uint32_t>(&header[8]) + 8;
      if (!isTag(kEndTag)) continue;
      position += 4;
      break;
    }
    return static_cast<std::int32_t>(position);
  }

 private:
  static constexpr ByteString<4> kEndTag = Bytes("OBEV");
  static constexpr std::array kTags = {Bytes("OTNL"), Bytes("OBIM"), Bytes("OMSK"),
                                       Bytes("OEVP"), Bytes("OLYR"), kEndTag};
};

DETECTOR(KOciFileType);

/// SmartDraw drawings. The tail has two forms.
class KSdrFileType final : public HeadTail<KSdrFileType> {
 public:
  static constexpr auto kHead = At(0, "SMARTDRW");
  static constexpr std::int32_t kFloor = 9;
  static constexpr std::uint64_t kDefaultMaxFileSize = 0xA00000;

  static std::optional<std::int64_t> EndIn(const Sector& sector) {
    const auto one = EndBehindTail(sector, Bytes("\x40\x40\xD3\x40\xB1\x40\xDF\x40\x01\x40"));
    const auto other = EndBehindTail(sector, Bytes("\x40\x40\xE1\x40\xB1\x40\xDF\x40\x01\x40"));
    return one && other ? std::min(one, other) : std::max(one, other);
  }
};

DETECTOR(KSdrFileType);

/// GIMP images (The XCF file format, in GIMP's developer documentation). The first form of the mark is version 0's.
/// Only the start is known.
class KXCFFileType final : public StartOnly<KXCFFileType> {
 public:
  static constexpr auto kHead = At(0, "gimp xcf file") || At(0, "gimp xcf v");
  static constexpr std::int32_t kFloor = 13;
  static constexpr SizeHints kHints{0xA00000, 0x2000000};
};

DETECTOR(KXCFFileType);

}  // namespace qzmtraw
