#include <array>
#include <memory>

#include "frame/HeadTail.h"
#include "frame/KFileSimulator.h"

namespace qzmtraw {

/// Canon's raw pictures before CR2: a heap of records in CIFF (Camera Image File Format 1.0) behind a head of 26 bytes.
/// The heap ends with its root directory and the offset of that. What cameras write in front of the root directory
/// tells that it is near.
class KCRWFileType final : public HeadTail<KCRWFileType> {
 public:
  static constexpr auto kHead = At(0, "II\x1A\0\0\0HEAPCCDR");
  static constexpr std::int32_t kFloor = 17;
  static constexpr std::uint64_t kDefaultMaxFileSize = 0x2000000;
  static constexpr std::int64_t kMinimum = 512;

  /// A file with one of the words but without a root directory behind it is closed as one of no bytes.
  std::optional<std::int64_t> EndIn(const Sector& sector) const {
    if (!HasWord(sector)) return std::nullopt;
    return EndOfRootDirectory(sector).value_or(-static_cast<std::int64_t>(fileSize));
  }

 private:
  static bool HasWord(const Sector& sector) {
    return EndBehindTail(sector, Bytes("CRW:EOS")) || EndBehindTail(sector, Bytes("CMOS RAW IMAGE")) ||
           EndBehindTail(sector, Bytes("Canon EOS")) || EndBehindTail(sector, Bytes("Firmware Version"));
  }

  /// Looks for the root directory from the sector on. \return The offset from the sector's start behind the directory
  /// and the number that follows it.
  std::optional<std::int64_t> EndOfRootDirectory(const Sector& sector) const {
    constexpr std::uint32_t kSearched = 65000;
    using Rest = std::array<std::uint8_t, 65536>;
    const auto rest = std::make_unique<Rest>();
    KFileSimulator file(sector.RawBlock(), sector.Number(), kDefaultMaxFileSize);
    file.Read(rest->data(), static_cast<std::uint32_t>(rest->size()));
    for (std::uint32_t p = 0; p < kSearched; ++p) {
      const std::uint8_t* const directory = rest->data() + p;
      const std::size_t count = LoadLittle<std::uint16_t>(directory);
      if (count >= 2 && count <= 5 && IsRootDirectory(directory, count, p)) {
        return static_cast<std::int64_t>(p + sizeof(std::uint16_t) + kEntrySize * count + sizeof(std::uint32_t));
      }
    }
    return std::nullopt;
  }

  /// Whether a directory of `count` entries holds the raw picture and the number behind it is its own offset in the
  /// heap.
  /// \param offset  The directory's offset from the sector under scan.
  bool IsRootDirectory(const std::uint8_t* directory, std::size_t count, std::uint32_t offset) const {
    constexpr std::uint32_t kHeapOffset = 26;
    constexpr std::uint16_t kRawPicture = 0x2005;
    const std::uint8_t* const entries = directory + 2;
    const std::uint8_t* const end = entries + kEntrySize * count;
    if (LoadLittle<std::uint32_t>(end) != static_cast<std::uint32_t>(fileSize) - kHeapOffset + offset) return false;
    for (const std::uint8_t* entry = entries; entry < end; entry += kEntrySize) {
      if (LoadLittle<std::uint16_t>(entry) == kRawPicture) return true;
    }
    return false;
  }

  static constexpr std::size_t kEntrySize = 10;
};

DETECTOR(KCRWFileType);

}  // namespace qzmtraw
