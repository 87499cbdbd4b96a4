#ifndef QZMTRAW_HOST_FINDS_FIND_STORE_H
#define QZMTRAW_HOST_FINDS_FIND_STORE_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <vector>

#include "host/base/TemporaryFile.h"
#include "host/finds/Find.h"

namespace qzmtraw::host {

/// Keeps any number of finds in a fixed amount of memory and gives them back in the order of ComesBefore: Add them all,
/// Sort, and then read them with cursors. Those for which the memory doesn't do wait in a temporary file, in sorted
/// runs, which cursors merge.
class FindStore {
 private:
  /// Sorted finds in the file.
  struct Run {
    std::uint64_t first = 0;
    std::uint64_t count = 0;
    /// How often its finds were merged.
    int level = 0;
  };

  /// Reads a run from front to back.
  class RunReader {
   public:
    /// \param bufferSize  How many finds are read at a time.
    RunReader(const TemporaryFile& file, const Run& run, std::size_t bufferSize)
        : file_(&file), next_(run.first), end_(run.first + run.count), bufferSize_(bufferSize) {}
    std::optional<Find> Next();

   private:
    const TemporaryFile* file_;
    /// The next find and the one behind the last, counted from the start of the file.
    std::uint64_t next_;
    std::uint64_t end_;
    std::size_t bufferSize_;
    /// What was read of the file ahead of `next_`, from its place `used_` on.
    std::vector<Find> buffer_;
    std::size_t used_ = 0;
  };

 public:
  /// \param memory  In bytes.
  explicit FindStore(std::size_t memory);

  /// Throws Failure when the temporary file can't take more. The finds that were added before are still there then.
  void Add(const Find& find);

  /// Comes once, behind the last Add. Needs no room.
  void Sort();

  /// How many there are.
  [[nodiscard]] std::uint64_t Count() const { return count_; }

  /// Goes through the sorted finds. There may be several at a time.
  class Cursor {
   public:
    /// \param store  Must be sorted and live as long as the cursor.
    explicit Cursor(const FindStore& store);
    /// The next find, or none behind the last. Throws Failure when the temporary file can't be read.
    std::optional<Find> Next();

   private:
    friend FindStore;
    /// The first find of a run that wasn't taken yet, and the run.
    struct Head {
      Find find;
      std::size_t run;
    };

    /// Merges the finds of `runs` and of `memory`.
    Cursor(std::vector<RunReader> runs, std::span<const Find> memory);
    void Advance(std::size_t run);

    std::vector<RunReader> runs_;
    std::span<const Find> memory_;
    /// A heap with the next find at its front.
    std::vector<Head> heads_;
  };

 private:
  std::vector<RunReader> ReadersFrom(std::size_t firstRun, std::size_t bufferSize) const;
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

#endif  // QZMTRAW_HOST_FINDS_FIND_STORE_H
