#ifndef QZMTRAW_FRAME_PENDING_H
#define QZMTRAW_FRAME_PENDING_H

/// \file
/// Kinds that have their row, their texts and their hints, and don't find anything yet.

#include "frame/Detector.h"

namespace qzmtraw {

/// By which a detector that finds nothing yet can be told from the others.
class PendingMark {};

template <class Self>
class Pending : public Detector<Self>, public PendingMark {
 public:
  std::uint32_t Scan(const RawSectorBlock* /*block*/, IRawHitSink* /*sink*/) override { return 0; }
};

#define PENDING(Class)                          \
  class Class final : public Pending<Class> {}; \
  DETECTOR(Class)

#define PENDING_WITH_HINTS(Class, least, greatest)      \
  class Class final : public Pending<Class> {           \
   public:                                              \
    static constexpr SizeHints kHints{least, greatest}; \
  };                                                    \
  DETECTOR(Class)

}  // namespace qzmtraw

#endif  // QZMTRAW_FRAME_PENDING_H
