#ifndef QZMTRAW_CONTAINERS_KCOMPOUNDREADER_H
#define QZMTRAW_CONTAINERS_KCOMPOUNDREADER_H

#include <array>
#include <cstdint>
#include <memory>
#include <string_view>
#include <vector>

#include "frame/Bytes.h"
#include "frame/ChainWalk.h"
#include "frame/KFileSimulator.h"

namespace qzmtraw {

/// Reads the header, the allocation tables and the directory of one compound document ([MS-CFB]): a file system in a
/// file, with sectors of its own that lie in any order. It tells the names of the streams, and an estimate of the
/// file's size, which stands nowhere in the file. It reads everything when it is made.
///
/// What the file says about itself is not trusted. Whatever it says, a reader takes at most kMaxTableSectors sectors
/// into each of its tables, kMaxDirectorySectors into its directory, and kMaxTableBytes into any of them, and no more
/// than the allowance has left. A table that is cut counts as far as it was read.
class KCompoundReader {
 public:
  static constexpr std::uint32_t kMaxTableSectors = 8192;
  static constexpr std::uint32_t kMaxMiniFatSectors = 2048;
  /// 65536 streams in sectors of 512 bytes. It also bounds the walk round a directory that leads back into itself.
  static constexpr std::uint32_t kMaxDirectorySectors = 16384;
  /// As much as the longest table has in sectors of 4096 bytes, the largest that the format knows.
  static constexpr std::uint32_t kMaxTableBytes = kMaxTableSectors * 4096;
  /// Streams that claim more than this are taken for damage.
  static constexpr std::uint32_t kMaxStreamSize = 0x4000000;

  /// \param block        The block under scan. It must outlive the reader.
  /// \param startSector  The device's sector at which the file starts.
  /// \param allowance    Pays for what is read of the tables. It must outlive the reader.
  KCompoundReader(const RawSectorBlock* block, std::uint64_t startSector, WalkAllowance& allowance);

  /// The estimate of the file's size in bytes. It errs on the large side. 0 when the header isn't one.
  std::uint32_t Size() const { return size; }

  /// Whether the directory has an entry of this name, be it a stream or not. The letters a to z equal A to Z.
  /// \param name  ASCII.
  bool HasStream(std::string_view name) const;

  /// Whether the first entry of the directory bears this class identifier.
  /// \param classId  16 bytes.
  bool FirstEntryHasClass(ByteView classId) const;

 private:
  /// The first 512 bytes of the file.
  struct Header {
    std::array<std::uint8_t, 512> bytes{};

    bool IsValid() const;
    std::uint32_t SectorSize() const { return std::uint32_t{1} << (U16(30) & 31U); }
    std::uint32_t FatSectors() const { return U32(44); }
    std::uint32_t FirstDirectorySector() const { return U32(48); }
    std::uint32_t FirstMiniFatSector() const { return U32(60); }
    std::uint32_t MiniFatSectors() const { return U32(64); }
    std::uint32_t FirstDifatSector() const { return U32(68); }
    std::uint32_t DifatSectors() const { return U32(72); }
    /// The FAT's sectors, as far as the header lists them.
    std::uint32_t DifatEntry(std::uint32_t index) const { return U32(76 + 4 * index); }

    std::uint16_t U16(std::size_t offset) const { return LoadLittle<std::uint16_t>(bytes.data() + offset); }
    std::uint32_t U32(std::size_t offset) const { return LoadLittle<std::uint32_t>(bytes.data() + offset); }
  };

  /// An entry of the directory, as it stands in the file.
  struct Entry {
    std::array<std::uint8_t, 128> bytes;

    /// Compares the name up to its first zero; the length beside it doesn't count.
    bool IsNamed(std::string_view name) const;
    /// In bytes, its zero included.
    std::uint16_t NameLength() const { return LoadLittle<std::uint16_t>(bytes.data() + 64); }
    std::uint8_t ObjectType() const { return bytes[66]; }
    std::uint8_t ColourFlag() const { return bytes[67]; }
    ByteView ClassId() const { return ByteView(bytes).subspan(80, 16); }
    std::uint32_t StartSector() const { return LoadLittle<std::uint32_t>(bytes.data() + 116); }
    std::uint32_t StreamSize() const { return LoadLittle<std::uint32_t>(bytes.data() + 120); }
  };

  enum class Chain { kFollowed, kReadsFirstSectorAgain };

  void LoadDifat();
  void LoadFat();
  void LoadMiniFat();
  void WalkDirectory();
  void LoadChain(std::uint32_t first, std::uint32_t sectors, Chain chain, std::vector<std::uint32_t>& table);
  std::uint32_t StoreEntries();
  bool IsPlausible(const Entry& entry) const;
  std::uint32_t EstimateSize() const;

  bool IsInReach(std::uint32_t sector) const { return sector <= 0x7fffffffU / sectorSize; }
  std::uint32_t Cut(std::uint32_t sectors, std::uint32_t limit) const;
  bool ReadSector(std::uint32_t sector);
  std::uint32_t AppendSectorTo(std::vector<std::uint32_t>& table) const;
  std::uint32_t RoundedUp(std::uint32_t byteCount) const;

  std::unique_ptr<KFileSimulator> simulator;
  WalkAllowance& allowance_;
  Header header;
  std::uint32_t sectorSize = 512;
  /// The sector of the file that was read last.
  std::unique_ptr<std::uint8_t[]> sectorBytes_;
  std::vector<std::uint32_t> difat;
  std::vector<std::uint32_t> fat;
  std::vector<std::uint32_t> miniFat;
  /// Sectors of the file that the FAT can tell of.
  std::uint32_t sectorLimit = 0;
  std::uint32_t miniStreamSize = 0;
  std::vector<Entry> directory;
  /// Whether all entries of the directory were plausible.
  bool clean = true;
  std::uint32_t size = 0;
};

}  // namespace qzmtraw

#endif  // QZMTRAW_CONTAINERS_KCOMPOUNDREADER_H
