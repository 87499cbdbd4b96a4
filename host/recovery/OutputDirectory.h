#ifndef QZMTRAW_HOST_RECOVERY_OUTPUT_DIRECTORY_H
#define QZMTRAW_HOST_RECOVERY_OUTPUT_DIRECTORY_H

#include <cstdint>
#include <map>
#include <memory>
#include <string>

#include "host/base/FileDescriptor.h"
#include "host/recovery/OutputFile.h"

namespace qzmtraw::host {

/// The directory that receives recovered files. It starts empty and nothing in it is ever replaced.
class OutputDirectory {
 public:
  /// Makes the directory, or takes an existing one that is empty. Throws Failure in any other case.
  explicit OutputDirectory(const std::string& path);

  /// Starts a file of `length` bytes in a folder of that name, which is made when it is needed.
  /// \param folder  A single name, as is `name`.
  /// \return The file; the directory must outlive it. Throws Failure when it can't be made or exists.
  std::unique_ptr<OutputFile> Create(const std::string& folder, const std::string& name, std::uint64_t length);

 private:
  const FileDescriptor& Folder(const std::string& name);

  std::string path_;
  FileDescriptor directory_;
  std::map<std::string, FileDescriptor> folders_;
};

}  // namespace qzmtraw::host

#endif  // QZMTRAW_HOST_RECOVERY_OUTPUT_DIRECTORY_H
