#include "host/sources/SourcePart.h"

#include <algorithm>
#include <cerrno>
#include <fstream>
#include <utility>

#include "host/base/Error.h"
#include "host/base/Text.h"
#include "host/sources/RescueMap.h"
#include "host/sources/SizeText.h"
#include "host/sources/Tsk.h"

namespace qzmtraw::host {
namespace {

/// Bytes of a source, from here to there.
struct ByteRange {
  std::uint64_t begin = 0;
  std::uint64_t end = 0;
};

std::uint64_t SizeOption(const char* name, const std::string& text, std::uint32_t sectorSize) {
  if (const auto size = ParseSize(text, sectorSize)) return *size;
  throw UsageError(std::string(name) + ": " + Quoted(text) +
                   " is no number of bytes: write 4096, 1GiB, or 8s for sectors");
}

std::string PartitionList(const std::vector<Partition>& partitions, std::uint32_t sectorSize) {
  std::string text;
  for (const Partition& partition : partitions) {
    text += "\n  " + PadLeft(std::to_string(partition.number), 3) + "  offset " +
            PadLeft(std::to_string(partition.offset), 14) + " (sector " +
            std::to_string(partition.offset / sectorSize) + "), " + FormatSize(partition.size) +
            (partition.description.empty() ? "" : ", " + Printable(partition.description));
  }
  return text;
}

ByteRange PartitionRange(const std::vector<Partition>& partitions, std::uint32_t number, std::uint32_t sectorSize) {
  const auto partition = std::ranges::find(partitions, number, &Partition::number);
  if (partitions.empty()) {
    throw UsageError(
        "--partition: the source has no partition table that can be read: name the place by --offset and "
        "--length");
  }
  if (partition == partitions.end()) {
    throw UsageError("--partition: there is no partition " + std::to_string(number) +
                     ", but these:" + PartitionList(partitions, sectorSize));
  }
  return {partition->offset, partition->offset + partition->size};
}

/// The bytes that the options name, as far as the source has them.
ByteRange ChosenRange(const SourceOptions& options, const std::vector<Partition>& partitions, std::uint64_t size,
                      std::uint32_t sectorSize) {
  ByteRange range{0, size};
  if (options.partition) range = PartitionRange(partitions, *options.partition, sectorSize);
  if (!options.offset.empty()) range.begin = SizeOption("--offset", options.offset, sectorSize);
  if (!options.length.empty()) {
    const std::uint64_t length = SizeOption("--length", options.length, sectorSize);
    if (length == 0) throw UsageError("--length: 0 bytes leave nothing to scan");
    range.end = length < size - std::min(size, range.begin) ? range.begin + length : size;
  }
  if (range.begin % sectorSize != 0) {
    throw UsageError("the range begins at byte " + std::to_string(range.begin) + ", inside a sector of " +
                     std::to_string(sectorSize) + " bytes: begin at " +
                     std::to_string(range.begin / sectorSize * sectorSize) + ", or state another --sector-size");
  }
  if (range.begin >= size && range.begin != 0) {
    throw UsageError("the range begins at byte " + std::to_string(range.begin) + ", but the source has only " +
                     std::to_string(size) + " bytes");
  }
  range.end = std::min(range.end, size);
  return range;
}

/// Gathers what the file systems of a source claim.
class ClaimedSectors {
 public:
  ClaimedSectors(ISource& source, SourcePart& part) : source_(source), part_(part) {}

  void AddAll(const std::vector<Partition>& partitions) {
    if (partitions.empty()) Add(0, source_.Size(), "the source");
    for (const Partition& each : partitions) Add(each.offset, each.size, "partition " + std::to_string(each.number));
    if (readable_ == 0) part_.notes.emplace_back("--unallocated: no file system can be read, so everything is scanned");
  }

 private:
  void Add(std::uint64_t offset, std::uint64_t size, const std::string& name) {
    const SectorRange& range = part_.view.range;
    if (offset / part_.sectorSize >= range.first + range.count || (offset + size) / part_.sectorSize < range.first)
      return;
    SectorSet claimed;
    const auto take = [&](std::uint64_t begin, std::uint64_t count) {
      claimed.Add(WholeSectors({begin, std::min(begin + count, source_.Size())}));
    };
    const auto fileSystem = ReadClaimedSpace(source_, offset, take);
    if (!fileSystem) {
      if (size != source_.Size())
        part_.notes.push_back("--unallocated: " + name +
                              " has no file system that can be read, so all of it is scanned");
      return;
    }
    ++readable_;
    SectorSet::Cursor ranges(claimed);
    std::uint64_t count = 0;
    while (const auto each = ranges.Next()) {
      part_.view.leftOut.Add(*each);
      count += each->count;
    }
    part_.notes.push_back("--unallocated: " + std::to_string(count) + " sectors of " + name + " are in use (" +
                          *fileSystem + ") and left out");
  }

  /// The sectors of the range that lie wholly in these bytes.
  [[nodiscard]] SectorRange WholeSectors(const ByteRange& bytes) const {
    const SectorRange& range = part_.view.range;
    const std::uint64_t first =
        std::max(range.first, bytes.begin / part_.sectorSize + (bytes.begin % part_.sectorSize != 0 ? 1U : 0U));
    const std::uint64_t end = std::min(range.first + range.count, bytes.end / part_.sectorSize);
    return {first, end > first ? end - first : 0};
  }

  ISource& source_;
  SourcePart& part_;
  std::size_t readable_ = 0;
};

/// Skips what a map doesn't call read, but for what is left out anyway.
class MapSkips {
 public:
  explicit MapSkips(SourcePart& part) : part_(part) {}

  void Read(const std::string& path) {
    std::ifstream text(path, std::ios::binary);
    if (!text.is_open())
      throw Failure("cannot open the map " + Quoted(path) + ": " + ErrorText(errno) + ": check the path");
    std::uint64_t end = 0;
    ReadRescueMap(text, path, [&](const MapBlock& block) {
      // What stands before the first line isn't there either.
      if (block.position > end) Skip(end, block.position);
      end = block.position + block.size;
      if (block.status != '+') Skip(block.position, end);
    });
    Skip(end, ~std::uint64_t{0});
  }

 private:
  /// Skips all sectors of which some bytes lie in the range.
  void Skip(std::uint64_t begin, std::uint64_t end) {
    const SectorRange& range = part_.view.range;
    std::uint64_t sector = std::max(range.first, begin / part_.sectorSize);
    const std::uint64_t behind =
        std::min(range.first + range.count, end / part_.sectorSize + (end % part_.sectorSize != 0 ? 1U : 0U));
    while (sector < behind) {
      const SectorSet::Run run = part_.view.leftOut.RunAt(sector, behind - sector);
      if (!run.isIn) part_.view.skipped.Add({sector, run.count});
      sector += run.count;
    }
  }

  SourcePart& part_;
};

}  // namespace

SourcePart ChoosePart(const SourceOptions& options, ISource& source) {
  SourcePart part;
  part.sectorSize = options.sectorSize.value_or(source.SectorSize().value_or(kDefaultSectorSize));
  part.notes = source.Notes();
  part.isPart = options.partition || !options.offset.empty() || !options.length.empty() || options.isUnallocatedOnly;
  std::vector<Partition> partitions;
  if (options.partition || options.isUnallocatedOnly) partitions = ReadPartitions(source, part.sectorSize);
  const ByteRange range = ChosenRange(options, partitions, source.Size(), part.sectorSize);
  const std::uint64_t first = range.begin / part.sectorSize;
  part.view.range = {first, range.end / part.sectorSize + (range.end % part.sectorSize != 0 ? 1U : 0U) - first};
  if (options.isUnallocatedOnly) ClaimedSectors(source, part).AddAll(partitions);
  if (!options.map.empty()) MapSkips(part).Read(options.map);
  return part;
}

}  // namespace qzmtraw::host
