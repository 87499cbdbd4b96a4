#include "tests/support/CompoundFile.h"

#include <algorithm>

#include "tests/support/Device.h"

namespace qzmtraw::test {

CompoundEntry CompoundEntry::Named(std::string_view ascii) {
  CompoundEntry entry;
  entry.name.assign(ascii.begin(), ascii.end());
  return entry;
}

CompoundEntry CompoundEntry::Unused() {
  CompoundEntry entry;
  entry.type = 0;
  entry.colour = 0;
  entry.nameLength = 0;
  return entry;
}

std::string CompoundEntry::Bytes() const {
  std::string bytes;
  for (const char16_t unit : name) bytes += LittleU16(unit);
  bytes.resize(64);
  bytes += LittleU16(nameLength.value_or(static_cast<std::uint16_t>(2 * (name.size() + 1))));
  bytes += static_cast<char>(type);
  bytes += static_cast<char>(colour);
  bytes += LittleU32(0xFFFFFFFF) + LittleU32(next) + LittleU32(0xFFFFFFFF) + classId;
  bytes.resize(116);
  return bytes + LittleU32(start) + LittleU32(size) + LittleU32(0);
}

CompoundFile::CompoundFile(std::uint16_t sectorShift)
    : bytes_(std::max<std::size_t>(512, std::size_t{1} << (sectorShift & 31U)), '\0'),
      sectorSize_(std::size_t{1} << (sectorShift & 31U)) {
  bytes_.replace(0, 8, "\xD0\xCF\x11\xE0\xA1\xB1\x1A\xE1");
  Set16(kMinorVersion, 62).Set16(kMajorVersion, 3).Set16(kByteOrder, 0xFFFE);
  Set16(kSectorShift, sectorShift).Set16(kMiniSectorShift, std::min<std::uint16_t>(6, sectorShift));
  Set32(kFatSectors, 1).Set32(kFirstDirectorySector, 1).Set32(56, 4096);
  Set32(kFirstMiniFatSector, kEndOfChain).Set32(kFirstDifatSector, kEndOfChain);
  for (std::size_t i = 0; i < 109; ++i) Set32(kDifat + 4 * i, kFree);
  Set32(kDifat, 0);
  Fill(0, kFree).Link(0, kFatMark).Link(1, kEndOfChain);
  Put(1, 0, std::string(sectorSize_, '\0'));
}

CompoundFile& CompoundFile::Set16(std::size_t offset, std::uint16_t value) {
  bytes_.replace(offset, 2, LittleU16(value));
  return *this;
}

CompoundFile& CompoundFile::Set32(std::size_t offset, std::uint32_t value) {
  bytes_.replace(offset, 4, LittleU32(value));
  return *this;
}

CompoundFile& CompoundFile::Put(std::uint32_t sector, std::size_t offset, std::string_view bytes) {
  const std::size_t position = (std::size_t{sector} + 1) * sectorSize_;
  bytes_.resize(std::max(bytes_.size(), position + std::max(sectorSize_, offset + bytes.size())));
  bytes_.replace(position + offset, bytes.size(), bytes);
  return *this;
}

CompoundFile& CompoundFile::Fill(std::uint32_t sector, std::uint32_t number) {
  for (std::size_t offset = 0; offset + 4 <= sectorSize_; offset += 4) Put(sector, offset, LittleU32(number));
  return *this;
}

CompoundFile& CompoundFile::PutLast(std::uint32_t sector, std::uint32_t number) {
  return Put(sector, sectorSize_ - 4, LittleU32(number));
}

CompoundFile& CompoundFile::Link(std::uint32_t sector, std::uint32_t next) {
  if (sector < sectorSize_ / 4) Put(0, 4 * std::size_t{sector}, LittleU32(next));
  return *this;
}

CompoundFile& CompoundFile::ListFat(std::uint32_t count, std::uint32_t sector) {
  Set32(kFatSectors, count);
  for (std::size_t i = 0; i < std::min<std::size_t>(count, 109); ++i) Set32(kDifat + 4 * i, sector);
  return *this;
}

CompoundFile& CompoundFile::Add(const CompoundEntry& entry) {
  const auto perSector = static_cast<std::uint32_t>(std::max<std::size_t>(1, sectorSize_ / 128));
  const std::uint32_t sector = 1 + entries_ / perSector;
  if (entries_ != 0 && entries_ % perSector == 0) {
    Put(sector, 0, std::string(sectorSize_, '\0')).Link(sector - 1, sector).Link(sector, kEndOfChain);
  }
  Put(sector, std::size_t{entries_ % perSector} * 128, entry.Bytes());
  ++entries_;
  return *this;
}

CompoundFile CompoundFile::WellFormed(const std::vector<Stream>& streams, std::uint16_t sectorShift) {
  constexpr std::size_t kMiniSector = 64;
  constexpr std::size_t kLeastLargeStream = 4096;
  CompoundFile file(sectorShift);
  const std::size_t sectorSize = file.SectorSize();
  const auto count = [](std::size_t size, std::size_t unit) {
    return static_cast<std::uint32_t>((size + unit - 1) / unit);
  };
  std::uint32_t sector = 1 + count((streams.size() + 1) * 128, sectorSize);
  const auto place = [&](const std::string& contents) {
    if (contents.empty()) return kEndOfChain;
    const std::uint32_t first = sector;
    const std::uint32_t end = first + count(contents.size(), sectorSize);
    file.Put(first, 0, contents);
    file.Put(end - 1, 0, {});
    for (; sector < end; ++sector) file.Link(sector, sector + 1 < end ? sector + 1 : kEndOfChain);
    return first;
  };

  std::string miniStream;
  std::string miniFat;
  std::vector<CompoundEntry> entries;
  for (const Stream& stream : streams) {
    CompoundEntry entry = CompoundEntry::Named(stream.name);
    entry.size = static_cast<std::uint32_t>(stream.contents.size());
    if (stream.contents.size() >= kLeastLargeStream) {
      entry.start = place(stream.contents);
    } else {
      entry.start = static_cast<std::uint32_t>(miniStream.size() / kMiniSector);
      miniStream += stream.contents;
      miniStream.resize(count(miniStream.size(), kMiniSector) * kMiniSector);
      for (auto i = entry.start + 1; i < miniStream.size() / kMiniSector; ++i) miniFat += LittleU32(i);
      if (!stream.contents.empty()) miniFat += LittleU32(kEndOfChain);
    }
    entry.next = streams.size() - entries.size() > 1 ? static_cast<std::uint32_t>(entries.size() + 2) : 0xFFFFFFFF;
    entries.push_back(entry);
  }
  CompoundEntry root = CompoundEntry::Named("Root Entry");
  root.type = 5;
  root.size = static_cast<std::uint32_t>(miniStream.size());
  root.start = place(miniStream);
  file.Add(root);
  file.Put(1, 76, LittleU32(streams.empty() ? 0xFFFFFFFF : 1));
  for (const CompoundEntry& entry : entries) file.Add(entry);
  if (!miniFat.empty()) {
    const std::uint32_t sectors = count(miniFat.size(), sectorSize);
    while (miniFat.size() < sectors * sectorSize) miniFat += LittleU32(kFree);
    file.Set32(kFirstMiniFatSector, place(miniFat)).Set32(kMiniFatSectors, sectors);
  }
  return file;
}

}  // namespace qzmtraw::test
