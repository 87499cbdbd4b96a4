#include <algorithm>
#include <array>
#include <set>
#include <vector>

#include "host/recovery/ends/Ends.h"

namespace qzmtraw::host {
namespace {

/// No picture is larger; who says so was damaged.
constexpr std::uint64_t kMostPictureSize = std::uint64_t{512} << 20U;

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

}  // namespace qzmtraw::host
