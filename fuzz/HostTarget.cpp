// What the tool reads that it didn't make: command lines, images, lists, and what the library reports. The first byte
// chooses one of them. New ones come last, so that kept inputs go on meaning what they meant.

#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <functional>
#include <map>
#include <optional>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "fuzz/Choices.h"
#include "fuzz/Failure.h"
#include "fuzz/HostFiles.h"
#include "host/base/Error.h"
#include "host/base/Text.h"
#include "host/command/CommandLine.h"
#include "host/finds/CarvePlan.h"
#include "host/finds/FindStore.h"
#include "host/scan/Lanes.h"
#include "host/scan/Shard.h"
#include "host/sources/Device.h"
#include "host/sources/EwfSegments.h"
#include "host/sources/RawSource.h"
#include "host/sources/RescueMap.h"
#include "host/sources/SectorSet.h"
#include "host/sources/SizeText.h"
#include "host/sources/SplitSource.h"
#include "host/types/Registry.h"
#include "host/types/TypeSelection.h"

namespace qzmtraw::fuzz {
namespace {

using namespace qzmtraw::host;

/// A list of types gives rows that exist, in order, or is refused with a message that any terminal can take.
void SelectTypesOf(Choices choices) {
  std::vector<std::int32_t> rows;
  try {
    rows = SelectTypes(Catalogue(), choices.Rest());
  } catch (const UsageError& error) {
    Check(IsHarmless(error.what()), "a message has what harms a terminal");
    return;
  }
  Check(!rows.empty() && rows.front() >= 0 && rows.back() < static_cast<std::int32_t>(Catalogue().size()),
        "a list of types names rows that aren't there");
  Check(std::ranges::adjacent_find(rows, std::greater_equal<>()) == rows.end(), "rows come twice or out of order");
  std::string numbers;
  for (const std::int32_t row : rows) numbers += (numbers.empty() ? "" : ",") + std::to_string(row);
  // Some extensions are numbers, and stand for all kinds that bear them.
  for (const std::int32_t row : SelectTypes(Catalogue(), numbers)) {
    const bool isExtension =
        Catalogue().at(static_cast<std::size_t>(row)).extension.find_first_not_of("0123456789") == std::string::npos;
    Check(isExtension || std::ranges::binary_search(rows, row), "rows by number aren't those that were selected");
  }
}

/// Whatever bytes a path has, and whatever numbers a report, they come out as text.
void PrintTextOf(Choices choices) {
  const std::uint64_t number = choices.Number(8);
  double seconds = 0;
  std::memcpy(&seconds, &number, sizeof seconds);
  Check(IsHarmless(FormatSize(number)) && FormatSize(number).size() <= 10, "a size isn't a short text");
  Check(IsHarmless(FormatDuration(seconds)) && FormatDuration(seconds).size() <= 24, "a time isn't a short text");
  const std::string bytes = choices.Rest();
  const std::string printable = Printable(bytes);
  Check(IsHarmless(printable), "a printable text isn't");
  // A backslash stands for itself twice, so no two texts look alike.
  if (IsHarmless(bytes) && bytes.find('\\') == std::string::npos && printable.find('\\') == std::string::npos) {
    Check(printable == bytes, "a harmless text comes out as another");
  }
  Check(IsUtf8(Latin1ToUtf8(bytes)), "Latin-1 doesn't come out as UTF-8");
  const std::size_t width = number % 100;
  Check(CharacterCount(PadRight(printable, width)) == std::max(width, CharacterCount(printable)),
        "a text isn't padded");
}

/// A command line is obeyed or refused. The image that it names isn't there, so nothing is scanned.
void ParseCommandLineOf(Choices choices) {
  std::vector<std::string> arguments = {"qzmtraw"};
  if (choices.Number(1) % 4 == 0) {
    arguments.emplace_back("types");
  } else {
    arguments.insert(arguments.end(), {"scan", "/nowhere/image"});
  }
  std::istringstream words(choices.Rest());
  for (std::string word; std::getline(words, word, '\0');) arguments.push_back(word);
  std::vector<const char*> pointers;
  pointers.reserve(arguments.size());
  for (const std::string& argument : arguments) pointers.push_back(argument.c_str());
  // Nothing may be written, wherever an input leads.
  if (std::ranges::find(arguments, "recover") != arguments.end()) return;
  const auto keepsState = [](const std::string& argument) { return argument.starts_with("--res"); };
  if (std::ranges::any_of(arguments, keepsState)) return;

  std::ostringstream out;
  std::ostringstream err;
  const ExitCode code = RunCommandLine(static_cast<int>(pointers.size()), pointers.data(), {out, err});
  Check(code == ExitCode::kDone || code == ExitCode::kFailed || code == ExitCode::kUsage, "an exit code is unknown");
  Check((code == ExitCode::kDone) == err.str().empty(), "the exit code doesn't go with what was said");
  Check(!(out.str().empty() && err.str().empty()), "nothing was said");
}

/// A source whose places fail as its bytes say: 0xE0 to 0xEF are errors of a place, 0xF0 those of the whole device, and
/// 0xF1 to 0xFF bring less than is there.
class OddSource final : public ISource {
 public:
  explicit OddSource(std::string bytes) : bytes_(std::move(bytes)) {}

  [[nodiscard]] std::uint64_t Size() const override { return bytes_.size(); }
  ReadResult ReadAt(std::uint64_t offset, std::span<std::uint8_t> into) override {
    Check(offset <= bytes_.size() && into.size() <= bytes_.size() - offset, "a source is asked beyond its end");
    ++reads_;
    for (std::size_t i = 0; i < into.size(); ++i) {
      const auto byte = static_cast<std::uint8_t>(bytes_[static_cast<std::size_t>(offset) + i]);
      if (byte >= 0xF1 && i > 0) return {i, 0};
      if (byte == 0xF0) return {i, ENODEV};
      if (byte >= 0xE0 && byte < 0xF0) return {i, EIO};
      into[i] = byte;
    }
    return {into.size(), 0};
  }

  bool IsWhole(std::uint64_t begin, std::uint64_t end) const {
    for (std::uint64_t i = begin; i < std::min<std::uint64_t>(end, bytes_.size()); ++i) {
      const auto byte = static_cast<std::uint8_t>(bytes_[static_cast<std::size_t>(i)]);
      if (byte >= 0xE0 && byte <= 0xF0) return false;
    }
    return true;
  }
  std::uint8_t At(std::uint64_t offset) const {
    return offset < bytes_.size() ? static_cast<std::uint8_t>(bytes_[static_cast<std::size_t>(offset)])
                                  : std::uint8_t{0};
  }
  std::uint64_t Reads() const { return reads_; }

 private:
  std::string bytes_;
  std::uint64_t reads_ = 0;
};

/// A device brings what its source can give, and zeros for all else, whatever is read before.
void ReadDeviceOf(Choices choices) {
  const auto sectorSize = static_cast<std::uint32_t>(1 + choices.Below(80));
  constexpr std::size_t kReads = 6;
  struct Range {
    std::uint64_t start;
    std::size_t count;
  };
  std::vector<Range> ranges;
  for (std::size_t i = 0; i < kReads; ++i) {
    const std::uint64_t start = choices.Number(1);
    ranges.push_back({start >= 250 ? ~std::uint64_t{0} - (255 - start) : start, choices.Below(40)});
  }
  OddSource source(choices.Rest());
  Device device(source, sectorSize);
  Check(device.SectorCount() == (source.Size() + sectorSize - 1) / sectorSize, "a device has too many sectors");
  for (const Range& range : ranges) {
    std::vector<std::uint8_t> into(range.count * sectorSize, 0xAA);
    const std::uint64_t readsBefore = source.Reads();
    const bool isRead = device.Read(range.start, into);
    // In halves down to sectors and up again; a source may bring its bytes one by one, and those of a sector twice.
    Check(source.Reads() - readsBefore <= 3 * into.size() + 2 * range.count + 8 * (std::size_t{sectorSize} + 2),
          "a source is asked again and again");
    bool isWhole = true;
    for (std::size_t i = 0; i < range.count; ++i) {
      const std::uint64_t sector = range.start + i;
      const bool exists = sector >= range.start && sector < device.SectorCount();
      const bool canBeRead = exists && source.IsWhole(sector * sectorSize, (sector + 1) * sectorSize);
      isWhole = isWhole && canBeRead;
      const bool isZero = std::all_of(into.begin() + static_cast<std::ptrdiff_t>(i * sectorSize),
                                      into.begin() + static_cast<std::ptrdiff_t>((i + 1) * sectorSize),
                                      [](std::uint8_t byte) { return byte == 0; });
      if (!canBeRead || device.IsLost()) {
        if (!canBeRead) Check(isZero, "a sector that can't be read isn't zero");
        continue;
      }
      for (std::uint32_t k = 0; k < sectorSize; ++k) {
        Check(into[i * sectorSize + k] == source.At(sector * sectorSize + k), "a device brings other bytes");
      }
    }
    Check(!isRead || isWhole, "a read succeeds that can't");
    if (!device.IsLost()) Check(isRead == isWhole, "a read fails that can succeed");
  }
  Check(device.Unreadable().Count() <= device.SectorCount(), "more sectors fail than there are");
}

/// A map is read, block behind block, or refused with a message that any terminal can take and that names a line.
void ReadMapOf(Choices choices) {
  std::istringstream text(choices.Rest());
  std::optional<std::uint64_t> end;
  try {
    ReadRescueMap(text, "map", [&](const MapBlock& block) {
      Check(block.size > 0 && block.position + block.size > block.position, "a block of a map wraps around");
      Check(!end || *end == block.position, "blocks of a map don't follow one another");
      Check(std::string_view("?*/-+").find(block.status) != std::string_view::npos, "a block has a status of its own");
      end = block.position + block.size;
    });
  } catch (const Failure& failure) {
    Check(IsHarmless(failure.what()) && std::string_view(failure.what()).starts_with("'map', line "),
          "a message about a map isn't one");
  }
}

/// What a device writes of itself as a map can be read, covers all of it and tells what could be read.
void WriteMapOf(Choices choices) {
  const auto sectorSize = static_cast<std::uint32_t>(1 + choices.Below(80));
  DeviceView view{{choices.Number(1), choices.Number(1)}, {}, {}};
  view.leftOut.Add({choices.Number(1), choices.Below(20)});
  view.skipped.Add({choices.Number(1), choices.Below(20)});
  const std::uint64_t sectorsDone = choices.Number(1);
  OddSource source(choices.Rest());
  Device device(source, sectorSize, std::move(view));
  std::vector<std::uint8_t> into(static_cast<std::size_t>(device.SectorCount() * sectorSize));
  device.Read(0, into);
  std::string text;
  WriteRescueMap(device, sectorsDone, [&](const std::string& piece) { text += piece; });
  std::istringstream stream(text);
  std::uint64_t end = 0;
  ReadRescueMap(stream, "map", [&](const MapBlock& block) {
    Check(block.position == end, "a written map has a hole");
    end = block.position + block.size;
    if (block.status == '+') {
      Check(device.IsLost() || source.IsWhole(block.position, end), "a map calls read what can't be read");
      Check(block.position >= device.RangeBegin() && end <= device.RangeEnd(),
            "a map calls read what wasn't asked for");
    }
  });
  Check(end == source.Size(), "a written map ends elsewhere");
}

/// The names of a split image's parts go up, and the first one is known for what it is.
void CountPartsOf(Choices choices) {
  std::string name = choices.Rest();
  std::string segment = name;
  for (int i = 0; i < 40 && !segment.empty(); ++i) {
    const std::string next = NextSegmentName(segment);
    Check(next.empty() || (next > segment && next.size() == segment.size()), "segments don't go up");
    segment = next;
  }
  for (int i = 0; i < 40; ++i) {
    const std::vector<std::string> next = NextPartNames(name);
    if (next.empty()) return;
    Check(next.front() != name && !next.front().empty(), "a part is behind itself");
    Check(next.front().size() >= name.size(), "a part's name is shorter than that of the one before");
    Check(next.front().size() > name.size() || next.front() > name, "parts don't go up");
    Check(i == 0 || !IsFirstPartName(name) || name.ends_with('1'), "a later part passes for the first one");
    name = next.back();
  }
}

/// A size is a number of bytes or none, and its number alone means the same.
void ParseSizeOf(Choices choices) {
  const auto sectorSize = static_cast<std::uint32_t>(1 + choices.Number(2));
  const std::string text = choices.Rest();
  const auto size = ParseSize(text, sectorSize);
  if (!size) return;
  Check(IsHarmless(text) && text.find(' ') == std::string::npos, "a size is made of anything");
  Check(ParseSize(std::to_string(*size), sectorSize) == size, "a size means another in bytes");
  if (const auto number = ParseNumber(text)) Check(number == size, "a number isn't its size");
}

/// What is taken for a find lies on the device.
void PlanCarvingOf(Choices choices) {
  const auto sectorSize = static_cast<std::uint32_t>(1 + choices.Number(3) % (1U << 20U));
  const std::uint64_t deviceSize = choices.Number(8);
  const CarvePlanner planner(Catalogue(), deviceSize, sectorSize);
  while (!choices.IsEmpty()) {
    const auto row = static_cast<std::int32_t>(choices.Below(Catalogue().size()));
    const Find find{choices.Number(8), choices.Number(8), row};
    std::optional<std::uint64_t> next;
    if (choices.Number(1) % 2 == 1 && find.startSector != ~std::uint64_t{0}) {
      next = find.startSector + 1 + choices.Number(8) % (~std::uint64_t{0} - find.startSector);
    }
    const CarvePlan plan = planner.Plan(find, next).plan;
    Check(plan.offset <= deviceSize && plan.length <= deviceSize - plan.offset, "a file reaches beyond the device");
    Check(find.size == 0 || plan.length <= find.size, "more is taken than was found");
    Check(plan.isEstimated == (find.size == 0), "a guess isn't told");
  }
}

/// Finds come back in order, all of them.
void StoreFindsOf(Choices choices) {
  FindStore store(choices.Below(4096));
  std::vector<Find> finds;
  while (!choices.IsEmpty()) {
    const Find find{choices.Number(1), choices.Number(1), static_cast<std::int32_t>(choices.Number(1))};
    finds.push_back(find);
    store.Add(find);
  }
  store.Sort();
  std::ranges::sort(finds, ComesBefore);
  FindStore::Cursor cursor(store);
  for (const Find& find : finds) Check(cursor.Next() == find, "a find is lost, or comes in another order");
  Check(!cursor.Next() && store.Count() == finds.size(), "a find comes that wasn't there");
}

/// An image file is read as it is.
void ReadImageOf(Choices choices) {
  static const int kFile = ::memfd_create("image", 0);
  const std::uint64_t offset = choices.Number(2);
  const std::size_t count = choices.Below(5000);
  const std::string bytes = choices.Rest();
  if (::ftruncate(kFile, 0) != 0 || ::pwrite(kFile, bytes.data(), bytes.size(), 0) < 0) return;
  RawSource source("/proc/self/fd/" + std::to_string(kFile));
  Check(source.Size() == bytes.size(), "an image has another size");
  std::vector<std::uint8_t> into(count);
  const ReadResult result = source.ReadAt(offset, into);
  const std::size_t there =
      offset < bytes.size() ? std::min(count, bytes.size() - static_cast<std::size_t>(offset)) : 0;
  Check(result.count == there && result.error == 0, "an image brings fewer bytes than it has");
  Check(std::equal(into.begin(), into.begin() + static_cast<std::ptrdiff_t>(there),
                   bytes.begin() + static_cast<std::ptrdiff_t>(std::min<std::uint64_t>(offset, bytes.size())),
                   [](std::uint8_t byte, char character) { return byte == static_cast<std::uint8_t>(character); }),
        "an image brings other bytes");
}

/// Ranges are the set of sectors that was put into them.
void KeepRangesOf(Choices choices) {
  SectorSet ranges;
  std::set<std::uint64_t> sectors;
  while (!choices.IsEmpty()) {
    const std::uint64_t sector = choices.Number(1);
    if (choices.Number(1) % 2 == 0) {
      ranges.Add({sector, 1});
      sectors.insert(sector);
    } else {
      const std::uint64_t count = choices.Number(1);
      const auto first = sectors.lower_bound(sector);
      Check(ranges.Overlaps({sector, count}) == (first != sectors.end() && *first < sector + count),
            "a set of sectors has others");
    }
  }
  Check(ranges.Count() == sectors.size(), "a set of sectors has more or fewer");
}

/// A share of the work is one of so many, or is refused with a message that any terminal can take.
void ReadShardOf(Choices choices) {
  const std::string text = choices.Rest();
  try {
    const Shard shard = ParseShard(text);
    Check(shard.number >= 1 && shard.number <= shard.count, "there is no such shard");
    Check(ParseShard(ShardText(shard)) == shard, "a shard is read as another than it was written");
  } catch (const UsageError& error) {
    Check(IsHarmless(error.what()), "a message has what harms a terminal");
  }
}

/// All shards together have every row once, and a group stays together.
void ShareRowsOf(Choices choices) {
  const auto count = static_cast<std::uint32_t>(1 + choices.Number(1) % 16);
  std::set<std::int32_t> rows;
  while (!choices.IsEmpty()) rows.insert(static_cast<std::int32_t>(choices.Below(Catalogue().size())));
  const std::vector<std::int32_t> ascending(rows.begin(), rows.end());
  std::map<std::string, std::uint32_t> shardOfGroup;
  try {
    for (std::uint32_t number = 1; number <= count; ++number) {
      for (const auto& [row, isSilent] : RowsOfShard(ascending, Catalogue(), {number, count})) {
        Check(std::ranges::binary_search(ascending, row), "a row is in a shard that wasn't asked for");
        if (isSilent) continue;
        Check(rows.erase(row) == 1, "a row is in two shards");
        const std::string& group = Catalogue().at(static_cast<std::size_t>(row)).group;
        if (!group.empty())
          Check(shardOfGroup.try_emplace(group, number).first->second == number, "a group is divided");
      }
    }
  } catch (const UsageError&) {
    Check(count > 1 && rows.size() == ascending.size(), "rows can't be shared out");
    return;
  }
  Check(rows.empty(), "a row is in no shard");
}

/// Every row is dealt to one lane, and a group stays together.
void DealRowsOf(Choices choices) {
  const std::size_t laneCount = 1 + choices.Number(1);
  std::set<std::int32_t> rows;
  while (!choices.IsEmpty()) rows.insert(static_cast<std::int32_t>(choices.Below(Catalogue().size())));
  const std::vector<std::int32_t> ascending(rows.begin(), rows.end());
  std::map<std::string, std::size_t> laneOfGroup;
  const std::vector<Lane> lanes = DealRows(ascending, Catalogue(), laneCount);
  Check(lanes.size() <= laneCount, "there are too many lanes");
  for (std::size_t lane = 0; lane < lanes.size(); ++lane) {
    for (const LaneRow& each : lanes[lane]) {
      if (each.isSilent) continue;
      Check(rows.erase(each.row) == 1, "a row is dealt twice, or wasn't asked for");
      const std::string& group = Catalogue().at(static_cast<std::size_t>(each.row)).group;
      if (!group.empty()) Check(laneOfGroup.try_emplace(group, lane).first->second == lane, "a group is divided");
    }
  }
  Check(rows.empty(), "a row isn't dealt");
}

}  // namespace

const TypeCatalogue& Catalogue() {
  static const TypeCatalogue kCatalogue = ReadTypeCatalogue(OpenRegistry());
  return kCatalogue;
}

bool IsHarmless(const std::string& text) {
  return IsUtf8(text) && std::ranges::none_of(text, [](char c) { return static_cast<unsigned char>(c) < 0x20; });
}

}  // namespace qzmtraw::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace qzmtraw::fuzz;
  constexpr void (*kParts[])(Choices) = {SelectTypesOf, PrintTextOf,  ParseCommandLineOf, ReadDeviceOf,  PlanCarvingOf,
                                         StoreFindsOf,  ReadImageOf,  KeepRangesOf,       DealRowsOf,    ReadMapOf,
                                         WriteMapOf,    CountPartsOf, ParseSizeOf,        ReadListOf,    ReadShardOf,
                                         ShareRowsOf,   OpenStateOf,  ReadDatabaseOf,     GoOnCopyingOf, ReadProfileOf,
                                         WalkToEndOf,   ReadTitleOf};
  Choices choices({data, size});
  kParts[choices.Number(1) % std::size(kParts)](choices);
  return 0;
}
