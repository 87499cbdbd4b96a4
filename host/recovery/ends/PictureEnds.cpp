#include <algorithm>
#include <array>
#include <set>
#include <string_view>
#include <vector>

#include "host/recovery/ends/Ends.h"

namespace qzmtraw::host {
namespace {

/// No picture is larger; who says so was damaged.
constexpr std::uint64_t kMostPictureSize = std::uint64_t{512} << 20U;

/// Of all channels together.
constexpr std::uint64_t kMostSgiRows = 1U << 18U;

/// Goes through the directories of a TIFF file.
class TiffWalk {
 public:
  explicit TiffWalk(ByteReader& file) : file_(file) {}

  std::optional<std::uint64_t> End() {
    constexpr std::uint64_t kFirstDirectory = 4;
    order_ = file_.Has(0, "MM") ? ByteOrder::kBig : ByteOrder::kLittle;
    waiting_.push_back(file_.Number<4>(kFirstDirectory, order_).value_or(0));
    while (!waiting_.empty()) {
      const std::uint64_t directory = waiting_.back();
      waiting_.pop_back();
      if (directory == 0 || seen_.contains(directory)) continue;
      if (seen_.size() == kMostDirectories) return std::nullopt;
      seen_.insert(directory);
      if (!WalkDirectory(directory)) return std::nullopt;
    }
    if (end_ == 0 || end_ > kMostPictureSize) return std::nullopt;
    return end_;
  }

 private:
  static constexpr std::size_t kMostDirectories = 64;
  static constexpr std::uint64_t kMostEntries = 1024;
  static constexpr std::uint64_t kMostStrips = 1U << 16U;

  /// An entry's values: numbers of 2 or 4 bytes, or something else.
  struct Values {
    std::uint64_t offset = 0;
    std::uint64_t count = 0;
    std::uint64_t size = 0;
  };

  std::optional<std::uint64_t> ValueOf(const Values& values, std::uint64_t index) {
    const std::uint64_t at = values.offset + index * values.size;
    return values.size == 2 ? file_.Number<2>(at, order_) : file_.Number<4>(at, order_);
  }

  void Reach(std::uint64_t end) { end_ = std::max(end_, end); }

  /// \return Whether it can be read.
  bool WalkDirectory(std::uint64_t directory) {
    constexpr std::uint64_t kEntrySize = 12;
    const auto count = file_.Number<2>(directory, order_);
    if (!count || *count == 0 || *count > kMostEntries) return false;
    Values strips;
    Values stripSizes;
    Values tiles;
    Values tileSizes;
    Values preview;
    Values previewSize;
    for (std::uint64_t i = 0; i < *count; ++i) {
      const std::uint64_t entry = directory + 2 + i * kEntrySize;
      const auto tag = file_.Number<2>(entry, order_);
      const auto values = ValuesOf(entry);
      if (!tag || !values) return false;
      switch (*tag) {
        case 0x111:
          strips = *values;
          break;
        case 0x117:
          stripSizes = *values;
          break;
        case 0x144:
          tiles = *values;
          break;
        case 0x145:
          tileSizes = *values;
          break;
        case 0x201:
          preview = *values;
          break;
        case 0x202:
          previewSize = *values;
          break;
        case 0x14A:
        case 0x8769:
        case 0x8825:
          for (std::uint64_t j = 0; j < std::min<std::uint64_t>(values->count, kMostDirectories); ++j) {
            waiting_.push_back(ValueOf(*values, j).value_or(0));
          }
          break;
        default:
          break;
      }
    }
    const std::uint64_t next = directory + 2 + *count * kEntrySize;
    Reach(next + 4);
    waiting_.push_back(file_.Number<4>(next, order_).value_or(0));
    return ReachParts(strips, stripSizes) && ReachParts(tiles, tileSizes) && ReachParts(preview, previewSize);
  }

  std::optional<Values> ValuesOf(std::uint64_t entry) {
    constexpr std::array<std::uint8_t, 14> kSizes = {1, 1, 1, 2, 4, 8, 1, 1, 2, 4, 8, 4, 8, 4};
    const auto type = file_.Number<2>(entry + 2, order_);
    const auto count = file_.Number<4>(entry + 4, order_);
    const auto offset = file_.Number<4>(entry + 8, order_);
    if (!type || !count || !offset) return std::nullopt;
    Values values{entry + 8, *count, *type < kSizes.size() ? kSizes.at(static_cast<std::size_t>(*type)) : 1U};
    if (values.count * values.size > 4) {
      values.offset = *offset;
      Reach(values.offset + values.count * values.size);
    }
    return values;
  }

  bool ReachParts(const Values& offsets, const Values& sizes) {
    if (offsets.count > kMostStrips || offsets.count > sizes.count) return false;
    for (std::uint64_t i = 0; i < offsets.count; ++i) {
      const auto offset = ValueOf(offsets, i);
      const auto size = ValueOf(sizes, i);
      if (!offset || !size) return false;
      Reach(*offset + *size);
    }
    return true;
  }

  ByteReader& file_;
  ByteOrder order_ = ByteOrder::kLittle;
  std::vector<std::uint64_t> waiting_;
  std::set<std::uint64_t> seen_;
  std::uint64_t end_ = 0;
};

/// Behind the pieces of a GIF's block, of which each tells its size and the last one has none.
std::optional<std::uint64_t> BehindGifPieces(ByteReader& file, std::uint64_t at) {
  while (true) {
    const auto size = file.Number<1>(at);
    if (!size) return std::nullopt;
    at += 1 + *size;
    if (*size == 0) return at;
  }
}

/// The bytes of a GIF's table of colours; its flags tell whether there is one.
std::uint64_t GifColoursSize(std::uint64_t flags) {
  return (flags & 0x80U) == 0 ? 0 : std::uint64_t{6} << (flags & 7U);
}

}  // namespace

std::optional<std::uint64_t> EndOfTiff(ByteReader& file) { return TiffWalk(file).End(); }

std::optional<std::uint64_t> EndOfRaf(ByteReader& file) {
  // Where each part stands, with its size behind that.
  constexpr std::array<std::uint64_t, 3> kParts = {84, 92, 100};
  constexpr std::uint64_t kHeadSize = 108;
  std::uint64_t end = 0;
  for (const std::uint64_t part : kParts) {
    const auto offset = file.Number<4>(part, ByteOrder::kBig);
    const auto size = file.Number<4>(part + 4, ByteOrder::kBig);
    if (!offset || !size) return std::nullopt;
    end = std::max(end, *offset + *size);
  }
  if (end <= kHeadSize || end > kMostPictureSize) return std::nullopt;
  return end;
}

std::optional<std::uint64_t> EndOfGif(ByteReader& file) {
  constexpr std::uint64_t kHeadSize = 13;
  constexpr std::uint64_t kImageHeadSize = 10;
  const auto flags = file.Number<1>(10);
  if (!flags) return std::nullopt;
  std::uint64_t at = kHeadSize + GifColoursSize(*flags);
  while (at <= kMostPictureSize) {
    const auto kind = file.Number<1>(at);
    if (kind == 0x3B) return at + 1;
    std::uint64_t pieces = 0;
    if (kind == 0x21) {
      pieces = at + 2;
    } else if (kind == 0x2C) {
      const auto imageFlags = file.Number<1>(at + kImageHeadSize - 1);
      if (!imageFlags) return std::nullopt;
      pieces = at + kImageHeadSize + GifColoursSize(*imageFlags) + 1;
    } else {
      return std::nullopt;
    }
    const auto next = BehindGifPieces(file, pieces);
    if (!next) return std::nullopt;
    at = *next;
  }
  return std::nullopt;
}

std::optional<std::uint64_t> EndOfPng(ByteReader& file) {
  constexpr std::uint64_t kHeadSize = 8;
  constexpr std::uint64_t kChunkFrame = 12;
  std::uint64_t at = kHeadSize;
  while (at <= kMostPictureSize) {
    const auto size = file.Number<4>(at, ByteOrder::kBig);
    const std::vector<std::uint8_t> name = file.Part(at + 4, 4);
    const auto isLetter = [](std::uint8_t c) { return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z'); };
    if (!size || name.size() != 4 || !std::ranges::all_of(name, isLetter)) return std::nullopt;
    at += kChunkFrame + *size;
    if (std::ranges::equal(name, std::string_view("IEND"))) return at;
  }
  return std::nullopt;
}

std::optional<std::uint64_t> EndOfIcon(ByteReader& file) {
  constexpr std::uint64_t kHeadSize = 6;
  constexpr std::uint64_t kEntrySize = 16;
  const std::uint64_t count = file.Number<2>(4).value_or(0);
  const std::uint64_t least = kHeadSize + count * kEntrySize;
  std::uint64_t end = 0;
  for (std::uint64_t i = 0; i < count; ++i) {
    const auto size = file.Number<4>(kHeadSize + i * kEntrySize + 8);
    const auto offset = file.Number<4>(kHeadSize + i * kEntrySize + 12);
    if (!size || !offset || *size == 0 || *offset < least) return std::nullopt;
    end = std::max(end, *offset + *size);
  }
  if (end == 0 || end > kMostPictureSize) return std::nullopt;
  return end;
}

std::optional<std::uint64_t> EndOfSgi(ByteReader& file) {
  constexpr std::uint64_t kHeadSize = 512;
  const auto isPacked = file.Number<1>(2);
  const std::uint64_t channelSize = file.Number<1>(3).value_or(0);
  const std::uint64_t dimensions = file.Number<2>(4, ByteOrder::kBig).value_or(0);
  const std::uint64_t width = file.Number<2>(6, ByteOrder::kBig).value_or(0);
  const std::uint64_t height = dimensions < 2 ? 1 : file.Number<2>(8, ByteOrder::kBig).value_or(0);
  const std::uint64_t channels = dimensions < 3 ? 1 : file.Number<2>(10, ByteOrder::kBig).value_or(0);
  const std::uint64_t rows = height * channels;
  std::uint64_t end = kHeadSize;
  if (isPacked == 0) {
    end += width * rows * channelSize;
  } else {
    // Where each row stands, and behind that how long each is.
    for (std::uint64_t i = 0; i < rows && i < kMostSgiRows; ++i) {
      const auto offset = file.Number<4>(kHeadSize + i * 4, ByteOrder::kBig);
      const auto size = file.Number<4>(kHeadSize + (rows + i) * 4, ByteOrder::kBig);
      if (!offset || !size) return std::nullopt;
      end = std::max(end, *offset + *size);
    }
  }
  if (rows > kMostSgiRows || end == kHeadSize || end > kMostPictureSize) return std::nullopt;
  return end;
}

}  // namespace qzmtraw::host
