#ifndef QZMTRAW_HOST_OUTPUTS_NEW_FILE_H
#define QZMTRAW_HOST_OUTPUTS_NEW_FILE_H

#include <string>

#include "host/base/FileDescriptor.h"

namespace qzmtraw::host {

/// A file that wasn't there before. Goes again with the object, unless it is kept.
class NewFile {
 public:
  /// Makes the file. Throws Failure when there is one of that name, or none can be made.
  explicit NewFile(std::string path);
  NewFile(const NewFile&) = delete;
  NewFile& operator=(const NewFile&) = delete;
  ~NewFile();

  [[nodiscard]] const std::string& Path() const { return path_; }
  [[nodiscard]] int Descriptor() const { return file_.Get(); }

  /// From now on the file stays.
  void Keep() { isKept_ = true; }

  /// Closes the file. Throws Failure where what was written turns out not to have fitted.
  void Close();

 private:
  std::string path_;
  FileDescriptor file_;
  bool isKept_ = false;
};

}  // namespace qzmtraw::host

#endif  // QZMTRAW_HOST_OUTPUTS_NEW_FILE_H
