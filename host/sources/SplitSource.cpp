#include "host/sources/SplitSource.h"

#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <utility>

#include "host/base/Error.h"
#include "host/base/Text.h"

namespace qzmtraw::host {
namespace {

/// Most digits or letters that an extension counts with.
constexpr std::size_t kMostDigits = 9;

/// What parts are counted with.
struct Counter {
  std::string_view digits;
  char First() const { return digits.front(); }
  char Last() const { return digits.back(); }
};
constexpr Counter kCounters[] = {{"0123456789"}, {"abcdefghijklmnopqrstuvwxyz"}, {"ABCDEFGHIJKLMNOPQRSTUVWXYZ"}};

/// A path whose extension counts.
struct CountedPath {
  /// With the dot.
  std::string stem;
  std::string count;
  const Counter* counter = nullptr;
};

CountedPath Divide(const std::string& path) {
  const std::size_t dot = path.find_last_of("./");
  if (dot == std::string::npos || path[dot] == '/') return {};
  const std::string count = path.substr(dot + 1);
  if (count.size() < 2 || count.size() > kMostDigits) return {};
  for (const Counter& counter : kCounters) {
    if (count.find_first_not_of(counter.digits) == std::string::npos) return {path.substr(0, dot + 1), count, &counter};
  }
  return {};
}

bool IsThere(const std::string& path) {
  struct stat status {};
  return ::stat(path.c_str(), &status) == 0;
}

/// The next count of the same length, or empty behind the last one.
std::string CountUp(std::string count, const Counter& counter) {
  for (std::size_t i = count.size(); i-- > 0;) {
    if (count[i] != counter.Last()) {
      count[i] = counter.digits[counter.digits.find(count[i]) + 1];
      return count;
    }
    count[i] = counter.First();
  }
  return {};
}

/// The count behind one with which split goes on to longer ones: "89" to "9000", "9899" to "990000". Otherwise empty.
std::string Widen(const std::string& count, const Counter& counter) {
  const std::size_t lead = std::min(count.find_first_not_of(counter.Last()), count.size());
  const std::string rest = count.substr(lead);
  if (rest.empty() || rest[0] != counter.digits[counter.digits.size() - 2] ||
      rest.find_first_not_of(counter.Last(), 1) != std::string::npos) {
    return {};
  }
  return std::string(lead + 1, counter.Last()) + std::string(rest.size() + 1, counter.First());
}

/// A part behind one that is missing, or empty.
std::string PartBehind(const std::string& last) {
  const CountedPath path = Divide(last);
  const std::filesystem::path folder = std::filesystem::path(last).parent_path();
  const std::string start = std::filesystem::path(path.stem).filename().string();
  std::string found;
  std::error_code error;
  for (std::filesystem::directory_iterator entry(folder.empty() ? "." : folder, error), end; !error && entry != end;
       entry.increment(error)) {
    const std::string name = entry->path().filename().string();
    if (!name.starts_with(start) || name.size() != start.size() + path.count.size()) continue;
    const std::string count = name.substr(start.size());
    if (count.find_first_not_of(path.counter->digits) != std::string::npos || count <= path.count) continue;
    if (found.empty() || path.stem + count < found) found = path.stem + count;
  }
  return found;
}

}  // namespace

bool IsFirstPartName(const std::string& path) {
  const CountedPath divided = Divide(path);
  if (divided.counter == nullptr) return false;
  const char first = divided.counter->First();
  const std::string start(divided.count.size(), first);
  return divided.count == start || (first == '0' && divided.count == CountUp(start, *divided.counter));
}

std::vector<std::string> NextPartNames(const std::string& path) {
  const CountedPath divided = Divide(path);
  if (divided.counter == nullptr) return {};
  std::vector<std::string> names;
  const std::string next = CountUp(divided.count, *divided.counter);
  if (!next.empty()) names.push_back(divided.stem + next);
  // Some programs go on from 999 to 1000.
  if (next.empty() && divided.counter->First() == '0') {
    names.push_back(divided.stem + "1" + std::string(divided.count.size(), '0'));
  }
  const std::string wider = Widen(divided.count, *divided.counter);
  if (!wider.empty()) names.push_back(divided.stem + wider);
  return names;
}

std::vector<std::string> PartsOf(const std::string& path) {
  std::vector<std::string> parts = {path};
  if (!IsFirstPartName(path)) return parts;
  while (true) {
    const std::vector<std::string> names = NextPartNames(parts.back());
    const auto next = std::ranges::find_if(names, IsThere);
    if (next != names.end()) {
      parts.push_back(*next);
      continue;
    }
    const std::string later = PartBehind(parts.back());
    if (later.empty() || names.empty()) return parts;
    throw Failure("the part " + Quoted(names.front()) + " of the split image " + Quoted(path) + " is missing, but " +
                  Quoted(later) + " is there: put all parts into one folder, or scan this part alone with --raw");
  }
}

std::string FirstPartFor(const std::string& path) {
  const CountedPath divided = Divide(path);
  if (divided.counter == nullptr || IsFirstPartName(path)) return {};
  const std::string start(divided.count.size(), divided.counter->First());
  for (const std::string& count : {start, CountUp(start, *divided.counter)}) {
    std::string first = divided.stem + count;
    if (IsFirstPartName(first) && IsThere(first)) return first;
  }
  return {};
}

SplitSource::SplitSource(const std::vector<std::string>& paths) {
  for (const std::string& path : paths) {
    struct stat status {};
    if (::stat(path.c_str(), &status) == 0 && !S_ISREG(status.st_mode)) {
      throw Failure("the part " + Quoted(path) + " of the split image " + Quoted(paths.front()) +
                    " is no file: put the parts into a folder of their own");
    }
    parts_.push_back({path, std::make_unique<RawSource>(path), size_});
    size_ += parts_.back().source->Size();
  }
}

std::uint64_t SplitSource::SizeNow() const {
  std::uint64_t size = 0;
  for (const Part& part : parts_) size += part.source->SizeNow();
  return size;
}

std::vector<std::string> SplitSource::Notes() const {
  std::vector<std::string> notes = {"is read with the parts behind it, " + std::to_string(parts_.size()) +
                                    " in all, up to " + Quoted(parts_.back().path)};
  const std::uint64_t usual = parts_.front().source->Size();
  const auto odd =
      std::find_if(parts_.begin(), parts_.end() - 1, [&](const Part& part) { return part.source->Size() != usual; });
  const Part& last = parts_.back();
  const Part* const wrong = odd != parts_.end() - 1 ? &*odd : last.source->Size() > usual ? &last : nullptr;
  if (wrong != nullptr) {
    notes.push_back("the part " + Quoted(wrong->path) + " has " + std::to_string(wrong->source->Size()) +
                    " bytes and the first one has " + std::to_string(usual) + ": see whether they are whole");
  }
  return notes;
}

ReadResult SplitSource::ReadAt(std::uint64_t offset, std::span<std::uint8_t> into) {
  if (into.empty()) return {};
  const auto behind = std::ranges::upper_bound(parts_, offset, {}, &Part::offset);
  const auto part = behind - 1;
  const std::uint64_t end = behind == parts_.end() ? size_ : behind->offset;
  const auto here = into.first(static_cast<std::size_t>(std::min<std::uint64_t>(into.size(), end - offset)));
  ReadResult result = part->source->ReadAt(offset - part->offset, here);
  // A part that shrank doesn't end the source.
  if (result.count == 0 && result.error == 0 && behind != parts_.end()) result.error = ENODATA;
  return result;
}

}  // namespace qzmtraw::host
