#include "host/base/Text.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <ctime>
#include <system_error>

namespace qzmtraw::host {
namespace {

/// A character at the start of a text. `length` is 0 if there is no well-formed one.
struct Character {
  std::uint32_t code = 0;
  std::size_t length = 0;
};

std::uint8_t ByteAt(std::string_view text, std::size_t index) { return static_cast<std::uint8_t>(text[index]); }

Character FirstCharacter(std::string_view text) {
  const std::uint8_t lead = ByteAt(text, 0);
  if (lead < 0x80) return {lead, 1};
  Character character;
  std::uint32_t least = 0;
  if ((lead & 0xE0U) == 0xC0) {
    character = {lead & 0x1FU, 2};
    least = 0x80;
  } else if ((lead & 0xF0U) == 0xE0) {
    character = {lead & 0x0FU, 3};
    least = 0x800;
  } else if ((lead & 0xF8U) == 0xF0) {
    character = {lead & 0x07U, 4};
    least = 0x10000;
  } else {
    return {};
  }
  if (text.size() < character.length) return {};
  for (std::size_t i = 1; i < character.length; ++i) {
    const std::uint8_t next = ByteAt(text, i);
    if ((next & 0xC0U) != 0x80) return {};
    character.code = character.code << 6U | (next & 0x3FU);
  }
  const bool isSurrogate = character.code >= 0xD800 && character.code <= 0xDFFF;
  if (character.code < least || character.code > 0x10FFFF || isSurrogate) return {};
  return character;
}

bool IsHarmless(std::uint32_t code) {
  const bool isControl = code < 0x20 || (code >= 0x7F && code < 0xA0);
  const bool isLineBreak = code == 0x2028 || code == 0x2029;
  const bool isDirection = code == 0x200E || code == 0x200F || (code >= 0x202A && code <= 0x202E) ||
                           (code >= 0x2066 && code <= 0x2069) || code == 0x061C;
  // The mark of byte order isn't seen, and the two behind it are no characters: XML can't hold them.
  const bool isNone = code == 0xFEFF || code == 0xFFFE || code == 0xFFFF;
  return !isControl && !isLineBreak && !isDirection && !isNone;
}

void AppendHex(std::string& text, std::string_view bytes) {
  constexpr std::string_view kDigits = "0123456789ABCDEF";
  for (const char c : bytes) {
    const auto byte = static_cast<std::uint8_t>(c);
    text += "\\x";
    text += kDigits[byte >> 4U];
    text += kDigits[byte & 15U];
  }
}

template <typename... Values>
std::string Format(const char* format, Values... values) {
  std::array<char, 64> text{};
  const int length = std::snprintf(text.data(), text.size(), format, values...);
  return {text.data(), static_cast<std::size_t>(length)};
}

}  // namespace

std::string Latin1ToUtf8(std::string_view latin1) {
  std::string utf8;
  for (const char c : latin1) {
    const auto byte = static_cast<std::uint8_t>(c);
    if (byte < 0x80) {
      utf8 += c;
    } else {
      utf8 += static_cast<char>(0xC0U | byte >> 6U);
      utf8 += static_cast<char>(0x80U | (byte & 0x3FU));
    }
  }
  return utf8;
}

bool IsUtf8(std::string_view text) {
  while (!text.empty()) {
    const Character character = FirstCharacter(text);
    if (character.length == 0) return false;
    text.remove_prefix(character.length);
  }
  return true;
}

std::string Printable(std::string_view bytes) {
  std::string text;
  while (!bytes.empty()) {
    const Character character = FirstCharacter(bytes);
    const std::string_view piece = bytes.substr(0, character.length == 0 ? 1 : character.length);
    if (character.length == 0 || !IsHarmless(character.code)) {
      AppendHex(text, piece);
    } else if (character.code == '\\') {
      text += "\\\\";
    } else {
      text += piece;
    }
    bytes.remove_prefix(piece.size());
  }
  return text;
}

std::string Quoted(std::string_view bytes) { return "'" + Printable(bytes) + "'"; }

std::size_t CharacterCount(std::string_view utf8) {
  std::size_t count = 0;
  for (const char c : utf8) {
    if ((static_cast<std::uint8_t>(c) & 0xC0U) != 0x80) ++count;
  }
  return count;
}

std::string PadRight(std::string text, std::size_t width) {
  const std::size_t count = CharacterCount(text);
  if (count < width) text.append(width - count, ' ');
  return text;
}

std::string PadLeft(std::string text, std::size_t width) {
  const std::size_t count = CharacterCount(text);
  if (count < width) text.insert(0, width - count, ' ');
  return text;
}

std::string CountText(std::uint64_t count, const char* one, const char* many) {
  return std::to_string(count) + ' ' + (count == 1 ? one : many);
}

std::string FormatSize(std::uint64_t bytes) {
  if (bytes < 1024) return std::to_string(bytes) + " B";
  constexpr std::string_view kUnits = "KMGTPE";
  auto value = static_cast<double>(bytes) / 1024;
  std::size_t unit = 0;
  // What would be rounded to 1024.0 belongs to the next unit.
  while (value >= 1023.95 && unit + 1 < kUnits.size()) {
    value /= 1024;
    ++unit;
  }
  return Format("%.1f %ciB", value, kUnits[unit]);
}

std::string FormatDuration(double seconds) {
  if (!(seconds > 0)) seconds = 0;
  if (seconds < 59.95) return Format("%.1f s", seconds);
  constexpr double kLongest = 1e15;
  const auto whole = std::llround(std::min(seconds, kLongest));
  const long long hours = whole / 3600;
  const long long minutes = whole / 60 % 60;
  if (hours == 0) return Format("%lld:%02lld", minutes, whole % 60);
  return Format("%lld:%02lld:%02lld", hours, minutes, whole % 60);
}

std::string FormatUtc(std::chrono::system_clock::time_point time) {
  const std::time_t seconds = std::chrono::system_clock::to_time_t(time);
  std::tm fields{};
  if (gmtime_r(&seconds, &fields) == nullptr) return {};
  std::array<char, 64> text{};
  return {text.data(), std::strftime(text.data(), text.size(), "%Y-%m-%dT%H:%M:%SZ", &fields)};
}

std::string ErrorText(int errorNumber) { return std::generic_category().message(errorNumber); }

std::string NumberRanges(std::span<const std::int32_t> numbers) {
  std::string text;
  for (std::size_t first = 0; first < numbers.size();) {
    std::size_t last = first;
    while (last + 1 < numbers.size() && numbers[last + 1] == numbers[last] + 1) ++last;
    text += (text.empty() ? "" : ",") + std::to_string(numbers[first]);
    if (last > first) text += '-' + std::to_string(numbers[last]);
    first = last + 1;
  }
  return text;
}

}  // namespace qzmtraw::host
