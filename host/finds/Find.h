#ifndef QZMTRAW_HOST_FINDS_FIND_H
#define QZMTRAW_HOST_FINDS_FIND_H

#include <cstdint>

namespace qzmtraw::host {

/// A file that a detector reported. There may be millions of them, so it is kept small.
struct Find {
  std::uint64_t startSector = 0;
  /// In bytes; 0: the detector does not determine it.
  std::uint64_t size = 0;
  /// Row of the registry.
  std::int32_t row = 0;

  friend bool operator==(const Find&, const Find&) = default;
};
static_assert(sizeof(Find) == 24);

/// A find and where its detector told of it, which may be far behind its start.
struct ReportedFind : Find {
  /// The first sector of the block that was being scanned.
  std::uint64_t blockSector = 0;
};

/// The order of sorted lists: by place, and at one place by row.
inline bool ComesBefore(const Find& a, const Find& b) {
  if (a.startSector != b.startSector) return a.startSector < b.startSector;
  if (a.row != b.row) return a.row < b.row;
  return a.size < b.size;
}

}  // namespace qzmtraw::host

#endif  // QZMTRAW_HOST_FINDS_FIND_H
