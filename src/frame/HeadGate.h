#ifndef QZMTRAW_FRAME_HEAD_GATE_H
#define QZMTRAW_FRAME_HEAD_GATE_H

#include <cstdint>
#include <span>

#include "frame/Block.h"
#include "frame/Probe.h"
#include "qzmtraw/RawFileType.h"

namespace qzmtraw {

/// What stands in front of a kind's own code. Most blocks hold no head of most kinds, and one function for all kinds
/// finds that out, for sectors of the usual size, from what its gate keeps. So while 320 kinds take turns at a block,
/// the processor runs the same few instructions, and fetches a kind's own code, from farther off, only where there is
/// something to see. What the function looks at lies in one line of the cache.
class alignas(64) HeadGate : public IRawFileType {
 public:
  std::uint32_t Scan(const RawSectorBlock* rawBlock, IRawHitSink* sink) override;

 protected:
  /// Scans a block that has sectors, and may hold a head or go on with an open file.
  /// \return Whether a file is open, so that the next block is shown whatever it holds.
  using BlockScan = bool (*)(HeadGate& gate, const Block& block, IRawHitSink* sink);

  /// \param scanBlock  The kind's own code.
  /// \param probes     Those of the kind's heads, which must live as long as the gate. With none, all blocks are shown.
  void ShowBlocksTo(BlockScan scanBlock, std::span<const Probe> probes);

 private:
  [[gnu::noinline]] std::uint32_t ScanThoroughly(const RawSectorBlock* rawBlock, IRawHitSink* sink);

  BlockScan scanBlock_ = nullptr;
  bool isOpen_ = false;
  /// A copy of the first probe. Where there is none, or one reaches beyond a usual sector, it holds everywhere.
  Probe probe_;
  /// The others, which few kinds have.
  std::span<const Probe> moreProbes_;
};

}  // namespace qzmtraw

#endif  // QZMTRAW_FRAME_HEAD_GATE_H
