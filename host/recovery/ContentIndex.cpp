#include "host/recovery/ContentIndex.h"

#include "host/recovery/ByteReader.h"

namespace qzmtraw::host {

ContentIndex::ContentIndex(std::uint64_t most) : slotCount_(2 * most + 1) {
  // Makes the file as long as it is going to be; what wasn't written is a hole of zeros.
  const Slot none;
  file_.WriteAt((slotCount_ - 1) * sizeof none, std::as_bytes(std::span(&none, 1)));
}

std::optional<std::uint64_t> ContentIndex::Find(const ContentSum& sum) const {
  const std::uint64_t number = PlaceOf(sum).slot.number;
  return number == 0 ? std::nullopt : std::optional(number - 1);
}

void ContentIndex::Add(const ContentSum& sum, std::uint64_t number) {
  const Slot slot{sum, number + 1};
  file_.WriteAt(PlaceOf(sum).offset, std::as_bytes(std::span(&slot, 1)));
}

/// The slot of a content, or the free one that is to be its own.
ContentIndex::Place ContentIndex::PlaceOf(const ContentSum& sum) const {
  std::uint64_t number = NumberIn(std::span(sum).first<8>(), ByteOrder::kLittle) % slotCount_;
  while (true) {
    Place place{number * sizeof(Slot), {}};
    file_.ReadAt(place.offset, std::as_writable_bytes(std::span(&place.slot, 1)));
    if (place.slot.number == 0 || place.slot.sum == sum) return place;
    number = (number + 1) % slotCount_;
  }
}

}  // namespace qzmtraw::host
