#include <memory>
#include <new>

#include "frame/KFileSimulator.h"
#include "frame/OpenFile.h"
#include "frame/Search.h"
#include "media/MpegAudio.h"

namespace qzmtraw {

namespace {

/// Bit rate in kbit/s; 0 where the rate is free or the layer is reserved, -1 where it is forbidden.
std::int32_t BitRate(std::uint32_t version, std::uint32_t layer, std::uint32_t index) {
  using namespace mpeg_audio;
  // Not the standard's column.
  constexpr BitRates kLowRateLayer3{0, 8, 16, 24, 32, 64, 80, 56, 64, 128, 160, 112, 128, 256, 320, 0};
  if (layer == 0) return 0;
  if (index == 15) return -1;
  if (layer == kLayer1) return (version == kMpeg1 ? kMpeg1Layer1 : kMpeg2Layer1)[index];
  if (layer == kLayer2) return (version == kMpeg1 ? kMpeg1Layer2 : kMpeg2Layers2And3)[index];
  return (version == kMpeg1 ? kMpeg1Layer3 : kLowRateLayer3)[index];
}

/// A chain of frames that is followed to its end at once.
class FrameChain {
 public:
  static constexpr std::int32_t kMostFrames = 30000;
  static constexpr std::uint32_t kEnd = 0x4000000;

  /// \param start  Where in the file the first frame begins.
  explicit FrameChain(std::int32_t start) : position_(start) {}

  void Follow(KFileSimulator& simulator) {
    simulator.SetPos(static_cast<std::uint64_t>(position_));
    std::int32_t bytesLeft = 0;
    while (frameCount_ < kMostFrames && static_cast<std::uint32_t>(position_) < kEnd) {
      if (bytesLeft > 0) simulator.Skip(bytesLeft);
      std::array<std::uint8_t, mpeg_audio::kHeaderSize> bytes{};
      simulator.Read(bytes.data(), mpeg_audio::kHeaderSize);
      const mpeg_audio::Header header(bytes.data());
      if (!header.hasSync || !TakeRates(header)) return;
      const std::int32_t length = Length(header);
      position_ += length;
      if (length < static_cast<std::int32_t>(mpeg_audio::kHeaderSize)) return;
      bytesLeft = length - static_cast<std::int32_t>(mpeg_audio::kHeaderSize);
      ++frameCount_;
    }
  }

  std::int32_t FrameCount() const { return frameCount_; }
  /// The end of the chain, counted from the file's start. The length of a frame that broke the chain is in it.
  std::int32_t Position() const { return position_; }

 private:
  /// The first frame's version and layer hold for all. A reserved sample rate leaves that of the frame before.
  /// \return Whether there is a sample rate.
  bool TakeRates(const mpeg_audio::Header& header) {
    if (frameCount_ == 0) {
      version_ = header.version;
      layer_ = header.layer;
    }
    const std::uint32_t rate = mpeg_audio::SampleRate(version_, header.sampleRateIndex);
    if (rate != 0) sampleRate_ = static_cast<std::int32_t>(rate);
    return sampleRate_ != 0;
  }

  std::int32_t Length(const mpeg_audio::Header& header) const {
    const std::int32_t bitRate = BitRate(version_, layer_, header.bitRateIndex);
    const auto padding = static_cast<std::int32_t>(header.padding);
    if (layer_ == mpeg_audio::kLayer1) return (bitRate * 12000 / sampleRate_ + padding) * 4;
    return bitRate * 144000 / sampleRate_ + padding;
  }

  std::int32_t position_;
  std::int32_t frameCount_ = 0;
  std::uint32_t version_ = 0;
  std::uint32_t layer_ = 0;
  std::int32_t sampleRate_ = 0;
};

}  // namespace

/// MP3 files: chains of MPEG-1 Layer III frames, with or without an ID3v2 tag in front or behind. The two bytes of a
/// frame's sync are everywhere on a raw disk, so only long chains are taken.
class KMP3FileType final : public OpenFile<KMP3FileType> {
 public:
  static constexpr auto kHead = At(0, "ID3") || At(0, "\xFF\xFB") || At(0, "\xFF\xFA");
  static constexpr std::int32_t kFloor = 3;
  static constexpr std::uint64_t kDefaultMaxFileSize = 0x4000000;
  static constexpr std::int64_t kMinimum = 16384;
  static constexpr std::int32_t kLeastFrames = 512;
  /// What a tag has at least, and what one behind the chain adds.
  static constexpr std::int32_t kTagSize = 128;
  /// Added to every file.
  static constexpr std::int32_t kMargin = 4096;

  std::int32_t Reset() override {
    workBuffer.reset();
    return OpenFile::Reset();
  }

  bool ScanBlock(const Block& block, IRawHitSink* sink) {
    ForEachHead(*this, block, [&](const Sector& sector) {
      if (workBuffer == nullptr) workBuffer.reset(new (std::nothrow) std::uint8_t[kWorkBufferSize]());
      if (workBuffer == nullptr || IsInsideLastFile(sector.Number())) return;
      Open(sector.Number());
      Examine(sector, sink);
      Close();
    });
    return false;
  }

 private:
  static constexpr std::uint32_t kWorkBufferSize = 65536;

  static bool IsInsideLastFile(std::uint64_t number) {
    return static_cast<std::int64_t>(number) > static_cast<std::int64_t>(lastFileStart) &&
           static_cast<std::int64_t>(number) < static_cast<std::int64_t>(lastFileEnd);
  }

  void Examine(const Sector& sector, IRawHitSink* sink) {
    KFileSimulator simulator(sector.RawBlock(), fileStart, FrameChain::kEnd);
    const bool hasTag = sector.Has(0, kTag);
    const std::int32_t firstFrame = hasTag ? FirstFrameBehindTag(simulator) : 0;
    // A frame right at the least size of a tag counts as none.
    if (hasTag && firstFrame == kTagSize) return;

    FrameChain chain(firstFrame);
    chain.Follow(simulator);
    if (chain.FrameCount() < kLeastFrames) return;
    const std::int32_t size = chain.Position();
    const std::int32_t tailLength = !hasTag && TagStandsAt(simulator, size) ? kTagSize : 0;
    if (size + tailLength < kMinimum) return;
    lastFileStart = fileStart;
    lastFileEnd = fileStart + SectorsOf(size, sector.Size()) - 2;
    ReportClipped(sink, static_cast<std::uint64_t>(std::int64_t{size} + tailLength + kMargin));
  }

  static std::uint64_t SectorsOf(std::int32_t size, std::int32_t sectorSize) {
    return static_cast<std::uint64_t>((std::int64_t{size} + sectorSize - 1) / sectorSize);
  }

  /// Searches the first 64 KiB behind the least tag for a frame. \return Where it begins; kTagSize when there is none.
  std::int32_t FirstFrameBehindTag(KFileSimulator& simulator) {
    simulator.SetPos(kTagSize);
    simulator.Read(workBuffer.get(), kWorkBufferSize);
    constexpr std::size_t kPlaces = 65534;
    const ByteView searched(workBuffer.get(), kPlaces);
    for (std::optional<std::size_t> found = Find(searched, Bytes("\xFF")); found;
         found = Find(searched, Bytes("\xFF"), *found + 1)) {
      const std::uint8_t next = workBuffer[*found + 1];
      if (next == 0xFB || next == 0xFA) return static_cast<std::int32_t>(*found) + kTagSize;
    }
    return kTagSize;
  }

  bool TagStandsAt(KFileSimulator& simulator, std::int32_t offset) {
    simulator.SetPos(static_cast<std::uint64_t>(offset));
    return simulator.Read(workBuffer.get(), kWorkBufferSize) && BeginsWith({workBuffer.get(), kWorkBufferSize}, kTag);
  }

  static constexpr auto kTag = Bytes("ID3");

  /// Kept from the first head on, to save an allocation for each.
  std::unique_ptr<std::uint8_t[]> workBuffer;

  /// The first and the next to last sector of the file that was found last, whichever detector found it. Heads between
  /// them are frames of that file.
  static inline std::uint64_t lastFileStart = 0x76543210;
  static inline std::uint64_t lastFileEnd = 0;
};

DETECTOR(KMP3FileType);

}  // namespace qzmtraw
