#ifndef QZMTRAW_HOST_SOURCES_SECTOR_SET_H
#define QZMTRAW_HOST_SOURCES_SECTOR_SET_H

#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

#include "host/base/TemporaryFile.h"

namespace qzmtraw::host {

/// Neighbouring sectors.
struct SectorRange {
  std::uint64_t first = 0;
  std::uint64_t count = 0;

  friend bool operator==(const SectorRange&, const SectorRange&) = default;
};

/// A set of sectors of a device. However many there are it takes hardly any memory: it is a temporary file with a bit
/// for each sector, and holes where no bit is set. Without sectors there is no file. For one thread at a time, even
/// where it is const.
class SectorSet {
 public:
  /// Adds sectors; those that are in the set already change nothing. The range must not wrap around. Throws Failure
  /// when the temporary file can't be made or can't take more.
  void Add(const SectorRange& sectors);

  /// Whether any of the sectors is in the set. The range must not wrap around. Throws Failure when the temporary file
  /// can't be read.
  [[nodiscard]] bool Overlaps(const SectorRange& sectors) const;

  /// Whether a sector is in the set, and how many from it on are the same in this.
  struct Run {
    bool isIn = false;
    std::uint64_t count = 0;
  };
  /// \param most  The run ends after so many sectors, at least 1. Throws Failure when the temporary file can't be read.
  [[nodiscard]] Run RunAt(std::uint64_t sector, std::uint64_t most) const;

  /// Number of sectors in the set.
  [[nodiscard]] std::uint64_t Count() const { return count_; }

  /// Goes through the ranges of sectors in the set, from low to high. They neither touch nor overlap.
  class Cursor {
   public:
    /// \param set  Must stay the same as long as the cursor is in use.
    explicit Cursor(const SectorSet& set) : set_(set), sector_(set.begin_) {}
    /// The next range, or none behind the last. Throws Failure when the temporary file can't be read.
    std::optional<SectorRange> Next();

   private:
    const SectorSet& set_;
    std::uint64_t sector_;
  };

 private:
  [[nodiscard]] bool Has(std::uint64_t sector) const;
  [[nodiscard]] std::uint64_t NextIn(std::uint64_t sector, std::uint64_t end) const;
  bool Set(std::uint64_t sector);
  void Load(std::uint64_t sector) const;

  std::unique_ptr<TemporaryFile> file_;
  /// So many bytes of the file were written, holes included.
  std::uint64_t fileSize_ = 0;
  /// All sectors of the set are among those from here to there.
  std::uint64_t begin_ = 0;
  std::uint64_t end_ = 0;
  std::uint64_t count_ = 0;
  /// The bits around the sector that was asked for last, as they are in the file. Empty: none.
  mutable std::vector<std::uint8_t> page_;
  mutable std::uint64_t pageNumber_ = 0;
};

}  // namespace qzmtraw::host

#endif  // QZMTRAW_HOST_SOURCES_SECTOR_SET_H
