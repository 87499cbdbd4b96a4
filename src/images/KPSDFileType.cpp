#include <algorithm>
#include <array>
#include <optional>

#include "frame/ChainWalk.h"
#include "frame/KFileSimulator.h"
#include "frame/NullLogger.h"
#include "frame/SizedByHead.h"

namespace qzmtraw {
namespace {

/// A number of T's width, most significant byte first.
template <std::unsigned_integral T>
T ReadBig(KFileSimulator& file) {
  std::array<std::uint8_t, sizeof(T)> bytes{};
  file.Read(bytes.data(), sizeof(T));
  return LoadBig<T>(bytes.data());
}

}  // namespace

/// Photoshop documents (Adobe Photoshop File Formats Specification): a header, three sections that tell their lengths,
/// and the merged image. Only an image whose rows are run-length encoded tells where it ends, and only such a document
/// is reported. The size is added up at 32 bits.
class KPSDFileType final : public SizedByHead<KPSDFileType> {
 public:
  static constexpr auto kHead = At(0, "8BPS");
  static constexpr std::int32_t kFloor = 4;
  static constexpr std::uint64_t kDefaultMaxFileSize = 0x7FFFFFFF;

  std::int32_t Reset() override {
    allowance_ = {};
    return SizedByHead::Reset();
  }

  std::int32_t SizeAt(const Sector& sector) {
    allowance_.EarnUpTo(sector.Number());
    KFileSimulator file(sector.RawBlock(), sector.Number(), kDefaultMaxFileSize);
    const std::optional<std::uint32_t> rowTable = PassHeader(file);
    if (!rowTable) return 0;
    std::uint32_t size = kHeaderSize;
    for (int section = 0; section < 3; ++section) {
      const auto length = ReadBig<std::uint32_t>(file);
      file.Skip(length);
      size += 4 + length;
    }
    const auto compression = ReadBig<std::uint16_t>(file);
    if (compression == kRowsEncoded) return static_cast<std::int32_t>(size + 2 + *rowTable + RowsIn(file, *rowTable));
    if (compression != kRaw) LogDiagnostic("Unknown compress mode:%d\r\n", compression);
    return 0;
  }

 private:
  static constexpr std::uint32_t kHeaderSize = 26;
  static constexpr std::uint16_t kRaw = 0;
  static constexpr std::uint16_t kRowsEncoded = 1;

  /// \return The bytes of the table in front of encoded rows, which holds two for each row of each channel; nothing if
  /// the header isn't that of a document.
  static std::optional<std::uint32_t> PassHeader(KFileSimulator& file) {
    constexpr std::uint32_t kLongestSide = 30000;
    std::array<std::uint8_t, kHeaderSize> header{};
    file.Read(header.data(), kHeaderSize);
    const auto version = LoadBig<std::uint16_t>(&header[4]);
    const std::uint32_t channels = LoadBig<std::uint16_t>(&header[12]);
    const auto height = LoadBig<std::uint32_t>(&header[14]);
    const auto width = LoadBig<std::uint32_t>(&header[18]);
    if (!std::equal(header.begin(), header.begin() + 4, kHead.string.bytes.begin()) || version != 1 ||
        height > kLongestSide || width > kLongestSide) {
      return std::nullopt;
    }
    return 2 * channels * height;
  }

  /// The bytes of all encoded rows. The table may be gigabytes long in a header that lies, so it is read in pieces.
  std::uint32_t RowsIn(KFileSimulator& file, std::uint32_t tableSize) {
    std::uint32_t sum = 0;
    std::array<std::uint8_t, KFileSimulator::kCacheSize> piece;
    for (std::uint32_t left = tableSize; left > 0;) {
      const auto count = std::min(left, static_cast<std::uint32_t>(piece.size()));
      left -= count;
      piece.fill(0);
      // What can't be read counts as zeros.
      if (!allowance_.PayReading() || !file.Read(piece.data(), count)) left = 0;
      for (std::uint32_t i = 0; i < count; i += 2) sum += LoadBig<std::uint16_t>(&piece[i]);
    }
    return sum;
  }

  WalkAllowance allowance_;
};

DETECTOR(KPSDFileType);

}  // namespace qzmtraw
