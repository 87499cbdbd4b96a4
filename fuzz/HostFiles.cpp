#include "fuzz/HostFiles.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <span>
#include <string_view>
#include <system_error>
#include <utility>
#include <vector>

#include "fuzz/Failure.h"
#include "host/base/Error.h"
#include "host/outputs/FindList.h"
#include "host/outputs/NewFile.h"
#include "host/outputs/SqliteReport.h"
#include "host/recovery/CopyNames.h"
#include "host/recovery/OutputDirectory.h"
#include "host/recovery/ends/Ends.h"
#include "host/recovery/names/ReadableName.h"
#include "host/scan/ScanState.h"
#include "host/sources/Device.h"
#include "host/types/Profile.h"

namespace qzmtraw::fuzz {
namespace {

using namespace qzmtraw::host;

/// A place of this process alone, in memory. What is there goes with the process.
class Scratch {
 public:
  explicit Scratch(const char* name) : path_("/dev/shm/qzmtraw-fuzz-" + std::to_string(::getpid()) + "-" + name) {}
  Scratch(const Scratch&) = delete;
  Scratch& operator=(const Scratch&) = delete;
  ~Scratch() { Clear(); }

  [[nodiscard]] const std::string& Path() const { return path_; }

  /// Removes a file or folder, and what SQLite may keep beside it.
  void Clear() const {
    std::error_code error;
    for (const char* suffix : {"", "-journal", "-wal", "-shm"}) std::filesystem::remove_all(path_ + suffix, error);
  }

 private:
  std::string path_;
};

void WriteFile(const std::string& path, std::string_view content) {
  const FileDescriptor file(::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600));
  Check(::write(file.Get(), content.data(), content.size()) == static_cast<ssize_t>(content.size()),
        "there is no room for a file");
}

std::string ReadFile(const std::string& path) {
  std::string content(static_cast<std::size_t>(std::filesystem::file_size(path)), '\0');
  const FileDescriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
  Check(::read(file.Get(), content.data(), content.size()) == static_cast<ssize_t>(content.size()),
        "a file can't be read");
  return content;
}

/// What a function makes of a file that isn't there, as bytes.
std::string Made(const Scratch& scratch, const std::function<void(const std::string& path)>& make) {
  make(scratch.Path());
  std::string content = ReadFile(scratch.Path());
  scratch.Clear();
  return content;
}

/// The content with some bytes changed, each at a place of two bytes.
std::string Changed(std::string content, Choices& choices) {
  while (!choices.IsEmpty()) {
    const std::uint64_t place = choices.Number(2);
    content[static_cast<std::size_t>(place % content.size())] = static_cast<char>(choices.Number(1));
  }
  return content;
}

/// Does something that may refuse with a message that any terminal can take.
void MayRefuse(const std::function<void()>& work) {
  try {
    work();
  } catch (const UsageError& error) {
    Check(IsHarmless(error.what()), "a message has what harms a terminal");
  } catch (const Failure& failure) {
    Check(IsHarmless(failure.what()), "a message has what harms a terminal");
  }
}

/// A list that anybody may have written is refused with a message, or all its finds lie on its source.
void CheckList(const std::string& path) {
  MayRefuse([&] {
    FindListReader reader(path, Catalogue());
    const SourceInfo& source = reader.Source();
    Check(source.sectorSize > 0 && source.size < std::uint64_t{1} << 63U, "a list has an impossible source");
    const auto isOnSource = [&](std::uint64_t sector) { return sector <= (source.size - 1) / source.sectorSize; };
    while (const auto listed = reader.Next()) {
      const auto row = static_cast<std::size_t>(listed->find.row);
      Check(row < Catalogue().size() && listed->type == &Catalogue()[row], "a list has a find of no type");
      Check(source.size > 0 && isOnSource(listed->find.startSector), "a list has a find that isn't on its source");
      Check(listed->find.size < std::uint64_t{1} << 63U, "a list has a find of an impossible size");
      Check(!listed->embeddedIn || isOnSource(listed->embeddedIn->startSector), "a find lies in one that isn't there");
    }
    reader.ReadUnreadable([&](const SectorRange& range) {
      Check(source.size > 0 && isOnSource(range.first), "a range begins behind the source");
      Check(range.count == 0 || isOnSource(range.first + (range.count - 1)), "a range ends behind the source");
    });
  });
}

/// A small list with everything that a list may have, as a database.
void MakeDatabase(const std::string& path) {
  NewFile file(path);
  file.Keep();
  const std::unique_ptr<IReport> report = MakeSqliteReport(path);
  report->Begin({.path = "x", .size = 5000, .sectorSize = 512, .typeCount = 320, .started = {}});
  FindRecord record{.find = {3, 9, 157}, .type = &Catalogue().at(157), .plan = {.offset = 1536, .length = 9}};
  record.embeddedIn = Find{.startSector = 1, .row = 144};
  record.verdict = Verdict::kUndecided;
  record.content = "content";
  record.notes = {"a"};
  record.recovered = RecoveredFile{.path = "p", .sha256 = "00", .isDuplicate = true};
  report->Add(record);
  SectorSet unreadable;
  unreadable.Add({7, 2});
  Summary summary;
  summary.findsByExtension["ace"] = 1;
  summary.bytesScanned = summary.sizeAtEnd = 5000;
  report->End(summary, unreadable);
}

/// Bytes and zeros behind them.
class SparseSource final : public ISource {
 public:
  SparseSource(std::string bytes, std::uint64_t zeros) : bytes_(std::move(bytes)), size_(bytes_.size() + zeros) {}

  [[nodiscard]] std::uint64_t Size() const override { return size_; }
  ReadResult ReadAt(std::uint64_t offset, std::span<std::uint8_t> into) override {
    std::ranges::fill(into, std::uint8_t{0});
    if (offset >= bytes_.size()) return {into.size(), 0};
    const auto at = static_cast<std::size_t>(offset);
    std::copy_n(bytes_.begin() + static_cast<std::ptrdiff_t>(at), std::min(into.size(), bytes_.size() - at),
                into.begin());
    return {into.size(), 0};
  }

 private:
  std::string bytes_;
  std::uint64_t size_;
};

std::vector<EndWalk> AllEndWalks() {
  std::vector<EndWalk> walks;
  for (const TypeInfo& type : Catalogue()) {
    const EndWalk walk = EndWalkFor(type.row);
    if (walk != nullptr && std::ranges::find(walks, walk) == walks.end()) walks.push_back(walk);
  }
  return walks;
}

}  // namespace

void ReadListOf(Choices choices) {
  static const int kFile = ::memfd_create("list", 0);
  const bool hasSource = choices.Number(1) % 4 != 0;
  std::string text = choices.Rest();
  if (hasSource) text.insert(0, "{\"type\":\"source\",\"path\":\"x\",\"size\":5000,\"sector_size\":512}\n");
  if (::ftruncate(kFile, 0) != 0 || ::pwrite(kFile, text.data(), text.size(), 0) < 0) return;
  CheckList("/proc/self/fd/" + std::to_string(kFile));
}

void ReadDatabaseOf(Choices choices) {
  static const Scratch kScratch("list");
  static const std::string kDatabase = Made(kScratch, MakeDatabase);
  WriteFile(kScratch.Path(), Changed(kDatabase, choices));
  CheckList(kScratch.Path());
  kScratch.Clear();
}

/// The file that a scan's state is to be kept in may be anything. What isn't a state is left as it is.
void OpenStateOf(Choices choices) {
  static const Scratch kScratch("state");
  static const ScanSettings kSettings = {{"the sector size", "512"}};
  static const std::string kState = Made(kScratch, [](const std::string& path) {
    ScanState state(path, kSettings);
    state.Add({{1, 2, 3}, 0});
    state.AddUnreadable({4, 5});
    state.Commit(64, 1);
  });
  // Some bytes of the state are others, or the whole is something else.
  const bool isState = choices.Number(1) % 2 == 0;
  const std::string content = isState ? Changed(kState, choices) : choices.Rest();
  const std::string head = content.substr(0, kStateHeadSize);
  const StateKind kind = StateKindOf(std::span(reinterpret_cast<const std::uint8_t*>(head.data()), head.size()));
  Check(isState || content.empty() == (kind == StateKind::kEmpty), "a file is taken for empty");
  WriteFile(kScratch.Path(), content);
  MayRefuse([&] {
    const ScanState state(kScratch.Path(), kSettings);
    Check(kind == StateKind::kState || kind == StateKind::kEmpty, "a file that is no state is opened");
    state.ReadUnreadable([](const SectorRange&) {});
    state.ReadFinds([](const ReportedFind& find) { Check(find.row >= 0, "a find has no row"); });
  });
  if (kind == StateKind::kForeign || kind == StateKind::kNewer) {
    Check(ReadFile(kScratch.Path()) == content, "somebody else's file is changed");
  }
  kScratch.Clear();
}

/// The list of copies in a directory may be anything. It is refused, or tells of paths in the directory and can be
/// added to.
void GoOnCopyingOf(Choices choices) {
  static const Scratch kScratch("copies");
  static const ManifestHead kHead{.sourceSize = 5000, .sectorSize = 512, .rows = "0-319"};
  static const std::string kList = kScratch.Path() + "/" + Manifest::kName;
  static const std::string kHeadLine = [] {
    { const OutputDirectory directory(kScratch.Path(), kHead); }
    return ReadFile(kList);
  }();
  const bool hasHead = choices.Number(1) % 4 != 0;
  std::filesystem::create_directory(kScratch.Path());
  WriteFile(kList, (hasHead ? kHeadLine : "") + choices.Rest());
  MayRefuse([&] {
    OutputDirectory directory(kScratch.Path(), kHead);
    Manifest& copies = directory.Copies();
    const std::uint64_t count = copies.Count();
    Manifest::Cursor cursor(copies);
    std::uint64_t read = 0;
    while (const auto copy = cursor.Next()) {
      ++read;
      Check(copy->path.front() != '/' && copy->path.find("..") == std::string::npos, "a path leads out of a directory");
      Check(copies.At(cursor.Place()).path == copy->path, "a copy is another at its place");
    }
    Check(read == count, "a list has more or fewer copies than it counts");
    ManifestEntry entry;
    entry.path = "a/b/c";
    entry.find = {3, 9, 157};
    Check(copies.At(copies.Add(entry)).find == entry.find, "a copy that is added doesn't come back");
    directory.WriteSums();
  });
  kScratch.Clear();
}

void ReadProfileOf(Choices choices) {
  MayRefuse([&] {
    const Profile profile = ParseProfile("profile 'p'", choices.Rest());
    std::size_t line = 0;
    for (const Profile::Entry& entry : profile.entries) {
      Check(entry.line > line, "the lines of a profile come twice or out of order");
      line = entry.line;
      const bool isKey =
          entry.key == "types" || entry.key == "category" || entry.key == "exclude" || entry.key == "max-size";
      Check(isKey, "a profile has a key of its own");
    }
  });
}

/// A walk to a file's end takes any bytes and reads only so often.
void WalkToEndOf(Choices choices) {
  static const std::vector<EndWalk> kWalks = AllEndWalks();
  const EndWalk walk = kWalks.at(choices.Number(1) % kWalks.size());
  const auto sectorSize = static_cast<std::uint32_t>(1 + choices.Below(5000));
  const std::uint64_t zeros = choices.Number(5);
  SparseSource source(choices.Rest(), zeros);
  Device device(source, sectorSize);
  constexpr std::uint64_t kMostPieces = 1024;
  ByteReader file(device, 0, source.Size(), kWalkPieceSize, kMostPieces);
  const auto end = walk(file);
  Check(!end || *end > 0, "a file ends where it starts");
  ByteReader again(device, 0, source.Size(), kWalkPieceSize, kMostPieces);
  Check(walk(again) == end, "a file ends elsewhere the second time");
}

/// Whatever a file calls itself, it makes a name.
void ReadTitleOf(Choices choices) {
  static const bool kIsPrepared = (PrepareReadableNames(), true);
  Check(kIsPrepared, "names aren't prepared");
  const auto sectorSize = static_cast<std::uint32_t>(1 + choices.Below(5000));
  SparseSource source(choices.Rest(), 0);
  Device device(source, sectorSize);
  ByteReader file(device, 0, source.Size(), kTitlePieceSize, kMostTitlePieces);
  const std::string name = ReadableName(file);
  Check(name.size() <= kMostReadableBytes && HarmlessName(name, kMostReadableBytes) == name, "a name does harm");
  Check(name.empty() || MayHaveReadableName(file.Part(0, 8)), "a name comes that can't be there");
}

}  // namespace qzmtraw::fuzz
