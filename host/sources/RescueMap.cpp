#include "host/sources/RescueMap.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <limits>
#include <optional>
#include <string_view>
#include <utility>
#include <vector>

#include "host/base/Error.h"
#include "host/base/Text.h"
#include "host/base/Version.h"
#include "host/sources/SizeText.h"

namespace qzmtraw::host {
namespace {

/// No line that counts is longer. What is no map may have no lines at all.
constexpr std::size_t kLongestLine = 200;

/// A map is written in pieces of this size.
constexpr std::size_t kWriteSize = std::size_t{64} << 10U;

/// \return Whether there was a line. What is too long comes cut.
bool NextLine(std::istream& text, std::string& line) {
  constexpr int kEnd = std::char_traits<char>::eof();
  line.clear();
  int c = text.rdbuf()->sbumpc();
  const bool isThere = c != kEnd;
  for (; c != kEnd && c != '\n'; c = text.rdbuf()->sbumpc()) {
    if (line.size() < kLongestLine) line += static_cast<char>(c);
  }
  return isThere;
}

std::vector<std::string_view> FieldsOf(std::string_view line) {
  constexpr std::string_view kBlanks = " \t\r";
  std::vector<std::string_view> fields;
  while (true) {
    line.remove_prefix(std::min(line.find_first_not_of(kBlanks), line.size()));
    if (line.empty()) return fields;
    fields.push_back(line.substr(0, line.find_first_of(kBlanks)));
    line.remove_prefix(fields.back().size());
  }
}

bool IsOneOf(std::string_view field, std::string_view letters) {
  return field.size() == 1 && letters.find(field[0]) != std::string_view::npos;
}

/// Where the copying was, how it stood, and, since some years, in which pass.
bool IsStatusLine(const std::vector<std::string_view>& fields) {
  return (fields.size() == 2 || (fields.size() == 3 && ParseNumber(fields[2]))) && ParseNumber(fields[0]) &&
         IsOneOf(fields[1], "?*/-FG+");
}

std::string HexText(std::uint64_t number) {
  std::array<char, 24> text{};
  const int length = std::snprintf(text.data(), text.size(), "0x%08llX", static_cast<unsigned long long>(number));
  return {text.data(), static_cast<std::size_t>(length)};
}

std::string MapLine(std::uint64_t position, std::uint64_t size, char status) {
  return HexText(position) + "  " + HexText(size) + "  " + status + "\n";
}

/// The status of a sector of the source, and how many from it on share it.
std::pair<char, std::uint64_t> StatusAt(const Device& device, std::uint64_t sector, std::uint64_t doneEnd) {
  const SectorRange& range = device.Range();
  const std::uint64_t end = range.first + range.count;
  if (sector < range.first) return {'?', range.first - sector};
  if (sector >= end) return {'?', device.SectorCount() - sector};
  const Device::Stretch stretch = device.StretchAt(sector, end - sector);
  if (stretch.state == Device::SectorState::kUnreadable) return {'-', stretch.count};
  if (stretch.state != Device::SectorState::kReadable || sector >= doneEnd) return {'?', stretch.count};
  return {'+', std::min(stretch.count, doneEnd - sector)};
}

}  // namespace

void ReadRescueMap(std::istream& text, const std::string& path, const std::function<void(const MapBlock&)>& take) {
  std::uint64_t number = 0;
  const auto fail = [&](const std::string& what) {
    throw Failure(Quoted(path) + ", line " + std::to_string(number) + ": " + what +
                  ": --map takes the map that ddrescue wrote with the image");
  };
  bool hasStatus = false;
  std::optional<std::uint64_t> end;
  std::string line;
  while (NextLine(text, line)) {
    ++number;
    const std::vector<std::string_view> fields = FieldsOf(line);
    if (fields.empty() || fields[0][0] == '#') continue;
    if (!hasStatus) {
      if (!IsStatusLine(fields)) fail("the status line should stand here");
      hasStatus = true;
      continue;
    }
    const auto position = ParseNumber(fields[0]);
    const auto size = fields.size() == 3 ? ParseNumber(fields[1]) : std::nullopt;
    if (!position || !size || !IsOneOf(fields[2], "?*/-+")) fail("it has no position, size and status");
    if (*size == 0) fail("its size is 0");
    if (*size > std::numeric_limits<std::uint64_t>::max() - *position) fail("its end is beyond all sizes");
    if (end && *position != *end) fail("it doesn't begin where the line before it ends");
    end = *position + *size;
    take({*position, *size, fields[2][0]});
  }
  if (!hasStatus) fail("the map ends here, without a status line");
}

void WriteRescueMap(const Device& device, std::uint64_t sectorsDone,
                    const std::function<void(const std::string&)>& out) {
  const SectorRange& range = device.Range();
  const std::uint64_t rangeEnd = range.first + range.count;
  const std::uint64_t doneEnd = std::clamp(sectorsDone, range.first, rangeEnd);
  const auto offsetOf = [&](std::uint64_t sector) {
    return sector >= device.SectorCount() ? device.Size() : sector * device.SectorSize();
  };
  std::string text =
      "# Mapfile. Created by " + std::string(kProgramName) + " version " + Version() +
      "\n# + scanned, - could not be read, ? not scanned\n# current_pos  current_status  current_pass\n" +
      HexText(offsetOf(doneEnd)) + "     " + (doneEnd == rangeEnd ? '+' : '?') +
      "               1\n#      pos        size  status\n";
  std::uint64_t first = 0;
  char status = 0;
  for (std::uint64_t sector = 0; sector < device.SectorCount();) {
    const auto [here, count] = StatusAt(device, sector, doneEnd);
    if (here != status && status != 0) {
      text += MapLine(offsetOf(first), offsetOf(sector) - offsetOf(first), status);
      first = sector;
    }
    status = here;
    sector += count;
    if (text.size() >= kWriteSize) out(std::exchange(text, {}));
  }
  if (status != 0) text += MapLine(offsetOf(first), device.Size() - offsetOf(first), status);
  out(text);
}

RescueMapFile::RescueMapFile(std::string path) : path_(std::move(path)) {
  file_ = FileDescriptor(::open(path_.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666));
  if (file_.IsOpen()) return;
  const int error = errno;
  throw Failure("cannot create the map " + Quoted(path_) + ": " + ErrorText(error) +
                (error == EEXIST ? ": name a new file, nothing is overwritten" : ": check the path"));
}

RescueMapFile::~RescueMapFile() {
  if (!isFinished_) ::unlink(path_.c_str());
}

void RescueMapFile::Write(const Device& device, std::uint64_t sectorsDone) {
  const auto fail = [this](int error) {
    throw Failure("cannot write the map " + Quoted(path_) + ": " + ErrorText(error) + ": it was removed; make room");
  };
  WriteRescueMap(device, sectorsDone, [&](std::string_view text) {
    while (!text.empty()) {
      const ssize_t count = ::write(file_.Get(), text.data(), text.size());
      if (count < 0 && errno != EINTR) fail(errno);
      if (count > 0) text.remove_prefix(static_cast<std::size_t>(count));
    }
  });
  if (const int error = file_.Close(); error != 0) fail(error);
  isFinished_ = true;
}

}  // namespace qzmtraw::host
