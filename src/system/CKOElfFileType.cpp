#include <array>
#include <concepts>

#include "frame/ChainWalk.h"
#include "frame/KFileSimulator.h"
#include "frame/SharedClassifier.h"

namespace qzmtraw {

/// The kinds of ELF file that a host sees.
struct ElfCode {
  static constexpr std::uint32_t kExecutable = 1;
  static constexpr std::uint32_t kRelocatable = 2;
  static constexpr std::uint32_t kShared = 3;
  static constexpr std::uint32_t kOther = 0;
};

/// ELF files (Tool Interface Standard, Executable and Linking Format 1.2), sorted by their type. The size is the sum of
/// all segments, sections and tables, so that what lies in a segment and in a section counts twice. Numbers are read
/// with their least significant byte first even in files that have it last, whose sizes mean nothing.
class CKOElfFileType final : public SharedClassifier<CKOElfFileType> {
 public:
  static constexpr auto kHead =
      At(0, "\177ELF\1\1") || At(0, "\177ELF\1\2") || At(0, "\177ELF\2\1") || At(0, "\177ELF\2\2");
  static constexpr std::int32_t kFloor = 512;

  CKOElfFileType() { SetTexts("ELF Unix file", ""); }

  std::uint32_t Scan(const RawSectorBlock* rawBlock, IRawHitSink* sink) override {
    allowance_.EarnUpTo(Block(rawBlock).StartSector());
    return SharedClassifier::Scan(rawBlock, sink);
  }

  bool ScanBlock(const Block& block, IRawHitSink* /*sink*/) {
    ForEachHead(*this, block, [&](const Sector& sector) {
      const std::uint32_t code = CodeOf(sector.U16(16));
      // Core files, and nearly all whose most significant byte comes first, are no face's: their tables aren't read.
      if (code != ElfCode::kOther) hits.push_back({{sector.Number(), SizeOf(sector)}, code});
    });
    return false;
  }

 private:
  /// Where the files for 32-bit and for 64-bit machines differ. Offsets in the file's header and in the entries of its
  /// tables, and the entries' sizes, all in bytes.
  template <std::unsigned_integral Word>
  struct Layout {
    static constexpr bool kIs64 = sizeof(Word) == 8;
    static constexpr std::int64_t kSegmentTableAt = kIs64 ? 32 : 28;
    static constexpr std::int64_t kSectionTableAt = kIs64 ? 40 : 32;
    static constexpr std::int64_t kHeaderSizeAt = kIs64 ? 52 : 40;
    static constexpr std::size_t kSegmentHeaderSize = kIs64 ? 56 : 32;
    static constexpr std::size_t kSegmentSizeAt = kIs64 ? 32 : 16;
    static constexpr std::size_t kSectionHeaderSize = kIs64 ? 64 : 40;
    static constexpr std::size_t kSectionTypeAt = 4;
    static constexpr std::size_t kSectionSizeAt = kIs64 ? 32 : 20;
  };

  /// A table of the file as its header tells of it. Positions have the width of the file's words.
  template <std::unsigned_integral Word>
  struct Table {
    Word position;
    std::uint16_t entrySize;
    std::uint16_t entryCount;

    std::uint64_t Size() const { return std::uint64_t{entrySize} * entryCount; }
  };

  static std::uint32_t CodeOf(std::uint16_t type) {
    switch (type) {
      case 1:
        return ElfCode::kRelocatable;
      case 2:
        return ElfCode::kExecutable;
      case 3:
        return ElfCode::kShared;
      default:
        return ElfCode::kOther;
    }
  }

  std::uint64_t SizeOf(const Sector& sector) {
    return sector.U8(4) == 1 ? SizeOf<std::uint32_t>(sector) : SizeOf<std::uint64_t>(sector);
  }

  template <std::unsigned_integral Word>
  std::uint64_t SizeOf(const Sector& sector) {
    using Fields = Layout<Word>;
    const auto word = [&](std::int64_t offset) {
      return static_cast<Word>(sizeof(Word) == 8 ? sector.U64(offset) : sector.U32(offset));
    };
    // The counts follow the header's size, two bytes each.
    constexpr std::int64_t kCounts = Fields::kHeaderSizeAt;
    const Table<Word> segments{word(Fields::kSegmentTableAt), sector.U16(kCounts + 2), sector.U16(kCounts + 4)};
    const Table<Word> sections{word(Fields::kSectionTableAt), sector.U16(kCounts + 6), sector.U16(kCounts + 8)};

    KFileSimulator file(sector.RawBlock(), sector.Number(), 0x10000);
    allowance_.EarnUpTo(sector.Number());
    std::uint64_t size = 0;
    ForEachEntry<Fields::kSegmentHeaderSize>(
        file, segments, [&](const auto& entry) { size += LoadLittle<Word>(&entry[Fields::kSegmentSizeAt]); });
    ForEachEntry<Fields::kSectionHeaderSize>(file, sections, [&](const auto& entry) {
      constexpr std::uint32_t kNoBits = 8;
      if (LoadLittle<std::uint32_t>(&entry[Fields::kSectionTypeAt]) == kNoBits) return;
      size += LoadLittle<Word>(&entry[Fields::kSectionSizeAt]);
    });
    return size + segments.Size() + sections.Size() + sector.U16(kCounts);
  }

  /// Calls `visit` with the first bytes of every entry. An entry that can't be read leaves those of the one before.
  /// Tables are read as far as the allowance goes.
  template <std::size_t kBytesRead, std::unsigned_integral Word, class Visit>
  void ForEachEntry(KFileSimulator& file, const Table<Word>& table, Visit visit) {
    std::array<std::uint8_t, kBytesRead> entry{};
    Word position = table.position;
    for (std::uint32_t i = 0; i < table.entryCount; ++i, position += table.entrySize) {
      if (!allowance_.PayStep(0, i == 0 ? 0 : table.entrySize)) return;
      file.SetPos(position);
      file.Read(entry.data(), kBytesRead);
      visit(entry);
    }
  }

  WalkAllowance allowance_;
};

#define ELF_FACE(Class, kCode)                                               \
  class Class final : public Face<Class, CKOElfFileType, ElfCode::kCode> {}; \
  DETECTOR(Class)

ELF_FACE(CKEElfExeFileType, kExecutable);
ELF_FACE(CKEElfLibFileType, kRelocatable);
ELF_FACE(CKElfModuleFileType, kShared);

}  // namespace qzmtraw
