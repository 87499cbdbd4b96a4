#ifndef QZMTRAW_TESTS_SUPPORT_COMPOUND_FILE_H
#define QZMTRAW_TESTS_SUPPORT_COMPOUND_FILE_H

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace qzmtraw::test {

/// An entry of a compound file's directory.
struct CompoundEntry {
  std::u16string name;  ///< Up to 32 units; the zero behind it is written when there is room.
  std::uint32_t size = 0;
  std::uint32_t start = 0;
  std::uint8_t type = 2;
  std::uint8_t colour = 1;
  std::optional<std::uint16_t> nameLength = std::nullopt;  ///< As the name and its zero have it, unless set.
  std::string classId = std::string(16, '\0');
  std::uint32_t next = 0xFFFFFFFF;  ///< The right sibling.

  /// A stream of no bytes.
  static CompoundEntry Named(std::string_view ascii);
  /// An entry that isn't used.
  static CompoundEntry Unused();
  std::string Bytes() const;
};

/// Writes compound files, field by field, so that they can be as broken as a test wants them. To begin with, the FAT is
/// in sector 0 and the directory begins in sector 1 and has one entry a call of Add.
class CompoundFile {
 public:
  static constexpr std::uint32_t kFatMark = 0xFFFFFFFD;
  static constexpr std::uint32_t kEndOfChain = 0xFFFFFFFE;
  static constexpr std::uint32_t kFree = 0xFFFFFFFF;

  // Offsets of the header's fields.
  static constexpr std::size_t kMinorVersion = 24;
  static constexpr std::size_t kMajorVersion = 26;
  static constexpr std::size_t kByteOrder = 28;
  static constexpr std::size_t kSectorShift = 30;
  static constexpr std::size_t kMiniSectorShift = 32;
  static constexpr std::size_t kFatSectors = 44;
  static constexpr std::size_t kFirstDirectorySector = 48;
  static constexpr std::size_t kFirstMiniFatSector = 60;
  static constexpr std::size_t kMiniFatSectors = 64;
  static constexpr std::size_t kFirstDifatSector = 68;
  static constexpr std::size_t kDifatSectors = 72;
  static constexpr std::size_t kDifat = 76;

  explicit CompoundFile(std::uint16_t sectorShift = 9);

  std::size_t SectorSize() const { return sectorSize_; }
  /// Writes into the header.
  CompoundFile& Set16(std::size_t offset, std::uint16_t value);
  CompoundFile& Set32(std::size_t offset, std::uint32_t value);
  /// Writes into a sector. The file grows as it must.
  CompoundFile& Put(std::uint32_t sector, std::size_t offset, std::string_view bytes);
  /// Fills a sector with one number.
  CompoundFile& Fill(std::uint32_t sector, std::uint32_t number);
  /// Writes the last number of a sector.
  CompoundFile& PutLast(std::uint32_t sector, std::uint32_t number);
  /// Writes what follows on a sector into the FAT in sector 0.
  CompoundFile& Link(std::uint32_t sector, std::uint32_t next);
  /// Lets the first entries of the header's list of FAT sectors all name one sector.
  CompoundFile& ListFat(std::uint32_t count, std::uint32_t sector = 0);
  CompoundFile& Add(const CompoundEntry& entry);
  CompoundFile& Add(std::string_view name) { return Add(CompoundEntry::Named(name)); }

  const std::string& Bytes() const { return bytes_; }

  /// A well-formed file with these streams: large ones in sectors of their own, small ones in the mini stream.
  struct Stream {
    std::string name;
    std::string contents;
  };
  static CompoundFile WellFormed(const std::vector<Stream>& streams, std::uint16_t sectorShift = 9);

 private:
  std::string bytes_;
  std::size_t sectorSize_;
  std::uint32_t entries_ = 0;
};

}  // namespace qzmtraw::test

#endif  // QZMTRAW_TESTS_SUPPORT_COMPOUND_FILE_H
