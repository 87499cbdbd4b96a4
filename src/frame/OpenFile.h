#ifndef QZMTRAW_FRAME_OPEN_FILE_H
#define QZMTRAW_FRAME_OPEN_FILE_H

#include "frame/Detector.h"

namespace qzmtraw {

/// The state of detectors that work out or add up a size, and what is done with it; the base of SizedByHead and
/// HeadTail. It is carried from block to block. `Self` states
///
///     kDefaultMaxFileSize    the largest size that is reported, in bytes, unless the host sets another
///     kMinimum               the least size that is reported, in bytes; 256 unless stated
///
/// Sizes are compared as signed 64-bit values. A shared classifier takes `Base` for Detector, and its own Report.
template <class Self, class Base = Detector<Self>>
class OpenFile : public Base {
 public:
  static constexpr std::int64_t kMinimum = 256;

  std::int32_t Reset() override {
    Close();
    fileStart = 0;
    maxFileSize = Self::kDefaultMaxFileSize;
    return 1;
  }

  void SetMaxFileSize(std::uint64_t limit) override { maxFileSize = limit; }

 protected:
  void Open(std::uint64_t startSector) {
    fileStart = startSector;
    fileSize = 0;
    fileOpen = 1;
  }

  void Close() {
    fileSize = 0;
    fileOpen = 0;
  }

  /// Reports the file at `fileStart` with `size`, cut to the largest size, unless `size` is below the least.
  void ReportSize(IRawHitSink* sink, std::uint64_t size) {
    if (static_cast<std::int64_t>(size) >= Self::kMinimum) ReportClipped(sink, size);
  }

  /// Reports the file at `fileStart` with `size`, cut to the largest size.
  void ReportClipped(IRawHitSink* sink, std::uint64_t size) {
    this->ThisDetector().Report(sink, fileStart, IsAboveLimit(size) ? maxFileSize : size);
  }

  /// Whether a size is cut when it is reported.
  bool IsAboveLimit(std::uint64_t size) const {
    return static_cast<std::int64_t>(size) > static_cast<std::int64_t>(maxFileSize);
  }

  /// A new head ends the file that is open, if there is one.
  void ReportFileBeforeHead(IRawHitSink* sink) {
    if (fileOpen != 0) ReportSize(sink, fileSize);
  }

  std::int32_t fileOpen = 0;
  std::uint64_t fileStart = 0;
  std::uint64_t fileSize = 0;
  std::uint64_t maxFileSize = Self::kDefaultMaxFileSize;
};

}  // namespace qzmtraw

#endif  // QZMTRAW_FRAME_OPEN_FILE_H
