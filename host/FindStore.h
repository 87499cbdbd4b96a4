#ifndef QZMTRAW_HOST_FIND_STORE_H
#define QZMTRAW_HOST_FIND_STORE_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

#include "host/Find.h"
#include "host/TemporaryFile.h"

namespace qzmtraw::host {

/// Keeps any number of finds in a fixed amount of memory and gives them back in the order of ComesBefore: Add them all,
/// Sort, and then read them with cursors. Those for which the memory doesn't do wait in a temporary file, in sorted
/// runs that are merged.
class FindStore {
 public:
  /// \param memory  In bytes.
  explicit FindStore(std::size_t memory);

  /// Throws Failure when the temporary file can't take more.
  void Add(const Find& find);

  /// Comes once, behind the last Add.
  void Sort();

  /// How many there are.
  [[nodiscard]] std::uint64_t Count() const { return count_; }

  /// Goes through the sorted finds. There may be several at a time.
  class Cursor {
   public:
    /// \param store  Must be sorted and live as long as the cursor.
    explicit Cursor(const FindStore& store);
    /// The next find, or none behind the last.
    std::optional<Find> Next();

   private:
    friend FindStore;
    Cursor(const TemporaryFile& file, std::uint64_t first, std::uint64_t count, std::size_t bufferSize);

    /// None: the finds are in memory.
    const TemporaryFile* file_ = nullptr;
    /// The next find and the one behind the last, counted from the start of the file or of the memory.
    std::uint64_t next_ = 0;
    std::uint64_t end_ = 0;
    const std::vector<Find>* memory_ = nullptr;
    /// What was read of the file ahead of `next_`, from its place `used_` on.
    std::vector<Find> buffer_;
    std::size_t bufferSize_ = 0;
    std::size_t used_ = 0;
  };

 private:
  /// Sorted finds in the file.
  struct Run {
    std::uint64_t first = 0;
    std::uint64_t count = 0;
    /// How often its finds were merged.
    int level = 0;
  };

  void SortMemory();
  void Spill();
  void MergeFrom(std::size_t firstRun);
  [[nodiscard]] std::uint64_t Append(std::uint64_t place, const std::vector<Find>& finds);

  std::size_t capacity_;
  std::vector<Find> finds_;
  std::unique_ptr<TemporaryFile> file_;
  std::vector<Run> runs_;
  std::uint64_t fileEnd_ = 0;
  std::uint64_t count_ = 0;
};

}  // namespace qzmtraw::host

#endif  // QZMTRAW_HOST_FIND_STORE_H
