#include <algorithm>
#include <string_view>

#include "host/base/Text.h"
#include "host/recovery/names/Titles.h"

namespace qzmtraw::host {
namespace {

/// So much is looked at, at the start and at the end.
constexpr std::size_t kLookSize = 64U << 10U;

/// Titles of chapters are written like the document's; its own has one of these beside it, no farther away than so.
constexpr std::size_t kNeighbourDistance = 1024;
constexpr std::string_view kNeighbours[] = {"/Producer", "/Creator", "/CreationDate", "/ModDate", "/Author"};

constexpr std::size_t kMostTitleBytes = 1024;

bool IsOctal(char c) { return c >= '0' && c <= '7'; }

/// A text in parentheses, from behind the first one on.
std::string LiteralText(std::string_view rest) {
  std::string text;
  int depth = 1;
  for (std::size_t i = 0; i < rest.size() && text.size() < kMostTitleBytes; ++i) {
    char c = rest[i];
    if (c == '(') ++depth;
    if (c == ')' && --depth == 0) return text;
    if (c == '\\' && i + 1 < rest.size()) {
      c = rest[++i];
      if (IsOctal(c)) {
        unsigned code = 0;
        for (int digits = 0; digits < 3 && i < rest.size() && IsOctal(rest[i]); ++digits, ++i) {
          code = code * 8 + static_cast<unsigned>(rest[i] - '0');
        }
        --i;
        c = static_cast<char>(code);
      } else if (c != '(' && c != ')' && c != '\\') {
        c = ' ';
      }
    }
    text += c;
  }
  return {};
}

/// A text in hexadecimal digits, from behind the angle bracket on.
std::string HexadecimalText(std::string_view rest) {
  constexpr std::string_view kDigits = "0123456789abcdef";
  std::string text;
  unsigned value = 1;
  for (const char c : rest.substr(0, 2 * kMostTitleBytes)) {
    if (c == '>') return text;
    const std::size_t digit = kDigits.find(c >= 'A' && c <= 'F' ? static_cast<char>(c - 'A' + 'a') : c);
    if (digit == std::string_view::npos) continue;
    value = value * 16 + static_cast<unsigned>(digit);
    if (value < 0x100) continue;
    text += static_cast<char>(value & 0xFFU);
    value = 1;
  }
  return {};
}

std::string Decoded(const std::string& text) {
  if (!text.starts_with("\xFE\xFF")) return text.starts_with("\xEF\xBB\xBF") ? text.substr(3) : Latin1ToUtf8(text);
  const std::span bytes(reinterpret_cast<const std::uint8_t*>(text.data()), text.size());
  return Utf16ToUtf8(bytes.subspan(2), ByteOrder::kBig);
}

/// The part of `text` around a place in which the same dictionary may stand.
std::string_view Around(std::string_view text, std::size_t at) {
  constexpr std::string_view kObjectEnd = "endobj";
  std::size_t first = at < kNeighbourDistance ? 0 : at - kNeighbourDistance;
  const std::size_t before = text.substr(first, at - first).rfind(kObjectEnd);
  if (before != std::string_view::npos) first += before;
  const std::string_view behind = text.substr(at, kNeighbourDistance);
  return text.substr(first, at - first + std::min(behind.size(), behind.find(kObjectEnd)));
}

std::string TitleIn(std::string_view text) {
  constexpr std::string_view kKey = "/Title";
  for (std::size_t at = text.find(kKey); at != std::string_view::npos; at = text.find(kKey, at + 1)) {
    const std::string_view around = Around(text, at);
    const auto isThere = [&](std::string_view key) { return around.find(key) != std::string_view::npos; };
    if (std::ranges::none_of(kNeighbours, isThere)) continue;
    std::string_view rest = text.substr(at + kKey.size());
    rest.remove_prefix(std::min(rest.size(), rest.find_first_not_of(" \t\r\n")));
    if (rest.empty()) continue;
    if (rest[0] == '(') return Decoded(LiteralText(rest.substr(1)));
    if (rest[0] == '<') return Decoded(HexadecimalText(rest.substr(1)));
  }
  return {};
}

}  // namespace

std::string PdfTitle(ByteReader& file) {
  const std::vector<std::uint8_t> start = file.Part(0, kLookSize);
  const std::vector<std::uint8_t> end =
      file.Length() > kLookSize ? file.Part(file.Length() - kLookSize, kLookSize) : std::vector<std::uint8_t>();
  std::string title;
  for (const auto* bytes : {&end, &start}) {
    const std::string_view text(reinterpret_cast<const char*>(bytes->data()), bytes->size());
    // What is encrypted isn't readable.
    if (text.find("/Encrypt") != std::string_view::npos) return {};
    if (title.empty()) title = TitleIn(text);
  }
  return title;
}

}  // namespace qzmtraw::host
