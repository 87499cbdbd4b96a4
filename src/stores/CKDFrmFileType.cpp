#include <array>
#include <optional>

#include "frame/ChainWalk.h"
#include "frame/StartOnly.h"

namespace qzmtraw {

/// Definitions of MySQL's tables. The file is written in blocks; the last part is a chain of lengths, one behind the
/// other, which ends with 255.
class CKDFrmFileType final : public StartOnly<CKDFrmFileType> {
 public:
  static constexpr auto kHead =
      At(0, "\xFE\x01") && At(32, "\0\x05") && At(5, "\0") && At(41, "\0\0\0\0") && At(45, "\0\0");

  std::int32_t Reset() override {
    allowance_ = {};
    return StartOnly::Reset();
  }

  std::uint64_t SizeAt(const Sector& sector) {
    constexpr std::uint16_t kEndMark = 255;
    constexpr std::uint64_t kLastPlace = 0x3ffffffe;
    constexpr std::uint64_t kLargestFile = 0x7fffffff;
    constexpr std::uint64_t kWordSize = 2;
    const std::uint16_t ioSize = sector.U16(6);
    KFileSimulator simulator(sector.RawBlock(), sector.Number(), kLargestFile);
    allowance_.EarnUpTo(sector.Number());
    std::uint64_t size = 0;
    std::uint16_t step = ioSize;
    do {
      if (!allowance_.PayStep(size, size + step)) break;
      size += step;
      std::optional<std::uint16_t> word = WordAt(simulator, size);
      if (!word) return size;
      if (*word == kEndMark || size > kLastPlace) return size + kWordSize;
      if (step != ioSize) {
        // Back to a whole number of blocks, or 64 KiB further when the step is longer than a block.
        size += static_cast<std::uint16_t>(ioSize - step);
        word = WordAt(simulator, size);
        if (!word) return size;
      }
      step = *word == 0 ? ioSize : static_cast<std::uint16_t>(*word - 2);
    } while (step != 0);
    return size;
  }

 private:
  /// Nothing where the word can't be read.
  static std::optional<std::uint16_t> WordAt(KFileSimulator& simulator, std::uint64_t offset) {
    std::array<std::uint8_t, 2> bytes{};
    simulator.SetPos(offset);
    if (!simulator.Read(bytes.data(), 2)) return std::nullopt;
    return LoadLittle<std::uint16_t>(bytes.data());
  }

  WalkAllowance allowance_;
};

DETECTOR(CKDFrmFileType);

}  // namespace qzmtraw
