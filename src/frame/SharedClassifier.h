#ifndef QZMTRAW_FRAME_SHARED_CLASSIFIER_H
#define QZMTRAW_FRAME_SHARED_CLASSIFIER_H

/// \file
/// Kinds of file that share an outer structure. A shared classifier reads the structure once for each block and sorts
/// each file into a code; the kinds that a host sees are faces, which pass on the hits of one code. So a container is
/// read once, however many of its kinds are looked for. There is one object of each classifier in a process, without a
/// lock: all its faces belong to one thread.

#include <cstddef>
#include <cstdint>
#include <limits>
#include <vector>

#include "frame/Detector.h"

namespace qzmtraw {

/// What a classifier found, with the code that it was sorted into.
struct RawTypedHit {
  RawFileHit hit;
  std::uint32_t code;
};

/// When a classifier remembers the block that it is about to read, or has read.
enum class KeyStored { kBeforeScan, kAfterScan };

/// The block that a classifier read last.
struct ClassifiedBlock {
  /// The number of its first sector.
  std::uint64_t cacheKey;
  /// What was found in it, in the order in which it was found.
  std::vector<RawTypedHit> hits;

  /// Whether it is this block, and holds no file of any of the classifier's kinds.
  bool IsReadInVain(const RawSectorBlock* block) const {
    return block != nullptr && block->startSector == cacheKey && hits.empty();
  }
};

/// The base of the shared classifiers. `Self` writes a ScanBlock or a Scan, which reports nothing and appends to
/// `hits`, and states
///
///     kFirstKey               the block number that counts as read at the start of the process: none, which is all
///                             bits set, unless stated. Where it is 0, the heads of a first block at sector 0 are not
///                             seen.
///     kKeyStored              when the block's number is remembered; before Scan unless stated
///     kFaceResetsClassifier   whether Reset of a face resets the classifier; it leaves it alone unless stated
template <class Self>
class SharedClassifier : public Detector<Self>, protected ClassifiedBlock {
 public:
  static constexpr std::uint64_t kFirstKey = std::numeric_limits<std::uint64_t>::max();
  static constexpr KeyStored kKeyStored = KeyStored::kBeforeScan;
  static constexpr bool kFaceResetsClassifier = false;

  /// The one object of the process, built at the first call and destroyed when the process ends.
  static Self& Instance() {
    static Self instance;
    return instance;
  }

  /// Reports the block's hits of one code, and reads the block before if it isn't the one that was read last. A block
  /// that is asked for twice is reported twice.
  void Lookup(const RawSectorBlock* block, IRawHitSink* sink, std::uint32_t code) {
    if (block == nullptr) return;
    if (block->startSector != cacheKey) {
      hits.clear();
      if (Self::kKeyStored == KeyStored::kBeforeScan) cacheKey = block->startSector;
      this->ThisDetector().Scan(block, sink);
      if (Self::kKeyStored == KeyStored::kAfterScan) cacheKey = block->startSector;
    }
    if (sink == nullptr) return;
    for (const RawTypedHit& entry : hits) {
      if (entry.code == code) sink->ReportHit(&entry.hit);
    }
  }

  const ClassifiedBlock& LastBlock() const { return *this; }

 protected:
  SharedClassifier() : ClassifiedBlock{Self::kFirstKey, {}} {}
};

/// What stands in front of all faces, for the reason for which there is the HeadGate. A face's own code runs for the
/// first face that is shown a block, and where the classifier has found something.
class FaceGate : public IRawFileType {
 public:
  std::uint32_t Scan(const RawSectorBlock* block, IRawHitSink* sink) override;

 protected:
  using BlockLookup = void (*)(const RawSectorBlock* block, IRawHitSink* sink);

  /// \param lastBlock  The classifier's.
  /// \param lookup     Passes on the face's hits.
  void PassOn(const ClassifiedBlock& lastBlock, BlockLookup lookup) {
    lastBlock_ = &lastBlock;
    lookup_ = lookup;
  }

 private:
  const ClassifiedBlock* lastBlock_ = nullptr;
  BlockLookup lookup_ = nullptr;
};

/// A kind that has no logic of its own but passes on the hits of one code of a classifier, or of several codes, one
/// code after the other.
template <class Self, class Classifier, std::uint32_t... kCodes>
class Face : public Detector<Self, FaceGate> {
 public:
  Face() {
    this->PassOn(Classifier::Instance().LastBlock(), [](const RawSectorBlock* block, IRawHitSink* sink) {
      (Classifier::Instance().Lookup(block, sink, kCodes), ...);
    });
  }

  std::int32_t Reset() override {
    if constexpr (Classifier::kFaceResetsClassifier) Classifier::Instance().Reset();
    return 1;
  }

  std::int32_t ResetFull() override {
    if constexpr (Classifier::kFaceResetsClassifier) Classifier::Instance().ResetFull();
    return 1;
  }
};

}  // namespace qzmtraw

#endif  // QZMTRAW_FRAME_SHARED_CLASSIFIER_H
