#include "host/sources/Device.h"

#include <algorithm>
#include <cerrno>
#include <utility>

#include "host/base/Error.h"
#include "host/base/Text.h"

namespace qzmtraw::host {
namespace {

/// Errors of a place on the medium, as opposed to those of the whole device.
bool IsLocal(int error) {
  switch (error) {
    case 0:  // The source ended before its size: an image that was cut while it was read.
    case EIO:
    case ENODATA:
    case EREMOTEIO:
    case EILSEQ:
    case EBADMSG:
    case ETIMEDOUT:
    case ENOLINK:
      return true;
    default:
      return false;
  }
}

}  // namespace

Device::Device(ISource& source, std::uint32_t sectorSize, DeviceView view)
    : source_(source),
      size_(source.Size()),
      sectorSize_(sectorSize),
      sectorCount_(size_ / sectorSize + (size_ % sectorSize != 0 ? 1 : 0)),
      range_{std::min(view.range.first, sectorCount_), 0},
      endSector_(sectorCount_),
      leftOut_(std::move(view.leftOut)),
      skipped_(std::move(view.skipped)) {
  range_.count = std::min(view.range.count, sectorCount_ - range_.first);
}

std::uint64_t Device::RangeEnd() const {
  const std::uint64_t end = range_.first + range_.count;
  return end == sectorCount_ ? size_ : end * sectorSize_;
}

bool Device::Read(std::uint64_t startSector, std::span<std::uint8_t> into, const StopCheck& stop) {
  const std::uint64_t wanted = into.size() / sectorSize_;
  const std::uint64_t before = startSector < range_.first ? std::min(wanted, range_.first - startSector) : 0;
  const std::uint64_t first = startSector + before;
  const std::uint64_t end = range_.first + range_.count;
  const std::uint64_t present = first < end ? std::min(wanted - before, end - first) : 0;
  const auto front = into.first(static_cast<std::size_t>(before * sectorSize_));
  const auto inside = into.subspan(front.size(), static_cast<std::size_t>(present * sectorSize_));
  std::ranges::fill(front, std::uint8_t{0});
  std::ranges::fill(into.subspan(front.size() + inside.size()), std::uint8_t{0});
  return ReadInside(first, inside, stop) && present == wanted;
}

/// Reads sectors of the range.
bool Device::ReadInside(std::uint64_t startSector, std::span<std::uint8_t> into, const StopCheck& stop) {
  bool isWhole = true;
  bool isSearching = false;
  std::uint64_t atOnce = into.size() / sectorSize_;
  SectorRange bad{startSector, 0};
  for (std::uint64_t sector = startSector; !into.empty();) {
    if (isLost_ || (isSearching && stop && stop())) {
      std::ranges::fill(into, std::uint8_t{0});
      isWhole = false;
      break;
    }
    auto [state, count] = StretchAt(sector, into.size() / sectorSize_);
    if (state == SectorState::kReadable) {
      count = std::min(count, atOnce);
      const std::uint64_t good = ReadSectors(sector, into.first(static_cast<std::size_t>(count * sectorSize_)));
      if (isLost_) continue;
      isSearching = isSearching || good < count;
      if (good == count) {
        atOnce = std::min(2 * atOnce, into.size() / sectorSize_);
      } else if (count > 1) {
        // A source that brings some says by that where the bad place is.
        atOnce = good == 0 ? count / 2 : 1;
        count = good;
      } else {
        state = SectorState::kUnreadable;
      }
    } else {
      std::ranges::fill(into.first(static_cast<std::size_t>(count * sectorSize_)), std::uint8_t{0});
    }
    if (state == SectorState::kUnreadable) {
      if (sector != bad.first + bad.count) {
        AddUnreadable(bad);
        bad = {sector, 0};
      }
      bad.count += count;
    }
    isWhole = isWhole && (state == SectorState::kReadable || state == SectorState::kLeftOut);
    sector += count;
    into = into.subspan(static_cast<std::size_t>(count * sectorSize_));
  }
  AddUnreadable(bad);
  return isWhole;
}

/// Reads sectors that exist in one go.
/// \return How many of them were read whole. Behind these `into` is zero.
std::uint64_t Device::ReadSectors(std::uint64_t startSector, std::span<std::uint8_t> into) {
  const std::uint64_t offset = startSector * sectorSize_;
  const auto wanted = static_cast<std::size_t>(std::min<std::uint64_t>(into.size(), size_ - offset));
  std::size_t done = 0;
  ReadResult result;
  do {
    result = source_.ReadAt(offset + done, into.subspan(done, wanted - done));
    done += result.count;
  } while (done < wanted && result.count != 0 && result.error == 0);
  const std::uint64_t whole = done == wanted ? into.size() / sectorSize_ : done / sectorSize_;
  std::ranges::fill(into.subspan(done == wanted ? done : static_cast<std::size_t>(whole * sectorSize_)),
                    std::uint8_t{0});
  if (done == wanted) return whole;
  if (result.error == 0) SetEnd(startSector + whole);
  if (!IsLocal(result.error)) {
    SetLost("reading at byte " + std::to_string(offset + done) + " failed: " + ErrorText(result.error) +
            ": see whether the drive is still connected");
  }
  return whole;
}

Device::Stretch Device::StretchAt(std::uint64_t sector, std::uint64_t most) const {
  const std::uint64_t end = endSector_;
  if (sector >= end) return {SectorState::kUnreadable, most};
  most = std::min(most, end - sector);
  const std::scoped_lock lock(mutex_);
  for (const auto& [set, state] :
       {std::pair{&leftOut_, SectorState::kLeftOut}, std::pair{&skipped_, SectorState::kSkipped},
        std::pair{&unreadable_, SectorState::kUnreadable}}) {
    const SectorSet::Run run = set->RunAt(sector, most);
    if (run.isIn) return {state, run.count};
    most = run.count;
  }
  return {SectorState::kReadable, most};
}

/// Without room to remember them the sectors are as good as lost, and so is what lies behind them.
void Device::AddUnreadable(const SectorRange& sectors) {
  try {
    const std::scoped_lock lock(mutex_);
    unreadable_.Add(sectors);
    if (isWatched_ && sectors.count != 0) newUnreadable_.push_back(sectors);
  } catch (const Failure& failure) {
    SetLost(failure.what());
  }
}

std::vector<SectorRange> Device::TakeNewUnreadable() {
  const std::scoped_lock lock(mutex_);
  return std::exchange(newUnreadable_, {});
}

void Device::SetEnd(std::uint64_t sector) {
  const std::scoped_lock lock(mutex_);
  endSector_ = std::min<std::uint64_t>(endSector_, sector);
}

void Device::SetLost(const std::string& reason) {
  const std::scoped_lock lock(mutex_);
  if (!isLost_) loss_ = reason;
  isLost_ = true;
}

}  // namespace qzmtraw::host
