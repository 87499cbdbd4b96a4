#ifndef QZMTRAW_HOST_RECOVERY_OUTPUT_FILE_H
#define QZMTRAW_HOST_RECOVERY_OUTPUT_FILE_H

#include <cstdint>
#include <span>
#include <string>

#include "host/base/FileDescriptor.h"

namespace qzmtraw::host {

/// A new file that is written from front to back. Until it is finished it bears a name with ".part" at the end: an
/// object that goes without Finish removes its file, and when the process is killed nothing that isn't whole stands
/// under the file's own name.
class OutputFile {
 public:
  /// \param folder  Open directory of the file; must stay open as long as the object lives.
  /// \param name    Name in that directory. The file must not exist yet.
  /// \param path    The same file for messages.
  /// \param length  Number of bytes that it is going to have.
  /// Throws Failure when the file can't be made.
  OutputFile(const FileDescriptor& folder, std::string name, std::string path, std::uint64_t length);
  OutputFile(const OutputFile&) = delete;
  OutputFile& operator=(const OutputFile&) = delete;
  ~OutputFile();

  /// Appends bytes. A part that is all zero takes no room where the file system can leave it out.
  /// Throws Failure when the disk is full or fails.
  void Write(std::span<const std::uint8_t> bytes);

  /// Makes the file permanent and gives it its name. Throws Failure like Write.
  void Finish();

  [[nodiscard]] const std::string& Path() const { return path_; }

 private:
  void WriteAll(std::span<const std::uint8_t> bytes);
  [[noreturn]] void FailToCreate(int error) const;
  [[noreturn]] void Fail(int error) const;

  int folder_;
  std::string name_;
  std::string partName_;
  std::string path_;
  std::uint64_t length_;
  std::uint64_t written_ = 0;
  bool isFinished_ = false;
  FileDescriptor file_;
};

}  // namespace qzmtraw::host

#endif  // QZMTRAW_HOST_RECOVERY_OUTPUT_FILE_H
