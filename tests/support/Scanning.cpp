#include "tests/support/Scanning.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>

#include "tests/support/Rows.h"

namespace qzmtraw::test {

std::ostream& operator<<(std::ostream& out, const Hit& hit) {
  return out << "{sector " << hit.startSector << ", " << hit.size << " bytes}";
}

std::uint32_t RecordingSink::ReportHit(const RawFileHit* hit) {
  hits_.push_back({hit->startSector, hit->size});
  lastAddress_ = hit;
  return 0;
}

namespace {

std::map<const IRawFileType*, std::int32_t> rowOfDetector;
std::set<std::int32_t> rowsThatFound;

/// Passes hits on, and takes note that there was one.
class NotingSink final : public IRawHitSink {
 public:
  explicit NotingSink(IRawHitSink& next) : next_(next) {}
  std::uint32_t ReservedOperation1() override { return next_.ReservedOperation1(); }
  std::uint32_t ReportHit(const RawFileHit* hit) override {
    foundAny = true;
    return next_.ReportHit(hit);
  }
  bool foundAny = false;

 private:
  IRawHitSink& next_;
};

}  // namespace

Detector CreateDetector(std::int32_t index) {
  std::int32_t category = 0;
  std::uint8_t groupGuid[16];
  Detector detector(GetRawFileTypeFactory()->CreateType(index, &category, groupGuid));
  if (detector) {
    detector->Reset();
    rowOfDetector[detector.get()] = index;
  }
  return detector;
}

Detector CreateDetector(std::string_view className) { return CreateDetector(RowOf(className).index); }

void ForEachBlock(const Device& device, IRawSectorReader& reader, Cut cut,
                  const std::function<void(const RawSectorBlock&)>& scan) {
  const int blockSectors = cut.blockSectors == 0 ? device.SectorCount() : cut.blockSectors;
  for (int first = 0; first < device.SectorCount(); first += blockSectors) {
    const int count = std::min(blockSectors, device.SectorCount() - first);
    const auto begin = device.Bytes().begin() + std::ptrdiff_t{first} * device.SectorSize();
    std::vector<std::uint8_t> memory(begin, begin + std::ptrdiff_t{count} * device.SectorSize());
    const RawSectorBlock block{device.FirstSector() + static_cast<std::uint64_t>(first), memory.data(), count,
                               device.SectorSize(), &reader};
    scan(block);
  }
}

void Feed(IRawFileType& detector, const Device& device, IRawHitSink& sink, IRawSectorReader& reader, Cut cut) {
  ForEachBlock(device, reader, cut, [&](const RawSectorBlock& block) { ScanBlock(detector, block, sink); });
}

void ScanBlock(IRawFileType& detector, const RawSectorBlock& block, IRawHitSink& sink) {
  NotingSink notingSink(sink);
  detector.Scan(&block, &notingSink);
  const auto row = rowOfDetector.find(&detector);
  if (notingSink.foundAny && row != rowOfDetector.end()) rowsThatFound.insert(row->second);
}

const std::set<std::int32_t>& RowsThatFound() { return rowsThatFound; }

Hits Scan(IRawFileType& detector, const Device& device, Cut cut, Manner manner) {
  RecordingSink sink;
  DeviceReader reader(device, manner);
  Feed(detector, device, sink, reader, cut);
  return sink.Found();
}

Hits ScanAnyCut(std::string_view className, const Device& device) {
  Hits whole = Scan(*CreateDetector(className), device);
  for (int blockSectors = 1; blockSectors <= 3; ++blockSectors) {
    EXPECT_EQ(Scan(*CreateDetector(className), device, {blockSectors}), whole)
        << "in blocks of " << blockSectors << " sectors";
  }
  return whole;
}

}  // namespace qzmtraw::test
