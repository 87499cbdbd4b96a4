#include <gtest/gtest.h>

#include "frame/SharedClassifier.h"
#include "tests/support/Scanning.h"

namespace qzmtraw {
namespace {

using test::Hits;

/// Takes every sector for a file whose code is its first byte, and whose size counts the scans so far.
template <class Self>
class CountingClassifier : public SharedClassifier<Self> {
 public:
  std::uint32_t Scan(const RawSectorBlock* rawBlock, IRawHitSink* /*sink*/) override {
    ++scans;
    keyDuringScan = this->cacheKey;
    const Block block(rawBlock);
    for (std::int32_t i = 0; i < block.SectorCount(); ++i) {
      this->hits.push_back({{block[i].Number(), static_cast<std::uint64_t>(scans)}, block[i].U8(0)});
    }
    return 0;
  }
  std::int32_t Reset() override {
    ++resets;
    return 1;
  }

  int scans = 0;
  int resets = 0;
  std::uint64_t keyDuringScan = 0;
};

class Plain final : public CountingClassifier<Plain> {};
class KeyOf0 final : public CountingClassifier<KeyOf0> {
 public:
  static constexpr std::uint64_t kFirstKey = 0;
  static constexpr KeyStored kKeyStored = KeyStored::kAfterScan;
};
class ResetByFaces final : public CountingClassifier<ResetByFaces> {
 public:
  static constexpr bool kFaceResetsClassifier = true;
};

class FaceOf1 final : public Face<FaceOf1, Plain, 1> {};
class FaceOf2 final : public Face<FaceOf2, Plain, 2> {};
class FaceOfKeyOf0 final : public Face<FaceOfKeyOf0, KeyOf0, 1> {};
class FaceOfResetByFaces final : public Face<FaceOfResetByFaces, ResetByFaces, 1> {};

class Classifier : public ::testing::Test {
 protected:
  // The objects live as long as the process: each test starts with new ones in their place.
  Classifier() {
    Plain::Instance() = Plain();
    KeyOf0::Instance() = KeyOf0();
    ResetByFaces::Instance() = ResetByFaces();
  }

  /// What a face reports for a block of three sectors whose first bytes are 1, 2 and 1.
  template <class FaceClass>
  Hits Reported(std::uint64_t startSector) {
    FaceClass face;
    return Reported(face, startSector);
  }
  Hits Reported(IRawFileType& face, std::uint64_t startSector, std::int32_t sectorCount = 3) {
    test::RecordingSink sink;
    const RawSectorBlock block{startSector, memory_.data(), sectorCount, 1, nullptr};
    face.Scan(&block, &sink);
    return sink.Found();
  }

  std::vector<std::uint8_t> memory_ = {1, 2, 1};
};

TEST_F(Classifier, FacesPassOnTheirOwnCode) {
  EXPECT_EQ(Reported<FaceOf1>(10), (Hits{{10, 1}, {12, 1}}));
  EXPECT_EQ(Reported<FaceOf2>(10), (Hits{{11, 1}}));
}

TEST_F(Classifier, FacesInAnyOrderReportTheSame) {
  EXPECT_EQ(Reported<FaceOf2>(10), (Hits{{11, 1}}));
  EXPECT_EQ(Reported<FaceOf1>(10), (Hits{{10, 1}, {12, 1}}));
  EXPECT_EQ(Plain::Instance().scans, 1);
}

TEST_F(Classifier, ReadsAnotherBlockAndForgetsTheOneBefore) {
  EXPECT_EQ(Reported<FaceOf1>(10), (Hits{{10, 1}, {12, 1}}));
  EXPECT_EQ(Reported<FaceOf1>(20), (Hits{{20, 2}, {22, 2}}));
  EXPECT_EQ(Reported<FaceOf1>(10), (Hits{{10, 3}, {12, 3}}));
}

TEST_F(Classifier, ABlockAskedForTwiceByOneFaceIsReportedTwice) {
  EXPECT_EQ(Reported<FaceOf2>(10), (Hits{{11, 1}}));
  EXPECT_EQ(Reported<FaceOf2>(10), (Hits{{11, 1}}));
}

TEST_F(Classifier, KeyOfAllBitsSeesABlockAtSector0) { EXPECT_EQ(Reported<FaceOf1>(0), (Hits{{0, 1}, {2, 1}})); }

TEST_F(Classifier, KeyOfAllBitsTakesABlockAtTheLastSectorForRead) {
  EXPECT_EQ(Reported<FaceOf1>(~std::uint64_t{0}), Hits{});
}

TEST_F(Classifier, KeyOf0DoesNotSeeAFirstBlockAtSector0) {
  EXPECT_EQ(Reported<FaceOfKeyOf0>(0), Hits{});
  EXPECT_EQ(Reported<FaceOfKeyOf0>(3), (Hits{{3, 1}, {5, 1}}));
  EXPECT_EQ(Reported<FaceOfKeyOf0>(0), (Hits{{0, 2}, {2, 2}}));
}

TEST_F(Classifier, KeyIsStoredBeforeOrAfterTheBlockIsRead) {
  Reported<FaceOf1>(10);
  Reported<FaceOfKeyOf0>(10);
  EXPECT_EQ(Plain::Instance().keyDuringScan, 10U);
  EXPECT_EQ(KeyOf0::Instance().keyDuringScan, 0U);
}

TEST_F(Classifier, AnEmptyBlockStoresItsKey) {
  FaceOf1 face;
  EXPECT_EQ(Reported(face, 10, 0), Hits{});
  EXPECT_EQ(Reported(face, 10), Hits{});
  EXPECT_EQ(Reported(face, 11), (Hits{{11, 2}, {13, 2}}));
}

TEST_F(Classifier, IsResetByItsFacesOnlyIfItSaysSo) {
  FaceOf1 face;
  FaceOfResetByFaces resetting;
  EXPECT_EQ(face.Reset(), 1);
  EXPECT_EQ(resetting.Reset(), 1);
  EXPECT_EQ(resetting.ResetLight(), 1);
  EXPECT_EQ(resetting.ResetFull(), 1);
  EXPECT_EQ(Plain::Instance().resets, 0);
  EXPECT_EQ(ResetByFaces::Instance().resets, 3);
}

TEST_F(Classifier, HitsGoOutWithTheirCodeBehindThem) {
  EXPECT_EQ(offsetof(RawTypedHit, hit), 0U);
  EXPECT_EQ(offsetof(RawTypedHit, code), 16U);
}

TEST_F(Classifier, TakesNoBlockForNothing) {
  FaceOf1 face;
  test::RecordingSink sink;
  face.Scan(nullptr, &sink);
  EXPECT_EQ(sink.Found(), Hits{});
  EXPECT_EQ(Plain::Instance().scans, 0);
}

}  // namespace
}  // namespace qzmtraw
