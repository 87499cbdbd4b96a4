#include <gtest/gtest.h>

#include <optional>
#include <random>

#include "tests/support/Scanning.h"

namespace qzmtraw::test {
namespace {

/// Where the walk of a head at the start of a block meets the head, in sectors of 512 bytes.
constexpr std::uint64_t kMeeting = 512;

std::string Head(unsigned width, unsigned height, unsigned flags = 0) {
  return "GIF89a" + LittleU16(static_cast<std::uint16_t>(width)) + LittleU16(static_cast<std::uint16_t>(height)) +
         static_cast<char>(flags) + Literal("\0\0");
}

std::string Repeat(const std::string& piece, std::size_t count) {
  std::string bytes;
  for (std::size_t i = 0; i < count; ++i) bytes += piece;
  return bytes;
}
std::string Zeros(std::size_t count) { return Repeat(Literal("\0"), count); }

/// An image descriptor.
std::string Image(unsigned flags = 0) { return "," + Zeros(8) + static_cast<char>(flags); }

/// Bytes that make a file large enough to be reported, and no block of their own.
const std::string kRoom = Zeros(300);

/// The hits of a device that holds `bytes` where the walk meets its head, and zeros behind.
Hits ScanMeeting(const std::string& bytes, std::size_t sectors = 0) {
  const auto count = static_cast<int>(std::max(bytes.size() / 512 + 1, sectors));
  return Scan(*CreateDetector("KGIFFileType"), Device(count, 512, kMeeting, 0).Put(kMeeting, bytes));
}

TEST(KGIFFileType, SizeIsOneByteAboveThePositionBehindTheTrailer) {
  const std::string file = Head(40, 30) + kRoom + ";";
  EXPECT_EQ(ScanMeeting(file), (Hits{{kMeeting, file.size() + 1}}));
}

TEST(KGIFFileType, WalkBeginsAtTheSectorNumberedByTheSectorSizeAndTheIndex) {
  const std::string head = Head(40, 30);
  // The block doesn't begin at sector 512; what the walk reads stands there, and isn't looked at for its signature.
  const std::string elsewhere = "??????" + Head(40, 30).substr(6) + kRoom + ";";
  Device device(400, 512, 400, 0);
  device.Put(400 + 3, head).Put(512 + 3, elsewhere);
  EXPECT_EQ(Scan(*CreateDetector("KGIFFileType"), device), (Hits{{403, elsewhere.size() + 1}}));
  // In a block of its own the head has another index, and the walk finds zeros.
  EXPECT_EQ(Scan(*CreateDetector("KGIFFileType"), device, {1}), Hits{});
  // Sectors of another size are looked for elsewhere.
  Device large(40, 4096, 4090, 0);
  large.Put(4090, head).Put(4096, elsewhere);
  EXPECT_EQ(Scan(*CreateDetector("KGIFFileType"), large), (Hits{{4090, elsewhere.size() + 1}}));
}

TEST(KGIFFileType, IsReportedFrom256BytesOn) {
  EXPECT_EQ(ScanMeeting(Head(40, 30) + Zeros(240) + ";"), Hits{});
  EXPECT_EQ(ScanMeeting(Head(40, 30) + Zeros(241) + ";"), (Hits{{kMeeting, 256}}));
}

TEST(KGIFFileType, WalkWithoutTrailerIsReportedWithSize0) {
  EXPECT_EQ(ScanMeeting(Head(40, 30) + Zeros(2000)), (Hits{{kMeeting, 0}}));
}

TEST(KGIFFileType, WalkTakes1024Blocks) {
  EXPECT_EQ(ScanMeeting(Head(40, 30) + Zeros(1023) + ";"), (Hits{{kMeeting, 13 + 1024 + 1}}));
  EXPECT_EQ(ScanMeeting(Head(40, 30) + Zeros(1024) + ";"), (Hits{{kMeeting, 0}}));
}

TEST(KGIFFileType, LimitClipsASizeAndThe0) {
  const auto scan = [](const std::string& bytes, std::uint64_t limit) {
    const Detector detector = CreateDetector("KGIFFileType");
    detector->SetMaxFileSize(limit);
    return Scan(*detector, Device(9, 512, kMeeting, 0).Put(kMeeting, bytes));
  };
  const std::string file = Head(40, 30) + kRoom + ";";
  EXPECT_EQ(scan(file, file.size() + 1), (Hits{{kMeeting, file.size() + 1}}));
  EXPECT_EQ(scan(file, file.size()), (Hits{{kMeeting, file.size()}}));
  const std::uint64_t negative = 0xFFFFFFFFFFFFFFF0;
  EXPECT_EQ(scan(Head(40, 30), 0), (Hits{{kMeeting, 0}}));
  EXPECT_EQ(scan(Head(40, 30), negative), (Hits{{kMeeting, negative}}));
}

TEST(KGIFFileType, GlobalColourTableIsPassedOver) {
  for (unsigned bits = 0; bits < 8; ++bits) {
    const std::string file = Head(40, 30, 0x80 + bits) + std::string(std::size_t{3} << (bits + 1), ';') + kRoom + ";";
    EXPECT_EQ(ScanMeeting(file), (Hits{{kMeeting, file.size() + 1}})) << bits;
    EXPECT_EQ(ScanMeeting(Head(40, 30, bits) + kRoom + ";"), (Hits{{kMeeting, 13 + 300 + 2}})) << bits;
  }
}

TEST(KGIFFileType, SideBelow8EndsTheWalkBehindItsFirstBlock) {
  for (const auto& [width, height] : {std::pair(7U, 8U), std::pair(8U, 7U), std::pair(0U, 0U)}) {
    EXPECT_EQ(ScanMeeting(Head(width, height, 0x87) + Zeros(769) + ";"), (Hits{{kMeeting, 0}}));
    // The trailer gives its size all the same.
    EXPECT_EQ(ScanMeeting(Head(width, height, 0x87) + Zeros(768) + ";"), (Hits{{kMeeting, 13 + 768 + 2}}));
  }
  EXPECT_EQ(ScanMeeting(Head(8, 8, 0x87) + Zeros(769) + ";"), (Hits{{kMeeting, 13 + 769 + 2}}));
}

TEST(KGIFFileType, GraphicControlHasSixBytes) {
  const std::string file = Head(40, 30) + kRoom + "!\xF9;;;;;;" + ";";
  EXPECT_EQ(ScanMeeting(file), (Hits{{kMeeting, file.size() + 1}}));
}

TEST(KGIFFileType, OtherExtensionsAreChainsOfLengths) {
  for (const std::string label : {"\xFF", "\xFE", "\x01", ";", "!"}) {
    const std::string file =
        Head(40, 30) + kRoom + "!" + label + "\x0B" + std::string(11, ';') + "\3;;;" + Zeros(1) + ";";
    EXPECT_EQ(ScanMeeting(file), (Hits{{kMeeting, file.size() + 1}}));
  }
}

TEST(KGIFFileType, ExtensionEndsBehindEightLengthsForEachLine) {
  for (const unsigned height : {8U, 9U}) {
    const std::string file = Head(40, height) + kRoom + "!\xFF" + Repeat("\1;", height * 8) + ";";
    EXPECT_EQ(ScanMeeting(file), (Hits{{kMeeting, file.size() + 1}}));
    // Each extension counts anew.
    const std::string two = Head(40, height) + kRoom + Repeat("!\xFF" + Repeat("\1;", height * 8), 2) + ";";
    EXPECT_EQ(ScanMeeting(two), (Hits{{kMeeting, two.size() + 1}}));
    const std::string less =
        Head(40, height) + kRoom + "!\xFF" + Repeat("\1;", height * 8 - 1) + ";;" + Zeros(60) + ";";
    EXPECT_EQ(ScanMeeting(less), (Hits{{kMeeting, less.size() + 1}}));
  }
}

TEST(KGIFFileType, ExtensionOfAPictureWithoutLinesHasOneLength) {
  // The walk ends behind the first block of such a picture, whose position is told by its size when that reaches 256.
  const std::string colours = Zeros(3 * 64);
  const std::string front = Head(40, 0, 0x85) + colours + "!\xFF";
  for (const std::size_t length : {46U, 47U}) {
    const std::string file = front + static_cast<char>(length) + std::string(length, '\1') + "\1\1\1";
    EXPECT_EQ(ScanMeeting(file), length == 47 ? (Hits{{kMeeting, 0}}) : Hits{});
  }
}

TEST(KGIFFileType, CodeSizeIsTakenForTheFirstLength) {
  // A code size of 8 passes over the first sub-block's length and seven of its bytes.
  const std::string file = Head(40, 30) + kRoom + Image() + "\x08" + ";;;;;;;;" + "\2;;" + Zeros(1) + ";";
  EXPECT_EQ(ScanMeeting(file), (Hits{{kMeeting, file.size() + 1}}));
}

TEST(KGIFFileType, CodeSizeOf0DoesntEndTheChain) {
  const std::string file = Head(40, 30) + kRoom + Image() + Literal("\0\2;;\0") + ";";
  EXPECT_EQ(ScanMeeting(file), (Hits{{kMeeting, file.size() + 1}}));
}

TEST(KGIFFileType, LocalColourTableIsPassedOver) {
  for (unsigned bits = 0; bits < 8; ++bits) {
    const std::string colours(std::size_t{3} << (bits + 1), ';');
    const std::string file = Head(40, 30) + kRoom + Image(0x80 + bits) + colours + Literal("\1;\0") + ";";
    EXPECT_EQ(ScanMeeting(file), (Hits{{kMeeting, file.size() + 1}})) << bits;
    const std::string plain = Head(40, 30) + kRoom + Image(0x40 + bits) + Literal("\1;\0") + ";";
    EXPECT_EQ(ScanMeeting(plain), (Hits{{kMeeting, plain.size() + 1}})) << bits;
  }
}

TEST(KGIFFileType, ImageHasAtMostEightLengthsForEachLine) {
  const auto scan = [](std::size_t lengths) {
    return ScanMeeting(Head(40, 8) + kRoom + Image() + Repeat("\1;", lengths) + Zeros(1) + ";");
  };
  EXPECT_EQ(scan(64), (Hits{{kMeeting, 13 + 300 + 10 + 128 + 1 + 2}}));
  EXPECT_EQ(scan(65), (Hits{{kMeeting, 0}}));
  // Each image counts anew.
  const std::string two = Head(40, 8) + kRoom + Repeat(Image() + Repeat("\1;", 64) + Zeros(1), 2) + ";";
  EXPECT_EQ(ScanMeeting(two), (Hits{{kMeeting, two.size() + 1}}));
}

TEST(KGIFFileType, ChainMayNotPass0x100000) {
  // An image far behind, whose first length leads to the position asked for and is followed by the end.
  const auto scan = [](std::size_t position) {
    std::string bytes = Head(40, 0xFFFF);
    // Long extensions carry the walk near to the end.
    const std::string length = "\xFF" + std::string(255, 'x');
    while (bytes.size() + 9000 < position) bytes += "!\xFF" + Repeat(length, 30) + Zeros(1);
    while (bytes.size() + 1000 < position) bytes += "!\xFF" + Repeat(length, 3) + Zeros(1);
    bytes += Zeros(position - bytes.size() - 10 - 1 - 200) + Image() + static_cast<char>(200) + std::string(200, 'x');
    EXPECT_EQ(bytes.size(), position);
    return ScanMeeting(bytes + Zeros(1) + ";");
  };
  // The walk ends behind a block that reaches 0x100000, and a trailer there isn't seen.
  EXPECT_EQ(scan(0xFFFFE), (Hits{{kMeeting, 0x100000}}));
  EXPECT_EQ(scan(0xFFFFF), (Hits{{kMeeting, 0}}));
  EXPECT_EQ(scan(0x100000), (Hits{{kMeeting, 0}}));
  EXPECT_EQ(scan(0x100001), (Hits{{kMeeting, 0}}));
}

TEST(KGIFFileType, ChainWithoutEndIsReadUpTo0x100000) {
  const Device device = Device(6000, 512, kMeeting, 0xFF).Put(kMeeting, Head(40, 0xFFFF) + Image());
  DeviceReader reader(device);
  RecordingSink sink;
  std::vector<std::uint8_t> memory(device.Bytes().begin(), device.Bytes().begin() + 512);
  const RawSectorBlock block{kMeeting, memory.data(), 1, 512, &reader};
  CreateDetector("KGIFFileType")->Scan(&block, &sink);
  EXPECT_EQ(sink.Found(), (Hits{{kMeeting, 0}}));
  ASSERT_FALSE(reader.Calls().empty());
  EXPECT_LE(reader.Calls().back().startSector, kMeeting + 0x100000 / 512);
  EXPECT_GT(reader.Calls().back().startSector, kMeeting + 0xF0000 / 512);
}

TEST(KGIFFileType, FailingReadsEndTheWalk) {
  // Sectors of more than 32768 bytes can't be read in parts.
  EXPECT_EQ(Scan(*CreateDetector("KGIFFileType"), Device(3, 40000, 40000, 0).Put(40000, Head(40, 30) + kRoom + ";")),
            Hits{});
  for (const Manner manner : {Manner::kAnswersError, Manner::kLeavesBuffer, Manner::kFillsRubbish}) {
    const Detector detector = CreateDetector("KGIFFileType");
    Scan(*detector, Device(9, 512, 7000).Put(7001, Head(40, 0xFFFF)), {}, manner);
  }
}

TEST(KGIFFileType, EveryHeadIsWalkedFromAnew) {
  const std::string file = Head(40, 30) + kRoom + ";";
  const Device device = Device(4, 512, kMeeting, 0).Put(kMeeting, file).Put(kMeeting + 2, file);
  EXPECT_EQ(Scan(*CreateDetector("KGIFFileType"), device),
            (Hits{{kMeeting, file.size() + 1}, {kMeeting + 2, file.size() + 1}}));
}

/// The walk taken step by step over a file in memory, with zeros behind.
class LiteralWalk {
 public:
  explicit LiteralWalk(const std::string& bytes) : bytes_(bytes) { Run(); }

  std::optional<std::uint64_t> ReportedSize() const {
    if (position_ + 1 < 256) return std::nullopt;
    return trailerSeen_ ? position_ + 1 : 0;
  }

 private:
  unsigned Next() {
    const std::size_t at = position_++;
    return at < bytes_.size() ? static_cast<std::uint8_t>(bytes_[at]) : 0;
  }

  void Run() {
    position_ = 6;
    const unsigned width = Next() + 256 * Next();
    height_ = Next();
    height_ += 256 * Next();
    const unsigned flags = Next();
    position_ = 13;
    bool bad = width < 8 || height_ < 8;
    if ((flags & 0x80) != 0) position_ += 3 * (1U << ((flags & 7) + 1));
    for (int iteration = 1;; ++iteration) {
      const unsigned byte = Next();
      if (byte == 0x21) Extension();
      if (byte == 0x2C && !Image()) bad = true;
      if (byte == 0x3B) {
        trailerSeen_ = true;
        return;
      }
      if (bad || iteration >= 1024 || position_ >= 0x100000) return;
    }
  }

  void Extension() {
    if (Next() == 0xF9) {
      position_ += 6;
      return;
    }
    for (unsigned count = 1;; ++count) {
      const unsigned length = Next();
      position_ += length;
      if (length == 0 || count >= 8 * height_) return;
    }
  }

  bool Image() {
    position_ += 8;
    const unsigned flags = Next();
    if ((flags & 0x80) != 0) position_ += 3 * (1U << ((flags & 7) + 1));
    unsigned length = Next();
    for (unsigned count = 1;; ++count) {
      position_ += length;
      if (count > 8 * height_ || position_ > 0x100000) return false;
      length = Next();
      if (length == 0) return true;
    }
  }

  const std::string& bytes_;
  std::size_t position_ = 0;
  unsigned height_ = 0;
  bool trailerSeen_ = false;
};

TEST(KGIFFileType, AgreesWithTheRulesTakenByteByByte) {
  std::mt19937 generator(3);
  const auto random = [&generator] { return static_cast<unsigned>(generator()); };
  std::size_t withTrailer = 0;
  std::size_t withoutTrailer = 0;
  for (int i = 0; i < 3000; ++i) {
    const unsigned flags = random() % 4 == 0 ? 0x80 + random() % 8 : random() % 128;
    std::string bytes = Head(7 + random() % 30, 7 + random() % 4, flags) + Zeros(random() % 300);
    const std::size_t blocks = random() % 12;
    for (std::size_t k = 0; k < blocks; ++k) {
      switch (random() % 5) {
        case 0:
          bytes += "!\xF9" + std::string(6, '\1');
          break;
        case 1:
          bytes += "!\xFE";
          break;
        case 2:
          bytes += Image(random() % 3 == 0 ? 0x80 + random() % 4 : 0);
          break;
        default:
          bytes += Zeros(random() % 3);
      }
      const std::size_t lengths = random() % 3 == 0 ? 60 + random() % 30 : random() % 4;
      for (std::size_t n = 0; n < lengths; ++n) {
        const std::size_t length = 1 + random() % 5;
        bytes += static_cast<char>(length) + std::string(length, random() % 9 == 0 ? ';' : '\2');
      }
      bytes += Zeros(random() % 2);
    }
    if (random() % 3 != 0) bytes += ";";
    const std::optional<std::uint64_t> expected = LiteralWalk(bytes).ReportedSize();
    ASSERT_EQ(ScanMeeting(bytes), expected ? (Hits{{kMeeting, *expected}}) : Hits{}) << i;
    if (expected) ++(*expected == 0 ? withoutTrailer : withTrailer);
  }
  EXPECT_GT(withTrailer, 500U);
  EXPECT_GT(withoutTrailer, 500U);
}

}  // namespace
}  // namespace qzmtraw::test
