#include <cstddef>
#include <cstdint>

#include "frame/Detector.h"
#include "text/LeadingCount.h"

namespace qzmtraw {

/// Texts in UTF-16, least significant byte first, with their byte order mark. A text goes on until a unit of 0. Its
/// first characters must be ASCII or come from the great scripts of Asia.
class CKUTxtFileType final : public Detector<CKUTxtFileType> {
 public:
  static constexpr auto kHead = At(0, "\xFF\xFE");
  static constexpr std::int32_t kFloor = 51;
  static constexpr std::int64_t kMarkSize = 2;
  static constexpr std::int64_t kUnitsTested = 10;

  static bool IsHead(const Sector& sector) {
    // These two begin as texts and have detectors of their own.
    if (sector.Has(kMarkSize, Utf16("BluffTitler")) || sector.Has(kMarkSize, Utf16("Windows Registry"))) return false;
    for (std::int64_t i = 0; i < kUnitsTested; ++i) {
      if (!IsTextUnit(sector.U16(kMarkSize + 2 * i))) return false;
    }
    return true;
  }

  std::int32_t Reset() override {
    fileOpen = 0;
    fileStart = 0;
    fileSize = 0;
    return 1;
  }

  bool ScanBlock(const Block& block, IRawHitSink* sink) {
    for (std::int32_t i = 0; i < block.SectorCount(); ++i) {
      if (fileOpen == 0) i = NextHead(*this, block, i);
      if (i == block.SectorCount()) break;
      const Sector sector = block[i];
      if (IsHeadAt(*this, sector)) {
        if (fileSize != 0 && fileStart != 0) Report(sink, fileStart, fileSize);
        fileStart = sector.Number();
        fileSize = 0;
        fileOpen = 1;
      }
      CountUnits(sector, sink);
    }
    return fileOpen != 0;
  }

 private:
  static constexpr bool IsTextUnit(std::uint16_t unit) {
    return (unit >= 0x20 && unit <= 0x7F) || (unit >= 0x0800 && unit <= 0x9FA5) || (unit >= 0xAC00 && unit <= 0xD7FF) ||
           unit == '\r' || unit == '\n' || unit == '\t';
  }

  /// A last byte that is half a unit is passed over.
  void CountUnits(const Sector& sector, IRawHitSink* sink) {
    const ByteView bytes = sector.Bytes();
    const std::size_t units = bytes.size() / 2;
    const std::size_t counted =
        LeadingCount(units, [bytes](std::size_t i) { return LoadLittle<std::uint16_t>(&bytes[2 * i]) != 0; });
    fileSize += 2 * counted;
    if (counted == units) return;
    fileOpen = 0;
    Report(sink, fileStart, fileSize);
    fileStart = 0;
    fileSize = 0;
  }

  std::int32_t fileOpen = 0;
  std::uint64_t fileStart = 0;
  std::uint64_t fileSize = 0;
};

DETECTOR(CKUTxtFileType);

}  // namespace qzmtraw
