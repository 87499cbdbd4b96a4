#include "host/types/Registry.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <string>

#include "host/base/Error.h"
#include "host/base/FileDescriptor.h"
#include "host/base/TemporaryFile.h"
#include "host/base/Text.h"

namespace qzmtraw::host {
namespace {

constexpr const char* kLogName = "qzmtraw.log";

/// A fresh directory in which the library leaves its log. Goes with the log, which stays open without a name.
class LogDirectory {
 public:
  LogDirectory() {
    path_ = TemporaryDirectory() + "/qzmtraw-XXXXXX";
    if (::mkdtemp(path_.data()) == nullptr) {
      throw Failure("cannot make a temporary directory " + Quoted(path_) + ": " + ErrorText(errno) +
                    ": set TMPDIR to a directory that can be written to");
    }
  }
  LogDirectory(const LogDirectory&) = delete;
  LogDirectory& operator=(const LogDirectory&) = delete;
  ~LogDirectory() {
    ::unlink((path_ + "/" + kLogName).c_str());
    ::rmdir(path_.c_str());
  }

  [[nodiscard]] const std::string& Path() const { return path_; }

 private:
  std::string path_;
};

IRawFileTypeFactory& OpenRegistryForTheFirstTime() {
  const LogDirectory logDirectory;
  const FileDescriptor home(::open(".", O_PATH | O_DIRECTORY | O_CLOEXEC));
  if (!home.IsOpen()) throw Failure("cannot open the current directory: " + ErrorText(errno));
  if (::chdir(logDirectory.Path().c_str()) != 0) {
    throw Failure("cannot enter " + Quoted(logDirectory.Path()) + ": " + ErrorText(errno));
  }
  IRawFileTypeFactory* registry = GetRawFileTypeFactory();
  if (::fchdir(home.Get()) != 0) throw Failure("cannot return to the current directory: " + ErrorText(errno));
  return *registry;
}

}  // namespace

IRawFileTypeFactory& OpenRegistry() {
  static IRawFileTypeFactory& registry = OpenRegistryForTheFirstTime();
  return registry;
}

}  // namespace qzmtraw::host
