#include "host/recovery/names/ReadableName.h"

#include <algorithm>
#include <array>
#include <string_view>

#include "host/recovery/CopyNames.h"
#include "host/recovery/names/Titles.h"

namespace qzmtraw::host {
namespace {

struct TitleFormat {
  /// What such a file begins with.
  std::string_view start;
  std::string (*title)(ByteReader&);
};

constexpr std::string_view operator""_bytes(const char* text, std::size_t size) { return {text, size}; }

constexpr std::array kTitleFormats = {
    TitleFormat{"\xFF\xD8\xFF"_bytes, ExifDate}, TitleFormat{"II*\0"_bytes, ExifDate},
    TitleFormat{"MM\0*"_bytes, ExifDate},        TitleFormat{"PK\x03\x04"_bytes, PackageTitle},
    TitleFormat{"%PDF-"_bytes, PdfTitle},        TitleFormat{"ID3"_bytes, Id3Title},
    TitleFormat{"OggS"_bytes, VorbisTitle},      TitleFormat{"fLaC"_bytes, VorbisTitle},
};

/// Long enough for what each of them begins with.
constexpr std::size_t kFormatMarkSize = 8;

/// The format of a file that begins with these bytes, or null.
const TitleFormat* TitleFormatOf(std::span<const std::uint8_t> start) {
  const auto* const found = std::ranges::find_if(kTitleFormats, [start](const TitleFormat& format) {
    return start.size() >= format.start.size() &&
           std::ranges::equal(start.first(format.start.size()), format.start, {}, {},
                              [](char c) { return static_cast<std::uint8_t>(c); });
  });
  return found == kTitleFormats.end() ? nullptr : found;
}

}  // namespace

bool MayHaveReadableName(std::span<const std::uint8_t> start) { return TitleFormatOf(start) != nullptr; }

void PrepareReadableNames() { PrepareXml(); }

std::string ReadableName(ByteReader& file) {
  const TitleFormat* const format = TitleFormatOf(file.Part(0, kFormatMarkSize));
  return format == nullptr ? "" : HarmlessName(format->title(file), kMostReadableBytes);
}

std::string Utf16ToUtf8(std::span<const std::uint8_t> text, ByteOrder order) {
  std::string utf8;
  const auto append = [&utf8](unsigned lead, std::uint32_t code, unsigned shift) {
    utf8 += static_cast<char>(lead | code >> shift);
    for (; shift != 0; shift -= 6) utf8 += static_cast<char>(0x80U | (code >> (shift - 6) & 0x3FU));
  };
  for (std::size_t at = 0; at + 2 <= text.size(); at += 2) {
    auto code = static_cast<std::uint32_t>(NumberIn(text.subspan(at, 2), order));
    if ((code & 0xFC00U) == 0xD800 && at + 4 <= text.size()) {
      const auto second = static_cast<std::uint32_t>(NumberIn(text.subspan(at + 2, 2), order));
      if ((second & 0xFC00U) == 0xDC00) {
        code = 0x10000 + ((code & 0x3FFU) << 10U) + (second & 0x3FFU);
        at += 2;
      }
    }
    if ((code & 0xFFFFF800U) == 0xD800) code = '?';
    if (code < 0x80) {
      utf8 += static_cast<char>(code);
    } else if (code < 0x800) {
      append(0xC0, code, 6);
    } else if (code < 0x10000) {
      append(0xE0, code, 12);
    } else {
      append(0xF0, code, 18);
    }
  }
  return utf8;
}

}  // namespace qzmtraw::host
