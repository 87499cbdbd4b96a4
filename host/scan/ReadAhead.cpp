#include "host/scan/ReadAhead.h"

#include <algorithm>
#include <span>

namespace qzmtraw::host {

ReadAhead::ReadAhead(Device& device, std::uint64_t pieceSectors, std::size_t pieceCount, std::size_t userCount,
                     Failures& failures, std::uint64_t startSector)
    : device_(device),
      pieceSectors_(pieceSectors),
      userCount_(userCount),
      failures_(failures),
      startSector_(startSector),
      slots_(pieceCount) {
  thread_ = StartThread([this] {
    failures_.Guard([this] { ReadAll(); });
    const std::scoped_lock lock(mutex_);
    isOver_ = true;
    changed_.notify_all();
  });
}

ReadAhead::~ReadAhead() { Stop(); }

Piece* ReadAhead::Get(std::uint64_t number) {
  std::unique_lock lock(mutex_);
  changed_.wait(lock, [&] { return isStopped_ || isOver_ || number < readCount_; });
  return isStopped_ || number >= readCount_ ? nullptr : &SlotOf(number).piece;
}

void ReadAhead::Release(std::uint64_t number) {
  const std::scoped_lock lock(mutex_);
  if (--SlotOf(number).users == 0) changed_.notify_all();
}

void ReadAhead::Stop() {
  const std::scoped_lock lock(mutex_);
  isStopped_ = true;
  changed_.notify_all();
}

bool ReadAhead::IsStopped() {
  const std::scoped_lock lock(mutex_);
  return isStopped_;
}

void ReadAhead::ReadAll() {
  const SectorRange& range = device_.Range();
  const std::uint64_t end = range.first + range.count;
  for (std::uint64_t sector = std::max(startSector_, range.first); sector < end;) {
    // Only this thread counts up, and nobody touches a slot without users.
    Slot& slot = SlotOf(readCount_);
    {
      std::unique_lock lock(mutex_);
      changed_.wait(lock, [&] { return isStopped_ || slot.users == 0; });
      if (isStopped_) return;
    }
    Piece& piece = slot.piece;
    piece.startSector = sector;
    piece.sectorCount = std::min(pieceSectors_, end - sector);
    piece.bytes.resize(static_cast<std::size_t>(piece.sectorCount * device_.SectorSize()));
    device_.Read(sector, piece.bytes, [this] { return IsStopped(); });
    if (device_.IsLost()) return;
    sector += piece.sectorCount;

    const std::scoped_lock lock(mutex_);
    slot.users = userCount_;
    ++readCount_;
    changed_.notify_all();
  }
}

}  // namespace qzmtraw::host
