#include "tests/support/CompoundScan.h"

#include <gtest/gtest.h>

namespace qzmtraw::test {

namespace {

constexpr CompoundFace kFaces[] = {
    {2, "KWordFileType"},    {3, "KExcelFileType"},     {4, "KPowerPointFileType"}, {5, "KVisioFileType"},
    {6, "KProjectFileType"}, {7, "KPublisherFileType"}, {8, "KDcdFileType"},        {9, "KEtFileType"},
    {10, "KDpsFileType"},    {11, "KFlaFileType"},      {12, "K3DMaxFileType"},     {13, "KP65FileType"},
    {14, "KQpwFileType"},    {15, "KShwFileType"},      {16, "CKWtfFileType"},      {17, "CKRptFileType"},
    {18, "CKQdfFileType"},   {19, "CKCQbbFileType"},    {20, "CKCQbmFileType"},     {21, "CKHwpFileType"},
    {22, "CKIEMsgFileType"}, {23, "CKDAdpFileType"},    {24, "CKGNewExbFileType"},
};

}  // namespace

std::span<const CompoundFace> CompoundFaces() { return kFaces; }

void LetCompoundClassifierForget() {
  constexpr std::uint64_t kElsewhere = std::uint64_t{1} << 40;
  Scan(*CreateDetector("KWordFileType"), Device(1, 512, kElsewhere));
}

FoundKinds ScanCompound(const Device& device, IRawSectorReader& reader, Cut cut) {
  LetCompoundClassifierForget();
  std::vector<Detector> detectors;
  std::vector<RecordingSink> sinks(std::size(kFaces));
  for (const CompoundFace& face : kFaces) detectors.push_back(CreateDetector(face.className));
  ForEachBlock(device, reader, cut, [&](const RawSectorBlock& block) {
    for (std::size_t i = 0; i < detectors.size(); ++i) ScanBlock(*detectors[i], block, sinks[i]);
  });
  FoundKinds found;
  for (std::size_t i = 0; i < detectors.size(); ++i) {
    if (!sinks[i].Found().empty()) found[std::string(kFaces[i].className)] = sinks[i].Found();
  }
  return found;
}

FoundKinds ScanCompoundAnyCut(const Device& device) {
  DeviceReader reader(device);
  FoundKinds whole = ScanCompound(device, reader);
  for (int blockSectors = 1; blockSectors <= 3; ++blockSectors) {
    EXPECT_EQ(ScanCompound(device, reader, {blockSectors}), whole) << "in blocks of " << blockSectors << " sectors";
  }
  return whole;
}

Device DeviceWith(const CompoundFile& file, int sectorSize) {
  Device device(static_cast<int>(file.Bytes().size()) / sectorSize + 3, sectorSize);
  device.Put(Device::kFirstSector + 1, file.Bytes());
  return device;
}

FoundKinds KindsOf(const CompoundFile& file) { return ScanCompoundAnyCut(DeviceWith(file)); }

std::uint64_t SizeAs(std::string_view className, const CompoundFile& file) {
  const FoundKinds found = KindsOf(file);
  const auto hits = found.find(std::string(className));
  if (hits == found.end()) return 0;
  EXPECT_EQ(hits->second, (Hits{{Device::kFirstSector + 1, hits->second.front().size}}));
  return hits->second.front().size;
}

}  // namespace qzmtraw::test
