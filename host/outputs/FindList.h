#ifndef QZMTRAW_HOST_OUTPUTS_FIND_LIST_H
#define QZMTRAW_HOST_OUTPUTS_FIND_LIST_H

#include <cstdint>
#include <fstream>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "host/outputs/Report.h"

namespace qzmtraw::host {

/// A find as a list has it.
struct ListedFind {
  /// Its size is 0 where the list has none, or an estimate.
  Find find;
  /// Belongs to the catalogue that the reader was given.
  const TypeInfo* type = nullptr;
};

/// How the work that made a list ended.
enum class ListEnding {
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

/// Reads a list of JSON lines that this program wrote. What isn't right throws Failure, with the file's name and the
/// line. A last line that was cut off is left out.
class FindListReader {
 public:
  /// Opens the list and reads what it says about the source.
  /// \param catalogue  Must live as long as the reader.
  FindListReader(const std::string& path, const TypeCatalogue& catalogue);

  /// What was scanned.
  [[nodiscard]] const SourceInfo& Source() const { return source_; }

  /// The next find in the order of the list, or none behind the last. Throws Failure.
  std::optional<ListedFind> Next();

  /// How the list ends. For when Next has given none.
  [[nodiscard]] const ListEnd& End() const { return end_; }

  /// Calls `take` with every range of sectors that could not be read. For when Next has given none.
  void ReadUnreadable(const std::function<void(const SectorRange&)>& take);

 private:
  [[noreturn]] void Fail(const std::string& what) const;

  std::string path_;
  const TypeCatalogue& catalogue_;
  std::ifstream file_;
  std::uint64_t lineNumber_ = 0;
  SourceInfo source_;
  ListEnd end_;
  std::vector<SectorRange> unreadable_;
};

}  // namespace qzmtraw::host

#endif  // QZMTRAW_HOST_OUTPUTS_FIND_LIST_H
