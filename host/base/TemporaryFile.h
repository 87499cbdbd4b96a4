#ifndef QZMTRAW_HOST_BASE_TEMPORARY_FILE_H
#define QZMTRAW_HOST_BASE_TEMPORARY_FILE_H

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>

#include "host/base/FileDescriptor.h"

namespace qzmtraw::host {

/// The directory for what the tool keeps only while it runs: $TMPDIR, or /tmp.
std::string TemporaryDirectory();

/// A file without a name in the temporary directory. It goes with the object, and with the process, however that ends.
class TemporaryFile {
 public:
  /// Throws Failure when it can't be made.
  TemporaryFile();

  /// Puts bytes at `offset`. Throws Failure, such as when the disk is full.
  void WriteAt(std::uint64_t offset, std::span<const std::byte> bytes);

  /// Reads bytes that were written. Throws Failure.
  void ReadAt(std::uint64_t offset, std::span<std::byte> into) const;

  /// Gives the room of bytes that nobody reads any more back to the disk, where the file system can do that.
  void Forget(std::uint64_t offset, std::uint64_t length);

  /// The first place from `offset` on where something may have been written; none: there is nothing any more. Skips
  /// what was never written where the file system can tell it.
  [[nodiscard]] std::optional<std::uint64_t> NextData(std::uint64_t offset) const;

 private:
  [[noreturn]] void Fail(const char* what, int error) const;

  std::string directory_;
  FileDescriptor file_;
};

}  // namespace qzmtraw::host

#endif  // QZMTRAW_HOST_BASE_TEMPORARY_FILE_H
