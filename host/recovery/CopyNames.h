#ifndef QZMTRAW_HOST_RECOVERY_COPY_NAMES_H
#define QZMTRAW_HOST_RECOVERY_COPY_NAMES_H

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <string_view>

#include "host/finds/Find.h"
#include "host/types/TypeCatalogue.h"

namespace qzmtraw::host {

/// What readable text may be added to a file's name, at most.
inline constexpr std::size_t kMostReadableBytes = 60;

/// Makes a name of any text that every file system takes: letters, digits, '-', '_' and '.' of ASCII. What else there
/// is becomes a '-', one for several. No '-' or '.' stands at either end, and no two dots in a row.
/// \param most  At most so many bytes come out. There may be none at all.
std::string HarmlessName(std::string_view text, std::size_t most);

/// As HarmlessName for a folder: never empty, and none of the names that some systems keep for devices.
std::string FolderName(std::string_view text);

/// Where a copy goes, without what its content is called.
struct CopyName {
  /// A folder per category: "graphics".
  std::string category;
  /// In that a folder per extension: "jpg".
  std::string type;
  /// Start sector and what keeps it apart from others that start there: "000000012495", "000000012495-r7-2".
  std::string stem;

  /// "000000012495_2004-02-29.jpg", and without readable text "000000012495.jpg".
  [[nodiscard]] std::string FileName(const std::string& readable) const;
  /// What the copy is called until it is whole: "000000012495.jpg.part".
  [[nodiscard]] std::string PartName() const;
};

/// Whether a file of that name can only be a copy that isn't whole.
bool IsPartName(std::string_view name);

/// Names copies so that no two have the same name, always in the same way.
class CopyNamer {
 public:
  /// \param find  Comes behind those before in the order of ComesBefore.
  CopyName NameFor(const Find& find, const TypeInfo& type);

 private:
  std::uint64_t sector_ = 0;
  /// How many names of that beginning there are in the sector.
  std::map<std::string, std::size_t> counts_;
};

}  // namespace qzmtraw::host

#endif  // QZMTRAW_HOST_RECOVERY_COPY_NAMES_H
