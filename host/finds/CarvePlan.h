#ifndef QZMTRAW_HOST_FINDS_CARVE_PLAN_H
#define QZMTRAW_HOST_FINDS_CARVE_PLAN_H

#include <cstdint>
#include <optional>

#include "host/finds/Find.h"
#include "host/finds/FindStore.h"
#include "host/types/TypeCatalogue.h"

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

/// A find and its plan.
struct PlannedFind {
  Find find;
  CarvePlan plan;
};

/// Plans what to take of a device.
class CarvePlanner {
 public:
  /// \param catalogue   Has the finds' rows; must live as long as the planner.
  /// \param deviceSize  In bytes, as is the size of a sector.
  CarvePlanner(const TypeCatalogue& catalogue, std::uint64_t deviceSize, std::uint32_t sectorSize)
      : catalogue_(catalogue), deviceSize_(deviceSize), sectorSize_(sectorSize) {}

  /// Plans for a find. One of size 0 ends where the next file starts or at its kind's greatest size, whichever comes
  /// first. Nothing reaches beyond the device.
  /// \param nextSector  Where the next file starts, of any kind, in a later sector; none: there is none, or it isn't
  ///                    known yet.
  [[nodiscard]] PlannedFind Plan(const Find& find, std::optional<std::uint64_t> nextSector = std::nullopt) const;

  /// Plans for a find whose size says no more than where it ends at most: it ends there or where the next file starts.
  [[nodiscard]] CarvePlan PlanUpTo(const Find& find, std::optional<std::uint64_t> nextSector) const;

 private:
  [[nodiscard]] std::uint64_t OffsetOf(std::uint64_t sector) const;

  const TypeCatalogue& catalogue_;
  std::uint64_t deviceSize_;
  std::uint32_t sectorSize_;
};

/// Goes through all finds of a scan, in the order of ComesBefore, with their plans.
class PlannedFinds {
 public:
  /// \param finds  Sorted; must live as long as this.
  PlannedFinds(const FindStore& finds, const CarvePlanner& planner);

  /// The next one, or none behind the last.
  std::optional<PlannedFind> Next();

 private:
  CarvePlanner planner_;
  FindStore::Cursor finds_;
  FindStore::Cursor ahead_;
  std::optional<Find> aheadFind_;
};

}  // namespace qzmtraw::host

#endif  // QZMTRAW_HOST_FINDS_CARVE_PLAN_H
