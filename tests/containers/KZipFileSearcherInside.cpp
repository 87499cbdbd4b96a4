#include <gtest/gtest.h>

#include "containers/KZipFileSearcher.h"
#include "tests/support/Scanning.h"

namespace qzmtraw {
namespace {

using test::Hits;

/// What no face reaches: the classifier's limit.
class ZipClassifier : public ::testing::Test {
 protected:
  /// Feeds a file of `size` bytes that begins with this sector.
  Hits Feed(std::uint64_t sector, std::size_t size) {
    const std::string end = test::Literal("PK\5\6") + std::string(18, '\0');
    test::Device device(static_cast<int>(size) / 512 + 2, 512, sector);
    device.Put(sector, "PK\3\4").Put(sector, size - end.size(), end);
    test::RecordingSink sink;
    test::DeviceReader reader(device);
    test::ForEachBlock(device, reader, {},
                       [&](const RawSectorBlock& block) { classifier.Lookup(&block, &sink, ZipCode::kZip); });
    return sink.Found();
  }

  KZipFileSearcher classifier;
};

TEST_F(ZipClassifier, CutsSizesToItsLimitUntilReset) {
  classifier.SetMaxFileSize(3000);
  EXPECT_EQ(Feed(1, 3000), (Hits{{1, 3000}}));
  EXPECT_EQ(Feed(2, 3001), (Hits{{2, 3000}}));
  EXPECT_EQ(classifier.Reset(), 1);
  EXPECT_EQ(Feed(3, 3001), (Hits{{3, 3001}}));
  classifier.SetMaxFileSize(3000);
  EXPECT_EQ(classifier.ResetFull(), 1);
  EXPECT_EQ(Feed(4, 3001), (Hits{{4, 3001}}));
}

}  // namespace
}  // namespace qzmtraw
