#include "host/sources/SectorSet.h"

#include <algorithm>
#include <span>

namespace qzmtraw::host {
namespace {

/// Bits are read and written in pages of so many bytes, which is also what holes are made of.
constexpr std::uint64_t kPageSize = 4096;
constexpr std::uint64_t kSectorsPerPage = kPageSize * 8;

std::uint64_t EndOfPage(std::uint64_t sector) { return (sector / kSectorsPerPage + 1) * kSectorsPerPage; }

}  // namespace

void SectorSet::Add(const SectorRange& sectors) {
  if (sectors.count == 0) return;
  if (file_ == nullptr) file_ = std::make_unique<TemporaryFile>();
  const std::uint64_t end = sectors.first + sectors.count;
  for (std::uint64_t sector = sectors.first; sector < end;) {
    Load(sector);
    const std::uint64_t first = sector / 8;
    std::uint64_t news = 0;
    const std::uint64_t endHere = std::min(end, EndOfPage(sector));
    for (; sector < endHere; ++sector) news += Set(sector) ? 1U : 0U;
    if (news == 0) continue;
    const auto changed = std::span(page_).subspan(static_cast<std::size_t>(first % kPageSize),
                                                  static_cast<std::size_t>((sector - 1) / 8 - first + 1));
    file_->WriteAt(first, std::as_bytes(changed));
    fileSize_ = std::max(fileSize_, first + changed.size());
    count_ += news;
  }
  begin_ = end_ == 0 ? sectors.first : std::min(begin_, sectors.first);
  end_ = std::max(end_, end);
}

bool SectorSet::Overlaps(const SectorRange& sectors) const {
  std::uint64_t sector = std::max(sectors.first, begin_);
  const std::uint64_t end = std::min(sectors.first + sectors.count, end_);
  while (sector < end && !Has(sector)) ++sector;
  return sector < end;
}

SectorSet::Run SectorSet::RunAt(std::uint64_t sector, std::uint64_t most) const {
  if (sector < begin_) return {false, std::min(most, begin_ - sector)};
  if (sector >= end_) return {false, most};
  if (!Has(sector)) {
    const std::uint64_t next = NextIn(sector, std::min(end_, sector + most));
    return {false, next < end_ ? next - sector : most};
  }
  Run run{true, 1};
  while (run.count < most && sector + run.count < end_ && Has(sector + run.count)) ++run.count;
  return run;
}

bool SectorSet::Has(std::uint64_t sector) const {
  Load(sector);
  const std::uint64_t bit = sector % kSectorsPerPage;
  return ((page_[static_cast<std::size_t>(bit / 8)] >> (bit % 8)) & 1U) != 0;
}

/// Sets a bit of the page in memory.
/// \return Whether it is new.
bool SectorSet::Set(std::uint64_t sector) {
  if (Has(sector)) return false;
  const std::uint64_t bit = sector % kSectorsPerPage;
  std::uint8_t& byte = page_[static_cast<std::size_t>(bit / 8)];
  byte = static_cast<std::uint8_t>(byte | (1U << (bit % 8)));
  return true;
}

/// Brings the page that a sector belongs to into memory.
void SectorSet::Load(std::uint64_t sector) const {
  const std::uint64_t number = sector / kSectorsPerPage;
  if (!page_.empty() && number == pageNumber_) return;
  page_.assign(kPageSize, 0);
  pageNumber_ = number;
  const std::uint64_t offset = number * kPageSize;
  if (offset >= fileSize_) return;
  const auto present = static_cast<std::size_t>(std::min(kPageSize, fileSize_ - offset));
  file_->ReadAt(offset, std::as_writable_bytes(std::span(page_).first(present)));
}

/// The first sector of the set from one on, or `end`, which is at most the set's own.
std::uint64_t SectorSet::NextIn(std::uint64_t sector, std::uint64_t end) const {
  while (sector < end && !Has(sector)) {
    ++sector;
    if (sector % kSectorsPerPage != 0 || sector >= end) continue;
    sector = file_->NextData(sector / 8).value_or(end / 8 + 1) * 8;
  }
  return std::min(sector, end);
}

std::optional<SectorRange> SectorSet::Cursor::Next() {
  sector_ = set_.NextIn(sector_, set_.end_);
  if (sector_ >= set_.end_) return std::nullopt;
  const std::uint64_t first = sector_;
  while (sector_ < set_.end_ && set_.Has(sector_)) ++sector_;
  return SectorRange{first, sector_ - first};
}

}  // namespace qzmtraw::host
