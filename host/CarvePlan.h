#ifndef QZMTRAW_HOST_CARVE_PLAN_H
#define QZMTRAW_HOST_CARVE_PLAN_H

#include <cstdint>
#include <span>
#include <vector>

#include "host/Find.h"
#include "host/TypeCatalogue.h"

namespace qzmtraw::host {

/// The most bytes that are taken for a find of which nothing tells the size: neither its detector, nor its kind's size
/// hints, nor another find behind it.
inline constexpr std::uint64_t kBlindSize = 32U << 20U;

/// Which bytes of a device to take for a find.
struct CarvePlan {
  /// In bytes from the start of the device.
  std::uint64_t offset = 0;
  /// In bytes.
  std::uint64_t length = 0;
  /// The length is a guess, because the detector does not determine it.
  bool isEstimated = false;
  /// The file goes on beyond the device's end, so only its first part is there.
  bool isTruncated = false;
};

/// Plans all finds of a scan. A find of size 0 ends where the next file starts (of any kind, in a later sector) or at
/// its kind's greatest size, whichever comes first. Nothing reaches beyond the device.
/// \param finds  In the order of ComesBefore, with rows of `catalogue`.
/// \return One plan per find, in the same order.
std::vector<CarvePlan> PlanCarving(std::span<const Find> finds, const TypeCatalogue& catalogue,
                                   std::uint64_t deviceSize, std::uint32_t sectorSize);

}  // namespace qzmtraw::host

#endif  // QZMTRAW_HOST_CARVE_PLAN_H
