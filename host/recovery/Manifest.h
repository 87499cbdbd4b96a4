#ifndef QZMTRAW_HOST_RECOVERY_MANIFEST_H
#define QZMTRAW_HOST_RECOVERY_MANIFEST_H

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "host/base/FileDescriptor.h"
#include "host/finds/CarvePlan.h"
#include "host/finds/Find.h"
#include "host/recovery/ContentHash.h"

namespace qzmtraw::host {

/// What a recovery is about. Only one about the same can go on in its directory.
struct ManifestHead {
  /// Of the source, in bytes.
  std::uint64_t sourceSize = 0;
  std::uint32_t sectorSize = 0;
  /// The rows that are looked for: "0-99,144".
  std::string rows;
  bool dedupe = false;
  bool embedded = false;
};

/// A copy.
struct ManifestEntry {
  /// From the directory on; of a duplicate, that of the file with the same content.
  std::string path;
  ContentSum sum{};
  Find find;
  CarvePlan plan;
  /// Bytes that the source couldn't give and that are zeros.
  std::uint64_t unreadableBytes = 0;
  bool isDuplicate = false;
};

/// The list of the copies in a directory: a JSON line each, in order, behind a line with the head. Every line is
/// written as soon as its copy has its name, and nothing is ever changed, so that a recovery that was broken off can go
/// on behind it. A last line that was cut off is none.
class Manifest {
 public:
  static constexpr const char* kName = "manifest.jsonl";

  /// Makes one with that head.
  /// \param directory  Open; must stay so as long as the manifest lives.
  /// \param path       The directory's, for messages.
  /// Throws Failure, as everything here does when the file can't be read or written.
  static Manifest Make(const FileDescriptor& directory, const std::string& path, const ManifestHead& head);

  /// Opens the one that is there. Throws Failure when it has another head, or belongs to a recovery that still runs.
  /// \return None: it has no head yet.
  static std::optional<Manifest> Open(const FileDescriptor& directory, const std::string& path,
                                      const ManifestHead& head);

  /// How many copies it lists.
  [[nodiscard]] std::uint64_t Count() const { return count_; }

  /// Goes through the copies, from the first on.
  class Cursor {
   public:
    explicit Cursor(const Manifest& manifest);
    /// The next one, or none behind the last.
    std::optional<ManifestEntry> Next();
    /// Where the one that Next gave last stands, for At.
    [[nodiscard]] std::uint64_t Place() const { return place_; }

   private:
    const Manifest& manifest_;
    std::uint64_t place_ = 0;
    std::uint64_t next_ = 0;
    /// What was read of the list, and how much of it lies before `next_`.
    std::string text_;
    std::size_t used_ = 0;
  };

  /// The copy at a place.
  [[nodiscard]] ManifestEntry At(std::uint64_t place) const;

  /// Adds a copy.
  /// \return Its place.
  std::uint64_t Add(const ManifestEntry& entry);

 private:
  Manifest(FileDescriptor file, std::string path) : file_(std::move(file)), path_(std::move(path)) {}
  [[nodiscard]] std::string LineAt(std::uint64_t place) const;
  [[nodiscard]] ManifestEntry EntryIn(std::string_view text, std::uint64_t place) const;
  void ReadBehind(std::string& text, std::uint64_t place, std::size_t count) const;
  void Append(const std::string& line);
  void CutOff();
  void CheckHead(const ManifestHead& head) const;
  [[noreturn]] void Fail(const std::string& what) const;

  FileDescriptor file_;
  std::string path_;
  std::uint64_t headSize_ = 0;
  std::uint64_t end_ = 0;
  std::uint64_t count_ = 0;
};

}  // namespace qzmtraw::host

#endif  // QZMTRAW_HOST_RECOVERY_MANIFEST_H
