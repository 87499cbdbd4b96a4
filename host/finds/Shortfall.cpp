#include "host/finds/Shortfall.h"

#include <algorithm>
#include <array>

namespace qzmtraw::host {
namespace {

struct Shortfall {
  std::int32_t row;
  std::uint64_t bytes;
};

/// Chunks whose size doesn't count their header of 8 bytes; and gzip, whose size doesn't count the zeros that it ends
/// with, at most the 8 of its check sum and length.
constexpr std::array kShortfalls = {Shortfall{17, 8},  Shortfall{95, 8},  Shortfall{148, 8},
                                    Shortfall{182, 8}, Shortfall{184, 8}, Shortfall{219, 8}};

}  // namespace

std::uint64_t ShortfallOf(std::int32_t row) {
  const auto* const place = std::ranges::find(kShortfalls, row, &Shortfall::row);
  return place == kShortfalls.end() ? 0 : place->bytes;
}

}  // namespace qzmtraw::host
