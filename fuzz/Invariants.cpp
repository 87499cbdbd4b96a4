#include "fuzz/Invariants.h"

#include <algorithm>
#include <iterator>
#include <map>
#include <span>
#include <sstream>
#include <string>
#include <utility>

#include "fuzz/Exceptions.h"
#include "fuzz/Failure.h"
#include "fuzz/Rows.h"
#include "fuzz/Scan.h"
#include "fuzz/Work.h"

namespace qzmtraw::fuzz {

namespace {

host::Lane InOneLane(const std::vector<std::int32_t>& rows) {
  host::Lane lane;
  for (const std::int32_t row : rows) lane.push_back({row, false});
  return lane;
}

std::string Text(const test::Hits& hits) {
  constexpr std::size_t kMostShown = 8;
  std::ostringstream text;
  for (const test::Hit& hit : std::span(hits).first(std::min(hits.size(), kMostShown))) {
    text << " {sector " << hit.startSector << ", " << hit.size << " bytes}";
  }
  if (hits.size() > kMostShown) text << " and " << hits.size() - kMostShown << " more";
  return hits.empty() ? " nothing" : text.str();
}

test::Hits Sorted(test::Hits hits) {
  std::ranges::sort(hits, {}, [](const test::Hit& hit) { return std::pair(hit.startSector, hit.size); });
  return hits;
}

void CompareRow(const RowOutcome& expected, const RowOutcome& found, const char* difference) {
  if (expected.hits == found.hits) return;
  Fail(NameOf(expected.row) + " finds something else " + difference + ":\n  at first:" + Text(expected.hits) +
       "\n  then:" + Text(found.hits));
}

void Compare(const ScanOutcome& expected, const ScanOutcome& found, const char* difference) {
  for (std::size_t i = 0; i < expected.rows.size(); ++i) CompareRow(expected.rows[i], found.rows[i], difference);
}

bool DependsOnTheCut(std::int32_t row) {
  return std::ranges::find(kDependOnCut, row, &DependsOnCut::row) != std::end(kDependOnCut);
}

/// Whether the input is one that has to give the same hits in other blocks.
bool IsFreeOfTheCut(const ScanInput& input) {
  // Numbers are compared as signed ones.
  const auto end =
      static_cast<std::int64_t>(input.device.FirstSector() + static_cast<std::uint64_t>(input.device.SectorCount()));
  const bool wraps = end < static_cast<std::int64_t>(input.device.FirstSector());
  return IsTruthful(input.manner) && input.device.SectorSize() >= kLeastSectorForCuts &&
         input.device.SectorSize() <= kGreatestSectorForCuts && !wraps;
}

void CompareCuts(const ScanOutcome& expected, ScanOutcome found) {
  for (std::size_t i = 0; i < expected.rows.size(); ++i) {
    RowOutcome sorted = expected.rows[i];
    if (DependsOnTheCut(sorted.row)) continue;
    // Kinds with several codes report a block's hits code by code.
    sorted.hits = Sorted(sorted.hits);
    found.rows[i].hits = Sorted(found.rows[i].hits);
    CompareRow(sorted, found.rows[i], "in other blocks");
  }
}

/// The limits by row, those of a group at each of its rows.
std::map<std::int32_t, WorkLimit> LimitsByRow() {
  std::map<std::int32_t, WorkLimit> limits;
  for (const WorkLimit& limit : kWork) {
    for (const std::int32_t row : RowsOfSameGroup(limit.row)) limits[row] = limit;
  }
  return limits;
}

const WorkLimit& LimitOf(std::int32_t row) {
  static const std::map<std::int32_t, WorkLimit> kLimits = LimitsByRow();
  const auto found = kLimits.find(row);
  return found == kLimits.end() ? kUsualWork : found->second;
}

/// The kinds of a group work together, and it shows at the one that comes first.
void CheckWork(const ScanInput& input, const ScanOutcome& outcome) {
  constexpr std::uint64_t kCache = 32768;
  const auto sectors = static_cast<std::uint64_t>(input.device.SectorCount());
  const auto sectorSize = static_cast<std::uint64_t>(input.device.SectorSize());
  for (const RowOutcome& row : outcome.rows) {
    const WorkLimit& limit = LimitOf(row.row);
    if (row.readings.calls > limit.callsPerSector * sectors + limit.callsOnce) {
      Fail(NameOf(row.row) + " asks the reader " + std::to_string(row.readings.calls) + " times for a device of " +
           std::to_string(sectors) + " sectors");
    }
    if (row.readings.mostBytes > std::max(kCache, 2 * sectorSize)) {
      Fail(NameOf(row.row) + " asks the reader for " + std::to_string(row.readings.mostBytes) + " bytes at once");
    }
    if (row.steps > kStepsPerByte * sectors * sectorSize + limit.stepsPerSector * sectors + limit.stepsOnce) {
      Fail(NameOf(row.row) + " takes " + std::to_string(row.steps) + " steps for a device of " +
           std::to_string(sectors) + " sectors of " + std::to_string(sectorSize) + " bytes");
    }
  }
}

/// Whether a scan is too long to be run several times. One that spends the allowance of a classifier is, too, and what
/// that leaves unread depends on when blocks without sectors give the allowance back.
bool TakesLong(const ScanOutcome& outcome) {
  constexpr std::uint64_t kMostSteps = std::uint64_t{1} << 24U;
  constexpr std::uint64_t kMostCalls = 100000;
  std::uint64_t steps = 0;
  std::uint64_t calls = 0;
  for (const RowOutcome& row : outcome.rows) {
    steps += row.steps;
    calls += row.readings.calls;
  }
  return steps > kMostSteps || calls > kMostCalls;
}

/// What the library keeps for good, such as room for hits, may grow with the first scan of a device, but not with
/// further ones like it.
void CheckMemory(const ScanInput& input, std::int64_t bytesBefore) {
  if (LibraryBytes() == bytesBefore) return;
  const ScanWay way{.cut = &input.cut, .lanes = {InOneLane(input.rows)}};
  Run(input, way);
  const std::int64_t kept = LibraryBytes();
  Run(input, way);
  if (LibraryBytes() > kept) {
    Fail("a scan leaves " + std::to_string(LibraryBytes() - kept) + " bytes behind, each time that it is run");
  }
}

/// Among the kinds that write into blocks and those that see it: as one lane with a block for all finds, so do several
/// lanes with a block each.
void CompareLanesThatShareWrites(const ScanInput& input) {
  ScanWay way{.cut = &input.cut, .lanes = Deal(input.rows, 1), .sharesWrites = true};
  const ScanOutcome inOneLane = Run(input, way);
  way.lanes = Deal(input.rows, input.laneCount + 1);
  Compare(inOneLane, Run(input, way), "in several lanes, behind kinds that write into blocks");
}

}  // namespace

void CheckScan(std::span<const std::uint8_t> bytes, std::span<const std::int32_t> rows) {
  ScanInput input = DecodeScanInput(bytes, rows);
  const bool hasEmptyBlocks = std::exchange(input.hasEmptyBlocks, false);
  const std::int64_t bytesBefore = LibraryBytes();

  ScanWay way{.cut = &input.cut, .lanes = {InOneLane(input.rows)}};
  const ScanOutcome plain = Run(input, way);
  CheckWork(input, plain);
  if (TakesLong(plain)) return;

  // The order of calls is all the same to a reader that always answers alike.
  if (input.manner != ReaderManner::kServesChangingly) {
    way.lanes = Deal(input.rows, input.laneCount);
    std::ranges::reverse(way.lanes);
    for (host::Lane& lane : way.lanes) {
      std::erase_if(lane, [](const host::LaneRow& each) { return each.isSilent; });
      std::ranges::reverse(lane);
    }
  }
  way.isReset = true;
  Compare(plain, Run(input, way), "after a reset, in another order and other lanes");
  way.isReset = false;

  if (IsFreeOfTheCut(input)) {
    way = {.cut = &input.otherCut, .lanes = {InOneLane(input.rows)}};
    input.hasEmptyBlocks = hasEmptyBlocks;
    CompareCuts(plain, Run(input, way));
    input.hasEmptyBlocks = false;
  }
  if (plain.wroteIntoBlocks && input.manner != ReaderManner::kServesChangingly) CompareLanesThatShareWrites(input);
  CheckMemory(input, bytesBefore);
}

}  // namespace qzmtraw::fuzz
