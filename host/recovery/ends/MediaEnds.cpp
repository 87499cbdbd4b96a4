#include "host/recovery/ends/Ends.h"

namespace qzmtraw::host {

std::optional<std::uint64_t> EndOfMxf(ByteReader& file) {
  constexpr std::uint64_t kKeySize = 16;
  constexpr std::uint64_t kMostPacket = std::uint64_t{1} << 48U;
  std::uint64_t at = 0;
  while (at < file.Length() && file.Has(at, "\x06\x0E\x2B\x34")) {
    const auto first = file.Number<1>(at + kKeySize);
    if (!first) return std::nullopt;
    std::uint64_t length = *first;
    at += kKeySize + 1;
    if (length >= 0x80) {
      // So many bytes of length follow.
      const std::uint64_t bytes = length & 0x7FU;
      if (bytes == 0 || bytes > 8) return std::nullopt;
      length = 0;
      for (std::uint64_t i = 0; i < bytes; ++i) {
        const auto next = file.Number<1>(at++);
        if (!next) return std::nullopt;
        length = length << 8U | *next;
      }
    }
    if (length > kMostPacket) return std::nullopt;
    at += length;
  }
  return at == 0 ? std::nullopt : std::optional(at);
}

std::optional<std::uint64_t> EndOfFlashVideo(ByteReader& file) {
  constexpr std::uint64_t kTagHeadSize = 11;
  constexpr std::uint64_t kBackPointerSize = 4;
  const auto headSize = file.Number<4>(5, ByteOrder::kBig);
  if (!headSize) return std::nullopt;
  const std::uint64_t start = *headSize + kBackPointerSize;
  std::uint64_t at = start;
  while (true) {
    const auto kind = file.Number<1>(at);
    const auto size = file.Number<3>(at + 1, ByteOrder::kBig);
    // Sound, pictures, and what is told of both.
    const bool isTag = kind && size && (*kind == 8 || *kind == 9 || *kind == 18);
    if (!isTag || file.Number<4>(at + kTagHeadSize + *size, ByteOrder::kBig) != kTagHeadSize + *size) break;
    at += kTagHeadSize + *size + kBackPointerSize;
  }
  return at == start ? std::nullopt : std::optional(at);
}

std::optional<std::uint64_t> EndOfDirectorMovie(ByteReader& file) {
  constexpr std::uint64_t kHeadSize = 8;
  constexpr std::uint64_t kLeastBytes = 64;
  constexpr std::uint64_t kMostBytes = std::uint64_t{1} << 30U;
  const std::uint64_t size = file.Number<4>(4).value_or(0);
  if (size < kLeastBytes || size > kMostBytes) return std::nullopt;
  return kHeadSize + size;
}

}  // namespace qzmtraw::host
