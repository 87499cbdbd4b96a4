#include <array>
#include <limits>

#include "frame/KFileSimulator.h"
#include "frame/OpenFile.h"

namespace qzmtraw {
namespace {

/// The largest position at which the walk goes on.
constexpr std::int64_t kLastPosition = 0x100000;

/// A walk over the blocks of a GIF file (CompuServe's specification of version 89a) in search of the trailer.
class GifWalk {
 public:
  /// Walks until the trailer is met or something says that this is no GIF file.
  explicit GifWalk(KFileSimulator& file) : file_(file) {
    PassScreen();
    constexpr int kMostBlocks = 1024;
    for (int i = 0; i < kMostBlocks; ++i) {
      PassBlock();
      if (trailerSeen_ || bad_ || Position() >= kLastPosition) break;
    }
  }

  bool TrailerSeen() const { return trailerSeen_; }
  /// The bytes that were walked over, and one more.
  std::int32_t Size() const { return static_cast<std::int32_t>(Position() + 1); }

 private:
  std::int64_t Position() const { return static_cast<std::int64_t>(file_.GetPos()); }
  /// Bytes of the colour table that goes with these flags.
  static std::uint32_t ColourTableSize(std::uint8_t flags) {
    const bool hasTable = (flags & 0x80U) != 0;
    return hasTable ? std::uint32_t{3} << ((flags & 7U) + 1) : 0;
  }

  /// The signature, which isn't looked at, the logical screen descriptor and the global colour table.
  void PassScreen() {
    std::array<std::uint8_t, 13> screen{};
    file_.Read(screen.data(), 6);
    file_.Read(screen.data() + 6, 7);
    const std::uint32_t width = LoadLittle<std::uint16_t>(&screen[6]);
    const std::uint32_t height = LoadLittle<std::uint16_t>(&screen[8]);
    bad_ = width < 8 || height < 8;
    mostLengths_ = height * 8;
    std::array<std::uint8_t, 768> colours{};
    file_.Read(colours.data(), ColourTableSize(screen[10]));
  }

  /// One block. A byte that begins none is passed over.
  void PassBlock() {
    switch (file_.ReadByte()) {
      case 0x21:
        PassExtension();
        break;
      case 0x2C:
        PassImage();
        break;
      case 0x3B:
        trailerSeen_ = true;
        break;
      default:
        break;
    }
  }

  void PassExtension() {
    constexpr std::uint8_t kGraphicControl = 0xF9;
    if (file_.ReadByte() == kGraphicControl) {
      std::array<std::uint8_t, 5> control{};
      file_.Read(control.data(), 5);
      file_.ReadByte();
      return;
    }
    std::uint32_t count = 0;
    std::uint8_t length = 0;
    do {
      length = file_.ReadByte();
      file_.Skip(length);
      ++count;
    } while (length != 0 && count < mostLengths_);
  }

  /// The image's data are walked twice, and a chain that passes the first time is bounded by its number of lengths
  /// only.
  void PassImage() {
    std::array<std::uint8_t, 9> descriptor{};
    file_.Read(descriptor.data(), 9);
    file_.Skip(ColourTableSize(descriptor[8]));
    const std::uint64_t data = file_.GetPos();
    if (!PassLengths(kLastPosition)) bad_ = true;
    if (bad_) return;
    file_.SetPos(data);
    bad_ = !PassLengths(std::numeric_limits<std::int64_t>::max());
  }

  /// Follows a chain of lengths up to a 0. The first byte is the code size, which is taken for a length, and which may
  /// be 0; so the chain isn't that of the image's sub-blocks. \return Whether the 0 was met before the chain grew too
  /// long.
  bool PassLengths(std::int64_t lastPosition) {
    std::uint32_t count = 0;
    std::uint8_t length = file_.ReadByte();
    do {
      file_.Skip(length);
      ++count;
      if (count > mostLengths_ || Position() > lastPosition) return false;
      length = file_.ReadByte();
    } while (length != 0);
    return true;
  }

  KFileSimulator& file_;
  /// Lengths in one chain, eight for each line of the picture.
  std::uint32_t mostLengths_ = 0;
  bool bad_ = false;
  bool trailerSeen_ = false;
};

}  // namespace

/// GIF files. The walk that looks for the end doesn't begin at the head: the device is read as if the block began at
/// the sector whose number is the sector size.
class KGIFFileType final : public OpenFile<KGIFFileType> {
 public:
  static constexpr auto kHead = At(0, "GIF87a") || At(0, "GIF89a");
  static constexpr std::int32_t kFloor = 7;
  static constexpr std::uint64_t kDefaultMaxFileSize = 0x100000;
  static constexpr SizeHints kHints{256, kDefaultMaxFileSize};

  bool ScanBlock(const Block& block, IRawHitSink* sink) {
    ForEachHead(*this, block, [&](const Sector& sector) {
      const std::uint64_t index = sector.Number() - block.StartSector();
      KFileSimulator file(block.Raw(), static_cast<std::uint64_t>(block.SectorSize()) + index, kDefaultMaxFileSize);
      const GifWalk walk(file);
      Open(sector.Number());
      if (walk.Size() >= kMinimum) {
        ReportClipped(sink, walk.TrailerSeen() ? static_cast<std::uint64_t>(walk.Size()) : 0);
      }
      Close();
    });
    return false;
  }
};

DETECTOR(KGIFFileType);

}  // namespace qzmtraw
