#include <algorithm>
#include <array>
#include <numeric>
#include <string_view>

#include "host/recovery/ends/Ends.h"

namespace qzmtraw::host {
namespace {

using Block = std::array<std::uint8_t, 512>;

/// What tar writes at a time, unless it is told otherwise; the last record is filled up with zeros.
constexpr std::uint64_t kTarRecordSize = 10240;

/// No file is larger.
constexpr std::uint64_t kMostMemberSize = std::uint64_t{1} << 60U;

/// A number of `base` in digits, with blanks around it. None: something else stands there.
std::optional<std::uint64_t> DigitsIn(std::string_view field, unsigned base) {
  const auto isBlank = [](char c) { return c == ' ' || c == '\0'; };
  while (!field.empty() && isBlank(field.front())) field.remove_prefix(1);
  while (!field.empty() && isBlank(field.back())) field.remove_suffix(1);
  if (field.empty()) return std::nullopt;
  std::uint64_t number = 0;
  for (const char c : field) {
    const auto digit = static_cast<unsigned>(c - '0');
    if (digit >= base || number > kMostMemberSize) return std::nullopt;
    number = number * base + digit;
  }
  return number;
}

std::string_view FieldIn(const auto& block, std::size_t offset, std::size_t size) {
  return std::string_view(reinterpret_cast<const char*>(block.data()), block.size()).substr(offset, size);
}

bool IsEmptyBlock(const Block& block) { return std::ranges::count(block, 0) == std::ssize(block); }

/// Whether the header's sum is that of its bytes, with its own field as blanks.
bool IsTarHeader(const Block& block) {
  constexpr std::size_t kSumField = 148;
  constexpr std::size_t kSumSize = 8;
  unsigned sum = std::accumulate(block.begin(), block.end(), 0U) + kSumSize * ' ';
  for (std::size_t i = 0; i < kSumSize; ++i) sum -= block.at(kSumField + i);
  return DigitsIn(FieldIn(block, kSumField, kSumSize), 8) == sum;
}

/// The number of bytes behind a member's header.
std::optional<std::uint64_t> TarMemberSize(const Block& block) {
  constexpr std::size_t kSizeField = 124;
  const std::uint8_t kind = block[156];
  // Links, devices and folders have none, whatever their headers say.
  if (kind >= '1' && kind <= '6') return 0;
  if ((block[kSizeField] & 0x80U) == 0) return DigitsIn(FieldIn(block, kSizeField, 12), 8);
  const std::uint64_t size = NumberIn(std::span(block).subspan(kSizeField + 4, 8), ByteOrder::kBig);
  return size > kMostMemberSize ? std::nullopt : std::optional(size);
}

}  // namespace

std::optional<std::uint64_t> EndOfAr(ByteReader& file) {
  constexpr std::uint64_t kMagicSize = 8;
  std::array<std::uint8_t, 60> header{};
  std::uint64_t at = kMagicSize;
  while (file.Read(at, header) && FieldIn(header, 58, 2) == "`\n") {
    const auto size = DigitsIn(FieldIn(header, 48, 10), 10);
    if (!size) break;
    at += header.size() + *size + *size % 2;
    if (at > file.Length()) return at;
  }
  return at == kMagicSize ? std::nullopt : std::optional(at);
}

std::optional<std::uint64_t> EndOfTar(ByteReader& file) {
  Block block{};
  std::uint64_t at = 0;
  while (file.Read(at, block)) {
    if (IsEmptyBlock(block)) break;
    if (!IsTarHeader(block)) return std::nullopt;
    const auto size = TarMemberSize(block);
    if (!size) return std::nullopt;
    at += block.size() + (*size + block.size() - 1) / block.size() * block.size();
    if (at > file.Length()) return at;
  }
  // Without two empty blocks this isn't the end.
  if (at == 0 || !file.Read(at + block.size(), block) || !IsEmptyBlock(block)) return std::nullopt;
  const std::uint64_t end = at + 2 * block.size();
  const std::uint64_t recordEnd = (end + kTarRecordSize - 1) / kTarRecordSize * kTarRecordSize;
  for (at = end; at < recordEnd; at += block.size()) {
    if (!file.Read(at, block) || !IsEmptyBlock(block)) return end;
  }
  return recordEnd;
}

}  // namespace qzmtraw::host
