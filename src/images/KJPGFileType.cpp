#include <algorithm>
#include <array>
#include <memory>
#include <new>
#include <optional>

#include "frame/ChainWalk.h"
#include "frame/KFileSimulator.h"
#include "frame/NullLogger.h"
#include "frame/OpenFile.h"
#include "frame/Search.h"

namespace qzmtraw {

namespace {

/// What the files of both kinds begin with: the start of image and the first byte of another marker.
struct JpegStart {
  static constexpr auto kHead = At(0, "\xFF\xD8\xFF");
  static constexpr std::int32_t kFloor = 8;
};

/// A stretch of the device in which no end mark begins, in bytes from the device's start.
struct StretchWithoutEnd {
  std::uint64_t begin = 0;
  std::uint64_t end = 0;
  std::uint8_t byteAtEnd = 0;

  bool Covers(std::uint64_t first, std::uint64_t count) const { return begin <= first && first + count <= end; }

  /// Takes in the first `count` bytes of what was read at `start`, at most all but the last, with which a mark may
  /// begin. What was known before is kept if the two meet.
  void Add(std::uint64_t start, ByteView read, std::uint64_t count) {
    const bool overlaps = begin <= start && start <= end;
    const bool follows = end + 1 == start && !(byteAtEnd == 0xFF && read.front() == 0xD9);
    if (!overlaps && !follows) begin = start;
    end = start + count;
    byteAtEnd = read[count];
  }
};

}  // namespace

/// JPEG files (ITU-T T.81) whose first segment is that of JFIF (ITU-T T.871) or Photoshop's. The whole file is read
/// ahead when its head is met: segment by segment to the first frame header or scan, and from there to the next end
/// mark, wherever that stands. A file whose end isn't found isn't reported, and the sectors of one that is are looked
/// at for heads like any others.
class KJPGFileType : public OpenFile<KJPGFileType> {
 public:
  static constexpr std::uint64_t kDefaultMaxFileSize = 0x4000000;
  static constexpr std::int64_t kMinimum = 512;

  std::int32_t Reset() override {
    endSearchBuffer.reset();
    known_ = {};
    nextBlock_ = {};
    allowance_ = {};
    return OpenFile::Reset();
  }

  /// Tells whether a file of the kind begins with a sector. Looks at 15 bytes, also where a sector has fewer.
  /// \param sizeSlot  Where the size of the file will be kept; not used.
  /// \return 1 or 0.
  virtual std::int32_t CheckHead(const std::uint8_t* sector, std::int32_t sectorSize,
                                 std::int32_t* /*sizeSlot*/) const {
    return IsStart(sector, sectorSize) && (Names(sector, Bytes("JFIF")) || Names(sector, Bytes("Photoshop"))) ? 1 : 0;
  }

  std::uint32_t Scan(const RawSectorBlock* rawBlock, IRawHitSink* sink) override {
    const Block block(rawBlock);
    std::int32_t size = 0;
    if (!FollowsLastBlock(block)) known_ = {};
    ForEachHead(JpegStart(), block, [&](const Sector& sector) {
      if (!HasHead(sector, &size)) return;
      ReportFileBeforeHead(sink);
      Open(sector.Number());
      WalkFile(sector, sink, size);
    });
    return static_cast<std::uint32_t>(block.SectorCount());
  }

 protected:
  static bool IsStart(const std::uint8_t* sector, std::int32_t sectorSize) {
    return sector != nullptr && sectorSize >= JpegStart::kFloor && sector[0] == 0xFF && sector[1] == 0xD8 &&
           sector[2] == 0xFF;
  }

  /// Whether the first segment begins with `name`, in capital or small letters.
  static bool Names(const std::uint8_t* sector, ByteView name) {
    return BeginsWith({sector + kNameOffset, name.size()}, name, LetterCase::kIgnored);
  }

 private:
  static constexpr std::size_t kNameOffset = 6;
  static constexpr std::size_t kHeadReach = kNameOffset + 9;
  /// How far from its start a file is read. Only what is read last may reach beyond.
  static constexpr std::uint64_t kReach = 0x4000000;
  /// Bytes that are searched at a time.
  static constexpr std::uint32_t kChunk = 32256;
  /// At the end of every chunk, the bytes at which an end mark isn't looked for.
  static constexpr std::uint32_t kBlindSpot = 2;

  /// CheckHead on a copy of the sector's beginning, with zeros behind the block's end.
  bool HasHead(const Sector& sector, std::int32_t* sizeSlot) const {
    std::array<std::uint8_t, kHeadReach> bytes{};
    std::ranges::copy(sector.BytesAt(0, bytes.size()), bytes.begin());
    return CheckHead(bytes.data(), sector.Size(), sizeSlot) != 0;
  }

  /// Whether a block goes on with the device of the block before, so that what is known of it still holds. Remembers
  /// the block.
  bool FollowsLastBlock(const Block& block) {
    if (block.SectorCount() == 0) return false;
    const Place here{block.Raw()->reader, block.SectorSize(), block.StartSector()};
    const bool follows = here == nextBlock_;
    nextBlock_ = here;
    nextBlock_.sector += static_cast<std::uint64_t>(block.SectorCount());
    return follows;
  }

  void WalkFile(const Sector& sector, IRawHitSink* sink, std::int32_t& size) {
    KFileSimulator file(sector.RawBlock(), fileStart, kReach);
    if (endSearchBuffer == nullptr) endSearchBuffer.reset(new (std::nothrow) std::uint8_t[kChunk]);
    if (endSearchBuffer == nullptr) return;
    allowance_.EarnUpTo(fileStart);
    const std::uint64_t positionOfFile = fileStart * static_cast<std::uint64_t>(sector.Size());
    if (const std::optional<std::uint64_t> end = FindEnd(file, positionOfFile)) {
      size = static_cast<std::int32_t>(*end);
      ReportSize(sink, *end);
    }
    if (size != 0) Close();
  }

  /// Goes from marker to marker. \return The file's size.
  std::optional<std::uint64_t> FindEnd(KFileSimulator& file, std::uint64_t positionOfFile) {
    constexpr std::uint8_t kEndOfImage = 0xD9;
    constexpr std::uint8_t kBaselineFrame = 0xC0;
    constexpr std::uint8_t kStartOfScan = 0xDA;
    std::array<std::uint8_t, 2> bytes{};
    file.SetPos(2);
    while (file.GetPos() < kReach && file.Read(bytes.data(), bytes.size()) && bytes[0] == 0xFF) {
      const std::uint8_t marker = bytes[1];
      if (marker == kEndOfImage) return file.GetPos();
      if (!file.Read(bytes.data(), bytes.size())) break;
      const auto length = LoadBig<std::uint16_t>(bytes.data());
      const std::uint64_t place = file.GetPos();
      if (length < 2 || !allowance_.PayStep(place, place + length)) break;
      file.Skip(length - 2);
      if (marker == kBaselineFrame || marker == kStartOfScan) return SearchEndMark(file, positionOfFile);
    }
    LogDiagnostic("Neither SOF nor SOS have been found<%u>!\r\n", file.GetPos());
    return std::nullopt;
  }

  /// Looks for the next end mark, chunk by chunk. \return The file's size.
  std::optional<std::uint64_t> SearchEndMark(KFileSimulator& file, std::uint64_t positionOfFile) {
    constexpr auto kEndMark = Bytes("\xFF\xD9");
    const ByteView chunk(endSearchBuffer.get(), kChunk);
    while (file.GetPos() < kReach) {
      const std::uint64_t start = file.GetPos();
      if (known_.Covers(positionOfFile + start, kChunk - kBlindSpot)) {
        file.Skip(kChunk);
        continue;
      }
      if (!allowance_.PayReading() || !file.Read(endSearchBuffer.get(), kChunk)) break;
      const std::optional<std::size_t> mark = Find(chunk, kEndMark);
      known_.Add(positionOfFile + start, chunk, mark.value_or(kChunk - 1));
      if (mark && *mark < kChunk - kBlindSpot) return start + *mark + kEndMark.Size();
    }
    return std::nullopt;
  }

  /// One chunk. Made for the first file after a Reset.
  std::unique_ptr<std::uint8_t[]> endSearchBuffer;
  /// A sector of a device that a reader serves.
  struct Place {
    const IRawSectorReader* reader = nullptr;
    std::int32_t sectorSize = 0;
    std::uint64_t sector = 0;
    bool operator==(const Place&) const = default;
  };

  /// What the files so far have been searched through in vain, so that a device full of heads isn't read as far ahead
  /// for every one of them. Forgotten where a block doesn't follow the one before.
  StretchWithoutEnd known_;
  Place nextBlock_;
  WalkAllowance allowance_;
};

DETECTOR(KJPGFileType);

/// JPEG files as cameras write them (Exif, CIPA DC-008): by their first segment's name, whatever its marker is.
class KExifJpgFileType final : public KJPGFileType {
 public:
  std::int32_t CheckHead(const std::uint8_t* sector, std::int32_t sectorSize,
                         std::int32_t* /*sizeSlot*/) const override {
    return IsStart(sector, sectorSize) && Names(sector, Bytes("EXIF")) ? 1 : 0;
  }
};

DETECTOR(KExifJpgFileType);

}  // namespace qzmtraw
