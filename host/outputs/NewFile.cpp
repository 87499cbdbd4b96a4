#include "host/outputs/NewFile.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <utility>

#include "host/base/Error.h"
#include "host/base/Text.h"

namespace qzmtraw::host {

NewFile::NewFile(std::string path)
    : path_(std::move(path)), file_(::open(path_.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666)) {
  if (file_.IsOpen()) return;
  if (errno == EEXIST) throw Failure("the output " + Quoted(path_) + " is there already: give a new name");
  throw Failure("cannot make the output " + Quoted(path_) + ": " + ErrorText(errno));
}

NewFile::~NewFile() {
  if (!isKept_) ::unlink(path_.c_str());
}

void NewFile::Close() {
  if (const int error = file_.Close(); error != 0) {
    throw Failure("cannot write " + Quoted(path_) + ": " + ErrorText(error));
  }
}

}  // namespace qzmtraw::host
