#ifndef QZMTRAW_HOST_FINDS_JUDGED_FINDS_H
#define QZMTRAW_HOST_FINDS_JUDGED_FINDS_H

#include <cstdint>
#include <memory>
#include <optional>

#include "host/finds/CarvePlan.h"
#include "host/finds/Find.h"
#include "host/finds/FindJudge.h"
#include "host/finds/FindStore.h"
#include "host/outputs/Report.h"

namespace qzmtraw::host {

/// Goes through the finds of a scan by place, as they are to be listed:
///
///     FindJudge judge(catalogue, deviceSize, sectorSize);
///     JudgedFinds finds(store, judge);                  // judged, or with Listing::kAll as they were reported
///     while (const auto record = finds.Next()) { … }    // a FindRecord, complete but for what is learned by looking
///
/// The judged list has one find for each start, the best by FindJudge::IsBetter, with the end of the text that it is if
/// another one has seen that (FindJudge::EndedByText). Those that lie inside of another
/// listed one name it in `embeddedIn`; a recovery leaves them out unless it is told otherwise. Sizes that are open or
/// doubtful end where the next listed find starts that isn't embedded, but those of text with keywords and of
/// signatures not where other text or something loose seems to start. Those of embedded finds end at the next listed
/// find of any kind, and where the outer find ends.
///
/// What is listed depends on the finds alone, so lists may be judged again: the judged list of several judged lists
/// together is that of all their finds, unless one of them left out a text that would have ended a find of another. It
/// takes the memory of six cursors of the store.
class JudgedFinds {
 public:
  enum class Listing { kJudged, kAll };

  /// \param finds  Sorted; must live as long as this, as must the judge's catalogue.
  JudgedFinds(const FindStore& finds, const FindJudge& judge, Listing listing = Listing::kJudged);

  /// The next one, or none behind the last. Throws Failure when the store can't be read.
  std::optional<FindRecord> Next();

 private:
  /// The best find of each start.
  class BestFinds {
   public:
    BestFinds(const FindStore& finds, const FindJudge& judge) : judge_(judge), cursor_(finds), next_(cursor_.Next()) {}
    std::optional<Find> Next();

   private:
    FindJudge judge_;
    FindStore::Cursor cursor_;
    std::optional<Find> next_;
  };

  /// A find of the judged list and the one that it lies inside of.
  struct Listed {
    Find find;
    std::optional<Find> embeddedIn{};
    /// Its size goes into a later file.
    bool isOverrun = false;
  };

  /// The judged list, without plans.
  class Selection {
   public:
    Selection(const FindStore& finds, const FindJudge& judge)
        : judge_(judge), finds_(finds, judge), tracker_(judge), ahead_(finds, judge), sure_(ahead_.Next()) {}
    std::optional<Listed> Next();

   private:
    [[nodiscard]] bool IsOverrun(const Find& find);

    FindJudge judge_;
    BestFinds finds_;
    EmbeddingTracker tracker_;
    /// Runs ahead to the next find that is surely a file.
    BestFinds ahead_;
    std::optional<Find> sure_;
  };

  /// Runs ahead to the finds that end others.
  struct Ahead {
    Selection selection;
    std::optional<Listed> find;
  };

  [[nodiscard]] CarvePlan PlanFor(const Listed& listed);
  [[nodiscard]] std::optional<std::uint64_t> NextStart(const Find& find);

  FindJudge judge_;
  /// For all finds; else what follows.
  std::unique_ptr<PlannedFinds> planned_;
  std::unique_ptr<Selection> listed_;
  /// The find behind the one that Next brings.
  std::optional<Listed> following_;
  /// For those that any find ends, and for those that only text with keywords and signatures end.
  std::unique_ptr<Ahead> aheadOfAny_;
  std::unique_ptr<Ahead> aheadOfSure_;
};

}  // namespace qzmtraw::host

#endif  // QZMTRAW_HOST_FINDS_JUDGED_FINDS_H
