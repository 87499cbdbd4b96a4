#include "host/types/TypeFacts.h"

#include <array>

namespace qzmtraw::host {
namespace {

// The words of the table.
constexpr bool kHolds = true;
constexpr bool kPlain = false;

#define FACTS(row, name, size, standing, rank, container, reach, excess) \
  TypeFacts{#name, SizeSource::k##size, Standing::k##standing, Rank::k##rank, k##container, Reach::k##reach, excess},
constexpr auto kFacts = std::to_array<TypeFacts>({
#include "host/types/TypeFacts.def"
});
#undef FACTS

#define RULE(row, name, greatest, isSettable, start, size) TypeRule{#name, greatest, isSettable, start, size},
constexpr auto kRules = std::to_array<TypeRule>({
#include "host/types/TypeRules.def"
});
#undef RULE

// Each line stands at the place that it states.
#define FACTS(row, ...) row,
constexpr auto kFactRows = std::to_array<int>({
#include "host/types/TypeFacts.def"
});
#undef FACTS

constexpr bool AreInOrder() {
  for (std::size_t i = 0; i < kFactRows.size(); ++i) {
    if (kFactRows[i] != static_cast<int>(i) || kFacts[i].className != kRules[i].className) return false;
  }
  return kFacts.size() == kRules.size();
}
static_assert(AreInOrder());

}  // namespace

std::span<const TypeFacts> AllTypeFacts() { return kFacts; }

std::span<const TypeRule> AllTypeRules() { return kRules; }

std::string_view SizeSourceName(SizeSource source) {
  constexpr std::array<std::string_view, 6> kNames = {"none", "header", "walk", "tail", "sectors", "padding"};
  return kNames.at(static_cast<std::size_t>(source));
}

}  // namespace qzmtraw::host
