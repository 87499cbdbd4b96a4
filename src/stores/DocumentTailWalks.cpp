// Documents that end behind a byte string, across sectors as well, or at a limit.

#include <algorithm>

#include "frame/TailWalk.h"

namespace qzmtraw {

/// A tail walk that is given up at its limit. A head that closes the file before it forgets the tail that file's last
/// sector began.
template <class Self>
class DocumentTailWalk : public TailWalk<Self> {
 public:
  static constexpr LimitTest kLimitTest = LimitTest::kAtOrAbove;

  void ClearCount() { this->tailMatched = 0; }
};

/// TurboTax returns, which end in front of the first four zero bytes. The 14 bytes of the header aren't counted.
class CKTaxFileType final : public DocumentTailWalk<CKTaxFileType> {
 public:
  static constexpr auto kHead = At(0, "TTFN\x01\x01");
  static constexpr auto kTail = Bytes("\0\0\0\0");
  static constexpr std::int64_t kLimit = 0x6400000;

  static std::uint64_t SizeUpTo(std::size_t offset) { return offset; }
  static std::uint64_t SizeUpToRest(std::size_t matched) { return 0 - std::uint64_t{matched}; }

  static ByteView SearchedBytes(const Sector& sector) {
    return sector.Bytes().first(static_cast<std::size_t>(std::max(BytesCounted(sector), 0)));
  }
  /// Less than nothing for a head in a sector that is shorter than the header.
  static std::uint64_t GrowthBy(const Sector& sector) {
    return static_cast<std::uint64_t>(std::int64_t{BytesCounted(sector)});
  }

 private:
  /// A head's sector is counted, and searched, without as many bytes at its end as the header has.
  static std::int32_t BytesCounted(const Sector& sector) {
    constexpr std::int32_t kHeaderLength = 14;
    return sector.Size() - (kHead.Matches(sector) ? kHeaderLength : 0);
  }
};
DETECTOR(CKTaxFileType);

/// Mobipocket books, Palm databases of the type BOOK and the creator MOBI. They end with a record "FLIS" and a record
/// "FCIS" behind it, of which 27 bytes stand behind the tail. These aren't counted where the tail stands in two
/// sectors.
class CKBookMobiFileType final : public DocumentTailWalk<CKBookMobiFileType> {
 public:
  static constexpr auto kHead = At(60, "BOOKMOBI");
  static constexpr std::int32_t kFloor = 70;
  static constexpr auto kTail = Bytes(
      "FLIS\0\0\0\x08\0\x41\0\0\0\0\0\0\xFF\xFF\xFF\xFF\0\x01\0\x03\0\0\0\x03\0\0\0\x01\xFF\xFF\xFF\xFF"
      "FCIS\0\0\0\x14\0\0\0\x10\0\0\0\x01\0\0\0\0\0");
  static constexpr std::int64_t kLimit = 0x40000000;
  static constexpr OpenMark kOpenMark = OpenMark::kFileSizeAlone;
  static constexpr bool kHasOpenFlag = true;

  static std::uint64_t SizeUpTo(std::size_t offset) {
    constexpr std::uint64_t kBytesBehindTail = 27;
    return TailWalk::SizeUpTo(offset) + kBytesBehindTail;
  }
};
DETECTOR(CKBookMobiFileType);

/// Lotus 1-2-3 worksheets, records of a kind and a length. The end is the record of kind 1 and length 0, and it isn't
/// seen where it ends a sector or stands in two.
class CKWksFeileType final : public DocumentTailWalk<CKWksFeileType> {
 public:
  static constexpr auto kHead = At(0, "\0\0\x02\0\x04\x04\x06\0") && At(9, "\0");
  static constexpr std::int32_t kFloor = 51;
  /// The end's four bytes, and the first one behind them.
  static constexpr auto kTail = Bytes("\x01\0\0\0\0");
  static constexpr std::int64_t kLimit = 0x4000000;
  static constexpr OpenMark kOpenMark = OpenMark::kFileStart;
  static constexpr bool kStraddles = false;

  static std::uint64_t SizeUpTo(std::size_t offset) { return offset + 4; }
};
DETECTOR(CKWksFeileType);

/// CoolPage. Behind the tail stand 62 bytes more.
class CKCpgFeileType final : public DocumentTailWalk<CKCpgFeileType> {
 public:
  static constexpr auto kHead = At(0,
                                   "\x0E"
                                   "Cool Page File\x01");
  static constexpr std::int32_t kFloor = 51;
  static constexpr auto kTail = Bytes("\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFF\0\0\0\0\0\0\0\0");
  static constexpr std::int64_t kLimit = 0x4000000;
  static constexpr OpenMark kOpenMark = OpenMark::kFileStart;
  static constexpr bool kSeesTailAtEnd = true;

  static std::uint64_t SizeUpTo(std::size_t offset) { return offset + kTailAndRest; }
  static std::uint64_t SizeUpToRest(std::size_t matched) { return kTailAndRest - matched; }

 private:
  static constexpr std::uint64_t kTailAndRest = 78;
};
DETECTOR(CKCpgFeileType);

}  // namespace qzmtraw
