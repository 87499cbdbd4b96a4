#ifndef QZMTRAW_MEDIA_MPEG_AUDIO_H
#define QZMTRAW_MEDIA_MPEG_AUDIO_H

/// \file
/// The headers of MPEG audio frames (ISO/IEC 11172-3, section 2.4.1.3, and ISO/IEC 13818-3) and the standards' tables.

#include <array>
#include <cstdint>

#include "frame/Bytes.h"

namespace qzmtraw::mpeg_audio {

/// Values of Header::version; 1 is reserved.
inline constexpr std::uint32_t kMpeg25 = 0;
inline constexpr std::uint32_t kMpeg2 = 2;
inline constexpr std::uint32_t kMpeg1 = 3;

/// Values of Header::layer; 0 is reserved.
inline constexpr std::uint32_t kLayer3 = 1;
inline constexpr std::uint32_t kLayer2 = 2;
inline constexpr std::uint32_t kLayer1 = 3;

inline constexpr std::uint32_t kHeaderSize = 4;

/// A frame's header, taken apart.
struct Header {
  explicit Header(const std::uint8_t* bytes) {
    const auto bits = LoadBig<std::uint32_t>(bytes);
    hasSync = (bits & 0xFFE00000) == 0xFFE00000;
    version = bits >> 19 & 3;
    layer = bits >> 17 & 3;
    bitRateIndex = bits >> 12 & 15;
    sampleRateIndex = bits >> 10 & 3;
    padding = bits >> 9 & 1;
  }

  bool hasSync;
  std::uint32_t version;
  std::uint32_t layer;
  std::uint32_t bitRateIndex;
  std::uint32_t sampleRateIndex;
  std::uint32_t padding;
};

/// Bit rates in kbit/s by index. Indexes 0, which leaves the rate free, and 15, which is forbidden, have none.
using BitRates = std::array<std::uint16_t, 16>;
inline constexpr BitRates kMpeg1Layer1{0, 32, 64, 96, 128, 160, 192, 224, 256, 288, 320, 352, 384, 416, 448, 0};
inline constexpr BitRates kMpeg1Layer2{0, 32, 48, 56, 64, 80, 96, 112, 128, 160, 192, 224, 256, 320, 384, 0};
inline constexpr BitRates kMpeg1Layer3{0, 32, 40, 48, 56, 64, 80, 96, 112, 128, 160, 192, 224, 256, 320, 0};
inline constexpr BitRates kMpeg2Layer1{0, 32, 48, 56, 64, 80, 96, 112, 128, 144, 160, 176, 192, 224, 256, 0};
inline constexpr BitRates kMpeg2Layers2And3{0, 8, 16, 24, 32, 40, 48, 56, 64, 80, 96, 112, 128, 144, 160, 0};

/// Samples a second; 0 for what the standards reserve.
inline std::uint32_t SampleRate(std::uint32_t version, std::uint32_t index) {
  constexpr std::array<std::array<std::uint16_t, 4>, 4> kRates{
      {{11025, 12000, 8000, 0}, {0, 0, 0, 0}, {22050, 24000, 16000, 0}, {44100, 48000, 32000, 0}}};
  return kRates[version][index];
}

}  // namespace qzmtraw::mpeg_audio

#endif  // QZMTRAW_MEDIA_MPEG_AUDIO_H
