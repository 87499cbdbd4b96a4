#ifndef QZMTRAW_TESTS_SUPPORT_SCANNING_H
#define QZMTRAW_TESTS_SUPPORT_SCANNING_H

#include <cstdint>
#include <functional>
#include <memory>
#include <ostream>
#include <set>
#include <string_view>
#include <vector>

#include "qzmtraw/RawFileTypeFactory.h"
#include "tests/support/Device.h"

namespace qzmtraw::test {

/// A hit as a test expects it.
struct Hit {
  std::uint64_t startSector;
  std::uint64_t size;
  bool operator==(const Hit&) const = default;
};
using Hits = std::vector<Hit>;
std::ostream& operator<<(std::ostream& out, const Hit& hit);

/// Keeps what is reported, and the addresses at which it was.
class RecordingSink final : public IRawHitSink {
 public:
  std::uint32_t ReservedOperation1() override { return 0; }
  std::uint32_t ReportHit(const RawFileHit* hit) override;

  const Hits& Found() const { return hits_; }
  const RawFileHit* LastAddress() const { return lastAddress_; }

 private:
  Hits hits_;
  const RawFileHit* lastAddress_ = nullptr;
};

struct Releaser {
  void operator()(IRawFileType* detector) const { detector->Release(); }
};
using Detector = std::unique_ptr<IRawFileType, Releaser>;

/// Creates the detector of a row and resets it. Null when there is no such row.
Detector CreateDetector(std::int32_t index);
/// Creates the detector of the only, or the first, row that bears this class.
Detector CreateDetector(std::string_view className);

/// How a device is cut into blocks, in sectors. 0: it is one block.
struct Cut {
  int blockSectors = 0;
};

/// Calls `scan` for each block of the device, in memory of its own whose size is exactly the block's, so that the
/// address sanitizer sees every step beside it.
void ForEachBlock(const Device& device, IRawSectorReader& reader, Cut cut,
                  const std::function<void(const RawSectorBlock&)>& scan);

/// Feeds the device to the detector block by block.
void Feed(IRawFileType& detector, const Device& device, IRawHitSink& sink, IRawSectorReader& reader, Cut cut = {});

/// Hands one block to a detector. If CreateDetector made it, takes note when it reports something.
void ScanBlock(IRawFileType& detector, const RawSectorBlock& block, IRawHitSink& sink);
/// The rows of which ScanBlock, Feed or Scan has taken note in this process.
const std::set<std::int32_t>& RowsThatFound();

/// Feeds the device and returns what was found. The detector isn't reset, so an open file goes on in the next call.
Hits Scan(IRawFileType& detector, const Device& device, Cut cut = {}, Manner manner = Manner::kServes);

/// Scans with a fresh detector of the class, whole and in blocks of one, two and three sectors, which must all agree.
Hits ScanAnyCut(std::string_view className, const Device& device);

}  // namespace qzmtraw::test

#endif  // QZMTRAW_TESTS_SUPPORT_SCANNING_H
