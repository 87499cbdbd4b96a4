// Databases. They are written in pages and have no end mark, so that most are known by their start alone.

#include "frame/ChainWalk.h"
#include "frame/StartOnly.h"

namespace qzmtraw {

/// A database that is known by its start.
template <class Self>
class DatabaseStart : public StartOnly<Self> {
 public:
  static constexpr SizeHints kHints{5242880, 104857600};
};

/// Jet and ACE databases, the stores of Access.
class KMdbFileType final : public StartOnly<KMdbFileType> {
 public:
  static constexpr auto kHead = At(0, "\0\x01\0\0Standard Jet DB\0") || At(0, "\0\x01\0\0Standard ACE DB\0");
  static constexpr std::int32_t kFloor = 41;
  static constexpr SizeHints kHints{5242880, 52428800};
};
DETECTOR(KMdbFileType);

/// The first page of SQL Server's data files.
class KMdfFileType final : public DatabaseStart<KMdfFileType> {
 public:
  static constexpr auto kHead =
      At(0, "\x01\x0F\0\0") && At(8, "\0\0\0\0\0\0\0\0\0\0\0\0") && At(22, "\x01\0\x63\0") && At(96, "\x30\0\x08\0");
  static constexpr std::int32_t kFloor = 105;
};
DETECTOR(KMdfFileType);

/// SQL Server's transaction logs.
class CKDLdfFileType final : public DatabaseStart<CKDLdfFileType> {
 public:
  static constexpr auto kHead = At(0, "\x01\x0F\0\0") && At(8, "\0\0\0\0\0\0\0\0\0\0\0\0\0\0\x02\0\x63\0\0\0");
};
DETECTOR(CKDLdfFileType);

/// FileMaker Pro 5 and 6. The head fits the files of version 7 as well.
class CKDFp5FileType final : public DatabaseStart<CKDFp5FileType> {
 public:
  static constexpr auto kHead = At(0, "\0\x01\0\0\0\x02\0\x01\0\x05\0\x02\0\x02\xC0");
};
DETECTOR(CKDFp5FileType);

/// FileMaker Pro 7 to 11.
class CKDFp7FileType final : public DatabaseStart<CKDFp7FileType> {
 public:
  static constexpr auto kHead = At(0, "\0\x01\0\0\0\x02\0\x01\0\x05\0\x02\0\x02\xC0HBAM7");
};
DETECTOR(CKDFp7FileType);

/// InterBase's backups: the attributes that every backup begins with.
class CKDGbkFileType final : public DatabaseStart<CKDGbkFileType> {
 public:
  static constexpr auto kHead = At(0, "\0\x02\x04\x06\0\0\0\x04\x04\x01\0\0\0\x05\x04\x01");
};
DETECTOR(CKDGbkFileType);

/// InterBase's databases: a header page, and the upper byte of a page size of 4096.
class CKDGdbFileType final : public DatabaseStart<CKDGdbFileType> {
 public:
  static constexpr auto kHead = At(0, "\x01\0\x39\x30") && At(17, "\x10");
};
DETECTOR(CKDGdbFileType);

class CKDSas7bdatFileType final : public DatabaseStart<CKDSas7bdatFileType> {
 public:
  static constexpr auto kHead = At(12, "\xC2\xEA\x81\x60\xB3\x14\x11\xCF\xBD\x92\x08\0") && At(84, "SAS FILE");
};
DETECTOR(CKDSas7bdatFileType);

class CKDSavFileType final : public DatabaseStart<CKDSavFileType> {
 public:
  static constexpr auto kHead = At(0, "$FL2@(#) IBM SPSS STATISTICS DATA FILE MS Windows");
};
DETECTOR(CKDSavFileType);

class CKDTa5FileType final : public DatabaseStart<CKDTa5FileType> {
 public:
  static constexpr auto kHead = At(0, "TaxACT Encrypted Data");
};
DETECTOR(CKDTa5FileType);

/// What the linker keeps for linking again in steps.
class CKDIlkFileType final : public DatabaseStart<CKDIlkFileType> {
 public:
  static constexpr auto kHead = At(0, "Microsoft Linker Database\n");
};
DETECTOR(CKDIlkFileType);

/// Debugging information in a multi-stream file.
class CKDPdbFileType final : public DatabaseStart<CKDPdbFileType> {
 public:
  static constexpr auto kHead = At(0, "Microsoft C/C++ MSF");
};
DETECTOR(CKDPdbFileType);

/// Tables of Visual FoxPro: a header, and records of one length. The head is the version byte and one certain date of
/// the last change, July 3rd of a year that ends with 15: tables with another date aren't found. A record begins with a
/// space unless it was deleted, and the first other byte ends the table.
class CKDDbfFileType final : public ChainWalk<StartOnly<CKDDbfFileType>> {
 public:
  static constexpr auto kHead = At(0, "\x30\x0F\x07\x03");

  std::uint64_t SizeAt(const Sector& sector) {
    const std::uint16_t headerLength = sector.U16(8);
    // The length of a record, and two bytes behind it that most tables leave zero.
    const std::uint32_t recordStep = sector.U32(10);
    constexpr std::uint8_t kLiveRecord = ' ';
    const auto next = [recordStep](KFileSimulator& file, std::uint64_t place) -> std::optional<std::uint64_t> {
      if (file.ReadByte() != kLiveRecord) return std::nullopt;
      return place + recordStep;
    };
    return 1 + FollowChain(sector, headerLength, next);
  }
};
DETECTOR(CKDDbfFileType);

/// Compiled FoxPro programs. The size wraps at 32 bits.
class CKDFxpFileType final : public StartOnly<CKDFxpFileType> {
 public:
  static constexpr auto kHead = At(0, "\xFE\xF2\xFF\x20\x02\x01\0\0\0");

  static std::uint64_t SizeAt(const Sector& sector) { return sector.U32(9) + 25U; }
};
DETECTOR(CKDFxpFileType);

/// Indexes of MyISAM tables. The size is the lower half of the index file's length.
class CKDMyiFileType final : public StartOnly<CKDMyiFileType> {
 public:
  static constexpr auto kHead = At(0, "\xFE\xFE\x07\x01\0");

  static std::uint64_t SizeAt(const Sector& sector) { return sector.BigU32(64); }
};
DETECTOR(CKDMyiFileType);

}  // namespace qzmtraw
