#include "host/recovery/Manifest.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <limits>
#include <span>
#include <utility>

#include "host/base/Error.h"
#include "host/base/JsonLine.h"
#include "host/base/Text.h"
#include "host/base/Version.h"

namespace qzmtraw::host {
namespace {

/// No line that is written comes near to it.
constexpr std::size_t kMostLineBytes = 1U << 16U;

/// How much is read for a single line, and to go through all of them.
constexpr std::size_t kLinePieceSize = 4096;
constexpr std::size_t kCursorPieceSize = 1U << 16U;

Json HeadLine(const ManifestHead& head) {
  Json line;
  line["type"] = "recovery";
  line["program"] = kProgramName;
  line["version"] = Version();
  line["source_size"] = head.sourceSize;
  line["sector_size"] = head.sectorSize;
  line["rows"] = head.rows;
  line["dedupe"] = head.dedupe;
  line["embedded"] = head.embedded;
  return line;
}

Json EntryLine(const ManifestEntry& entry) {
  Json line;
  line["type"] = "copy";
  line["path"] = entry.path;
  line["sha256"] = HexText(entry.sum);
  line["length"] = entry.plan.length;
  line["start_sector"] = entry.find.startSector;
  line["offset"] = entry.plan.offset;
  line["row"] = entry.find.row;
  line["size"] = entry.find.size;
  line["size_estimated"] = entry.plan.isEstimated;
  line["truncated"] = entry.plan.isTruncated;
  line["unreadable_bytes"] = entry.unreadableBytes;
  line["duplicate"] = entry.isDuplicate;
  return line;
}

/// A number of a line. Throws Json::exception for what is none, or has no place in 64 bits.
std::uint64_t WholeNumber(const Json& line, const char* name) {
  return line.at(name).get_ref<const Json::number_unsigned_t&>();
}

/// A path as it was written, which can't lead out of the directory.
bool IsPath(const std::string& path) {
  const bool isPlain = std::ranges::all_of(path, [](char c) {
    return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '-' || c == '_' ||
           c == '.' || c == '/';
  });
  return isPlain && !path.empty() && path.front() != '/' && path.find("..") == std::string::npos;
}

}  // namespace

Manifest Manifest::Make(const FileDescriptor& directory, const std::string& path, const ManifestHead& head) {
  constexpr int kFlags = O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC;
  Manifest manifest(FileDescriptor(::openat(directory.Get(), kName, kFlags, 0666)), path + "/" + kName);
  if (!manifest.file_.IsOpen()) throw Failure("cannot create " + Quoted(manifest.path_) + ": " + ErrorText(errno));
  ::flock(manifest.file_.Get(), LOCK_EX | LOCK_NB);
  manifest.Append(JsonLine(HeadLine(head)));
  manifest.headSize_ = manifest.end_;
  return manifest;
}

std::optional<Manifest> Manifest::Open(const FileDescriptor& directory, const std::string& path,
                                       const ManifestHead& head) {
  Manifest manifest(FileDescriptor(::openat(directory.Get(), kName, O_RDWR | O_NOFOLLOW | O_CLOEXEC)),
                    path + "/" + kName);
  if (!manifest.file_.IsOpen()) throw Failure("cannot open " + Quoted(manifest.path_) + ": " + ErrorText(errno));
  if (::flock(manifest.file_.Get(), LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK) {
    throw Failure("another recovery is at work in " + Quoted(path) + ": wait for it, or name another directory");
  }
  manifest.CutOff();
  if (manifest.end_ == 0) return std::nullopt;
  manifest.CheckHead(head);
  return manifest;
}

/// Counts the lines, and cuts off what isn't a whole one.
void Manifest::CutOff() {
  std::array<char, kMostLineBytes> buffer{};
  std::uint64_t at = 0;
  std::uint64_t lines = 0;
  while (true) {
    const ssize_t count = ::pread(file_.Get(), buffer.data(), buffer.size(), static_cast<off_t>(at));
    if (count < 0) Fail("cannot be read: " + ErrorText(errno));
    if (count == 0) break;
    for (std::size_t i = 0; i < static_cast<std::size_t>(count); ++i) {
      if (buffer.at(i) != '\n') continue;
      ++lines;
      end_ = at + i + 1;
      if (lines == 1) headSize_ = end_;
    }
    at += static_cast<std::uint64_t>(count);
  }
  if (at != end_ && ::ftruncate(file_.Get(), static_cast<off_t>(end_)) != 0) {
    Fail("cannot be changed: " + ErrorText(errno));
  }
  count_ = lines == 0 ? 0 : lines - 1;
}

void Manifest::CheckHead(const ManifestHead& head) const {
  const Json wanted = HeadLine(head);
  const Json line = Json::parse(LineAt(0), nullptr, false);
  if (!line.is_object() || line.value("type", Json()) != wanted["type"]) Fail("is none of this program");
  for (const char* size : {"source_size", "sector_size"}) {
    if (!line.contains(size) || line[size] != wanted[size]) {
      Fail("is about a source of " + line.value("source_size", Json()).dump() + " bytes in sectors of " +
           line.value("sector_size", Json()).dump() + " bytes, and this one has " + wanted["source_size"].dump() +
           " in sectors of " + wanted["sector_size"].dump());
    }
  }
  for (const auto& [option, what] : {std::pair("rows", "the choice of file types"), std::pair("dedupe", "--dedupe"),
                                     std::pair("embedded", "--embedded")}) {
    if (!line.contains(option) || line[option] != wanted[option]) {
      Fail(std::string("was begun differently: ") + what + " must be as before");
    }
  }
}

Manifest::Cursor::Cursor(const Manifest& manifest) : manifest_(manifest), next_(manifest.headSize_) {}

std::optional<ManifestEntry> Manifest::Cursor::Next() {
  if (next_ >= manifest_.end_) return std::nullopt;
  std::size_t end = 0;
  while ((end = text_.find('\n', used_)) == std::string::npos) {
    text_.erase(0, used_);
    used_ = 0;
    manifest_.ReadBehind(text_, next_, kCursorPieceSize);
  }
  const std::string_view line = std::string_view(text_).substr(used_, end - used_);
  place_ = next_;
  next_ += line.size() + 1;
  used_ = end + 1;
  return manifest_.EntryIn(line, place_);
}

ManifestEntry Manifest::At(std::uint64_t place) const { return EntryIn(LineAt(place), place); }

/// The copy that a line tells of.
ManifestEntry Manifest::EntryIn(std::string_view text, std::uint64_t place) const {
  const Json line = Json::parse(text, nullptr, false);
  try {
    ManifestEntry entry;
    entry.path = line.at("path").get<std::string>();
    const auto sum = SumFromHex(line.at("sha256").get<std::string>());
    if (!sum || !IsPath(entry.path)) Fail("is damaged at byte " + std::to_string(place));
    entry.sum = *sum;
    const std::uint64_t row = WholeNumber(line, "row");
    if (row > std::numeric_limits<std::int32_t>::max()) Fail("is damaged at byte " + std::to_string(place));
    entry.find.row = static_cast<std::int32_t>(row);
    entry.find.startSector = WholeNumber(line, "start_sector");
    entry.find.size = WholeNumber(line, "size");
    entry.plan.offset = WholeNumber(line, "offset");
    entry.plan.length = WholeNumber(line, "length");
    line.at("size_estimated").get_to(entry.plan.isEstimated);
    line.at("truncated").get_to(entry.plan.isTruncated);
    entry.unreadableBytes = WholeNumber(line, "unreadable_bytes");
    line.at("duplicate").get_to(entry.isDuplicate);
    return entry;
  } catch (const Json::exception&) {
    Fail("is damaged at byte " + std::to_string(place));
  }
}

std::uint64_t Manifest::Add(const ManifestEntry& entry) {
  const std::uint64_t place = end_;
  Append(JsonLine(EntryLine(entry)));
  ++count_;
  return place;
}

/// The line that begins at a place, without its end.
std::string Manifest::LineAt(std::uint64_t place) const {
  std::string text;
  std::size_t end = 0;
  while ((end = text.find('\n')) == std::string::npos) ReadBehind(text, place, kLinePieceSize);
  text.resize(end);
  return text;
}

/// Adds what follows in the list to the beginning of a line.
/// \param place  Where that line begins.
void Manifest::ReadBehind(std::string& text, std::uint64_t place, std::size_t count) const {
  const std::size_t before = text.size();
  if (before < kMostLineBytes) {
    text.resize(before + count);
    const ssize_t read = ::pread(file_.Get(), &text[before], count, static_cast<off_t>(place + before));
    text.resize(before + static_cast<std::size_t>(std::max<ssize_t>(0, read)));
    if (read > 0) return;
  }
  Fail("is damaged at byte " + std::to_string(place));
}

void Manifest::Append(const std::string& line) {
  std::string_view rest = line;
  while (!rest.empty()) {
    const auto at = static_cast<off_t>(end_ + line.size() - rest.size());
    const ssize_t count = ::pwrite(file_.Get(), rest.data(), rest.size(), at);
    if (count >= 0) {
      rest.remove_prefix(static_cast<std::size_t>(count));
    } else if (errno != EINTR) {
      throw Failure("cannot write " + Quoted(path_) + ": " + ErrorText(errno) +
                    ": make room, and start the command again");
    }
  }
  end_ += line.size();
}

void Manifest::Fail(const std::string& what) const {
  throw Failure("the list of copies " + Quoted(path_) + " " + what + ": name another output directory");
}

}  // namespace qzmtraw::host
