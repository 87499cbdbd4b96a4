#ifndef QZMTRAW_HOST_RECOVERY_OUTPUT_DIRECTORY_H
#define QZMTRAW_HOST_RECOVERY_OUTPUT_DIRECTORY_H

#include <cstdint>
#include <map>
#include <optional>
#include <string>

#include "host/base/FileDescriptor.h"
#include "host/recovery/Manifest.h"

namespace qzmtraw::host {

/// The directory that receives recovered files, with the list of them. Nothing in it is ever replaced but what this
/// program keeps there for itself. All operations throw Failure when the directory can't be used.
class OutputDirectory {
 public:
  /// The sums of all files, as sha256sum reads them.
  static constexpr const char* kSumsName = "SHA256SUMS";

  /// Makes the directory, or takes an existing one that is empty or that a recovery about the same was broken off in;
  /// what that one left unfinished is removed. Throws Failure in any other case.
  OutputDirectory(const std::string& path, const ManifestHead& head);

  /// The list of what is there.
  [[nodiscard]] Manifest& Copies() { return *copies_; }

  /// A folder in a folder, both of which are made when they are needed. Stays open as long as the directory lives.
  /// \param category  A single name, as is `type`.
  const FileDescriptor& Folder(const std::string& category, const std::string& type);

  /// The directory's path and what is in it.
  [[nodiscard]] std::string PathOf(const std::string& name) const;

  /// How many bytes the file system takes yet; none: it doesn't tell.
  [[nodiscard]] std::optional<std::uint64_t> FreeSpace() const;

  /// Whether the file is there and has that length.
  [[nodiscard]] bool Has(const std::string& name, std::uint64_t length) const;

  /// Whether the file is there and has that content.
  [[nodiscard]] bool HasContent(const std::string& name, std::uint64_t length, const ContentSum& sum) const;

  /// Writes the file with the sums anew from the list. Without copies there is none.
  void WriteSums() const;

 private:
  [[nodiscard]] FileDescriptor MakeFolder(const FileDescriptor& parent, const std::string& name) const;
  [[nodiscard]] bool IsEmptyBut(const std::string& name) const;
  void RemoveParts(const FileDescriptor& folder, int depth) const;

  std::string path_;
  FileDescriptor directory_;
  /// By their paths.
  std::map<std::string, FileDescriptor> folders_;
  std::optional<Manifest> copies_;
};

}  // namespace qzmtraw::host

#endif  // QZMTRAW_HOST_RECOVERY_OUTPUT_DIRECTORY_H
