#include "frame/HeadGate.h"

#include <algorithm>

namespace qzmtraw {

std::uint32_t HeadGate::Scan(const RawSectorBlock* rawBlock, IRawHitSink* sink) {
  if (!isOpen_ && rawBlock != nullptr && rawBlock->sectorSize == kUsualSectorSize && rawBlock->sectorCount > 0 &&
      rawBlock->data != nullptr) {
    const std::int32_t count = rawBlock->sectorCount;
    if (FirstWord(rawBlock->data, count, probe_) == count &&
        std::all_of(moreProbes_.begin(), moreProbes_.end(),
                    [&](const Probe& probe) { return FirstWord(rawBlock->data, count, probe) == count; })) {
      return static_cast<std::uint32_t>(count);
    }
  }
  return ScanThoroughly(rawBlock, sink);
}

std::uint32_t HeadGate::ScanThoroughly(const RawSectorBlock* rawBlock, IRawHitSink* sink) {
  const Block block(rawBlock);
  if (block.SectorCount() == 0) return 0;
  // Should a sink throw, the next block is shown.
  isOpen_ = true;
  isOpen_ = scanBlock_(*this, block, sink);
  return static_cast<std::uint32_t>(block.SectorCount());
}

void HeadGate::ShowBlocksTo(BlockScan scanBlock, std::span<const Probe> probes) {
  scanBlock_ = scanBlock;
  const bool isShort =
      std::all_of(probes.begin(), probes.end(), [](const Probe& probe) { return probe.Reach() <= kUsualSectorSize; });
  if (probes.empty() || !isShort) return;
  probe_ = probes.front();
  moreProbes_ = probes.subspan(1);
}

}  // namespace qzmtraw
