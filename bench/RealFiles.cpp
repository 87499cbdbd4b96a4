#include "bench/RealFiles.h"

#include <algorithm>
#include <array>
#include <filesystem>
#include <fstream>
#include <random>
#include <string_view>

#include "bench/Data.h"

namespace qzmtraw::bench {
namespace {

namespace fs = std::filesystem;

constexpr std::uintmax_t kLargestFile = 32 * kMebibyte;

/// A file belongs to the first kind that has its ending, or else to the first that has its folder.
struct Kind {
  std::string_view name;
  std::vector<std::string_view> endings;
  std::vector<std::string_view> folders;
};

const std::vector<Kind>& Kinds() {
  static const std::vector<Kind> kKinds = {
      {"archives",
       {".jar", ".zip", ".deb", ".whl", ".xz", ".bz2", ".7z", ".tgz", ".tar"},
       {"/var/cache/apt/archives/"}},
      {"documents",
       {".pdf", ".html", ".ps", ".odt", ".docx"},
       {"/usr/share/doc/", "/usr/share/man/", "/usr/share/info/", "/usr/share/help/"}},
      {"icons", {".png", ".svg", ".ico", ".gif", ".jpg", ".xpm"}, {"/usr/share/icons/", "/usr/share/pixmaps/"}},
      {"fonts", {".ttf", ".otf", ".pfb", ".woff", ".woff2"}, {"/usr/share/fonts/"}},
      {"sounds", {".wav", ".ogg", ".oga", ".mp3", ".flac", ".mid"}, {"/usr/share/sounds/"}},
      {"sources", {".h", ".hpp", ".c", ".cpp", ".py", ".pl", ".pm", ".js", ".java"}, {"/usr/include/", "/usr/src/"}},
      {"binaries", {".so", ".a", ".o", ".ko", ".exe", ".dll"}, {"/usr/bin/", "/usr/sbin/", "/usr/libexec/"}},
      {"other files", {}, {"/"}},
  };
  return kKinds;
}

std::size_t KindOf(const fs::path& path) {
  const std::string text = path.string();
  const auto place = [](const auto& test) {
    return static_cast<std::size_t>(std::ranges::find_if(Kinds(), test) - Kinds().begin());
  };
  const std::size_t byEnding = place([&](const Kind& kind) {
    return std::ranges::any_of(kind.endings, [&](std::string_view ending) { return text.ends_with(ending); });
  });
  if (byEnding < Kinds().size()) return byEnding;
  return place([&](const Kind& kind) {
    return std::ranges::any_of(kind.folders, [&](std::string_view folder) { return text.starts_with(folder); });
  });
}

struct File {
  fs::path path;
  std::size_t size = 0;
  std::size_t kind = 0;
};

void AddFilesBelow(const fs::path& folder, std::vector<File>& files) {
  std::error_code error;
  fs::recursive_directory_iterator entry(folder, fs::directory_options::skip_permission_denied, error);
  for (; !error && entry != fs::recursive_directory_iterator(); entry.increment(error)) {
    std::error_code fileError;
    // What was installed by hand is another on every machine.
    if (entry->path() == "/usr/local") entry.disable_recursion_pending();
    if (entry->is_symlink(fileError) || !entry->is_regular_file(fileError)) continue;
    const std::uintmax_t size = entry->file_size(fileError);
    if (fileError || size == 0 || size > kLargestFile) continue;
    files.push_back({entry->path(), static_cast<std::size_t>(size), KindOf(entry->path())});
  }
}

/// The files in the order in which they are to be taken: first of every kind its share of `size`.
std::vector<File> ChooseFiles(std::vector<File> files, std::size_t size, std::mt19937& random) {
  std::ranges::shuffle(files, random);
  std::vector<std::size_t> taken(Kinds().size());
  std::size_t sum = 0;
  const auto rest = std::stable_partition(files.begin(), files.end(), [&](const File& file) {
    if (taken[file.kind] >= size / Kinds().size()) return false;
    taken[file.kind] += file.size;
    sum += file.size;
    return true;
  });
  auto end = rest;
  for (; end != files.end() && sum < size; ++end) sum += end->size;
  files.erase(end, files.end());
  std::ranges::shuffle(files, random);
  return files;
}

/// Appends a file's contents and returns their size, 0 if they can't be read.
std::size_t AppendFile(const File& file, std::vector<std::uint8_t>& bytes) {
  const std::size_t start = bytes.size();
  bytes.resize(start + file.size);
  std::ifstream stream(file.path, std::ios::binary);
  stream.read(reinterpret_cast<char*>(bytes.data() + start), static_cast<std::streamsize>(file.size));
  const auto count = static_cast<std::size_t>(stream.gcount());
  bytes.resize(start + count);
  return count;
}

}  // namespace

RealFiles BuildRealFiles(std::size_t size) {
  std::vector<File> files;
  for (const char* folder : {"/usr", "/var/cache/apt/archives"}) AddFilesBelow(folder, files);
  std::ranges::sort(files, {}, &File::path);
  std::mt19937 random(1);
  files = ChooseFiles(std::move(files), size, random);

  RealFiles image;
  image.bytes.reserve(size + kLargestFile);
  for (const Kind& kind : Kinds()) image.kinds.emplace_back(kind.name, 0);
  while (image.bytes.size() < size) {
    const std::size_t sizeBefore = image.bytes.size();
    for (const File& file : files) {
      if (image.bytes.size() >= size) break;
      const std::size_t count = AppendFile(file, image.bytes);
      if (count == 0) continue;
      image.kinds[file.kind].second += count;
      ++image.fileCount;
      if (sizeBefore == 0) ++image.distinctCount;
      const std::size_t sectors = (image.bytes.size() + kSectorSize - 1) / kSectorSize + random() % 8;
      image.bytes.resize(sectors * kSectorSize);
    }
    if (image.bytes.size() == sizeBefore) break;
    std::ranges::shuffle(files, random);
  }
  return image;
}

}  // namespace qzmtraw::bench
