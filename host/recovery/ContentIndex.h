#ifndef QZMTRAW_HOST_RECOVERY_CONTENT_INDEX_H
#define QZMTRAW_HOST_RECOVERY_CONTENT_INDEX_H

#include <cstdint>
#include <optional>

#include "host/base/TemporaryFile.h"
#include "host/recovery/ContentHash.h"

namespace qzmtraw::host {

/// Tells whether a content was there before. However many there are it takes hardly any memory: it is a hash table in a
/// temporary file, and the sums are the hashes.
class ContentIndex {
 public:
  /// \param most  How many contents are going to be added at most. Throws Failure, as the operations do, when the
  ///              temporary file can't be used.
  explicit ContentIndex(std::uint64_t most);

  /// The number that was added with this content, if it was.
  [[nodiscard]] std::optional<std::uint64_t> Find(const ContentSum& sum) const;

  /// Adds a content that isn't there yet.
  /// \param number  Less than 2^64 - 1.
  void Add(const ContentSum& sum, std::uint64_t number);

 private:
  struct Slot {
    ContentSum sum{};
    /// One more than the number; 0: the slot is free.
    std::uint64_t number = 0;
  };
  struct Place {
    std::uint64_t offset = 0;
    Slot slot;
  };

  [[nodiscard]] Place PlaceOf(const ContentSum& sum) const;

  std::uint64_t slotCount_;
  TemporaryFile file_;
};

}  // namespace qzmtraw::host

#endif  // QZMTRAW_HOST_RECOVERY_CONTENT_INDEX_H
