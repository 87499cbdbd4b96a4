/// \file
/// Drawings that end behind a tail, wherever it stands. Once a file has ended, nothing of it is left to the next one.

#include "frame/TailWalk.h"
#include "frame/ZeroPairWalk.h"

namespace qzmtraw {

/// What these kinds have in common.
template <class Self>
class DrawingWalk : public TailWalk<Self> {
 public:
  static constexpr LimitTest kLimitTest = LimitTest::kAtOrAbove;
  static constexpr OpenMark kOpenMark = OpenMark::kFileStart;
  static constexpr bool kStopsAtTail = true;
};

/// FreeHand 10 and 11. The name of a compression filter is the last text in the file; a few bytes follow it.
class CKFH1011FileType final : public DrawingWalk<CKFH1011FileType> {
 public:
  static constexpr std::int32_t kFloor = 51;
  static constexpr auto kHead =
      At(0, "\x1C\x01\x00\x00\x02\x00\x04\x1C\x01\x14\x00\x02\x00\x14\x1C\x01\x16\x00\x02\x00");
  static constexpr auto kTail = Bytes("FlateDecode\0");
  static constexpr std::int64_t kLimit = 0x4000000;
  static constexpr std::uint64_t kTailAndRest = 25;

  static std::uint64_t SizeUpTo(std::size_t offset) { return offset + kTailAndRest; }
  static std::uint64_t SizeUpToRest(std::size_t matched) { return kTailAndRest - matched; }
};
DETECTOR(CKFH1011FileType);

/// FreeHand 5 to 9.
class CKFH5TO9FileType final : public DrawingWalk<CKFH5TO9FileType> {
 public:
  static constexpr std::int32_t kFloor = 51;
  static constexpr auto kHead = At(0, "AGD");
  static constexpr auto kTail = Bytes("RVWAGD2\0");
  static constexpr std::int64_t kLimit = 0x4000000;
  static constexpr std::uint64_t kTailAndRest = 11;

  static bool IsHead(const Sector& sector) { return sector.U8(3) >= '1' && sector.U8(3) <= '4'; }
  static std::uint64_t SizeUpTo(std::size_t offset) { return offset + kTailAndRest; }
  static std::uint64_t SizeUpToRest(std::size_t matched) { return kTailAndRest - matched; }
};
DETECTOR(CKFH5TO9FileType);

/// Xara drawings. The last record, of type 3 and without contents, ends the file between zeros; in the middle of a
/// sector four zeros are taken for it.
class CKGXarFileType final : public DrawingWalk<CKGXarFileType> {
 public:
  static constexpr auto kHead = At(0, "XARA\xA3\xA3\x0D");
  static constexpr auto kTail = Bytes("\0\0\0\0\0\0\0\0\0\0\x03\0\0\0\0\0\0\0");
  static constexpr std::size_t kComparedBytes = 4;
  static constexpr bool kSeesTailAtEnd = true;
  static constexpr std::int64_t kLimit = 0x4000000;
  static constexpr OpenMark kOpenMark = OpenMark::kFileSize;
};
DETECTOR(CKGXarFileType);

/// Drawings of CADE.
class CKGDtcFileType final : public DrawingWalk<CKGDtcFileType> {
 public:
  static constexpr auto kHead = At(2, "CADEbinary");
  static constexpr auto kTail = Bytes("\x01Parsecs\0\x03\x80\x3F\0\x02\x80\x3F\x01\0\x01");
  static constexpr std::int64_t kLimit = 0x4000000;
  static constexpr OpenMark kOpenMark = OpenMark::kFileSize;
};
DETECTOR(CKGDtcFileType);

/// LightWave scenes, which are text.
class CKGLwsFileType final : public ZeroPairWalk<CKGLwsFileType> {
 public:
  static constexpr auto kHead = At(0, "LWSC\r\n");
  static constexpr std::int64_t kLimit = 0x2000000;
  static constexpr LimitTest kLimitTest = LimitTest::kAtOrAbove;
  static constexpr OpenMark kOpenMark = OpenMark::kFileStart;
};
DETECTOR(CKGLwsFileType);

/// The binary form of AutoCAD's exchange format (DXF Reference).
class CKGBinaryDxfFileType final : public DrawingWalk<CKGBinaryDxfFileType> {
 public:
  static constexpr auto kHead = At(0, "AutoCAD Binary DXF");
  static constexpr auto kTail = Bytes("EOF");
  static constexpr std::int64_t kLimit = 0x2000000;
};
DETECTOR(CKGBinaryDxfFileType);

/// Computer graphics metafiles in binary encoding (ISO/IEC 8632-3) that follow a profile: behind the name that they
/// begin with stands the version 1 and a description of 61 characters, which begins with "Pr in quotation marks. The
/// last picture's end and the metafile's end stand last.
class CKGCgmBinaryFileType final : public DrawingWalk<CKGCgmBinaryFileType> {
 public:
  static constexpr auto kHead = At(0, "\0");
  static constexpr auto kTail = Bytes("\x00\xA0\x00\x40");
  static constexpr std::int64_t kLimit = 0x2000000;
  static constexpr LimitTest kLimitTest = LimitTest::kAbove;

  /// The sector's last byte isn't looked at. Many sectors are nothing but zeros, which the description's first byte
  /// tells at once.
  static bool IsHead(const Sector& sector) {
    constexpr auto kVersionAndDescription = Bytes("\x10\x22\x00\x01\x10\x5F\x00\x3E=\"Pr");
    const ByteView searched = sector.Bytes().first(static_cast<std::size_t>(sector.Size()) - 1);
    const std::optional<std::size_t> first = Find(searched, Bytes("\x10"), 1);
    return first && Find(searched, kVersionAndDescription, *first);
  }
};
DETECTOR(CKGCgmBinaryFileType);

/// Gridded data of the weather services (WMO FM 92 GRIB, edition 1): messages in a row, each from "GRIB" to "7777". At
/// a sector's end, "7777" ends the file only where another message follows; before, it ends the file wherever it
/// stands.
class CKGGrbFileType final : public DrawingWalk<CKGGrbFileType> {
 public:
  static constexpr auto kHead = At(0, "GRIB") && At(7, "\x01\0\0\x1C");
  static constexpr auto kTail = Bytes("7777");
  static constexpr auto kFollow = Bytes("GRIB");
  static constexpr std::size_t kTailRoom = kTail.Size() + kFollow.Size();
  static constexpr std::int64_t kLimit = 0x2000000;
  static constexpr bool kHeadClearsCount = false;

  bool FindTail(const Sector& sector, IRawHitSink* sink) {
    if (tailMatched == 0 && followMatched != 0) {
      if (sector.Has(0, ByteView(kFollow).subspan(followMatched))) {
        // What has been seen of the next message stays behind, for whatever file comes.
        fileSize -= followMatched;
        ReportAndClose(sink);
        return true;
      }
      followMatched = 0;
    }
    return TailWalk::FindTail(sector, sink);
  }

  static bool GoesOn(const Sector& sector, std::size_t matched) {
    constexpr auto kTailAndFollow = Bytes("7777GRIB");
    return sector.Has(0, ByteView(kTailAndFollow).subspan(matched));
  }

  /// A whole tail counts when nothing but the beginning of another message stands behind it.
  void FindBeginningOfTail(const Sector& sector, std::size_t from) {
    const ByteView bytes = sector.Bytes();
    for (; from + kTail.Size() <= bytes.size(); ++from) {
      const ByteView rest = bytes.subspan(from + kTail.Size());
      if (sector.Has(static_cast<std::int64_t>(from), kTail) && BeginsWith(kFollow, rest)) {
        followMatched = static_cast<std::uint32_t>(rest.size());
        return;
      }
    }
    TailWalk::FindBeginningOfTail(sector, from);
  }

  void ClearCount() { followMatched = 0; }

 private:
  /// How many bytes of another message's beginning ended the sector before, behind "7777".
  std::uint32_t followMatched = 0;
};
DETECTOR(CKGGrbFileType);

/// Macintosh pictures (Inside Macintosh: Imaging With QuickDraw, appendix A) whose header of 512 bytes has a mark of
/// its own. A piece that commonly stands last is followed by four bytes and the opcode that ends a picture. Across two
/// sectors the opcode is looked for where it would stand if the piece began with the sector.
class CKGPctFileType final : public DrawingWalk<CKGPctFileType> {
 public:
  static constexpr auto kHead = At(0, "PICT") && At(4, kZeros<508>);
  static constexpr auto kTail = Bytes("\x08\0\0\0\x01\0\x0A\0\0\0\0");
  static constexpr auto kEndOfPicture = Bytes("\0\xFF");
  static constexpr std::int64_t kEndOffset = 15;
  static constexpr std::size_t kTailRoom = 17;
  static constexpr std::int64_t kLimit = 0x2000000;
  static constexpr LimitTest kLimitTest = LimitTest::kAbove;
  static constexpr bool kHeadClearsCount = false;

  static std::uint64_t SizeUpTo(std::size_t offset) { return offset + kTailRoom; }
  static std::uint64_t SizeUpToRest(std::size_t matched) { return kTailRoom - matched; }

  static bool CountsAt(const Sector& sector, std::size_t offset) {
    return sector.Has(static_cast<std::int64_t>(offset) + kEndOffset, kEndOfPicture);
  }
  static bool GoesOn(const Sector& sector, std::size_t matched) {
    return TailWalk::GoesOn(sector, matched) && sector.Has(kEndOffset, kEndOfPicture);
  }

  bool FindTail(const Sector& sector, IRawHitSink* sink) {
    if (tailMatched == 0) {
      const bool endsHere = endMatched == 1 && sector.U8(0) == kEndOfPicture.bytes[1];
      endMatched = 0;
      if (endsHere) {
        fileSize += 1;
        ReportAndClose(sink);
        return true;
      }
    }
    return TailWalk::FindTail(sector, sink);
  }

  /// A whole piece with its opcode exactly at the sector's end is passed over.
  void FindBeginningOfTail(const Sector& sector, std::size_t from) {
    const ByteView bytes = sector.Bytes();
    if (const std::optional<std::size_t> found = Find(bytes, kTail, from)) {
      const std::size_t rest = bytes.size() - *found;
      if (rest < kTailRoom) {
        endMatched = static_cast<std::int32_t>(rest) - static_cast<std::int32_t>(kEndOffset);
        return;
      }
    }
    TailWalk::FindBeginningOfTail(sector, std::max(from, bytes.size() - std::min(bytes.size(), kTail.Size() - 1)));
  }

  void ClearCount() { endMatched = 0; }

 private:
  /// With 1, the opcode's first byte was the last one of the sector before, which nobody looked at. What is not above 0
  /// can't end a file.
  std::int32_t endMatched = 0;
};
DETECTOR(CKGPctFileType);

}  // namespace qzmtraw
