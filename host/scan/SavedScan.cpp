#include "host/scan/SavedScan.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <vector>

#include "host/base/Error.h"
#include "host/base/Text.h"
#include "host/base/Version.h"

namespace qzmtraw::host {
namespace {

/// So much of a source's beginning and end tells it apart from others.
constexpr std::uint64_t kSampleSize = 64U << 10U;

/// A mark of some sectors, by the rule of Fowler, Noll and Vo. It guards against mistakes, not against malice.
std::string MarkOf(Device& device, std::uint64_t startSector, std::uint64_t sectorCount) {
  std::vector<std::uint8_t> bytes(static_cast<std::size_t>(sectorCount * device.SectorSize()));
  if (!device.Read(startSector, bytes)) return kUnknownSetting;
  std::uint64_t mark = 0xCBF29CE484222325;
  for (const std::uint8_t byte : bytes) mark = (mark ^ byte) * 0x100000001B3;
  std::array<char, 17> digits{};
  std::snprintf(digits.data(), digits.size(), "%016llx", static_cast<unsigned long long>(mark));
  return digits.data();
}

/// Whole blocks before the place up to which all is done.
ScanStart StartAt(std::uint64_t sectorsDone, std::uint64_t rewind, const Device& device) {
  const SectorRange& range = device.Range();
  const std::uint64_t end = range.first + range.count;
  if (sectorsDone >= end) return {end, end};
  sectorsDone = std::max(sectorsDone, range.first);
  const std::uint64_t blockSize = std::uint64_t{kSectorsPerBlock} * device.SectorSize();
  const std::uint64_t blocksDone = (sectorsDone - range.first) / kSectorsPerBlock;
  const std::uint64_t blocksBack = std::min(blocksDone, rewind / blockSize + (rewind % blockSize == 0 ? 0 : 1));
  return {range.first + (blocksDone - blocksBack) * kSectorsPerBlock, sectorsDone};
}

}  // namespace

ScanSettings SettingsOf(Device& device, std::span<const std::int32_t> chosen, const Shard& shard) {
  const SectorRange& range = device.Range();
  const std::uint64_t sampled = std::min(range.count, std::max<std::uint64_t>(1, kSampleSize / device.SectorSize()));
  return {{"the size of the source", std::to_string(device.Size())},
          {"the sector size", std::to_string(device.SectorSize())},
          {"the part of the source", std::to_string(range.first) + "+" + std::to_string(range.count)},
          {"the number of sectors left out", std::to_string(device.LeftOut().Count())},
          {"the number of sectors that the map skips", std::to_string(device.Skipped().Count())},
          {"the mark of the source's beginning", MarkOf(device, range.first, sampled)},
          {"the mark of the source's end", MarkOf(device, range.first + range.count - sampled, sampled)},
          {"the list of file types", NumberRanges(chosen)},
          {"the shard", ShardText(shard)},
          {"the number of sectors in a block", std::to_string(kSectorsPerBlock)},
          {"the version of this program", Version()}};
}

SavedScan::SavedScan(const RunOptions& options, const ScanSettings& settings, const Lane& rows, Device& device,
                     std::ostream& messages)
    : state_(options.state, settings),
      rows_(rows),
      device_(device),
      messages_(messages),
      interval_(options.saveInterval),
      start_(StartAt(state_.SectorsDone(), options.rewind, device)),
      secondsBefore_(state_.Seconds()) {
  state_.ReadUnreadable([this](const SectorRange& sectors) {
    const std::uint64_t first = std::min(sectors.first, device_.SectorCount());
    device_.AddUnreadable({first, std::min(sectors.count, device_.SectorCount() - first)});
  });
  device_.WatchUnreadable();
}

void SavedScan::ReadFinds(const FindTaker& take) const {
  state_.ReadFinds([&](const ReportedFind& find) {
    // Who wrote the state looked for the same rows, unless it was tampered with.
    const auto known = std::ranges::lower_bound(rows_, find.row, {}, &LaneRow::row);
    if (known == rows_.end() || known->row != find.row) {
      throw Failure(
          "the state of the scan is damaged: it has finds of types that weren't looked for: begin anew, with "
          "another file");
    }
    take(find);
  });
}

void SavedScan::Add(const ReportedFind& find) {
  Guard([&] { state_.Add(find); });
}

void SavedScan::SaveNowAndThen(std::uint64_t sectorsDone) {
  if (Clock::now() - lastSave_ >= interval_) Save(sectorsDone);
}

void SavedScan::Save(std::uint64_t sectorsDone) {
  const std::vector<SectorRange> unreadable = device_.TakeNewUnreadable();
  // What was found since a source was lost may have come of reading that failed.
  if (device_.IsLost()) return;
  lastSave_ = Clock::now();
  Guard([&] {
    for (const SectorRange& sectors : unreadable) state_.AddUnreadable(sectors);
    if (sectorsDone <= state_.SectorsDone()) return;
    const std::chrono::duration<double> span = lastSave_ - began_;
    state_.Commit(sectorsDone, secondsBefore_ + span.count());
  });
}

template <class Work>
void SavedScan::Guard(const Work& work) {
  if (hasFailed_) return;
  try {
    work();
  } catch (const Failure& failure) {
    hasFailed_ = true;
    messages_ << kProgramName << ": " << failure.what()
              << "; the scan goes on without saving, and the file keeps what was saved before\n";
  }
}

}  // namespace qzmtraw::host
