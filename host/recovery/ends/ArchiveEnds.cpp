#include <zlib.h>

#include <algorithm>
#include <array>
#include <memory>
#include <numeric>
#include <string_view>
#include <vector>

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

struct EndInflating {
  void operator()(z_stream* stream) const { inflateEnd(stream); }
};

/// Goes through the allocation table of a compound document.
class CompoundWalk {
 public:
  explicit CompoundWalk(ByteReader& file) : file_(file), shift_(file.Number<2>(30).value_or(0)) {}

  std::optional<std::uint64_t> End() {
    constexpr std::uint64_t kTableCountField = 44;
    const std::uint64_t tableCount = file_.Number<4>(kTableCountField).value_or(0);
    if (shift_ != 9 && shift_ != 12) return std::nullopt;
    if (tableCount * EntryCount() > kMostSectors || !ListTables(tableCount)) return std::nullopt;
    for (std::uint64_t number = tableCount; number-- > 0;) {
      const auto last = LastInUse(tables_.at(static_cast<std::size_t>(number)));
      if (!last) return std::nullopt;
      // The header takes a sector of its own.
      if (*last != 0) return (number * EntryCount() + *last + 1) << shift_;
    }
    return std::nullopt;
  }

 private:
  /// Of the small ones so many take 2 GiB.
  static constexpr std::uint64_t kMostSectors = 1U << 22U;
  static constexpr std::uint64_t kFree = 0xFFFFFFFF;

  [[nodiscard]] std::uint64_t EntryCount() const { return std::uint64_t{1} << (shift_ - 2); }
  [[nodiscard]] std::uint64_t PlaceOf(std::uint64_t sector) const { return (sector + 1) << shift_; }

  /// Lists the sectors of the table: the first ones stand in the header, the others in sectors of their own, each of
  /// which ends with the number of the next.
  bool ListTables(std::uint64_t count) {
    constexpr std::uint64_t kInHeader = 109;
    constexpr std::uint64_t kFirstField = 76;
    constexpr std::uint64_t kNextField = 68;
    std::uint64_t at = kFirstField;
    std::uint64_t left = kInHeader;
    std::uint64_t next = kNextField;
    while (tables_.size() < count) {
      if (left == 0) {
        const auto sector = file_.Number<4>(next);
        if (!sector) return false;
        at = PlaceOf(*sector);
        left = EntryCount() - 1;
        next = at + left * 4;
      }
      const auto table = file_.Number<4>(at);
      if (!table) return false;
      tables_.push_back(*table);
      at += 4;
      --left;
    }
    return true;
  }

  /// The last entry in a sector of the table that isn't free, counted from 1; 0: all are.
  std::optional<std::uint64_t> LastInUse(std::uint64_t table) {
    for (std::uint64_t entry = EntryCount(); entry > 0; --entry) {
      const auto value = file_.Number<4>(PlaceOf(table) + (entry - 1) * 4);
      if (!value || *value != kFree) return value ? std::optional(entry) : std::nullopt;
    }
    return 0;
  }

  ByteReader& file_;
  std::uint64_t shift_;
  std::vector<std::uint64_t> tables_;
};

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

std::optional<std::uint64_t> EndOfGzip(ByteReader& file) {
  // With the format's own header and check sum.
  constexpr int kWindow = MAX_WBITS + 16;
  constexpr std::uint64_t kMostUnpacked = std::uint64_t{1} << 30U;
  constexpr std::uint64_t kSector = 512;
  z_stream stream{};
  if (inflateInit2(&stream, kWindow) != Z_OK) return std::nullopt;
  const std::unique_ptr<z_stream, EndInflating> inflating(&stream);
  std::vector<Bytef> unpacked(1U << 16U);
  std::uint64_t at = 0;
  std::uint64_t total = 0;
  while (total <= kMostUnpacked) {
    std::vector<std::uint8_t> packed = file.Part(at, kWalkPieceSize);
    stream.next_in = packed.data();
    stream.avail_in = static_cast<uInt>(packed.size());
    int result = Z_OK;
    do {
      stream.next_out = unpacked.data();
      stream.avail_out = static_cast<uInt>(unpacked.size());
      result = inflate(&stream, Z_NO_FLUSH);
      total += unpacked.size() - stream.avail_out;
    } while (result == Z_OK && stream.avail_out == 0 && total <= kMostUnpacked);
    const std::size_t used = packed.size() - stream.avail_in;
    at += used;
    if (result == Z_STREAM_END) {
      // What begins a sector is a file of its own.
      if (at % kSector == 0 || !file.Has(at, "\x1F\x8B\x08")) return at;
      inflateReset(&stream);
    } else if (used == 0 || (result != Z_OK && result != Z_BUF_ERROR)) {
      return std::nullopt;
    }
  }
  return std::nullopt;
}

std::optional<std::uint64_t> EndOfCompound(ByteReader& file) { return CompoundWalk(file).End(); }

}  // namespace qzmtraw::host
