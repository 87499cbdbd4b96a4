// Cameras' raw pictures that have detectors of their own.

#include <gtest/gtest.h>

#include <algorithm>
#include <optional>

#include "tests/support/Scanning.h"

namespace qzmtraw::test {
namespace {

constexpr std::uint64_t kFirst = Device::kFirstSector;

/// A device with the file in its second sector, and room behind it.
Device DeviceWith(const std::string& file, int sectorSize = 512) {
  return Device(static_cast<int>(file.size()) / sectorSize + 3, sectorSize).Put(kFirst + 1, file);
}
Hits Sized(std::uint64_t size) { return {{kFirst + 1, size}}; }

std::string BigU16(std::uint16_t value) { return BigU32(value).substr(2); }

// The kinds that are known by their first bytes.

struct Signature {
  const char* className;
  std::size_t offset;
  std::string bytes;
  int floor;
};
const std::vector<Signature> kSignatures = {
    {"KRAFFileType", 0, "FUJIFILM", 8},
    {"KRDCFileType", 0, "DSC-Image", 8},
    {"KX3FFileType", 0, "FOVb", 8},
    {"CKContaxRawFileType", 25, "ARECOYK", 51},
    {"CKGPRawFileType", 0, Literal("II\x55\0\x08\0\0\0"), 51},
};

TEST(CameraRaw, KindsOfASignatureAreReportedWithoutASizeAtEveryHead) {
  for (const auto& [className, offset, bytes, floor] : kSignatures) {
    Device device(4);
    device.Put(kFirst, offset, bytes).Put(kFirst + 2, offset, bytes).Put(kFirst + 3, offset, bytes);
    EXPECT_EQ(ScanAnyCut(className, device), (Hits{{kFirst, 0}, {kFirst + 2, 0}, {kFirst + 3, 0}})) << className;
    const Detector detector = CreateDetector(className);
    detector->SetMaxFileSize(1);
    EXPECT_EQ(Scan(*detector, Device(1).Put(kFirst, offset, bytes)), (Hits{{kFirst, 0}})) << className;
  }
}

TEST(CameraRaw, KindsOfASignatureNeedAllItsBytesInTheirPlace) {
  for (const auto& [className, offset, bytes, floor] : kSignatures) {
    for (std::size_t i = 0; i < bytes.size(); ++i) {
      std::string other = bytes;
      other[i] = static_cast<char>(other[i] ^ 0x20);
      EXPECT_EQ(ScanAnyCut(className, Device(1).Put(kFirst, offset, other)), Hits{}) << className << ' ' << i;
    }
    EXPECT_EQ(ScanAnyCut(className, Device(1).Put(kFirst, offset + 1, bytes)), Hits{}) << className;
  }
}

TEST(CameraRaw, KindsOfASignatureNeedSectorsOfTheirSize) {
  for (const auto& [className, offset, bytes, floor] : kSignatures) {
    for (const int sectorSize : {floor - 1, floor}) {
      const Device device = Device(9, sectorSize).Put(kFirst, offset, bytes);
      EXPECT_EQ(Scan(*CreateDetector(className), device), sectorSize == floor ? (Hits{{kFirst, 0}}) : Hits{})
          << className;
    }
  }
  // Rollei's is one byte longer than the smallest sector: it runs on as far as the block goes.
  const Device device = Device(2, 8).Put(kFirst, "DSC-Image");
  EXPECT_EQ(Scan(*CreateDetector("KRDCFileType"), device), (Hits{{kFirst, 0}}));
  EXPECT_EQ(Scan(*CreateDetector("KRDCFileType"), device, {1}), Hits{});
}

// Minolta's.

std::string Minolta(std::uint32_t offset, std::uint16_t height, std::uint16_t width, int depth) {
  std::string file = Literal("\0MRM") + BigU32(offset) + Literal("\0PRD");
  file.resize(24, 'x');
  file += BigU16(height) + BigU16(width) + "xxxx" + static_cast<char>(depth);
  file.resize(40, 'x');
  return file;
}

TEST(CameraRaw, MinoltasSizeIsTheOffsetAndThePackedPixels) {
  struct Case {
    std::uint32_t offset;
    std::uint16_t height;
    std::uint16_t width;
    int depth;
    std::optional<std::uint64_t> size;
  };
  const std::vector<Case> cases = {
      {100, 10, 10, 12, 258},
      // Bits that don't fill a byte are rounded up.
      {100, 3, 3, 1, 110},
      {100, 2, 4, 1, 109},
      {100, 2000, 3000, 12, 9000108},
      // There is no least size.
      {0, 0, 0, 0, 8},
      {0xFFFFFFF8, 0, 0, 0, 0},
      {0xFFFFFFF7, 0, 0, 0, std::nullopt},
      {0x2000000 - 8, 0, 0, 0, 0x2000000},
      {0x2000000 - 7, 0, 0, 0, 0x2000001},
      {0x7FFFFFF7, 0, 0, 0, 0x7FFFFFFF},
      {0x7FFFFFF8, 0, 0, 0, std::nullopt},
      // The product has 64 bits, of which the sum takes the lower 32 behind the division.
      {100, 40000, 40000, 8, 1600000108},
      {100, 0x8000, 0x8000, 32, 108},
      {100, 65535, 65535, 8, std::nullopt},
  };
  for (const auto& [offset, height, width, depth, size] : cases) {
    const Device device = DeviceWith(Minolta(offset, height, width, depth));
    const Detector detector = CreateDetector("KMRWFileType");
    const Hits expected = size ? Sized(std::min<std::uint64_t>(*size, 0x2000000)) : Hits{};
    EXPECT_EQ(ScanAnyCut("KMRWFileType", device), expected) << offset << ' ' << depth;
    if (!size) continue;
    detector->SetMaxFileSize(0x7FFFFFFF);
    EXPECT_EQ(Scan(*detector, device), Sized(*size)) << offset << ' ' << depth;
  }
}

TEST(CameraRaw, MinoltasFileIsFoundByTwoKinds) {
  const Device device = DeviceWith(Minolta(100, 10, 10, 12));
  EXPECT_EQ(ScanAnyCut("KMRWFileType", device), Sized(258));
  EXPECT_EQ(ScanAnyCut("CKGMrwFileType", device), Sized(0));
  for (std::size_t i = 0; i < 12; ++i) {
    if (i >= 4 && i < 8) continue;
    std::string file = Minolta(100, 10, 10, 12);
    file[i] = static_cast<char>(file[i] ^ 1);
    EXPECT_EQ(ScanAnyCut("KMRWFileType", DeviceWith(file)), Hits{}) << i;
    EXPECT_EQ(ScanAnyCut("CKGMrwFileType", DeviceWith(file)), Hits{}) << i;
  }
}

TEST(CameraRaw, MinoltasNeedsSectorsOf34BytesOr51) {
  const std::string file = Minolta(100, 10, 10, 12);
  EXPECT_EQ(Scan(*CreateDetector("KMRWFileType"), DeviceWith(file, 33)), Hits{});
  EXPECT_EQ(Scan(*CreateDetector("KMRWFileType"), DeviceWith(file, 34)), Sized(258));
  EXPECT_EQ(Scan(*CreateDetector("CKGMrwFileType"), DeviceWith(file, 50)), Hits{});
  EXPECT_EQ(Scan(*CreateDetector("CKGMrwFileType"), DeviceWith(file, 51)), Sized(0));
}

TEST(CameraRaw, MinoltasFileIsKnownBySectorAlone) {
  std::string sector = Minolta(100, 10, 10, 12);
  sector.resize(512);
  const RawSectorBlock block{kFirst, reinterpret_cast<std::uint8_t*>(sector.data()), 1, 512, nullptr};
  RecordingSink sink;
  CreateDetector("KMRWFileType")->Scan(&block, &sink);
  EXPECT_EQ(sink.Found(), (Hits{{kFirst, 258}}));
}

// Olympus'.

struct Tag {
  std::uint16_t tag;
  std::uint32_t value;
  std::uint16_t type = 4;
};

/// A file whose directory stands at offset 16 and whose maker's name at offset 200.
std::string Olympus(const std::vector<Tag>& tags, const std::string& name = "OLYMPUS", std::uint32_t directory = 16) {
  std::string file =
      "IIRO" + LittleU32(directory) + std::string(8, 'x') + LittleU16(static_cast<std::uint16_t>(tags.size()));
  for (const Tag& tag : tags) file += LittleU16(tag.tag) + LittleU16(tag.type) + LittleU32(1) + LittleU32(tag.value);
  file.resize(200, 'x');
  return file + name;
}
Hits ScanOlympus(const std::string& file) { return ScanAnyCut("KOrfFileType", DeviceWith(file)); }

TEST(CameraRaw, OlympusHeadHasAnyFourthByte) {
  std::string file = Olympus({{273, 600}, {279, 50}});
  for (const int fourth : {0, 0x42, 0x48, 0x4F, 0x53, 0x58, 0x80, 0xFF}) {
    file[3] = static_cast<char>(fourth);
    EXPECT_EQ(ScanOlympus(file), Sized(650)) << fourth;
  }
  for (std::size_t i = 0; i < 3; ++i) {
    std::string other = file;
    other[i] = 'M';
    EXPECT_EQ(ScanOlympus(other), Hits{}) << i;
  }
}

TEST(CameraRaw, OlympusNeedsSectorsOf16Bytes) {
  const std::string file = Olympus({{273, 600}, {279, 50}});
  EXPECT_EQ(Scan(*CreateDetector("KOrfFileType"), DeviceWith(file, 15)), Hits{});
  EXPECT_EQ(Scan(*CreateDetector("KOrfFileType"), DeviceWith(file, 16)), Sized(650));
  // Nothing can be read where sectors can't be cached.
  EXPECT_EQ(Scan(*CreateDetector("KOrfFileType"), DeviceWith(file, 65536)), Hits{});
}

TEST(CameraRaw, OlympusNameInAnyLettersIsSeenUpToOffset8184) {
  for (const char* name : {"OLYMPUS", "Olympus", "olympus", "oLYMPUs"}) {
    EXPECT_EQ(ScanOlympus(Olympus({{273, 600}}, name)), Sized(600)) << name;
  }
  EXPECT_EQ(ScanOlympus(Olympus({{273, 600}}, "OLYMPU5")), Hits{});
  EXPECT_EQ(ScanOlympus(Olympus({{273, 600}}, "OLYMPU")), Hits{});
  for (std::size_t offset = 8184; offset < 8194; ++offset) {
    std::string file = Olympus({{273, 600}}, "");
    file.resize(offset, 'x');
    EXPECT_EQ(ScanOlympus(file + "OLYMPUS"), offset == 8184 ? Sized(600) : Hits{}) << offset;
  }
}

TEST(CameraRaw, OlympusSizeIsTheStripsEndOrTheThumbnails) {
  EXPECT_EQ(ScanOlympus(Olympus({{273, 600}, {279, 50}})), Sized(650));
  EXPECT_EQ(ScanOlympus(Olympus({{513, 700}, {514, 60}})), Sized(760));
  EXPECT_EQ(ScanOlympus(Olympus({{273, 600}, {279, 50}, {513, 700}, {514, 60}})), Sized(760));
  EXPECT_EQ(ScanOlympus(Olympus({{273, 600}, {279, 50}, {514, 60}})), Sized(660));
  // Values of 16 bits are taken as well.
  EXPECT_EQ(ScanOlympus(Olympus({{273, 600, 3}, {279, 50, 3}})), Sized(650));
}

TEST(CameraRaw, OlympusDirectoryIsReadAsFarAsItsTagsRise) {
  EXPECT_EQ(ScanOlympus(Olympus({{273, 600}, {273, 601}, {279, 50}})), Sized(651));
  EXPECT_EQ(ScanOlympus(Olympus({{514, 60}, {513, 700}, {514, 90}})), Sized(60));
  EXPECT_EQ(ScanOlympus(Olympus({{279, 50}, {273, 600}})), Sized(50));
  EXPECT_EQ(ScanOlympus(Olympus({{273, 600}, {272, 1}, {279, 50}})), Sized(600));
  // And as far as its types are known.
  EXPECT_EQ(ScanOlympus(Olympus({{273, 600}, {274, 1, 13}, {279, 50}})), Sized(600));
}

TEST(CameraRaw, OlympusSizeHasNoMinimumAndMayNotBeNegative) {
  EXPECT_EQ(ScanOlympus(Olympus({})), Sized(0));
  EXPECT_EQ(ScanOlympus(Olympus({{273, 1}})), Sized(1));
  EXPECT_EQ(ScanOlympus(Olympus({{273, 0x80000000}})), Hits{});
  EXPECT_EQ(ScanOlympus(Olympus({{273, 0xFFFFFFFF}})), Hits{});
  EXPECT_EQ(ScanOlympus(Olympus({{273, 0xFFFFFFFF}, {279, 101}})), Sized(100));
  EXPECT_EQ(ScanOlympus(Olympus({{273, 0x2000000}})), Sized(0x2000000));
  EXPECT_EQ(ScanOlympus(Olympus({{273, 0x2000001}})), Sized(0x2000000));
  EXPECT_EQ(ScanOlympus(Olympus({{273, 0x7FFFFFFF}})), Sized(0x2000000));
}

TEST(CameraRaw, OlympusFileInheritsTheStripOfTheFileBefore) {
  Device device(40);
  device.Put(kFirst, Olympus({{273, 600}, {279, 50}}))
      .Put(kFirst + 3, Olympus({}))
      .Put(kFirst + 6, Olympus({{514, 70}}))
      .Put(kFirst + 9, Olympus({{273, 800}, {274, 1, 13}, {279, 50}}));
  const Detector detector = CreateDetector("KOrfFileType");
  EXPECT_EQ(Scan(*detector, device), (Hits{{kFirst, 650}, {kFirst + 3, 650}, {kFirst + 6, 670}, {kFirst + 9, 870}}));
  EXPECT_EQ(Scan(*detector, DeviceWith(Olympus({}))), Sized(870));
  detector->Reset();
  EXPECT_EQ(Scan(*detector, DeviceWith(Olympus({}))), Sized(0));
}

TEST(CameraRaw, OlympusDirectoryStandsUpToTheHostsLimit) {
  std::string file = Olympus({}, "OLYMPUS", 1001);
  file.resize(1001, 'x');
  file += LittleU16(1) + LittleU16(273) + LittleU16(4) + LittleU32(1) + LittleU32(600);
  const Detector detector = CreateDetector("KOrfFileType");
  detector->SetMaxFileSize(1000);
  EXPECT_EQ(Scan(*detector, DeviceWith(file)), Sized(0));
  // Limits compare as signed numbers: this one is below every offset, and every size is cut to it.
  detector->SetMaxFileSize(0xFFFFFFFFFFFFFFFF);
  EXPECT_EQ(Scan(*detector, DeviceWith(file)), Sized(0xFFFFFFFFFFFFFFFF));
  detector->SetMaxFileSize(1001);
  EXPECT_EQ(Scan(*detector, DeviceWith(Olympus({}))), Sized(0));
  EXPECT_EQ(Scan(*detector, DeviceWith(file)), Sized(600));
  detector->SetMaxFileSize(599);
  EXPECT_EQ(Scan(*detector, DeviceWith(Olympus({{273, 600}}))), Sized(599));
  // A directory behind the device has no entries. Offsets are unsigned.
  detector->SetMaxFileSize(0x100000000);
  EXPECT_EQ(Scan(*detector, DeviceWith(Olympus({}, "OLYMPUS", 0xFFFFFFF0))), Sized(600));
}

// Canon's.

const std::string kHeap = Literal("II\x1A\0\0\0HEAPCCDR");

/// A root directory with the raw picture in the place `raw` of its entries.
std::string Root(std::uint16_t count, int raw, std::uint32_t offset) {
  std::string bytes = LittleU16(count);
  for (int i = 0; i < count; ++i)
    bytes += LittleU16(static_cast<std::uint16_t>(i == raw ? 0x2005 : 0x300A)) + std::string(8, 'e');
  return bytes + LittleU32(offset);
}

/// A file of three sectors and a last one that has `word` and, at `place`, a root directory whose own offset is wrong
/// by `error`.
std::string Canon(const std::string& word, std::size_t place, std::uint16_t count = 3, int raw = 0,
                  std::uint32_t error = 0) {
  std::string file = kHeap;
  file.resize(3 * 512 + 10, 'x');
  file += word;
  file.resize(3 * 512 + place, 'x');
  return file + Root(count, raw, static_cast<std::uint32_t>(3 * 512 + place - 26) + error);
}
Hits ScanCanon(const std::string& file) { return ScanAnyCut("KCRWFileType", DeviceWith(file)); }
const std::string kWord = "Canon EOS";

TEST(CameraRaw, CanonsFileEndsBehindItsRootDirectoryNearAWord) {
  for (const char* word : {"CRW:EOS", "CMOS RAW IMAGE", "Canon EOS", "Firmware Version"}) {
    const std::string file = Canon(word, 100);
    EXPECT_EQ(ScanCanon(file), Sized(1536 + 100 + 32 + 4)) << word;
  }
  for (const char* word : {"CRW:EO5", "Cmos Raw Image", "canon eos", "CANON EOS", "Firmware version", "Canon"}) {
    EXPECT_EQ(ScanCanon(Canon(word, 100)), Hits{}) << word;
  }
}

TEST(CameraRaw, CanonsRootDirectoryHas2To5EntriesOneOfThemTheRawPicture) {
  for (std::uint16_t count = 0; count < 8; ++count) {
    for (int raw = 0; raw < count; ++raw) {
      const bool fits = count >= 2 && count <= 5;
      EXPECT_EQ(ScanCanon(Canon(kWord, 100, count, raw)), fits ? Sized(1536 + 100 + 10U * count + 6) : Hits{})
          << count << ' ' << raw;
    }
    EXPECT_EQ(ScanCanon(Canon(kWord, 100, count, -1)), Hits{}) << count;
  }
}

TEST(CameraRaw, CanonsRootDirectoryIsFollowedByItsOwnOffsetInTheHeap) {
  EXPECT_EQ(ScanCanon(Canon(kWord, 100, 3, 0, 1)), Hits{});
  EXPECT_EQ(ScanCanon(Canon(kWord, 100, 3, 0, 0xFFFFFFFF)), Hits{});
  EXPECT_EQ(ScanCanon(Canon(kWord, 100, 3, 0, 26)), Hits{});
  // The first one that fits counts.
  EXPECT_EQ(ScanCanon(Canon(kWord, 100, 3, 0, 1) + Canon("", 700, 2, 1).substr(3 * 512 + 136)), Sized(1536 + 700 + 26));
  EXPECT_EQ(ScanCanon(Canon(kWord, 100) + Canon("", 700).substr(3 * 512 + 136)), Sized(1536 + 136));
}

TEST(CameraRaw, CanonsRootDirectoryIsLookedForBelow65000Bytes) {
  EXPECT_EQ(ScanCanon(Canon(kWord, 64999)), Sized(1536 + 64999 + 36));
  EXPECT_EQ(ScanCanon(Canon(kWord, 65000)), Hits{});
  EXPECT_EQ(ScanCanon(Canon(kWord, 64999, 5, 4)), Sized(1536 + 64999 + 56));
}

TEST(CameraRaw, CanonsWordLiesInOneSectorAndNotOnItsLastByte) {
  for (const char* text : {"CRW:EOS", "CMOS RAW IMAGE", "Canon EOS", "Firmware Version"}) {
    const std::string word = text;
    const auto scan = [&](std::size_t offset) {
      std::string file = Canon("", 600);
      return ScanCanon(file.replace(3 * 512 + offset, word.size(), word));
    };
    EXPECT_EQ(scan(0), Sized(1536 + 600 + 36)) << word;
    EXPECT_EQ(scan(511 - word.size()), Sized(1536 + 600 + 36)) << word;
    EXPECT_EQ(scan(512 - word.size()), Hits{}) << word;
    EXPECT_EQ(scan(513 - word.size()), Hits{}) << word;
  }
}

TEST(CameraRaw, CanonsFileIsLostAtAWordWithoutARootDirectory) {
  std::string file = Canon(kWord, 100);
  file.replace(600, kWord.size(), kWord);
  EXPECT_EQ(ScanCanon(file.substr(0, 1024)), Hits{});
  // The word may stand sectors before the directory.
  EXPECT_EQ(ScanCanon(file), Sized(1672));
  Device device(400);
  device.Put(kFirst, kHeap).Put(kFirst + 1, kWord).Put(kFirst + 200, kWord + Root(2, 0, 200 * 512 - 26 + 9));
  EXPECT_EQ(ScanAnyCut("KCRWFileType", device), Hits{});
  device.Put(kFirst + 1, "another word");
  EXPECT_EQ(ScanAnyCut("KCRWFileType", device), (Hits{{kFirst, 200 * 512 + 9 + 26}}));
}

TEST(CameraRaw, CanonsWordMayStandInTheSectorOfTheHead) {
  std::string file = kHeap + kWord;
  file.resize(700, 'x');
  EXPECT_EQ(ScanCanon(file + Root(2, 0, 700 - 26)), Sized(726));
}

TEST(CameraRaw, CanonsFileIsReportedFrom512BytesOn) {
  const auto scan = [](std::size_t place) {
    std::string file = kHeap + kWord;
    file.resize(place, 'x');
    return ScanCanon(file + Root(2, 0, static_cast<std::uint32_t>(place) - 26));
  };
  EXPECT_EQ(scan(512 - 26), Sized(512));
  EXPECT_EQ(scan(511 - 26), Hits{});
  // A dropped file is closed.
  std::string file = kHeap + kWord;
  file.resize(100, 'x');
  file += Root(2, 0, 74);
  file.resize(3 * 512, 'x');
  EXPECT_EQ(ScanCanon(file + kHeap), Hits{});
}

TEST(CameraRaw, CanonsNextHeadReportsTheFileBeforeFrom512BytesOn) {
  Device device(40, 128);
  device.Put(kFirst, kHeap).Put(kFirst + 3, kHeap).Put(kFirst + 7, kHeap);
  EXPECT_EQ(ScanAnyCut("KCRWFileType", device), (Hits{{kFirst + 3, 512}}));
}

TEST(CameraRaw, CanonsFileWithoutAWordIsGivenUpAboveTheLimit) {
  const Device device = Device(9).Put(kFirst, kHeap).Put(kFirst + 8, kHeap);
  const auto scan = [&](std::uint64_t limit) {
    const Detector detector = CreateDetector("KCRWFileType");
    detector->SetMaxFileSize(limit);
    return Scan(*detector, device, {2});
  };
  EXPECT_EQ(scan(4095), (Hits{{kFirst, 4095}}));
  EXPECT_EQ(scan(4096), (Hits{{kFirst, 4096}}));
  EXPECT_EQ(scan(100), (Hits{{kFirst, 100}, {kFirst + 8, 100}}));

  constexpr int kSize = 0x8000;
  const Detector detector = CreateDetector("KCRWFileType");
  EXPECT_EQ(Scan(*detector, Device(1, kSize).Put(kFirst, kHeap)), Hits{});
  const Device filler(64, kSize);
  for (int i = 0; i < 15; ++i) EXPECT_EQ(Scan(*detector, filler), Hits{});
  EXPECT_EQ(Scan(*detector, Device(63, kSize)), Hits{});
  EXPECT_EQ(Scan(*detector, Device(1, kSize)), (Hits{{kFirst, 0x2000000}}));
  EXPECT_EQ(Scan(*detector, Device(1, kSize).Put(kFirst, kHeap)), Hits{});
}

TEST(CameraRaw, CanonsSizeIsClipped) {
  const Detector detector = CreateDetector("KCRWFileType");
  const Device device = DeviceWith(Canon(kWord, 100));
  detector->SetMaxFileSize(1672);
  EXPECT_EQ(Scan(*detector, device), Sized(1672));
  detector->SetMaxFileSize(1671);
  EXPECT_EQ(Scan(*detector, device), Sized(1671));
}

TEST(CameraRaw, CanonsHeadHas14BytesAndSectorsOf17) {
  for (std::size_t i = 0; i < kHeap.size(); ++i) {
    std::string file = Canon(kWord, 100);
    file[i] = static_cast<char>(file[i] ^ 1);
    EXPECT_EQ(ScanCanon(file), Hits{}) << i;
  }
  for (const int sectorSize : {16, 17}) {
    std::string file = kHeap;
    file.resize(40 * static_cast<std::size_t>(sectorSize), 'x');
    file += "CRW:EOS" + std::string(10, 'x');
    const std::size_t place = file.size();
    file += Root(2, 0, static_cast<std::uint32_t>(place) - 26);
    EXPECT_EQ(Scan(*CreateDetector("KCRWFileType"), DeviceWith(file, sectorSize)),
              sectorSize == 17 ? Sized(place + 26) : Hits{});
  }
}

TEST(CameraRaw, CanonsFileIsForgottenAtReset) {
  const Detector detector = CreateDetector("KCRWFileType");
  EXPECT_EQ(Scan(*detector, Device(2).Put(kFirst, kHeap)), Hits{});
  detector->Reset();
  EXPECT_EQ(Scan(*detector, Device(2).Put(kFirst, kHeap)), Hits{});
}

// All of them, and JPEG and TIFF.

TEST(CameraRaw, NoSectorSizeAndNoReaderDoesAnyHarm) {
  const std::vector<std::string> heads = {
      Literal("\xFF\xD8\xFF\xE0\0\x10JFIF\0\0\0\0\0\0\0\0\0\0\xFF\xC0\0\2"),
      Literal("\xFF\xD8\xFF\xE1\0\x10"
              "Exif\0\0\0\0\0\0\0\0\0\0\xFF\xDA\0\2"),
      Literal("II*\0\x08\0\0\0\1\0"),
      Literal("MM\0*\0\0\0\x08\0\1"),
      Literal("IIRO\x08\0\0\0\1\0OLYMPUS"),
      kHeap + "CRW:EOS",
      Minolta(100, 10, 10, 12),
      "FUJIFILM",
      "DSC-Image",
  };
  const char* const kinds[] = {"KJPGFileType", "KExifJpgFileType", "KTifFileType",   "KOrfFileType",
                               "KCRWFileType", "KMRWFileType",     "CKGMrwFileType", "KRDCFileType"};
  for (const int sectorSize : {1, 2, 7, 8, 9, 14, 15, 16, 17, 33, 34, 51, 512, 32768, 32769, 65536}) {
    for (const std::string& head : heads) {
      std::string file = head;
      file.resize(std::min(head.size(), 3 * static_cast<std::size_t>(sectorSize)));
      for (const Manner manner : {Manner::kServes, Manner::kLeavesBuffer, Manner::kFillsRubbish}) {
        for (const char* kind : kinds) {
          // A JPEG file whose end isn't found would be read for 64 MiB.
          if (manner == Manner::kServes && head[0] == '\xFF' && sectorSize < 512) continue;
          Device device(3, sectorSize);
          device.Put(kFirst, file);
          if (sectorSize >= 512) device.Put(kFirst + 1, "\xFF\xD9");
          Scan(*CreateDetector(kind), device, {1}, manner);
        }
      }
    }
  }
}

}  // namespace
}  // namespace qzmtraw::test
