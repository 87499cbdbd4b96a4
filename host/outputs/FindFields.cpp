#include "host/outputs/FindFields.h"

namespace qzmtraw::host {

FindSizes SizesOf(const FindRecord& record) {
  FindSizes sizes;
  sizes.isEstimated = record.plan.isEstimated && record.recovered.has_value();
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
