#ifndef QZMTRAW_FRAME_KHEADTAILFILETEMPLATE_H
#define QZMTRAW_FRAME_KHEADTAILFILETEMPLATE_H

#include <cstdint>

#include "frame/HeadTail.h"

namespace qzmtraw {

/// The detector that is configured with byte strings: a file begins with `head` at the start of a sector and ends
/// behind the first `tail`, or has a fixed size.
class KHeadTailFileTemplate final : public HeadTail<KHeadTailFileTemplate> {
 public:
  static constexpr std::uint64_t kDefaultMaxFileSize = 0xa00000;
  static constexpr std::int64_t kMinimum = 512;

  /// All texts and byte strings must live as long as the detector.
  /// \param description, extension  Null gives nothing.
  /// \param tail                    Null: files have the size `fixedSize`, in bytes, and are not searched.
  KHeadTailFileTemplate(const char* description, const char* extension, const std::uint8_t* head,
                        std::uint32_t headLength, const std::uint8_t* tail, std::uint32_t tailLength,
                        std::int32_t fixedSize);

  bool IsHead(const Sector& sector) const;
  std::optional<std::int64_t> KnownSize(const Sector& sector) const;
  std::optional<std::int64_t> EndIn(const Sector& sector) const { return EndBehindTail(sector, tail_); }

 private:
  ByteView head_;
  ByteView tail_;
  Probe headProbe_;
  bool hasTail_;
  std::int32_t fixedSize_;
};

}  // namespace qzmtraw

#endif  // QZMTRAW_FRAME_KHEADTAILFILETEMPLATE_H
