#include "frame/Search.h"
#include "frame/StartOnly.h"

namespace qzmtraw {

// Archives of which a signature is all that is looked at: nothing in their heads tells how long they are.

/// Backup files that begin with a mark of 16 bytes.
class CKBakOrPrtFileType final : public StartOnly<CKBakOrPrtFileType> {
 public:
  static constexpr auto kHead = At(0, "\xA5\x0F\xF0\x5A\x1E\x02\0\0\x30\x4D\x33\x43\x0B\0\xFF\0");
  static constexpr SizeHints kHints{256, 0x64000000};
};

/// Files of a backup program.
class CKARdbFileType final : public StartOnly<CKARdbFileType> {
 public:
  static constexpr auto kHead = At(0, "531E98204F8542F0");
  static constexpr SizeHints kHints{256, 0x2000000};
};

/// ACE archives. The mark stands behind the CRC, size, type and flags of the main header.
class CKAAceFileType final : public StartOnly<CKAAceFileType> {
 public:
  static constexpr auto kHead = At(7, "**ACE**");
  static constexpr SizeHints kHints{256, 0x64000000};
};

/// BAG archives.
class CKABagFileType final : public StartOnly<CKABagFileType> {
 public:
  static constexpr auto kHead = At(1, "gab") && At(5, "%%");
  static constexpr SizeHints kHints{256, 0x64000000};
};

/// BlackHole archives. The first mark may be one byte late, the second one keeps its place.
class CKABhFileType final : public StartOnly<CKABhFileType> {
 public:
  static constexpr auto kHead = At(6, "\x25\xDA\x04\0") && (At(0, "BH\x05\x07") || At(1, "BH\x05\x07"));
  static constexpr SizeHints kHints{256, 0x64000000};
};

/// Debian packages (deb(5)), and all other files of ar(5).
class CKADebFileType final : public StartOnly<CKADebFileType> {
 public:
  static constexpr auto kHead = At(0, "!<arch>");
  static constexpr SizeHints kHints{256, 0x64000000};
};

/// Archives of HA whose first member has an empty path.
class CKAHaFileType final : public StartOnly<CKAHaFileType> {
 public:
  static constexpr auto kHead = At(0, "HA") && At(21, "\0");
  static constexpr SizeHints kHints{256, 0x2000000};
};

/// Files of lzop.
class CKALzoFileType final : public StartOnly<CKALzoFileType> {
 public:
  static constexpr auto kHead = At(0, "\x89LZO\0\r\n\x1A\n");
  static constexpr SizeHints kHints{256, 0x2000000};
};

/// Files of compress, in blocks and with codes of up to 16 bits, and gzip files without flags, which are found as
/// gzip's as well.
class CKAZFileType final : public StartOnly<CKAZFileType> {
 public:
  static constexpr auto kHead = At(0, "\x1F\x9D\x90") || At(0, "\x1F\x8B\x08\0");
  static constexpr SizeHints kHints{256, 0x64000000};
};

/// bzip2 files: the block size, a digit and up, and the first block's mark, the digits of pi in BCD.
class CKABz2FileType final : public StartOnly<CKABz2FileType> {
 public:
  static constexpr auto kHead = At(0, "BZh") && At(4, "1AY&SY");
  static constexpr SizeHints kHints{256, 0x28000000};

  static bool IsHead(const Sector& sector) { return sector.U8(3) >= '0'; }
};

/// tar archives whose first member is a directory at the top, or has an empty name (POSIX.1-2017, pax, "ustar
/// Interchange Format"; the mark with two blanks is GNU tar's).
class CKATarFileType final : public StartOnly<CKATarFileType> {
 public:
  static constexpr auto kHead = At(257, "ustar\0") || At(257, "ustar  \0");
  static constexpr SizeHints kHints{256, 0x14000000};

  /// The name's first slash is its last byte.
  static bool IsHead(const Sector& sector) {
    const ByteView name = UpToZero(sector.Bytes());
    return name.empty() || Find(name, Bytes("/")) == name.size() - 1;
  }
};

DETECTOR(CKBakOrPrtFileType);
DETECTOR(CKARdbFileType);
DETECTOR(CKAAceFileType);
DETECTOR(CKABagFileType);
DETECTOR(CKABhFileType);
DETECTOR(CKADebFileType);
DETECTOR(CKAHaFileType);
DETECTOR(CKALzoFileType);
DETECTOR(CKAZFileType);
DETECTOR(CKABz2FileType);
DETECTOR(CKATarFileType);

}  // namespace qzmtraw
