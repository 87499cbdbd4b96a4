#include "host/sources/SizeText.h"

#include <algorithm>
#include <charconv>
#include <limits>
#include <string>

namespace qzmtraw::host {
namespace {

/// In bytes; 0: there is no such unit.
std::uint64_t UnitSize(std::string_view unit, std::uint32_t sectorSize) {
  std::string small(unit);
  for (char& c : small) c = c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
  if (small.empty() || small == "b") return 1;
  if (small == "s") return sectorSize;
  constexpr std::string_view kPrefixes = "kmgtpe";
  const std::size_t power = kPrefixes.find(small[0]);
  if (power == std::string_view::npos) return 0;
  const std::string_view rest = std::string_view(small).substr(1);
  if (!rest.empty() && rest != "b" && rest != "ib") return 0;
  const std::uint64_t step = rest == "b" ? 1000 : 1024;
  std::uint64_t size = step;
  for (std::size_t i = 0; i < power; ++i) size *= step;
  return size;
}

}  // namespace

std::optional<std::uint64_t> ParseNumber(std::string_view text) {
  int base = 10;
  if (text.starts_with("0x") || text.starts_with("0X")) {
    base = 16;
    text.remove_prefix(2);
  }
  std::uint64_t number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number, base);
  return error == std::errc() && end == text.data() + text.size() ? std::optional(number) : std::nullopt;
}

std::optional<std::uint64_t> ParseSize(std::string_view text, std::uint32_t sectorSize) {
  if (const auto number = ParseNumber(text)) return number;
  const std::size_t digits = std::min(text.find_first_not_of("0123456789"), text.size());
  const auto number = ParseNumber(text.substr(0, digits));
  const std::uint64_t unit = UnitSize(text.substr(digits), sectorSize);
  if (!number || unit == 0 || *number > std::numeric_limits<std::uint64_t>::max() / unit) return std::nullopt;
  return *number * unit;
}

}  // namespace qzmtraw::host
