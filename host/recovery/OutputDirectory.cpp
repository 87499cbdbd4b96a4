#include "host/recovery/OutputDirectory.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "host/base/Error.h"
#include "host/base/Text.h"

namespace qzmtraw::host {
namespace {

bool IsEmpty(const FileDescriptor& directory, const std::string& path) {
  const int copy = ::openat(directory.Get(), ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  DIR* listing = copy < 0 ? nullptr : ::fdopendir(copy);
  if (listing == nullptr) throw Failure("cannot list " + Quoted(path) + ": " + ErrorText(errno));
  bool isEmpty = true;
  while (const dirent* entry = ::readdir(listing)) {
    const char* name = &entry->d_name[0];
    if (std::strcmp(name, ".") != 0 && std::strcmp(name, "..") != 0) isEmpty = false;
  }
  ::closedir(listing);
  return isEmpty;
}

}  // namespace

OutputDirectory::OutputDirectory(const std::string& path) : path_(path) {
  const bool isNew = ::mkdir(path.c_str(), 0777) == 0;
  if (!isNew && errno != EEXIST) {
    throw Failure("cannot create the output directory " + Quoted(path) + ": " + ErrorText(errno));
  }
  directory_ = FileDescriptor(::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (!directory_.IsOpen()) {
    throw Failure("cannot use " + Quoted(path) + " as output directory: " + ErrorText(errno));
  }
  if (!isNew && !IsEmpty(directory_, path)) {
    throw Failure("the output directory " + Quoted(path) + " is not empty: name one that is, or a new one");
  }
}

std::unique_ptr<OutputFile> OutputDirectory::Create(const std::string& folder, const std::string& name,
                                                    std::uint64_t length) {
  std::string path = path_;
  if (!path.ends_with('/')) path += '/';
  path += folder + "/" + name;
  return std::make_unique<OutputFile>(Folder(folder), name, path, length);
}

const FileDescriptor& OutputDirectory::Folder(const std::string& name) {
  FileDescriptor& folder = folders_[name];
  if (folder.IsOpen()) return folder;
  const std::string path = path_ + "/" + name;
  if (::mkdirat(directory_.Get(), name.c_str(), 0777) != 0 && errno != EEXIST) {
    throw Failure("cannot create the folder " + Quoted(path) + ": " + ErrorText(errno));
  }
  folder = FileDescriptor(::openat(directory_.Get(), name.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
  if (!folder.IsOpen()) throw Failure("cannot open the folder " + Quoted(path) + ": " + ErrorText(errno));
  return folder;
}

}  // namespace qzmtraw::host
