// Audio and video that programs wrote, each with the size that its detector gives it.
// tests/data/make_container_media.sh makes them. Sizes that differ from the file's own are worked out from its
// structure.

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>

#include "tests/support/Scanning.h"

namespace qzmtraw::test {
namespace {

constexpr std::uint64_t kFirst = 70000;

std::string Read(const std::string& name) {
  std::ifstream file(std::filesystem::path(QZMTRAW_TEST_DATA) / "media" / name, std::ios::binary);
  if (!file) throw std::runtime_error("no file " + name);
  return {std::istreambuf_iterator<char>(file), {}};
}

struct MediaFile {
  std::string name;
  std::string className;
  std::int64_t difference = 0;  ///< From the file's size.
  bool sizeKnown = true;
};

TEST(MediaFiles, HaveTheSizesThatTheirContainersTell) {
  const MediaFile files[] = {
      {"movie.mov", "KMovFileType"},
      {"plain.mp4", "KMP4FileType"},
      {"faststart.mp4", "KMP4FileType"},
      // The first fragment alone is counted, and the uuid, free and mdat atoms without the moov behind them.
      {"fragments.mp4", "KMP4FileType", -(112 + 1416 + 112 + 1409 + 105)},
      {"player.mp4", "KMP4FileType", -1411},
      {"phone.3gp", "K3GPFileType"},
      {"phone.3g2", "CKM3g2FileType"},
      {"audio.m4a", "KM4AFileType"},
      // The header of the outer chunk isn't counted.
      {"audio.wav", "KWavFileType", -8},
      {"audio.aiff", "KAifFileType", -8},
      {"audio.au", "KSndFileType"},
      {"clip.avi", "KAviFileType"},
      {"audio.voc", "CKMVocFileType"},
      {"speech.amr", "CKMAmrFileType"},
      {"audio.tta", "CKMTtaFileType", 0, false},
  };
  for (const MediaFile& file : files) {
    const std::string bytes = Read(file.name);
    const auto size = static_cast<std::uint64_t>(static_cast<std::int64_t>(bytes.size()) + file.difference);
    const Device device = Device(60, 512, kFirst, 0).Put(kFirst + 3, bytes);
    EXPECT_EQ(ScanAnyCut(file.className, device), (Hits{{kFirst + 3, file.sizeKnown ? size : 0}})) << file.name;
  }
}

TEST(MediaFiles, EveryPartitionOfMaterialAtASectorIsAStart) {
  const std::string bytes = Read("picture.mxf");
  const std::string mark = Literal("\x06\x0E\x2B\x34\x02\x05\x01\x01\x0D\x01\x02");
  Hits expected;
  for (std::size_t at = 0; at < bytes.size(); at += 512) {
    if (bytes.compare(at, mark.size(), mark) == 0) expected.push_back({kFirst + 3 + at / 512, 0});
  }
  ASSERT_GT(expected.size(), 1U);
  EXPECT_EQ(ScanAnyCut("CKMMxfFileType", Device(60, 512, kFirst, 0).Put(kFirst + 3, bytes)), expected);
}

TEST(MediaFiles, AsfIsOfTheKindsOfItsLastStream) {
  struct AsfCase {
    std::string name;
    bool isAudio;
  };
  // video.wmv has a video stream and an audio stream behind it, which makes it audio.
  for (const AsfCase& file : {AsfCase{"audio.wma", true}, AsfCase{"video.wmv", true}, AsfCase{"silent.wmv", false}}) {
    const std::string bytes = Read(file.name);
    const Hits hit = {{kFirst + 3, bytes.size()}};
    const Device device = Device(60, 512, kFirst, 0).Put(kFirst + 3, bytes);
    Scan(*CreateDetector("KASFileType"), Device(1, 512, 1));
    EXPECT_EQ(Scan(*CreateDetector("KASFileType"), device), hit) << file.name;
    EXPECT_EQ(Scan(*CreateDetector("KWMAFileType"), device), file.isAudio ? hit : Hits{}) << file.name;
    EXPECT_EQ(Scan(*CreateDetector("KWMVFileType"), device), hit) << file.name;
  }
}

}  // namespace
}  // namespace qzmtraw::test
