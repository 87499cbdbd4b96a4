// The reader of compound documents. Beside what holds for all scans, it finds what the rules give that are written down
// apart from it for the tests, byte by byte.

#include <cstdint>
#include <map>
#include <span>
#include <string_view>
#include <vector>

#include "fuzz/Failure.h"
#include "fuzz/Invariants.h"
#include "fuzz/Rows.h"
#include "fuzz/Scan.h"
#include "tests/support/LiteralCompound.h"
#include "tests/support/Rows.h"

namespace qzmtraw::fuzz {
namespace {

constexpr std::int32_t kWord = 0;

/// The row whose kind has a code.
std::int32_t RowOfCode(std::uint32_t code) {
  constexpr std::string_view kClasses[] = {
      "KWordFileType",      "KExcelFileType", "KPowerPointFileType", "KVisioFileType", "KProjectFileType",
      "KPublisherFileType", "KDcdFileType",   "KEtFileType",         "KDpsFileType",   "KFlaFileType",
      "K3DMaxFileType",     "KP65FileType",   "KQpwFileType",        "KShwFileType",   "CKWtfFileType",
      "CKRptFileType",      "CKQdfFileType",  "CKCQbbFileType",      "CKCQbmFileType", "CKHwpFileType",
      "CKIEMsgFileType",    "CKDAdpFileType", "CKGNewExbFileType"};
  return test::RowOf(kClasses[code - 2]).index;
}

/// Whether the rules, which set no limit to what a file says of itself, are soon followed to the end.
bool IsSoonDone(const test::Device& device) {
  constexpr std::uint64_t kMostBytes = std::uint64_t{1} << 22U;
  const auto& bytes = device.Bytes();
  for (std::size_t start = 0; start + 512 <= bytes.size(); start += static_cast<std::size_t>(device.SectorSize())) {
    if (bytes[start] != 0xD0 || bytes[start + 1] != 0xCF) continue;
    const auto field = [&](std::size_t offset) {
      return bytes[start + offset] | std::uint64_t{bytes[start + offset + 1]} << 8U |
             std::uint64_t{bytes[start + offset + 2]} << 16U | std::uint64_t{bytes[start + offset + 3]} << 24U;
    };
    const std::uint64_t sectorSize = std::uint64_t{1} << (bytes[start + 30] & 31U);
    const std::uint64_t fatSectors = field(44);
    const std::uint64_t miniFatSectors = field(64);
    // A directory that leads back into itself is followed for as many sectors as the FAT can tell of.
    const std::uint64_t directoryBytes = sectorSize / 4 * fatSectors * sectorSize;
    if (sectorSize > kMostBytes || fatSectors > 4096 || directoryBytes + miniFatSectors * sectorSize > kMostBytes) {
      return false;
    }
  }
  return true;
}

void CompareWithRules(std::span<const std::uint8_t> bytes) {
  ScanInput input = DecodeScanInput(bytes, RowsOfSameGroup(kWord));
  const bool isOrdinary = input.device.SectorSize() >= 9 && input.device.SectorSize() <= 32768 &&
                          input.device.FirstSector() < std::uint64_t{1} << 32U;
  if (!isOrdinary || !IsSoonDone(input.device)) return;
  input.manner = ReaderManner::kServesZeros;
  input.rows = RowsOfSameGroup(kWord);
  std::map<std::int32_t, test::Hits> expected;
  for (const test::CodedHit& found : test::LiteralCompoundScan(input.device)) {
    if (found.code >= 2) expected[RowOfCode(found.code)].push_back(found.hit);
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
  CheckScan({data, size}, RowsOfSameGroup(kWord));
  CompareWithRules({data, size});
  return 0;
}
