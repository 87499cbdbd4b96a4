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
  /// \param folder    Open directory of the file; must stay open as long as the object lives.
  /// \param partName  Name in that directory until it is finished. No such file may exist yet.
  /// \param path      The finished file, or as much as is known of it, for messages.
  /// \param length    Number of bytes that it is going to have.
  /// Throws Failure when the file can't be made.
  OutputFile(const FileDescriptor& folder, std::string partName, std::string path, std::uint64_t length);
  OutputFile(const OutputFile&) = delete;
  OutputFile& operator=(const OutputFile&) = delete;
  ~OutputFile();

  /// Appends bytes. A part that is all zero takes no room where the file system can leave it out.
  /// Throws Failure when the disk is full or fails.
  void Write(std::span<const std::uint8_t> bytes);

  /// Comes behind the last Write. Throws Failure like Write.
  void Complete();

  /// Gives the complete file its name. Throws Failure like Write.
  /// \return Whether the name was free. If not, nothing changes.
  bool Finish(const std::string& name);

 private:
  void WriteAll(std::span<const std::uint8_t> bytes);
  [[noreturn]] void Fail(int error) const;

  int folder_;
  std::string partName_;
  std::string path_;
  std::uint64_t length_;
  std::uint64_t written_ = 0;
  bool endsInHole_ = false;
  bool isFinished_ = false;
  FileDescriptor file_;
};

}  // namespace qzmtraw::host

#endif  // QZMTRAW_HOST_RECOVERY_OUTPUT_FILE_H
