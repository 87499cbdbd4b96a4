#include <array>

#include "frame/KFileSimulator.h"
#include "frame/StartOnly.h"

namespace qzmtraw {

/// Hives of the Windows registry: a base block of 4096 bytes and the first bin behind it. Logs of hives begin with a
/// base block as well, but no bin follows there.
class CKOHivFileType final : public StartOnly<CKOHivFileType> {
 public:
  static constexpr auto kHead = At(0, "regf");
  static constexpr SizeHints kHints{256, 2147483647};

  static bool IsHead(const Sector& sector) {
    // Whole sectors are counted, so in sectors of more than 4096 bytes the bin is looked for in vain, at the head.
    const std::int64_t binInBlock = kBaseBlockSize - kBaseBlockSize % sector.Size();
    if (sector.Holds(binInBlock, 1)) return sector.Has(binInBlock, kBin);
    KFileSimulator file(sector.RawBlock(), sector.Number(), 0x7FFFFFFF);
    file.SetPos(kBaseBlockSize);
    std::array<std::uint8_t, kBin.Size()> bytes{};
    file.Read(bytes.data(), bytes.size());
    return bytes == kBin.bytes;
  }

 private:
  static constexpr std::int32_t kBaseBlockSize = 4096;
  static constexpr auto kBin = Bytes("hbin");
};

DETECTOR(CKOHivFileType);

}  // namespace qzmtraw
