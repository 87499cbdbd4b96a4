// The searcher of ZIP files. Beside what holds for all scans, it finds what the rules give that are written down apart
// from it for the tests, byte by byte.

#include <cstdint>
#include <map>
#include <span>

#include "fuzz/Failure.h"
#include "fuzz/Invariants.h"
#include "fuzz/Rows.h"
#include "fuzz/Scan.h"
#include "tests/support/Rows.h"
#include "tests/support/ZipScanning.h"

namespace qzmtraw::fuzz {
namespace {

constexpr std::int32_t kZip = 143;

void CompareWithRules(std::span<const std::uint8_t> bytes) {
  // The rules copy what is left of the block for every sector.
  constexpr std::size_t kMostCopied = std::size_t{1} << 24U;
  ScanInput input = DecodeScanInput(bytes, RowsOfSameGroup(kZip));
  if (input.device.Bytes().size() * static_cast<std::size_t>(input.device.SectorCount()) > kMostCopied) return;
  input.rows = RowsOfSameGroup(kZip);

  test::LiteralZipSearcher rules;
  std::map<std::int32_t, test::Hits> expected;
  std::size_t first = 0;
  for (const int count : input.cut.Blocks(input.device.SectorCount())) {
    const std::size_t size = static_cast<std::size_t>(count) * static_cast<std::size_t>(input.device.SectorSize());
    const auto begin = input.device.Bytes().begin() +
                       static_cast<std::ptrdiff_t>(first * static_cast<std::size_t>(input.device.SectorSize()));
    const test::ZipBlock block{input.device.FirstSector() + first,
                               input.device.SectorSize(),
                               {begin, begin + static_cast<std::ptrdiff_t>(size)}};
    for (const test::ZipHit& hit : rules.Scan(block)) {
      expected[test::RowOf(test::kZipFaces.at(hit.code)).index].push_back({hit.startSector, hit.size});
    }
    first += static_cast<std::size_t>(count);
  }
  const ScanOutcome outcome = Run(input, {.cut = &input.cut, .lanes = Deal(input.rows, 1)});
  for (const RowOutcome& row : outcome.rows) {
    if (row.hits != expected[row.row]) Fail(NameOf(row.row) + " doesn't find what the rules say");
  }
}

}  // namespace
}  // namespace qzmtraw::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace qzmtraw::fuzz;
  CheckScan({data, size}, RowsOfSameGroup(kZip));
  CompareWithRules({data, size});
  return 0;
}
