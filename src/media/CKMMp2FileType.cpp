#include "frame/FrameWalk.h"
#include "media/MpegAudio.h"

namespace qzmtraw {

/// MPEG audio of Layer II: frames without anything around them. The first frame is MPEG-1 Layer II without a CRC, not
/// copyrighted, and original; of the others only the length is asked, which layers and versions give each in its own
/// way.
class CKMMp2FileType final : public FrameWalk<CKMMp2FileType, mpeg_audio::kHeaderSize> {
 public:
  static constexpr auto kHead = At(0, "\xFF\xFD") && At(3, "\x04");

  static std::uint32_t LengthOf(const std::uint8_t* bytes) {
    using namespace mpeg_audio;
    const Header header(bytes);
    const std::uint32_t sampleRate = SampleRate(header.version, header.sampleRateIndex);
    if (sampleRate == 0 || header.layer == 0) return 0;
    const bool isLayer1 = header.layer == kLayer1;
    const std::uint32_t padding = isLayer1 ? 4 * header.padding : header.padding;
    switch (header.version) {
      case kMpeg1:
        return (isLayer1 ? 48 : 144) * BitsPerSecond(Mpeg1Rates(header.layer), header) / sampleRate + padding;
      case kMpeg2:
        return (isLayer1 ? 24 : 72) * BitsPerSecond(isLayer1 ? kMpeg2Layer1 : kMpeg2Layers2And3, header) / sampleRate +
               padding;
      default:
        return 0;
    }
  }

 private:
  static const mpeg_audio::BitRates& Mpeg1Rates(std::uint32_t layer) {
    if (layer == mpeg_audio::kLayer1) return mpeg_audio::kMpeg1Layer1;
    return layer == mpeg_audio::kLayer2 ? mpeg_audio::kMpeg1Layer2 : mpeg_audio::kMpeg1Layer3;
  }

  /// A frame without a bit rate passes for one of 1 kbit/s, which goes on with the walk after a few bytes.
  static std::uint32_t BitsPerSecond(const mpeg_audio::BitRates& rates, const mpeg_audio::Header& header) {
    const std::uint32_t rate = rates[header.bitRateIndex];
    return (rate == 0 ? 1 : rate) * 1000;
  }
};

DETECTOR(CKMMp2FileType);

}  // namespace qzmtraw
