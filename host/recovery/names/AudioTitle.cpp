#include <algorithm>
#include <string_view>

#include "host/base/Text.h"
#include "host/recovery/names/Titles.h"

namespace qzmtraw::host {
namespace {

constexpr std::size_t kMostTagBytes = 64U << 10U;
constexpr std::uint64_t kMostTitleSize = 1024;
constexpr int kMostFrames = 64;
constexpr int kMostComments = 256;

/// A number of seven bits a byte.
std::uint64_t SyncSafe(std::uint64_t bytes) {
  return (bytes & 0x7FU) | (bytes >> 1U & 0x3F80U) | (bytes >> 2U & 0x1FC000U) | (bytes >> 3U & 0xFE00000U);
}

/// The text of an ID3 frame, which begins with the number of its encoding.
std::string FrameText(std::span<const std::uint8_t> frame) {
  if (frame.size() < 2) return {};
  const std::span<const std::uint8_t> bytes = frame.subspan(1);
  std::string text(bytes.begin(), bytes.end());
  switch (frame[0]) {
    case 0:
      return Latin1ToUtf8(text);
    case 1:
      if (text.starts_with("\xFF\xFE")) return Utf16ToUtf8(bytes.subspan(2), ByteOrder::kLittle);
      if (text.starts_with("\xFE\xFF")) return Utf16ToUtf8(bytes.subspan(2), ByteOrder::kBig);
      return {};
    case 2:
      return Utf16ToUtf8(bytes, ByteOrder::kBig);
    default:
      return text;
  }
}

bool IsTitleComment(std::string_view comment) {
  constexpr std::string_view kKey = "TITLE=";
  return comment.size() > kKey.size() && std::ranges::equal(comment.substr(0, kKey.size()), kKey, [](char a, char b) {
           return (a >= 'a' && a <= 'z' ? a - 'a' + 'A' : a) == b;
         });
}

}  // namespace

std::string Id3Title(ByteReader& file) {
  const std::uint64_t version = file.Number<1>(3).value_or(0);
  if (version != 3 && version != 4) return {};
  const std::uint64_t flags = file.Number<1>(5).value_or(0);
  // An extended header, or bytes put in between: rare, and not worth it.
  if ((flags & 0xC0U) != 0) return {};
  const std::uint64_t end = 10 + SyncSafe(file.Number<4>(6, ByteOrder::kBig).value_or(0));
  std::uint64_t at = 10;
  for (int i = 0; i < kMostFrames && at + 10 < end; ++i) {
    std::uint64_t size = file.Number<4>(at + 4, ByteOrder::kBig).value_or(0);
    if (version == 4) size = SyncSafe(size);
    if (size == 0) return {};
    if (file.Has(at, "TIT2")) {
      const std::string text = FrameText(file.Part(at + 10, static_cast<std::size_t>(std::min(size, kMostTitleSize))));
      return text.substr(0, text.find('\0'));
    }
    at += 10 + size;
  }
  return {};
}

std::string VorbisTitle(ByteReader& file) {
  const std::vector<std::uint8_t> start = file.Part(0, kMostTagBytes);
  const std::span<const std::uint8_t> bytes = start;
  const std::string_view text(reinterpret_cast<const char*>(bytes.data()), bytes.size());
  std::size_t at = 0;
  if (text.starts_with("fLaC")) {
    at = 4;
    // Blocks of which each tells its kind and size.
    while (at + 4 <= bytes.size() && (bytes[at] & 0x7FU) != 4) {
      if ((bytes[at] & 0x80U) != 0) return {};
      at += 4 + static_cast<std::size_t>(NumberIn(bytes.subspan(at + 1, 3), ByteOrder::kBig));
    }
    at += 4;
  } else {
    constexpr std::string_view kVorbis = "\x03vorbis";
    constexpr std::string_view kOpus = "OpusTags";
    const std::size_t vorbis = text.find(kVorbis);
    const std::size_t opus = text.find(kOpus);
    if (vorbis == std::string_view::npos && opus == std::string_view::npos) return {};
    at = vorbis < opus ? vorbis + kVorbis.size() : opus + kOpus.size();
  }
  /// A number, and so many bytes.
  const auto next = [&]() -> std::string_view {
    if (at + 4 > bytes.size()) return {};
    const auto size = static_cast<std::size_t>(NumberIn(bytes.subspan(at, 4), ByteOrder::kLittle));
    at += 4;
    const std::string_view piece = text.substr(at, size);
    at += piece.size();
    return piece;
  };
  next();
  at += 4;
  for (int i = 0; i < kMostComments && at < bytes.size(); ++i) {
    const std::string_view comment = next();
    if (IsTitleComment(comment)) return std::string(comment.substr(6, kMostTitleSize));
  }
  return {};
}

}  // namespace qzmtraw::host
