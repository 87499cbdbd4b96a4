#ifndef QZMTRAW_TESTS_SUPPORT_COMPOUND_SCAN_H
#define QZMTRAW_TESTS_SUPPORT_COMPOUND_SCAN_H

#include <map>
#include <span>
#include <string>
#include <string_view>

#include "tests/support/CompoundFile.h"
#include "tests/support/Scanning.h"

namespace qzmtraw::test {

/// A kind of compound document.
struct CompoundFace {
  std::uint32_t code;
  std::string_view className;
};
std::span<const CompoundFace> CompoundFaces();

/// What the kinds report, by class. Kinds without hits are left out.
using FoundKinds = std::map<std::string, Hits>;

/// Feeds another block to a face, so that the classifier, which lives as long as the process, reads the next block
/// whatever its number is.
void LetCompoundClassifierForget();

/// Feeds the device to all faces, each block to all of them before the next.
FoundKinds ScanCompound(const Device& device, IRawSectorReader& reader, Cut cut = {});
/// The same whole and in blocks of one, two and three sectors, which must all agree.
FoundKinds ScanCompoundAnyCut(const Device& device);

/// A device with the file in its second sector, and room for another sector behind it.
Device DeviceWith(const CompoundFile& file, int sectorSize = 512);

/// What the kinds report for a file in the second sector of a device.
FoundKinds KindsOf(const CompoundFile& file);
/// The size with which the file is reported as `className`'s, or 0 when it isn't.
std::uint64_t SizeAs(std::string_view className, const CompoundFile& file);

}  // namespace qzmtraw::test

#endif  // QZMTRAW_TESTS_SUPPORT_COMPOUND_SCAN_H
