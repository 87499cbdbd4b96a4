#include "host/outputs/FindFields.h"

namespace qzmtraw::host {

FindSizes SizesOf(const FindRecord& record) {
  FindSizes sizes;
  // Nobody has estimated a size that isn't known and isn't needed.
  sizes.isEstimated = record.plan.isEstimated && (record.recovered || record.find.size != 0);
  if (sizes.isEstimated) {
    sizes.size = record.plan.length;
  } else if (record.find.size != 0) {
    sizes.size = record.find.size;
  }
  if (const auto& hints = record.type->hints; record.find.size == 0 && hints) {
    if (hints->least != 0) sizes.least = hints->least;
    if (hints->greatest != 0) sizes.greatest = hints->greatest;
  }
  if (record.recovered) sizes.written = record.recovered->path ? record.plan.length : 0;
  return sizes;
}

}  // namespace qzmtraw::host
