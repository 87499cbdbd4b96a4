// Audio and video that programs wrote, each with the size that its detector gives it. tests/data/make_media_streams.sh
// makes the files.

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>

#include "tests/support/Scanning.h"

namespace qzmtraw::test {
namespace {

constexpr std::uint64_t kFirst = 5000000000;
constexpr std::uint64_t kStart = kFirst + 3;

std::string Read(const std::string& name) {
  std::ifstream file(std::filesystem::path(QZMTRAW_TEST_DATA) / "media" / name, std::ios::binary);
  if (!file) throw std::runtime_error("no file " + name);
  return {std::istreambuf_iterator<char>(file), {}};
}

/// What is found of a file on a device of zeros.
Hits ScanFile(const char* className, const std::string& file, int sectorSize = 512) {
  const auto sectors = static_cast<int>(file.size() / static_cast<std::size_t>(sectorSize));
  return ScanAnyCut(className, Device(sectors + 9, sectorSize, kFirst, 0).Put(kStart, file));
}

TEST(MediaStreams, FramesPagesTracksAndChunksAddUpToTheFile) {
  const struct {
    const char* name;
    const char* className;
  } cases[] = {
      {"tone.mp2", "CKMMp2FileType"}, {"tone.ogg", "KOggFileType"},  {"tone.opus", "KOggFileType"},
      {"tone.wv", "CKMWvFileType"},   {"clip.mkv", "KMkvFileType"},  {"clip.mpg", "CKMMpgFileType"},
      {"clip.vob", "CKMMpgFileType"}, {"scale.mid", "KMidFileType"}, {"clip.amv", "CKMAmvFileType"},
  };
  for (const auto& [name, className] : cases) {
    const std::string file = Read(name);
    EXPECT_EQ(ScanFile(className, file), (Hits{{kStart, file.size()}})) << name;
    EXPECT_EQ(ScanFile(className, file, 4096), (Hits{{kStart, file.size()}})) << name;
  }
}

TEST(MediaStreams, Mp3FileWithATagInFrontCountsItAndTheMargin) {
  const std::string tagged = Read("tagged.mp3");
  // The older tag, behind the frames, has 128 bytes and isn't counted.
  EXPECT_EQ(ScanFile("KMP3FileType", tagged), (Hits{{kStart, tagged.size() - 128 + 4096}}));
}

TEST(MediaStreams, Mp3FileWithoutATagInFrontCountsOneBehind) {
  const std::string tagged = Read("tagged.mp3");
  const auto byteAt = [&](std::size_t i) { return static_cast<std::size_t>(tagged[i]); };
  const std::size_t tagSize = 10 + (byteAt(6) << 21 | byteAt(7) << 14 | byteAt(8) << 7 | byteAt(9));
  const std::string frames = tagged.substr(tagSize, tagged.size() - 128 - tagSize);
  EXPECT_EQ(ScanFile("KMP3FileType", frames), (Hits{{kStart, frames.size() + 4096}}));
  EXPECT_EQ(ScanFile("KMP3FileType", frames + tagged.substr(0, tagSize)), (Hits{{kStart, frames.size() + 128 + 4096}}));
}

TEST(MediaStreams, FlashVideoHasTheRoughSizeOfItsMetadata) {
  // 835.0 is 40 8A 18 00 …: no bits of the first byte, ten of the second, and three bytes more.
  EXPECT_EQ(ScanFile("KFlvFileType", Read("clip.flv")), (Hits{{kStart, 0x0A180000}}));
}

TEST(MediaStreams, BareVideoEndsAtAGroupOfPictures) {
  // A sequence header of 12 bytes and its extension of 10. The bit that is asked for in the group's header is one of
  // the minutes'.
  EXPECT_EQ(ScanFile("CKMMpgFileType", Read("clip.m2v")), (Hits{{kStart, 22}}));
}

TEST(MediaStreams, TransportStreamEndsBehindItsPackets) {
  // The writer begins with a service description, in a packet of its own.
  const std::string stream = Read("clip.m2ts").substr(192);
  EXPECT_EQ(ScanFile("KMtsFileType", stream), (Hits{{kStart, stream.size()}}));
  EXPECT_EQ(ScanFile("KMtsFileType", Read("clip.m2ts")), Hits{});
}

TEST(MediaStreams, SceneIsFoundWhereItsLastBytesTouchASectorsEnd) {
  const std::string scene = Read("triangle.fbx");
  ASSERT_EQ(scene.size() % 32, 0U);
  EXPECT_EQ(ScanFile("CKMFbxFileType", scene, 32), (Hits{{kStart, scene.size()}}));
  EXPECT_EQ(ScanFile("CKMFbxFileType", scene, static_cast<int>(scene.size() - 4)), (Hits{{kStart, scene.size()}}));
  EXPECT_EQ(ScanFile("CKMFbxFileType", scene), Hits{});
}

TEST(MediaStreams, FlacWithTheLengthOfItsFirstBlockIsNotTaken) {
  const std::string file = Read("tone.flac");
  ASSERT_EQ(file.substr(0, 8), std::string("fLaC\0\0\0\x22", 8));
  EXPECT_EQ(ScanFile("CKMFlacFileType", file), Hits{});
}

}  // namespace
}  // namespace qzmtraw::test
