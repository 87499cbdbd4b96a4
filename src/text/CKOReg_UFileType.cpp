#include <cstddef>
#include <cstdint>

#include "frame/Detector.h"
#include "text/LeadingCount.h"

namespace qzmtraw {

/// Exports of the Windows registry in UTF-16, "Windows Registry Editor Version 5.00". Two zero bytes end the file,
/// wherever they stand: behind a line feed they are its high byte and the first byte that isn't the file's. A start of
/// 0 stands for no file, so one at the device's first sector isn't seen.
// NOLINTNEXTLINE(readability-identifier-naming): the name that the table has.
class CKOReg_UFileType final : public Detector<CKOReg_UFileType> {
 public:
  static constexpr auto kHead = At(0, "\xFF\xFE") && At(2, Utf16("Windows Registry"));
  static constexpr std::int64_t kLimit = 0x2000000;

  std::int32_t Reset() override {
    fileStart = 0;
    fileSize = 0;
    endCarry = 0;
    return 1;
  }

  std::uint32_t Scan(const RawSectorBlock* rawBlock, IRawHitSink* sink) override {
    const Block block(rawBlock);
    for (std::int32_t i = 0; i < block.SectorCount(); ++i) {
      if (fileStart == 0) i = NextHead(*this, block, i);
      if (i == block.SectorCount()) break;
      const Sector sector = block[i];
      if (IsHeadAt(*this, sector)) {
        if (fileStart != 0) ReportFile(sink);
        fileStart = sector.Number();
      }
      if (fileStart != 0) FindEnd(sector.Bytes(), sink);
    }
    return static_cast<std::uint32_t>(block.SectorCount());
  }

 private:
  void FindEnd(ByteView bytes, IRawHitSink* sink) {
    if (endCarry != 0) {
      endCarry = 0;
      if (bytes.front() == 0) {
        ReportFile(sink);
        return;
      }
    }
    const std::size_t pairs = bytes.size() - 1;
    const std::size_t end = LeadingCount(pairs, [bytes](std::size_t i) { return (bytes[i] | bytes[i + 1]) != 0; });
    if (end < pairs) {
      fileSize += end + 1;
      ReportFile(sink);
      return;
    }
    if (bytes.back() == 0) endCarry = 1;
    fileSize += bytes.size();
    if (static_cast<std::int64_t>(fileSize) > kLimit) {
      fileSize = kLimit;
      ReportFile(sink);
      endCarry = 0;
    }
  }

  void ReportFile(IRawHitSink* sink) {
    Report(sink, fileStart, fileSize);
    fileStart = 0;
    fileSize = 0;
  }

  std::uint64_t fileStart = 0;
  std::uint64_t fileSize = 0;
  /// Whether the sector before ended with the first of two zero bytes.
  std::uint32_t endCarry = 0;
};

DETECTOR(CKOReg_UFileType);

}  // namespace qzmtraw
