#ifndef QZMTRAW_HOST_OUTPUTS_FIND_LIST_H
#define QZMTRAW_HOST_OUTPUTS_FIND_LIST_H

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "host/outputs/Report.h"

namespace qzmtraw::host {

/// A find as a list has it. What the list doesn't say has its default.
struct ListedFind {
  /// Its size is 0 where the list has none, or an estimate.
  Find find;
  /// Belongs to the catalogue that the reader was given.
  const TypeInfo* type = nullptr;
  /// In bytes, where the find's size is not known and was estimated.
  std::optional<std::uint64_t> estimatedSize{};
  Confidence confidence = Confidence::kStartOnly;
  /// Its size is 0 where the list doesn't tell it.
  std::optional<Find> embeddedIn{};
  Verdict verdict = Verdict::kNotLooked;
  std::string content{};
  std::vector<std::string> notes{};
  /// Set when the find was recovered, or should have been.
  std::optional<RecoveredFile> recovered{};
};

/// How the work that made a list ended.
enum class ListEnding {
  /// The whole source was scanned, or what was asked for of it.
  kFinished,
  /// By a signal.
  kInterrupted,
  /// By what `ListEnd::error` says.
  kFailed,
  /// The list has no end: it is still being written, or who wrote it was killed.
  kMissing,
};

/// What stands at the end of a list.
struct ListEnd {
  ListEnding ending = ListEnding::kMissing;
  std::string error{};
  /// How many bytes of the source were scanned; 0 if the end is missing.
  std::uint64_t bytesScanned = 0;
  /// In bytes; 0 if the end is missing.
  std::uint64_t sizeAtEnd = 0;
  std::uint64_t unreadableSectors = 0;
};

/// Reads a list that this program wrote, JSON lines or a database, from front to back in a fixed amount of memory. The
/// list may be anything: what isn't right throws Failure, with the file's name and the line. A last line that was cut
/// off is left out; lines and members of other names than it knows are passed over.
class FindListReader {
 public:
  /// Opens the list and reads what it says about the source. Throws Failure, also where the list is for types that
  /// aren't those of the catalogue.
  /// \param catalogue  Must live as long as the reader.
  FindListReader(const std::string& path, const TypeCatalogue& catalogue);
  ~FindListReader();

  /// What was scanned. All finds lie on it: they start in one of its sectors. Its size is below 2^63, and that of a
  /// sector is 1 to kMaxSectorSize.
  [[nodiscard]] const SourceInfo& Source() const;

  /// The next find in the order of the list, or none behind the last. Its size is below 2^63; it may reach beyond the
  /// source. Throws Failure.
  std::optional<ListedFind> Next();

  /// How the list ends. For when Next has given none.
  [[nodiscard]] const ListEnd& End() const;

  /// Calls `take` with every range of sectors that could not be read, in the order of the list. They lie on the source.
  /// For when Next has given none. Throws Failure.
  void ReadUnreadable(const std::function<void(const SectorRange&)>& take);

  /// What reads one kind of list.
  class IFormat;

 private:
  std::unique_ptr<IFormat> format_;
};

}  // namespace qzmtraw::host

#endif  // QZMTRAW_HOST_OUTPUTS_FIND_LIST_H
