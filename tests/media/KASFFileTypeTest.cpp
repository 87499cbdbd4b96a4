// KASFFileType, through KASFileType, KWMAFileType and KWMVFileType.

#include <gtest/gtest.h>

#include <map>

#include "tests/media/AsfObjects.h"
#include "tests/support/Scanning.h"

namespace qzmtraw::test {
namespace {

constexpr std::uint64_t kFirst = Device::kFirstSector;
const std::vector<std::string> kFaces = {"KASFileType", "KWMAFileType", "KWMVFileType"};

/// The classifier lives as long as the process. After this it reads the next block whatever its number is.
void LetClassifierForget() { Scan(*CreateDetector("KWMAFileType"), Device(1, 512, std::uint64_t{1} << 40)); }

/// What each face reports when a device is fed to all of them, in the order in which it is given.
std::map<std::string, Hits> ScanAll(const Device& device, Cut cut = {},
                                    const std::vector<std::string>& order = kFaces) {
  LetClassifierForget();
  std::map<std::string, RecordingSink> sinks;
  std::map<std::string, Detector> detectors;
  for (const std::string& face : order) detectors[face] = CreateDetector(face);
  DeviceReader reader(device);
  ForEachBlock(device, reader, cut, [&](const RawSectorBlock& block) {
    for (const std::string& face : order) detectors[face]->Scan(&block, &sinks[face]);
  });
  std::map<std::string, Hits> found;
  for (const std::string& face : order) found[face] = sinks[face].Found();
  return found;
}

std::map<std::string, Hits> Expect(const Hits& asf, const Hits& wma, const Hits& wmv) {
  return {{"KASFileType", asf}, {"KWMAFileType", wma}, {"KWMVFileType", wmv}};
}
std::map<std::string, Hits> ExpectAudio(std::uint64_t size) {
  const Hits hits = {{kFirst + 1, size}};
  return Expect(hits, hits, hits);
}
const std::map<std::string, Hits> kNothing = Expect({}, {}, {});

/// What the faces report for a file in the second sector of a device, whatever the cut.
std::map<std::string, Hits> ScanFile(const std::string& file) {
  const Device device = Device(12, 512, kFirst, 0).Put(kFirst + 1, file);
  auto whole = ScanAll(device);
  for (const int blockSectors : {1, 2, 3}) EXPECT_EQ(ScanAll(device, {blockSectors}), whole) << blockSectors;
  return whole;
}

TEST(KASFFileType, LastStreamTellsTheKind) {
  const Hits hit = {{kFirst + 1, 5000}};
  const std::string size = AsfProperties(5000);
  EXPECT_EQ(ScanFile(AsfFile({size, AsfStream(kAsfAudio)})), Expect(hit, hit, hit));
  EXPECT_EQ(ScanFile(AsfFile({size, AsfStream(kAsfVideo)})), Expect(hit, {}, hit));
  EXPECT_EQ(ScanFile(AsfFile({size, AsfStream("some other type ")})), Expect(hit, {}, {}));
  EXPECT_EQ(ScanFile(AsfFile({size})), kNothing);
  EXPECT_EQ(ScanFile(AsfFile({size, AsfStream(kAsfVideo), AsfStream(kAsfAudio)})), Expect(hit, hit, hit));
  EXPECT_EQ(ScanFile(AsfFile({size, AsfStream(kAsfAudio), AsfStream(kAsfVideo)})), Expect(hit, {}, hit));
  EXPECT_EQ(ScanFile(AsfFile({size, AsfStream(kAsfVideo), AsfStream("some other type ")})), Expect(hit, {}, {}));
  EXPECT_EQ(ScanFile(AsfFile({AsfStream(kAsfVideo), AsfObject("another object  ", "1234"), size})),
            Expect(hit, {}, hit));
}

TEST(KASFFileType, FacesReportOtherKindsBeforeAudioAndAudioBeforeVideo) {
  const auto file = [](const std::string& stream, std::uint64_t size) {
    return AsfFile({AsfProperties(size), AsfStream(stream)});
  };
  Device device(8, 512, kFirst, 0);
  device.Put(kFirst, file(kAsfVideo, 1000)).Put(kFirst + 2, file(kAsfAudio, 2000));
  device.Put(kFirst + 4, file("some other type ", 3000)).Put(kFirst + 6, file(kAsfVideo, 4000));
  const Hit video1{kFirst, 1000}, audio{kFirst + 2, 2000}, other{kFirst + 4, 3000}, video2{kFirst + 6, 4000};
  const auto expected = Expect({other, audio, video1, video2}, {audio}, {video1, video2, audio});
  EXPECT_EQ(ScanAll(device), expected);
  EXPECT_EQ(ScanAll(device, {}, {"KWMVFileType", "KASFileType", "KWMAFileType"}), expected);
  EXPECT_EQ(ScanAll(device, {}, {"KWMAFileType", "KWMVFileType", "KASFileType"}), expected);
}

TEST(KASFFileType, NeedsAll16BytesOfItsMark) {
  const std::string file = AsfFile({AsfProperties(5000), AsfStream(kAsfAudio)});
  for (std::size_t i = 0; i < 16; ++i) {
    std::string broken = file;
    broken[i] = static_cast<char>(broken[i] ^ 1);
    EXPECT_EQ(ScanFile(broken), kNothing) << i;
  }
}

TEST(KASFFileType, ObjectsAreToldByAll16Bytes) {
  const std::string size = AsfProperties(5000);
  const std::string stream = AsfStream(kAsfAudio);
  for (std::size_t i = 0; i < 16; ++i) {
    std::string broken = size;
    broken[i] = static_cast<char>(broken[i] ^ 1);
    EXPECT_EQ(ScanFile(AsfFile({broken, stream})), kNothing) << i;
    broken = stream;
    broken[i] = static_cast<char>(broken[i] ^ 1);
    EXPECT_EQ(ScanFile(AsfFile({size, broken})), kNothing) << i;
    std::string type = kAsfAudio;
    type[i] = static_cast<char>(type[i] ^ 1);
    EXPECT_EQ(ScanFile(AsfFile({size, AsfStream(type)})), Expect({{kFirst + 1, 5000}}, {}, {})) << i;
    type = kAsfVideo;
    type[i] = static_cast<char>(type[i] ^ 1);
    EXPECT_EQ(ScanFile(AsfFile({size, AsfStream(type)})), Expect({{kFirst + 1, 5000}}, {}, {})) << i;
  }
}

TEST(KASFFileType, IsReportedFrom256BytesOn) {
  const auto found = [](std::uint64_t size) { return ScanFile(AsfFile({AsfProperties(size), AsfStream(kAsfAudio)})); };
  EXPECT_EQ(found(255), kNothing);
  EXPECT_EQ(found(256), ExpectAudio(256));
}

TEST(KASFFileType, LowHalfOfTheSizeCountsAndIsSigned) {
  const auto found = [](std::uint64_t size) { return ScanFile(AsfFile({AsfProperties(size), AsfStream(kAsfAudio)})); };
  EXPECT_EQ(found(0x100002000), ExpectAudio(0x2000));
  EXPECT_EQ(found(0x7FFFFFFF), ExpectAudio(0x7FFFFFFF));
  for (const std::uint64_t size : {0x80000000U, 0x90000000U, 0xFFFFFFFFU}) EXPECT_EQ(found(size), kNothing);
}

TEST(KASFFileType, LimitOfTheHostIsIgnored) {
  LetClassifierForget();
  const Detector detector = CreateDetector("KWMAFileType");
  detector->SetMaxFileSize(1000);
  const Device device = Device(2, 512, kFirst, 0).Put(kFirst, AsfFile({AsfProperties(5000), AsfStream(kAsfAudio)}));
  EXPECT_EQ(Scan(*detector, device), (Hits{{kFirst, 5000}}));
}

TEST(KASFFileType, LooksAtNoMoreObjectsThanTheHeaderCountsAndAt32AtMost) {
  const auto found = [](std::size_t before, std::uint32_t count) {
    std::vector<std::string> objects(before, AsfObject("another object  ", ""));
    objects.push_back(AsfProperties(5000));
    objects.insert(objects.begin(), AsfStream(kAsfAudio));
    return ScanFile(AsfFile(objects, count));
  };
  EXPECT_EQ(found(0, 0), kNothing);
  EXPECT_EQ(found(0, 1), kNothing);
  EXPECT_EQ(found(0, 2), ExpectAudio(5000));
  EXPECT_EQ(found(30, 100), ExpectAudio(5000));
  EXPECT_EQ(found(30, 0xFFFFFFFF), ExpectAudio(5000));
  EXPECT_EQ(found(30, 31), kNothing);
  EXPECT_EQ(found(31, 100), kNothing);
}

TEST(KASFFileType, HeadersOwnSizeIsNotLookedAt) {
  std::string file = AsfFile({AsfProperties(5000), AsfStream(kAsfAudio)});
  file.replace(16, 8, LittleU64(~std::uint64_t{0}));
  EXPECT_EQ(ScanFile(file), ExpectAudio(5000));
}

TEST(KASFFileType, ObjectSizesAreSigned32BitNumbers) {
  const std::string stream = AsfStream(kAsfAudio);
  const std::string size = AsfProperties(5000);
  const auto withSize = [](std::string object, std::uint64_t objectSize) {
    return object.replace(16, 8, LittleU64(objectSize));
  };
  // The high half of a size is not taken.
  const auto high = [&](const std::string& object) {
    return withSize(object, (std::uint64_t{7} << 32) + object.size());
  };
  EXPECT_EQ(ScanFile(AsfFile({high(size), high(stream), AsfObject("another object  ", "")})), ExpectAudio(5000));
  // A size that leads back: the same properties are read in every round, until the rounds are over.
  EXPECT_EQ(ScanFile(AsfFile({stream, withSize(size, 0)}, 3)), ExpectAudio(5000));
  // The second object leads over the third one to the fourth, and that leads back to the third.
  const std::string over = withSize(AsfObject("another object  ", ""), 24 + size.size());
  const std::string back = withSize(AsfObject("another object  ", ""), std::uint64_t{0} - size.size());
  EXPECT_EQ(ScanFile(AsfFile({stream, over, size, back}, 4)), ExpectAudio(5000));
  EXPECT_EQ(ScanFile(AsfFile({stream, over, size, back}, 3)), kNothing);
  // An object that claims a byte less than was read of it: the next one begins with that byte.
  const std::string other = AsfStream("some other type\xA1").substr(0, 39);
  EXPECT_EQ(ScanFile(AsfFile({withSize(other, 39), size})), Expect({{kFirst + 1, 5000}}, {}, {}));
  // In front of the file there is nothing.
  EXPECT_EQ(ScanFile(AsfFile({size, withSize(stream, 0x80000000), AsfObject("another object  ", "")})),
            ExpectAudio(5000));
}

TEST(KASFFileType, LastPropertiesTellTheSize) {
  EXPECT_EQ(ScanFile(AsfFile({AsfProperties(5000), AsfStream(kAsfAudio), AsfProperties(6000)})), ExpectAudio(6000));
}

TEST(KASFFileType, RefusedFilePassesItsKindOnInsideItsBlock) {
  Device device(4, 512, kFirst, 0);
  device.Put(kFirst, AsfFile({AsfProperties(255), AsfStream(kAsfVideo)}))
      .Put(kFirst + 2, AsfFile({AsfProperties(5000)}));
  const Hits hit = {{kFirst + 2, 5000}};
  EXPECT_EQ(ScanAll(device), Expect(hit, {}, hit));
  EXPECT_EQ(ScanAll(device, {3}), Expect(hit, {}, hit));
  EXPECT_EQ(ScanAll(device, {2}), kNothing);
}

TEST(KASFFileType, ReportedFilePassesNothingOn) {
  Device device(4, 512, kFirst, 0);
  device.Put(kFirst, AsfFile({AsfProperties(256), AsfStream(kAsfVideo)}))
      .Put(kFirst + 2, AsfFile({AsfProperties(5000)}));
  EXPECT_EQ(ScanAll(device), Expect({{kFirst, 256}}, {}, {{kFirst, 256}}));
}

TEST(KASFFileType, SectorBehindAHeadMayBeAHead) {
  Device device(4, 512, kFirst, 0);
  const std::string file = AsfFile({AsfProperties(5000), AsfStream(kAsfAudio)});
  device.Put(kFirst, file).Put(kFirst + 1, file);
  EXPECT_EQ(ScanAll(device).at("KWMAFileType"), (Hits{{kFirst, 5000}, {kFirst + 1, 5000}}));
}

TEST(KASFFileType, NeedsSectorsOf16Bytes) {
  const std::string file = AsfFile({AsfProperties(5000), AsfStream(kAsfAudio)});
  for (const int size : {8, 15, 16, 17}) {
    const auto found = ScanAll(Device(300 / size, size, kFirst, 0).Put(kFirst, file));
    EXPECT_EQ(found.at("KWMAFileType"), size < 16 ? Hits{} : (Hits{{kFirst, 5000}})) << size;
  }
}

TEST(KASFFileType, BlockGivenTwiceIsReportedTwiceAndReadOnce) {
  LetClassifierForget();
  const Device device = Device(4, 512, kFirst, 0).Put(kFirst, AsfFile({AsfProperties(5000), AsfStream(kAsfAudio)}));
  const Device empty(4, 512, kFirst, 0);
  const Detector detector = CreateDetector("KWMAFileType");
  EXPECT_EQ(Scan(*detector, device), (Hits{{kFirst, 5000}}));
  EXPECT_EQ(Scan(*detector, empty), (Hits{{kFirst, 5000}}));
  detector->Reset();
  EXPECT_EQ(Scan(*detector, empty), (Hits{{kFirst, 5000}}));
  EXPECT_EQ(Scan(*detector, Device(4, 512, kFirst + 4, 0)), Hits{});
}

TEST(KASFFileType, NothingIsReadInSectorsThatAreTooLarge) {
  EXPECT_EQ(ScanAll(Device(2, 65536, kFirst, 0).Put(kFirst, AsfFile({AsfProperties(5000), AsfStream(kAsfAudio)}))),
            kNothing);
}

}  // namespace
}  // namespace qzmtraw::test
