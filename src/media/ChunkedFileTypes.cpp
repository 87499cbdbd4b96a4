#include "frame/SizedByHead.h"

/// \file
/// Kinds whose outer chunk tells the size: RIFF files (Multimedia Programming Interface and Data Specifications 1.0)
/// and IFF files (EA IFF 85); and Au files, which have the same shape. The chunk that describes the contents must come
/// first. The outer chunk's size is taken bare, without the eight bytes of its header. From 2 GiB on sizes are
/// negative.

namespace qzmtraw {

namespace {

/// A size in the outer chunk's header.
template <class Self>
class ChunkedFile : public SizedByHead<Self> {
 public:
  static constexpr std::int32_t kFloor = 17;
  static constexpr std::uint64_t kDefaultMaxFileSize = 0x2000000;
};

template <class Self>
class RiffFile : public ChunkedFile<Self> {
 public:
  static std::int32_t SizeAt(const Sector& sector) { return static_cast<std::int32_t>(sector.U32(4)); }
};

}  // namespace

class KWavFileType final : public RiffFile<KWavFileType> {
 public:
  static constexpr auto kHead = At(8, "WAVE") && At(0, "RIFF") && At(12, "fmt ");
};

class KAniFileType final : public RiffFile<KAniFileType> {
 public:
  static constexpr auto kHead = At(8, "ACON") && At(0, "RIFF") && At(12, "anih");
};

class KAifFileType final : public ChunkedFile<KAifFileType> {
 public:
  static constexpr auto kHead = At(8, "AIFF") && At(0, "FORM") && At(12, "COMM");

  static std::int32_t SizeAt(const Sector& sector) { return static_cast<std::int32_t>(sector.BigU32(4)); }
};

/// Audio of Sun and NeXT: a header whose size it tells, and the samples.
class KSndFileType final : public ChunkedFile<KSndFileType> {
 public:
  static constexpr auto kHead = At(0, ".snd");

  static bool IsHead(const Sector& sector) {
    constexpr std::int32_t kTooLongAHeader = 1000;
    return static_cast<std::int32_t>(sector.BigU32(4)) < kTooLongAHeader;
  }

  /// The sum wraps at 32 bits, also where the size of the samples is unknown, which is written as 0xffffffff.
  static std::int32_t SizeAt(const Sector& sector) {
    return static_cast<std::int32_t>(sector.BigU32(4) + sector.BigU32(8));
  }
};

DETECTOR(KWavFileType);
DETECTOR(KAniFileType);
DETECTOR(KAifFileType);
DETECTOR(KSndFileType);

}  // namespace qzmtraw
