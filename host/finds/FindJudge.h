#ifndef QZMTRAW_HOST_FINDS_FIND_JUDGE_H
#define QZMTRAW_HOST_FINDS_FIND_JUDGE_H

#include <array>
#include <cstdint>
#include <optional>

#include "host/finds/CarvePlan.h"
#include "host/finds/Find.h"
#include "host/outputs/Report.h"
#include "host/types/TypeCatalogue.h"

namespace qzmtraw::host {

/// What FindRecord::notes may say of a find.
/// @{
inline constexpr const char* kNoteClipped = "clipped to the greatest size of its type";
inline constexpr const char* kNoteNoEnd = "its end was not seen";
inline constexpr const char* kNoteFarOn = "sizes of its type are not to be relied on";
inline constexpr const char* kNoteEstimated = "size estimated";
inline constexpr const char* kNoteTruncated = "goes on beyond the end of the source";
/// @}

/// Says what a find is worth, by itself: other finds don't matter. The knowledge is that of the catalogue's TypeFacts.
class FindJudge {
 public:
  /// \param catalogue   Has the finds' rows; must live as long as the judge.
  /// \param deviceSize  In bytes, as is the size of a sector, which is at least 1.
  FindJudge(const TypeCatalogue& catalogue, std::uint64_t deviceSize, std::uint32_t sectorSize)
      : catalogue_(catalogue), planner_(catalogue, deviceSize, sectorSize), sectorSize_(sectorSize) {}

  /// Which of two finds with the same start is to be listed. A strict order of all finds of one start: by standing,
  /// then by rank, then those with a size, then by row, then the longer one.
  [[nodiscard]] bool IsBetter(const Find& a, const Find& b) const;

  [[nodiscard]] Confidence ConfidenceOf(const Find& find) const;

  /// Whether the size, which isn't 0, says where the file ends at most rather than where it ends.
  [[nodiscard]] bool IsSizeDoubtful(const Find& find) const;

  /// Whether the find is a text whose end was seen.
  [[nodiscard]] bool IsWholeText(const Find& find) const;

  /// Lets a find that its keywords and an end mark make known end where its text does. The mark may have a line's end
  /// behind it, or is only known to stand somewhere in the last sector.
  /// \param text  A find with the same start, which is a whole text.
  /// \return The find, with the text's size if that ends in the same sector and not before the mark.
  [[nodiscard]] Find EndedByText(const Find& find, const Find& text) const;

  /// How much a find's extent is worth: 0 none, because its size isn't known, isn't to be relied on, or goes on beyond
  /// the device; 1 that of a size from a header; 2 that of an end that was looked at, or of a file that holds files.
  [[nodiscard]] unsigned StrengthOf(const Find& find) const;

  /// Where the file starts and ends at the least, in bytes from the start of the device. A find without strength ends
  /// where it starts.
  struct Extent {
    std::uint64_t start = 0;
    std::uint64_t end = 0;
  };
  [[nodiscard]] Extent ExtentOf(const Find& find) const;

  [[nodiscard]] const TypeInfo& TypeOf(const Find& find) const {
    return catalogue_.at(static_cast<std::size_t>(find.row));
  }
  [[nodiscard]] const CarvePlanner& Planner() const { return planner_; }

  /// The find as it is told, with what it is worth.
  [[nodiscard]] FindRecord Record(const Find& find, const CarvePlan& plan) const;

 private:
  const TypeCatalogue& catalogue_;
  CarvePlanner planner_;
  std::uint32_t sectorSize_;
};

/// Tells which finds lie wholly inside of an earlier one. A find lies inside of another that starts in an earlier
/// sector and is of the same or a better standing and strength, if the other one's extent has all of its own. Takes the
/// same memory whatever the number of finds.
class EmbeddingTracker {
 public:
  explicit EmbeddingTracker(const FindJudge& judge) : judge_(judge) {}

  /// Takes the finds in ascending order of their starts, which are all different.
  /// \return The find that this one lies inside of: of all of them the one that goes furthest, and of these the first.
  ///         That one lies inside of none.
  std::optional<Find> Add(const Find& find);

 private:
  struct Reach {
    Find find;
    std::uint64_t end = 0;
  };
  static constexpr std::size_t kStrengths = 2;

  FindJudge judge_;
  /// By standing and strength, the one that goes furthest.
  std::array<std::array<std::optional<Reach>, kStrengths>, kStandingCount> furthest_{};
};

}  // namespace qzmtraw::host

#endif  // QZMTRAW_HOST_FINDS_FIND_JUDGE_H
