#ifndef QZMTRAW_HOST_FINDS_FIND_UNION_H
#define QZMTRAW_HOST_FINDS_FIND_UNION_H

#include <optional>

#include "host/finds/CarvePlan.h"
#include "host/finds/FindStore.h"

namespace qzmtraw::host {

/// Goes through finds of several lists, in the order of ComesBefore, each once however many lists have it.
class FindUnion {
 public:
  /// \param finds  Sorted; must live as long as this.
  FindUnion(const FindStore& finds, const CarvePlanner& planner) : planned_(finds, planner) {}

  /// The next one, or none behind the last.
  std::optional<PlannedFind> Next() {
    std::optional<PlannedFind> next = planned_.Next();
    while (next && previous_ && next->find == *previous_) next = planned_.Next();
    if (next) previous_ = next->find;
    return next;
  }

 private:
  PlannedFinds planned_;
  std::optional<Find> previous_;
};

}  // namespace qzmtraw::host

#endif  // QZMTRAW_HOST_FINDS_FIND_UNION_H
