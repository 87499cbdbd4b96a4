#include "containers/KCompoundReader.h"

#include <algorithm>
#include <cstring>
#include <new>

namespace qzmtraw {

namespace {

constexpr auto kSignature = Bytes("\xD0\xCF\x11\xE0\xA1\xB1\x1A\xE1");
constexpr std::uint32_t kHeaderSize = 512;
constexpr std::uint32_t kHeaderDifatEntries = 109;
constexpr std::uint32_t kEntrySize = 128;
constexpr std::uint64_t kSimulatorLimit = 1024;
/// Stands for a sector that isn't there: 0xFFFFFFFD is one of the FAT's own, then come the chain's end and a free one.
constexpr std::uint32_t kFirstMark = 0xFFFFFFFD;

/// Sector numbers of 0x80000000 and above are negative: marks, and damage.
bool IsPositive(std::uint32_t sector) { return static_cast<std::int32_t>(sector) > 0; }

char16_t Folded(char16_t unit) { return unit >= u'a' && unit <= u'z' ? static_cast<char16_t>(unit - 0x20) : unit; }

/// Builds a table. Memory that runs out ends the table where it stands.
template <class Step>
void AsFarAsMemoryGoes(Step step) {
  try {
    step();
  } catch (const std::bad_alloc&) {
  }
}

}  // namespace

KCompoundReader::KCompoundReader(const RawSectorBlock* block, std::uint64_t startSector, WalkAllowance& allowance)
    : simulator(new (std::nothrow) KFileSimulator(block, startSector, kSimulatorLimit)), allowance_(allowance) {
  if (!simulator) return;
  allowance_.EarnUpTo(startSector);
  simulator->Read(header.bytes.data(), kHeaderSize);
  if (!header.IsValid()) return;
  sectorSize = header.SectorSize();
  if (sectorSize > kMaxTableBytes) return;
  sectorBytes_.reset(new (std::nothrow) std::uint8_t[sectorSize]());
  if (!sectorBytes_) return;
  AsFarAsMemoryGoes([this] { LoadDifat(); });
  AsFarAsMemoryGoes([this] { LoadFat(); });
  sectorLimit = static_cast<std::uint32_t>(fat.size());
  AsFarAsMemoryGoes([this] { LoadMiniFat(); });
  AsFarAsMemoryGoes([this] { WalkDirectory(); });
  size = EstimateSize();
}

bool KCompoundReader::Header::IsValid() const {
  constexpr std::uint16_t kTooLarge = 255;
  const std::uint16_t minorVersion = U16(24);
  const std::uint16_t majorVersion = U16(26);
  const std::uint16_t byteOrder = U16(28);
  const std::uint16_t sectorShift = U16(30);
  const std::uint16_t miniSectorShift = U16(32);
  return std::equal(kSignature.bytes.begin(), kSignature.bytes.end(), bytes.begin()) &&
         (byteOrder == 0xFFFE || byteOrder == 0xFEFF) && minorVersion < kTooLarge && majorVersion < kTooLarge &&
         sectorShift < kTooLarge && miniSectorShift < kTooLarge && miniSectorShift <= sectorShift &&
         DifatSectors() <= FatSectors();
}

/// Lists the sectors of the FAT: those in the header, then those in the DIFAT's own sectors. The number of the next
/// DIFAT sector, which ends each of them, gets into the list as well.
void KCompoundReader::LoadDifat() {
  for (std::uint32_t i = 0; i < kHeaderDifatEntries; ++i) difat.push_back(header.DifatEntry(i));
  LoadChain(header.FirstDifatSector(), Cut(header.DifatSectors(), kMaxTableSectors), Chain::kFollowed, difat);
}

void KCompoundReader::LoadFat() {
  const std::uint32_t listed = std::min(header.FatSectors(), static_cast<std::uint32_t>(difat.size()));
  const std::uint32_t sectors = Cut(listed, kMaxTableSectors);
  for (std::uint32_t i = 0; i < sectors && IsInReach(difat[i]); ++i) {
    if (!ReadSector(difat[i])) return;
    AppendSectorTo(fat);
  }
}

/// Only the number of entries counts, for the size, so the first sector stands for all of them.
void KCompoundReader::LoadMiniFat() {
  LoadChain(header.FirstMiniFatSector(), Cut(header.MiniFatSectors(), kMaxMiniFatSectors),
            Chain::kReadsFirstSectorAgain, miniFat);
}

/// Appends the sectors of a table to it, as long as each ends with the number of another.
/// \param sectors  The most that are read.
void KCompoundReader::LoadChain(std::uint32_t first, std::uint32_t sectors, Chain chain,
                                std::vector<std::uint32_t>& table) {
  std::uint32_t sector = first;
  for (std::uint32_t i = 0; i < sectors && IsPositive(sector) && IsInReach(sector); ++i) {
    if (!ReadSector(chain == Chain::kFollowed ? sector : first)) return;
    sector = AppendSectorTo(table);
  }
}

/// Follows the directory through the FAT. A chain that comes back to where it was ends with the number of sectors that
/// the FAT can tell of.
void KCompoundReader::WalkDirectory() {
  const std::uint32_t entriesPerSector = sectorSize / kEntrySize;
  const std::uint32_t lastPass = sectorSize / 4 * header.FatSectors();
  const std::uint32_t sectors = Cut(kMaxDirectorySectors, kMaxDirectorySectors);
  std::uint32_t sector = header.FirstDirectorySector();
  for (std::uint32_t pass = 0; pass < sectors; ++pass) {
    if (!ReadSector(sector)) return;
    const bool allBad = StoreEntries() == entriesPerSector;
    if (sector >= fat.size()) return;
    sector = fat[sector];
    if (allBad || !IsPositive(sector) || pass >= lastPass) return;
  }
}

/// Takes the entries of the sector that was read last into the directory. Unused ones don't count at all.
/// \return The number of bad ones.
std::uint32_t KCompoundReader::StoreEntries() {
  std::uint32_t bad = 0;
  for (std::uint32_t offset = 0; sectorSize - offset >= kEntrySize; offset += kEntrySize) {
    Entry entry;
    std::memcpy(entry.bytes.data(), sectorBytes_.get() + offset, kEntrySize);
    if (entry.NameLength() == 0 || entry.NameLength() > 64) continue;
    if (entry.IsNamed("Root Entry")) miniStreamSize = entry.StreamSize();
    if (IsPlausible(entry)) {
      directory.push_back(entry);
    } else {
      ++bad;
      clean = false;
    }
  }
  return bad;
}

bool KCompoundReader::IsPlausible(const Entry& entry) const {
  // Small streams count their start in the mini stream, which may have more sectors than the file.
  const std::uint32_t start = entry.StartSector();
  return (start >= kFirstMark || start < std::max(sectorLimit, miniStreamSize)) &&
         entry.StreamSize() <= kMaxStreamSize && entry.ColourFlag() <= 1 && entry.ObjectType() < 6;
}

/// Adds up the tables, the directory and every stream in whole sectors, those in the mini stream once by themselves and
/// once within it. More than the FAT can tell of can't be, and that is also the size when the directory is damaged.
std::uint32_t KCompoundReader::EstimateSize() const {
  const auto bytesOf = [](const std::vector<std::uint32_t>& table) {
    return 4 * static_cast<std::uint32_t>(table.size());
  };
  std::uint32_t total = kHeaderSize;
  total += RoundedUp(bytesOf(fat));
  total += RoundedUp(bytesOf(difat) - 4 * kHeaderDifatEntries);
  total += RoundedUp(bytesOf(miniFat));
  total += RoundedUp(kEntrySize * static_cast<std::uint32_t>(directory.size()));
  for (const Entry& entry : directory) total += RoundedUp(entry.StreamSize());

  const std::uint32_t bound = sectorLimit * sectorSize;
  return clean ? std::min(total, bound) : bound;
}

bool KCompoundReader::HasStream(std::string_view name) const {
  return std::any_of(directory.begin(), directory.end(), [&](const Entry& entry) { return entry.IsNamed(name); });
}

bool KCompoundReader::FirstEntryHasClass(ByteView classId) const {
  if (directory.empty()) return false;
  const ByteView found = directory.front().ClassId();
  return std::equal(found.begin(), found.end(), classId.begin(), classId.end());
}

bool KCompoundReader::Entry::IsNamed(std::string_view name) const {
  constexpr std::size_t kMaxUnits = 32;
  if (name.size() >= kMaxUnits) return false;
  const auto unit = [this](std::size_t i) {
    return static_cast<char16_t>(LoadLittle<std::uint16_t>(bytes.data() + 2 * i));
  };
  for (std::size_t i = 0; i < name.size(); ++i) {
    if (Folded(unit(i)) != Folded(static_cast<char16_t>(name[i]))) return false;
  }
  return unit(name.size()) == 0;
}

/// \return `sectors`, as far as a limit and the memory for a table allow.
std::uint32_t KCompoundReader::Cut(std::uint32_t sectors, std::uint32_t limit) const {
  return std::min({sectors, limit, kMaxTableBytes / sectorSize});
}

/// The header takes the place of the sector before sector 0. The position wraps at 32 bits. What can't be read is zero.
/// \return Whether the allowance had enough left.
bool KCompoundReader::ReadSector(std::uint32_t sector) {
  if (!allowance_.PayReading(sectorSize)) return false;
  std::fill_n(sectorBytes_.get(), sectorSize, std::uint8_t{0});
  const std::uint32_t position = (sector + 1) * sectorSize;
  simulator->SetPos(position);
  simulator->Read(sectorBytes_.get(), sectorSize);
  return true;
}

/// Takes the numbers in the sector that was read last into a table.
/// \return The last number; a mark when the sector holds none.
std::uint32_t KCompoundReader::AppendSectorTo(std::vector<std::uint32_t>& table) const {
  std::uint32_t number = kFirstMark;
  for (std::uint32_t offset = 0; sectorSize - offset >= 4; offset += 4) {
    number = LoadLittle<std::uint32_t>(sectorBytes_.get() + offset);
    table.push_back(number);
  }
  return number;
}

/// \return `byteCount` in whole sectors.
std::uint32_t KCompoundReader::RoundedUp(std::uint32_t byteCount) const {
  return (byteCount - 1 + sectorSize) / sectorSize * sectorSize;
}

}  // namespace qzmtraw
