#include <algorithm>
#include <cstddef>
#include <string_view>

#include "host/recovery/ends/Ends.h"

namespace qzmtraw::host {
namespace {

/// Goes through what an ELF file's head tells of.
class ElfWalk {
 public:
  explicit ElfWalk(ByteReader& file)
      : file_(file),
        isLong_(file.Number<1>(4) == 2),
        order_(file.Number<1>(5) == 2 ? ByteOrder::kBig : ByteOrder::kLittle) {}

  std::optional<std::uint64_t> End() {
    constexpr std::uint64_t kMostBytes = std::uint64_t{2} << 30U;
    const std::uint64_t segmentTable = Word(28, 32);
    const std::uint64_t sectionTable = Word(32, 40);
    const std::uint64_t segmentSize = Half(42, 54);
    const std::uint64_t segmentCount = Half(44, 56);
    const std::uint64_t sectionSize = Half(46, 58);
    const std::uint64_t sectionCount = Half(48, 60);
    Reach(segmentTable, segmentSize * segmentCount);
    Reach(sectionTable, sectionSize * sectionCount);
    for (std::uint64_t i = 0; i < segmentCount; ++i) {
      const std::uint64_t segment = segmentTable + i * segmentSize;
      Reach(Word(segment + 4, segment + 8), Word(segment + 16, segment + 32));
    }
    for (std::uint64_t i = 0; i < sectionCount; ++i) {
      const std::uint64_t section = sectionTable + i * sectionSize;
      // Some sections take memory alone.
      constexpr std::uint64_t kWithoutBytes = 8;
      if (Number<4>(section + 4) == kWithoutBytes) continue;
      Reach(Word(section + 16, section + 24), Word(section + 20, section + 32));
    }
    if (!isWhole_ || end_ == 0 || end_ > kMostBytes) return std::nullopt;
    return end_;
  }

 private:
  template <std::size_t kSize>
  std::uint64_t Number(std::uint64_t offset) {
    const auto number = file_.Number<kSize>(offset, order_);
    isWhole_ = isWhole_ && number;
    return number.value_or(0);
  }

  /// What stands at one of two places, in files of 32 and of 64 bits.
  std::uint64_t Half(std::uint64_t in32, std::uint64_t in64) { return Number<2>(isLong_ ? in64 : in32); }
  std::uint64_t Word(std::uint64_t in32, std::uint64_t in64) { return isLong_ ? Number<8>(in64) : Number<4>(in32); }

  void Reach(std::uint64_t offset, std::uint64_t size) {
    constexpr std::uint64_t kMost = std::uint64_t{1} << 62U;
    isWhole_ = isWhole_ && offset < kMost && size < kMost;
    end_ = std::max(end_, isWhole_ ? offset + size : 0);
  }

  ByteReader& file_;
  bool isLong_;
  ByteOrder order_;
  bool isWhole_ = true;
  std::uint64_t end_ = 0;
};

}  // namespace

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

std::optional<std::uint64_t> EndOfElf(ByteReader& file) { return ElfWalk(file).End(); }

std::optional<std::uint64_t> EndOfPe(ByteReader& file) {
  constexpr std::uint64_t kHeadPlace = 60;
  constexpr std::uint64_t kHeadSize = 24;
  constexpr std::uint64_t kSectionSize = 40;
  constexpr std::uint64_t kSymbolSize = 18;
  constexpr std::uint64_t kCertificates = 4;
  constexpr std::uint64_t kLong = 0x20B;
  const std::uint64_t head = file.Number<4>(kHeadPlace).value_or(0);
  const auto sectionCount = file.Number<2>(head + 6);
  const auto symbols = file.Number<4>(head + 12);
  const auto symbolCount = file.Number<4>(head + 16);
  const auto optionalSize = file.Number<2>(head + 20);
  const auto kind = file.Number<2>(head + kHeadSize);
  const bool isModule = file.Has(head, std::string_view("PE\0\0", 4)) && sectionCount && symbols && symbolCount;
  if (!isModule || !optionalSize || !kind) return std::nullopt;
  std::uint64_t end = 0;
  const std::uint64_t sections = head + kHeadSize + *optionalSize;
  for (std::uint64_t i = 0; i < *sectionCount; ++i) {
    const auto size = file.Number<4>(sections + i * kSectionSize + 16);
    const auto offset = file.Number<4>(sections + i * kSectionSize + 20);
    if (!size || !offset) return std::nullopt;
    if (*offset != 0) end = std::max(end, *offset + *size);
  }
  if (*symbols != 0) {
    // Their names stand behind them, with the size of all in front.
    const std::uint64_t names = *symbols + *symbolCount * kSymbolSize;
    const auto size = file.Number<4>(names);
    if (!size) return std::nullopt;
    end = std::max(end, names + *size);
  }
  const std::uint64_t directory = head + kHeadSize + (*kind == kLong ? 112 : 96) + kCertificates * 8;
  if (directory + 8 <= sections) {
    const auto offset = file.Number<4>(directory);
    const auto size = file.Number<4>(directory + 4);
    if (offset && size && *offset != 0) end = std::max(end, *offset + *size);
  }
  return end == 0 || end > file.Length() ? std::nullopt : std::optional(end);
}

std::optional<std::uint64_t> EndOfType1Font(ByteReader& file) {
  constexpr std::uint64_t kMark = 0x80;
  // Behind text and bytes.
  constexpr std::uint64_t kEnd = 3;
  constexpr std::uint64_t kHeadSize = 6;
  std::uint64_t at = 0;
  while (file.Number<1>(at) == kMark) {
    const std::uint64_t kind = file.Number<1>(at + 1).value_or(0);
    if (kind == kEnd) return at + 2;
    const std::uint64_t size = file.Number<4>(at + 2).value_or(0);
    if (kind == 0 || kind > kEnd || size == 0) break;
    at += kHeadSize + size;
  }
  return std::nullopt;
}

std::optional<std::uint64_t> EndOfTrueType(ByteReader& file) {
  constexpr std::uint64_t kHeadSize = 12;
  constexpr std::uint64_t kEntrySize = 16;
  constexpr std::uint64_t kMostTables = 256;
  constexpr std::uint64_t kMostBytes = 256U << 20U;
  constexpr std::uint64_t kAlignment = 4;
  const std::uint64_t count = file.Number<2>(4, ByteOrder::kBig).value_or(0);
  if (count > kMostTables) return std::nullopt;
  std::uint64_t end = 0;
  for (std::uint64_t i = 0; i < count; ++i) {
    const auto offset = file.Number<4>(kHeadSize + i * kEntrySize + 8, ByteOrder::kBig);
    const auto size = file.Number<4>(kHeadSize + i * kEntrySize + 12, ByteOrder::kBig);
    if (!offset || !size) return std::nullopt;
    end = std::max(end, *offset + *size);
  }
  if (end <= kHeadSize + count * kEntrySize || end > kMostBytes) return std::nullopt;
  return (end + kAlignment - 1) / kAlignment * kAlignment;
}

}  // namespace qzmtraw::host
