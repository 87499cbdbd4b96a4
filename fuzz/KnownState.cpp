#include "fuzz/KnownState.h"

#include <array>
#include <limits>
#include <string>
#include <vector>

#include "fuzz/Failure.h"
#include "fuzz/Reader.h"
#include "fuzz/Work.h"
#include "qzmtraw/RawFileTypeFactory.h"
#include "tests/support/Device.h"

namespace qzmtraw::fuzz {

namespace {

using test::Device;
using test::Literal;
using test::LittleU16;
using test::LittleU32;

// A kind of each shared classifier.
constexpr std::int32_t kCompound = 0;
constexpr std::int32_t kXml = 39;
constexpr std::int32_t kUtf8Text = 48;
constexpr std::int32_t kText = 49;
constexpr std::int32_t kTiff = 86;
constexpr std::int32_t kPortableImage = 120;
constexpr std::int32_t kZip = 143;
constexpr std::int32_t kAsf = 174;
constexpr std::int32_t kElf = 290;
constexpr std::int32_t kWindowsModule = 295;
// And one without a classifier that keeps something for the process.
constexpr std::int32_t kMp3 = 180;

constexpr std::array kRows = {kCompound, kXml, kUtf8Text, kText, kTiff,         kPortableImage,
                              kZip,      kAsf, kElf,      kMp3,  kWindowsModule};

/// Where no input's device lies.
constexpr std::uint64_t kElsewhere = std::uint64_t{1} << 61U;

class CountingSink final : public IRawHitSink {
 public:
  std::uint32_t ReservedOperation1() override { return 0; }
  std::uint32_t ReportHit(const RawFileHit* hit) override {
    last = *hit;
    ++count;
    return 0;
  }
  RawFileHit last{};
  int count = 0;
};

std::string Wide(const std::string& text) {
  std::string wide;
  for (const char character : text) (wide += character) += '\0';
  return wide;
}

/// Sectors that end what is open and replace what is remembered. Their order matters: those that look like the start of
/// a text come before the text.
Device MakeFiles() {
  Device device(11, 512, kElsewhere, 0);
  // Ends an open text, marked text and XML document.
  std::uint64_t sector = kElsewhere + 1;
  // XML keeps the end tag of the UTF-16 document that it has seen last.
  device.Put(sector, "\xFF\xFE" + Wide("<?xml version=\"1.0\"?><r></r>"));
  // TIFF keeps the place of the strip that a directory has told last.
  sector += 2;
  const std::string noValue = LittleU16(4) + LittleU32(1) + LittleU32(0);
  device.Put(sector,
             Literal("II*\0") + LittleU32(8) + LittleU16(2) + LittleU16(273) + noValue + LittleU16(279) + noValue);
  // Windows modules keep the kind and the size of the PE file that was met last.
  sector += 2;
  device.Put(sector, "MZ").Put(sector, 12, "\xFF\xFF").Put(sector, 0x3C, LittleU32(0x80));
  device.Put(sector, 0x80, Literal("PE\0\0")).Put(sector, 0x80 + 22, LittleU16(2));
  device.Put(sector, 0x80 + 60, LittleU32(512)).Put(sector, 0x80 + 80, LittleU32(0x1000));
  // Text keeps its kind, and the bytes of a text that was given up. Only a text that is reported ends both.
  sector += 2;
  device.Put(sector, std::string(512, 'a'));
  return device;
}

/// An MP3 file in two sectors. No sector lies between the first and the next to last, which the detector keeps.
Device MakeMp3() {
  Device device(3, 32768, kElsewhere, 0);
  std::string frames;
  for (int i = 0; i < 600; ++i) frames += Literal("\xFF\xFB\x14\0") + std::string(92, '\0');
  device.Put(kElsewhere, frames);
  return device;
}

class Cleaner {
 public:
  Cleaner() {
    const InLibrary inLibrary;
    for (const std::int32_t row : kRows)
      detectors_.push_back(GetRawFileTypeFactory()->CreateType(row, nullptr, nullptr));
  }

  void Clean() {
    const InLibrary inLibrary;
    for (IRawFileType* detector : detectors_) detector->Reset();
    Show(files_);
    Show(mp3_);
    // The classifiers take a block with the number of the last one for one that they have read.
    std::uint8_t nothing = 0;
    const RawSectorBlock block{std::numeric_limits<std::uint64_t>::max(), &nothing, 0, 512, nullptr};
    for (IRawFileType* detector : detectors_) detector->Scan(&block, nullptr);
  }

 private:
  void Show(const Device& device) {
    Reader reader(device, ReaderManner::kServesZeros);
    std::vector<std::uint8_t>& memory = &device == &files_ ? filesMemory_ : mp3Memory_;
    const RawSectorBlock block{device.FirstSector(), memory.data(), device.SectorCount(), device.SectorSize(), &reader};
    for (std::size_t i = 0; i < detectors_.size(); ++i) {
      CountingSink sink;
      detectors_[i]->Scan(&block, &sink);
      const bool isInFiles = kRows.at(i) == kTiff || kRows.at(i) == kWindowsModule || kRows.at(i) == kText;
      const bool mustFind = &device == &files_ ? isInFiles : kRows.at(i) == kMp3;
      if (mustFind && sink.last.startSector < kElsewhere) Fail("the library isn't brought into a known state");
    }
  }

  std::vector<IRawFileType*> detectors_;
  const Device files_ = MakeFiles();
  const Device mp3_ = MakeMp3();
  std::vector<std::uint8_t> filesMemory_ = files_.Bytes();
  std::vector<std::uint8_t> mp3Memory_ = mp3_.Bytes();
};

}  // namespace

void BringIntoKnownState() {
  // Lives as long as the process, as what it cleans.
  static auto* const kCleaner = new Cleaner;
  kCleaner->Clean();
}

}  // namespace qzmtraw::fuzz
