#include "frame/Search.h"
#include "frame/SizedByHead.h"
#include "images/TiffDirectory.h"

namespace qzmtraw {

/// Olympus' raw pictures: TIFF files with another number in their head, whose fourth byte isn't looked at. The maker's
/// name near the beginning decides. Where the directory tells of a thumbnail as well as of strips, the thumbnail's end
/// is the file's.
class KOrfFileType final : public SizedByHead<KOrfFileType> {
 public:
  static constexpr auto kHead = At(0, "IIR");
  static constexpr std::int32_t kFloor = 16;
  static constexpr std::uint64_t kDefaultMaxFileSize = 0x2000000;
  static constexpr std::int64_t kMinimum = 0;
  static constexpr SizeHints kHints{0xA00000, 0x2000000};

  std::int32_t Reset() override {
    stripOffset = 0;
    stripByteCount = 0;
    return SizedByHead::Reset();
  }

  std::int32_t SizeAt(const Sector& sector) {
    constexpr std::int32_t kNoFile = -1;
    KFileSimulator file(sector.RawBlock(), sector.Number(), maxFileSize);
    if (!NamesMaker(file)) return kNoFile;
    ReadDirectory(file);
    return static_cast<std::int32_t>(stripByteCount + stripOffset);
  }

 private:
  static bool NamesMaker(KFileSimulator& file) {
    constexpr std::size_t kUnseen = 1;
    std::array<std::uint8_t, 8192> beginning{};
    file.Read(beginning.data(), beginning.size());
    return Find(ByteView(beginning).first(beginning.size() - kUnseen), Bytes("OLYMPUS"), 0, LetterCase::kIgnored)
        .has_value();
  }

  /// A directory whose tags don't rise is read as far as they do.
  void ReadDirectory(KFileSimulator& file) {
    std::array<std::uint8_t, 4> offset{};
    file.SetPos(4);
    file.Read(offset.data(), offset.size());
    std::uint16_t tagBefore = 0;
    WalkTiffDirectory(file, std::endian::little, LoadLittle<std::uint32_t>(offset.data()), maxFileSize,
                      [&](const TiffEntry& entry) {
                        if (entry.tag < tagBefore) return false;
                        tagBefore = entry.tag;
                        if (entry.tag == kStripOffsets || entry.tag == kThumbnailOffset) stripOffset = entry.value;
                        if (entry.tag == kStripByteCounts || entry.tag == kThumbnailByteCount) {
                          stripByteCount = entry.value;
                        }
                        return true;
                      });
  }

  // Only Reset clears them: a directory without them leaves those of the file before.
  std::uint32_t stripOffset = 0;
  std::uint32_t stripByteCount = 0;
};

DETECTOR(KOrfFileType);

}  // namespace qzmtraw
