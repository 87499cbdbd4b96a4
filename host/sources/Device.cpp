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

Device::Device(ISource& source, std::uint32_t sectorSize)
    : source_(source),
      size_(source.Size()),
      sectorSize_(sectorSize),
      sectorCount_(size_ / sectorSize + (size_ % sectorSize != 0 ? 1 : 0)),
      endSector_(sectorCount_) {}

bool Device::Read(std::uint64_t startSector, std::span<std::uint8_t> into, const StopCheck& stop) {
  const std::uint64_t wanted = into.size() / sectorSize_;
  const std::uint64_t present = startSector < sectorCount_ ? std::min(wanted, sectorCount_ - startSector) : 0;
  const auto inside = into.first(static_cast<std::size_t>(present * sectorSize_));
  std::ranges::fill(into.subspan(inside.size()), std::uint8_t{0});
  if (inside.empty()) return present == wanted;
  const bool isRead = (!IsKnownUnreadable({startSector, present}) && ReadSectors(startSector, inside)) ||
                      ReadOneByOne(startSector, inside, stop);
  return isRead && present == wanted;
}

/// Reads sectors that exist in one go. On failure the rest of `into` is zero.
bool Device::ReadSectors(std::uint64_t startSector, std::span<std::uint8_t> into) {
  if (isLost_) {
    std::ranges::fill(into, std::uint8_t{0});
    return false;
  }
  const std::uint64_t offset = startSector * sectorSize_;
  const auto wanted = static_cast<std::size_t>(std::min<std::uint64_t>(into.size(), size_ - offset));
  std::size_t done = 0;
  ReadResult result;
  do {
    result = source_.ReadAt(offset + done, into.subspan(done, wanted - done));
    done += result.count;
  } while (done < wanted && result.count != 0 && result.error == 0);
  std::ranges::fill(into.subspan(done), std::uint8_t{0});
  if (done < wanted && result.error == 0) SetEnd((offset + done) / sectorSize_);
  if (done < wanted && !IsLocal(result.error)) {
    SetLost("reading at byte " + std::to_string(offset + done) + " failed: " + ErrorText(result.error) +
            ": see whether the drive is still connected");
  }
  return done == wanted;
}

bool Device::ReadOneByOne(std::uint64_t startSector, std::span<std::uint8_t> into, const StopCheck& stop) {
  SectorRange missing{startSector, 0};
  bool isComplete = true;
  for (std::uint64_t sector = startSector; !into.empty(); ++sector, into = into.subspan(sectorSize_)) {
    if (isLost_ || (stop && stop())) {
      std::ranges::fill(into, std::uint8_t{0});
      isComplete = false;
      break;
    }
    const auto bytes = into.first(sectorSize_);
    if (!IsKnownUnreadable({sector, 1}) && ReadSectors(sector, bytes)) continue;
    std::ranges::fill(bytes, std::uint8_t{0});
    isComplete = false;
    if (isLost_) continue;
    if (sector != missing.first + missing.count) {
      AddUnreadable(missing);
      missing = {sector, 0};
    }
    ++missing.count;
  }
  AddUnreadable(missing);
  return isComplete;
}

bool Device::IsKnownUnreadable(const SectorRange& sectors) const {
  if (sectors.first + sectors.count > endSector_) return true;
  const std::scoped_lock lock(mutex_);
  return unreadable_.Overlaps(sectors);
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
