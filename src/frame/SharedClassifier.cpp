#include "frame/SharedClassifier.h"

namespace qzmtraw {

std::uint32_t FaceGate::Scan(const RawSectorBlock* block, IRawHitSink* sink) {
  if (!lastBlock_->IsReadInVain(block)) lookup_(block, sink);
  return 0;
}

}  // namespace qzmtraw
