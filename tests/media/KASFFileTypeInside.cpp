#include <gtest/gtest.h>

#include <cstring>

#include "media/KASFFileType.h"
#include "tests/media/AsfObjects.h"
#include "tests/support/Scanning.h"

namespace qzmtraw {
namespace {

using test::Hits;

/// What no face reaches: the classifier's texts, its first block, its limit, its Reset and the end of its table.
class AsfClassifier : public ::testing::Test {
 protected:
  Hits Feed(std::uint64_t sector, const std::string& file, std::uint32_t code = kAsfAudio) {
    const test::Device device = test::Device(1, 512, sector, 0).Put(sector, file);
    test::DeviceReader reader(device);
    test::RecordingSink sink;
    test::ForEachBlock(device, reader, {},
                       [&](const RawSectorBlock& block) { classifier.Lookup(&block, &sink, code); });
    return sink.Found();
  }
  static std::string Audio(std::uint64_t size) {
    return test::AsfFile({test::AsfProperties(size), test::AsfStream(test::kAsfAudio)});
  }

  KASFFileType classifier;
};

TEST_F(AsfClassifier, HasTextsOfItsOwn) {
  char buffer[16] = {};
  classifier.GetDescription(buffer, sizeof buffer);
  EXPECT_STREQ(buffer, "ASF(wma,wmv)");
  classifier.GetExtension(buffer, sizeof buffer);
  EXPECT_STREQ(buffer, "asf");
}

TEST_F(AsfClassifier, TakesAFirstBlockAtSector0ForRead) {
  EXPECT_EQ(Feed(0, Audio(5000)), Hits{});
  EXPECT_EQ(Feed(1, Audio(5000)), (Hits{{1, 5000}}));
  EXPECT_EQ(Feed(0, Audio(6000)), (Hits{{0, 6000}}));
}

TEST_F(AsfClassifier, KeepsFilesWithoutStreams) {
  EXPECT_EQ(Feed(1, test::AsfFile({test::AsfProperties(4096)}), kAsfWithoutStreams), (Hits{{1, 4096}}));
}

TEST_F(AsfClassifier, ClipsToItsLimit) {
  classifier.SetMaxFileSize(4999);
  EXPECT_EQ(Feed(1, Audio(5000)), (Hits{{1, 4999}}));
  EXPECT_EQ(Feed(2, Audio(4999)), (Hits{{2, 4999}}));
}

TEST_F(AsfClassifier, ResetPutsTheLimitAndTheFirstBlockBackAndKeepsTheHits) {
  classifier.SetMaxFileSize(4999);
  Feed(1, Audio(5000));
  EXPECT_EQ(classifier.Reset(), 1);
  EXPECT_EQ(Feed(0, ""), (Hits{{1, 4999}}));
  EXPECT_EQ(Feed(1, Audio(5000)), (Hits{{1, 5000}}));
}

TEST_F(AsfClassifier, ReportsNothingItself) {
  const test::Device device = test::Device(1, 512, 1, 0).Put(1, Audio(5000));
  EXPECT_EQ(test::Scan(classifier, device), Hits{});
}

TEST_F(AsfClassifier, LookupStandsBehindTheDestructor) {
#ifdef __GXX_ABI_VERSION
  // Eleven operations, and two entries for the destructor.
  void** table = nullptr;
  const void* object = &classifier;
  std::memcpy(&table, object, sizeof table);
  using LookupFunction = void (*)(KASFFileType*, const RawSectorBlock*, IRawHitSink*, std::uint32_t);
  LookupFunction lookup = nullptr;
  std::memcpy(&lookup, table + 13, sizeof lookup);
  const test::Device device = test::Device(1, 512, 1, 0).Put(1, Audio(5000));
  test::DeviceReader reader(device);
  test::RecordingSink sink;
  test::ForEachBlock(device, reader, {},
                     [&](const RawSectorBlock& block) { lookup(&classifier, &block, &sink, kAsfAudio); });
  EXPECT_EQ(sink.Found(), (Hits{{1, 5000}}));
#endif
}

}  // namespace
}  // namespace qzmtraw
