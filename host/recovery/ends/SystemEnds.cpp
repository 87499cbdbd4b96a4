#include <array>

#include "host/recovery/ends/Ends.h"

namespace qzmtraw::host {

std::optional<std::uint64_t> EndOfRegistryHive(ByteReader& file) {
  constexpr std::uint64_t kHeadSize = 4096;
  constexpr std::uint64_t kMostBytes = std::uint64_t{2} << 30U;
  const std::uint64_t bins = file.Number<4>(40).value_or(0);
  if (bins == 0 || bins % kHeadSize != 0 || bins >= kMostBytes) return std::nullopt;
  return kHeadSize + bins;
}

std::optional<std::uint64_t> EndOfShortcut(ByteReader& file) {
  constexpr std::uint64_t kHeadSize = 76;
  constexpr int kStringCount = 5;
  constexpr int kMostBlocks = 64;
  constexpr std::uint64_t kMostBytes = 1U << 20U;
  const auto flags = file.Number<4>(20);
  if (!flags) return std::nullopt;
  const auto has = [&](int bit) { return (*flags >> static_cast<unsigned>(bit) & 1U) != 0; };
  std::uint64_t at = kHeadSize;
  if (has(0)) {
    const auto idList = file.Number<2>(at);
    if (!idList) return std::nullopt;
    at += 2 + *idList;
  }
  if (has(1)) {
    const auto info = file.Number<4>(at);
    if (!info || *info < 4) return std::nullopt;
    at += *info;
  }
  for (int i = 0; i < kStringCount; ++i) {
    if (!has(2 + i)) continue;
    const auto characters = file.Number<2>(at);
    if (!characters) return std::nullopt;
    at += 2 + *characters * (has(7) ? 2 : 1);
  }
  for (int i = 0; i < kMostBlocks && at < kMostBytes; ++i) {
    const auto size = file.Number<4>(at);
    if (!size) return std::nullopt;
    if (*size < 4) return at + 4;
    at += *size;
  }
  return std::nullopt;
}

std::optional<std::uint64_t> EndOfResources(ByteReader& file) {
  constexpr std::uint64_t kLeastHead = 32;
  constexpr std::uint64_t kMostHead = 1024;
  constexpr std::uint64_t kMostData = 64U << 20U;
  constexpr std::uint64_t kAlignment = 4;
  std::uint64_t at = 0;
  int count = 0;
  while (true) {
    const auto data = file.Number<4>(at);
    const auto head = file.Number<4>(at + 4);
    const bool isOne =
        data && head && *data <= kMostData && *head >= kLeastHead && *head <= kMostHead && *head % kAlignment == 0;
    if (!isOne) break;
    at += *head + (*data + kAlignment - 1) / kAlignment * kAlignment;
    ++count;
  }
  // The first one only marks the format.
  return count < 2 ? std::nullopt : std::optional(at);
}

std::optional<std::uint64_t> EndOfProgramDatabase(ByteReader& file) {
  if (!file.Has(0, "Microsoft C/C++ MSF 7.00\r\n\x1A")) return std::nullopt;
  const std::uint64_t pageSize = file.Number<4>(32).value_or(0);
  const std::uint64_t pageCount = file.Number<4>(40).value_or(0);
  const bool isPowerOf2 = pageSize != 0 && (pageSize & (pageSize - 1)) == 0;
  if (!isPowerOf2 || pageSize < 512 || pageSize > 65536 || pageCount == 0) return std::nullopt;
  return pageSize * pageCount;
}

}  // namespace qzmtraw::host
