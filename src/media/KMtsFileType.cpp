#include <array>

#include "frame/KFileSimulator.h"
#include "frame/OpenFile.h"
#include "frame/Search.h"

namespace qzmtraw {

/// Blu-ray and AVCHD transport streams: the packets of ISO/IEC 13818-1 with four bytes in front of each, 192 bytes in
/// all. The first packet holds the program association table, the second, or the one behind 16 bytes more, the program
/// map. A file ends with a run of stuffing packets, which begins with one whose payload is all ones.
class KMtsFileType final : public OpenFile<KMtsFileType> {
 public:
  static constexpr auto kHead = At(4, "\x47\x40\0\x10") && (At(196, "\x47\x41\0\x10") || At(212, "\x47\x41\0\x10"));
  static constexpr std::int32_t kFloor = 512;
  static constexpr std::uint64_t kDefaultMaxFileSize = 0x7FFFF000;
  /// A new head reports the file before it from this size on. A file with an end is reported with any size.
  static constexpr std::int64_t kMinimum = 0x4FFFF000;

  std::int32_t Reset() override {
    resumeSector = kNoSector;
    return OpenFile::Reset();
  }

  bool ScanBlock(const Block& block, IRawHitSink* sink) {
    for (std::int32_t i = 0; i < block.SectorCount(); ++i) {
      if (fileOpen == 0) i = NextHead(*this, block, i);
      if (i < block.SectorCount()) Step(block[i], sink);
    }
    return fileOpen != 0;
  }

 private:
  static constexpr std::uint64_t kNoSector = ~std::uint64_t{0};
  static constexpr std::uint64_t kPacketSize = 192;
  static constexpr std::size_t kLineSize = 16;

  void Step(const Sector& sector, IRawHitSink* sink) {
    if (static_cast<std::int64_t>(sector.Number()) <= static_cast<std::int64_t>(resumeSector)) return;
    if (IsHeadAt(*this, sector)) {
      ReportFileBeforeHead(sink);
      Open(sector.Number());
    }
    if (const std::optional<std::size_t> line = StuffingLine(sector)) {
      const std::uint64_t end = EndOfStuffing(sector, *line);
      resumeSector = sector.Number() + end / static_cast<std::uint64_t>(sector.Size());
      fileSize += end;
      ReportClipped(sink, fileSize);
      Close();
      return;
    }
    fileSize += static_cast<std::uint64_t>(sector.Size());
    if (static_cast<std::int64_t>(fileSize) > static_cast<std::int64_t>(maxFileSize)) {
      // The limit stands where the file's start belongs.
      Report(sink, maxFileSize, fileSize);
      Close();
    }
  }

  /// The first of the sector's whole lines of 16 bytes that holds, at its fifth byte, the beginning of a stuffing
  /// packet.
  static std::optional<std::size_t> StuffingLine(const Sector& sector) {
    constexpr auto kMark = Bytes("\x47\x1F\xFF\x10\xFF\xFF\xFF\xFF");
    const ByteView lines = sector.Bytes().first(sector.Bytes().size() / kLineSize * kLineSize);
    std::optional<std::size_t> mark = Find(lines, kMark);
    while (mark && *mark % kLineSize != 4) mark = Find(lines, kMark, *mark + 1);
    if (!mark) return std::nullopt;
    return *mark / kLineSize;
  }

  /// The end of the packets from a line on, counted from the sector's start.
  static std::uint64_t EndOfStuffing(const Sector& sector, std::uint64_t line) {
    constexpr std::uint64_t kMostPackets = 2730665;
    constexpr std::uint64_t kPacketsOfFullRun = kMostPackets + 2;
    KFileSimulator simulator(sector.RawBlock(), sector.Number(), 0x100000);
    std::uint64_t packet = line * kLineSize;
    for (std::uint64_t i = 1; i <= kMostPackets; ++i) {
      packet += kPacketSize;
      std::array<std::uint8_t, kLineSize> start{};
      simulator.SetPos(packet);
      if (!simulator.Read(start.data(), kLineSize) || start[4] != 'G') return packet;
    }
    // Here the line counts like a packet.
    return (line + kPacketsOfFullRun) * kPacketSize;
  }

  /// The last sector of the file that was closed last. No sector up to it is looked at again.
  std::uint64_t resumeSector = kNoSector;
};

DETECTOR(KMtsFileType);

}  // namespace qzmtraw
