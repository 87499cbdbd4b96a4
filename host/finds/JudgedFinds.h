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
/// The judged list has one find for each start, the best by FindJudge::IsBetter. Those that lie inside of another
/// listed one name it in `embeddedIn`; a recovery leaves them out unless it is told otherwise. Sizes that are open or
/// doubtful end where the next listed find starts that isn't embedded; those of embedded finds also at the next
/// embedded one, and where the outer find ends.
///
/// What is listed depends on the finds alone, so lists may be judged again: the judged list of several judged lists
/// together is that of all their finds. It takes the memory of two cursors of the store.
class JudgedFinds {
 public:
  enum class Listing { kJudged, kAll };

  /// \param finds  Sorted; must live as long as this, as must the judge's catalogue.
  JudgedFinds(const FindStore& finds, const FindJudge& judge, Listing listing = Listing::kJudged);

  /// The next one, or none behind the last. Throws Failure when the store can't be read.
  std::optional<FindRecord> Next();

 private:
  /// A find of the judged list and the one that it lies inside of.
  struct Listed {
    Find find;
    std::optional<Find> embeddedIn;
  };

  /// The judged list, without plans.
  class Selection {
   public:
    Selection(const FindStore& finds, const FindJudge& judge) : judge_(judge), cursor_(finds), tracker_(judge) {
      next_ = cursor_.Next();
    }
    std::optional<Listed> Next();

   private:
    FindJudge judge_;
    FindStore::Cursor cursor_;
    EmbeddingTracker tracker_;
    std::optional<Find> next_;
  };

  [[nodiscard]] CarvePlan PlanFor(const Listed& listed);

  FindJudge judge_;
  /// For all finds; else what follows.
  std::unique_ptr<PlannedFinds> planned_;
  std::unique_ptr<Selection> listed_;
  /// The find behind the one that Next brings.
  std::optional<Listed> following_;
  /// Looks for finds that aren't embedded.
  std::unique_ptr<Selection> ahead_;
  std::optional<Listed> aheadFind_;
};

}  // namespace qzmtraw::host

#endif  // QZMTRAW_HOST_FINDS_JUDGED_FINDS_H
