#include "host/recovery/OutputDirectory.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <vector>

#include "host/base/Error.h"
#include "host/base/Text.h"
#include "host/recovery/CopyNames.h"
#include "host/recovery/OutputFile.h"

namespace qzmtraw::host {
namespace {

constexpr int kFolderFlags = O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;

/// Copies lie so many folders deep.
constexpr int kFolderLevels = 2;

constexpr std::size_t kCheckSize = 1U << 18U;

/// Calls `take` with the name of everything in a folder, but itself and what it is in. Throws Failure.
template <class Taker>
void ForEachName(const FileDescriptor& folder, const std::string& path, const Taker& take) {
  const int copy = ::openat(folder.Get(), ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  DIR* listing = copy < 0 ? nullptr : ::fdopendir(copy);
  if (listing == nullptr) throw Failure("cannot list " + Quoted(path) + ": " + ErrorText(errno));
  while (const dirent* entry = ::readdir(listing)) {
    const std::string name = &entry->d_name[0];
    if (name != "." && name != "..") take(name);
  }
  ::closedir(listing);
}

}  // namespace

OutputDirectory::OutputDirectory(const std::string& path, const ManifestHead& head) : path_(path) {
  while (path_.size() > 1 && path_.ends_with('/')) path_.pop_back();
  const bool isNew = ::mkdir(path.c_str(), 0777) == 0;
  if (!isNew && errno != EEXIST) {
    throw Failure("cannot create the output directory " + Quoted(path) + ": " + ErrorText(errno));
  }
  directory_ = FileDescriptor(::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (!directory_.IsOpen()) {
    throw Failure("cannot use " + Quoted(path) + " as output directory: " + ErrorText(errno));
  }
  const std::string refusal =
      "the output directory " + Quoted(path) +
      " is not empty, and no recovery was broken off there: name one that is empty, or a new one";
  struct stat status {};
  if (::fstatat(directory_.Get(), Manifest::kName, &status, AT_SYMLINK_NOFOLLOW) == 0) {
    if (!S_ISREG(status.st_mode)) throw Failure(refusal);
    copies_ = Manifest::Open(directory_, path_, head);
    if (copies_) {
      RemoveParts(directory_, 0);
      return;
    }
    // An earlier run didn't get beyond its first step.
    if (!IsEmptyBut(Manifest::kName)) throw Failure(refusal);
    ::unlinkat(directory_.Get(), Manifest::kName, 0);
  } else if (!IsEmptyBut({})) {
    throw Failure(refusal);
  }
  copies_ = Manifest::Make(directory_, path_, head);
}

const FileDescriptor& OutputDirectory::Folder(const std::string& category, const std::string& type) {
  FileDescriptor& folder = folders_[category + '/' + type];
  if (!folder.IsOpen()) {
    const FileDescriptor parent = MakeFolder(directory_, category);
    folder = MakeFolder(parent, type);
  }
  return folder;
}

FileDescriptor OutputDirectory::MakeFolder(const FileDescriptor& parent, const std::string& name) const {
  if (::mkdirat(parent.Get(), name.c_str(), 0777) != 0 && errno != EEXIST) {
    throw Failure("cannot create the folder " + Quoted(name) + " in " + Quoted(path_) + ": " + ErrorText(errno));
  }
  FileDescriptor folder(::openat(parent.Get(), name.c_str(), kFolderFlags));
  if (!folder.IsOpen()) {
    throw Failure("cannot open the folder " + Quoted(name) + " in " + Quoted(path_) + ": " + ErrorText(errno));
  }
  return folder;
}

std::string OutputDirectory::PathOf(const std::string& name) const {
  return path_.ends_with('/') ? path_ + name : path_ + '/' + name;
}

std::optional<std::uint64_t> OutputDirectory::FreeSpace() const {
  struct statvfs status {};
  if (::fstatvfs(directory_.Get(), &status) != 0) return std::nullopt;
  return std::uint64_t{status.f_bavail} * status.f_frsize;
}

bool OutputDirectory::Has(const std::string& name, std::uint64_t length) const {
  struct stat status {};
  return ::fstatat(directory_.Get(), name.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0 && S_ISREG(status.st_mode) &&
         static_cast<std::uint64_t>(status.st_size) == length;
}

bool OutputDirectory::HasContent(const std::string& name, std::uint64_t length, const ContentSum& sum) const {
  if (!Has(name, length)) return false;
  const FileDescriptor file(::openat(directory_.Get(), name.c_str(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC));
  std::vector<std::uint8_t> buffer(kCheckSize);
  ContentHash hash;
  ssize_t count = 0;
  while ((count = ::read(file.Get(), buffer.data(), buffer.size())) > 0) {
    hash.Add(std::span(buffer).first(static_cast<std::size_t>(count)));
  }
  return count == 0 && hash.Finish() == sum;
}

void OutputDirectory::WriteSums() const {
  if (copies_->Count() == 0) return;
  const std::string partName = std::string(kSumsName) + ".part";
  // May have been left by a run that was broken off.
  ::unlinkat(directory_.Get(), partName.c_str(), 0);
  OutputFile file(directory_, partName, PathOf(kSumsName), 0);
  Manifest::Cursor copies(*copies_);
  std::string lines;
  const auto flush = [&] {
    file.Write({reinterpret_cast<const std::uint8_t*>(lines.data()), lines.size()});
    lines.clear();
  };
  while (const auto copy = copies.Next()) {
    if (copy->isDuplicate) continue;
    lines += HexText(copy->sum) + "  " + copy->path + '\n';
    if (lines.size() >= kCheckSize) flush();
  }
  flush();
  file.Complete();
  ::unlinkat(directory_.Get(), kSumsName, 0);
  if (!file.Finish(kSumsName)) throw Failure("cannot replace " + Quoted(PathOf(kSumsName)) + ": remove it");
}

/// Whether the directory holds nothing else.
bool OutputDirectory::IsEmptyBut(const std::string& name) const {
  bool isEmpty = true;
  ForEachName(directory_, path_, [&](const std::string& each) { isEmpty = isEmpty && each == name; });
  return isEmpty;
}

/// Removes what a recovery didn't finish from a folder and those in it. Only names that it gives are touched.
void OutputDirectory::RemoveParts(const FileDescriptor& folder, int depth) const {
  ForEachName(folder, path_, [&](const std::string& name) {
    if (depth == kFolderLevels) {
      if (IsPartName(name)) ::unlinkat(folder.Get(), name.c_str(), 0);
      return;
    }
    const FileDescriptor inner(::openat(folder.Get(), name.c_str(), kFolderFlags));
    if (inner.IsOpen()) RemoveParts(inner, depth + 1);
  });
}

}  // namespace qzmtraw::host
