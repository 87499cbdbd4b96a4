#ifndef QZMTRAW_HOST_OUTPUTS_FIND_LIST_H
#define QZMTRAW_HOST_OUTPUTS_FIND_LIST_H

#include <cstdint>
#include <fstream>
#include <optional>
#include <string>

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
  /// The whole source was scanned, or what was asked for of it.
  kFinished,
  /// By a signal.
  kInterrupted,
  kFailed,
  /// The list has no end: it is still being written, or who wrote it was killed.
  kMissing,
};

/// What stands at the end of a list.
struct ListEnd {
  ListEnding ending = ListEnding::kMissing;
};

/// Reads a list of JSON lines that this program wrote, from front to back. What isn't right throws Failure. A last line
/// that was cut off is left out.
class FindListReader {
 public:
  /// Opens the list and reads what it says about the source. Throws Failure.
  /// \param catalogue  Must live as long as the reader.
  FindListReader(const std::string& path, const TypeCatalogue& catalogue);

  /// What was scanned. All finds start in one of its sectors.
  [[nodiscard]] const SourceInfo& Source() const { return source_; }

  /// The next find in the order of the list, or none behind the last. Throws Failure.
  std::optional<ListedFind> Next();

  /// How the list ends. For when Next has given none.
  [[nodiscard]] const ListEnd& End() const { return end_; }

 private:
  [[noreturn]] void Fail(const std::string& what) const;

  std::string path_;
  const TypeCatalogue& catalogue_;
  std::ifstream file_;
  std::uint64_t lineNumber_ = 0;
  SourceInfo source_;
  ListEnd end_;
};

}  // namespace qzmtraw::host

#endif  // QZMTRAW_HOST_OUTPUTS_FIND_LIST_H
