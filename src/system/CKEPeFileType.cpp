#include <algorithm>
#include <array>
#include <memory>
#include <new>

#include "frame/KFileSimulator.h"
#include "frame/Search.h"
#include "frame/SharedClassifier.h"

namespace qzmtraw {

/// The kinds of Windows module.
struct ModuleCode {
  static constexpr std::uint32_t kExecutable = 1;
  static constexpr std::uint32_t kLibrary = 2;
  static constexpr std::uint32_t kControl = 3;
  static constexpr std::uint32_t kTypeLibrary = 4;
  static constexpr std::uint32_t kFont = 5;
};

/// Windows modules (Microsoft's PE and COFF specification), sorted by the Characteristics of the header alone. The size
/// is the sum of the parts that the headers tell of, no more than the image takes in memory, and one sector. Modules of
/// 16-bit Windows, "NE", pass for fonts, and bear the size of the last PE file.
class CKEPeFileType final : public SharedClassifier<CKEPeFileType> {
 public:
  static constexpr auto kHead = At(0, "MZ") && At(12, "\xFF\xFF");
  /// What is read of the headers is one sector. Smaller ones don't hold the whole of FileAlignment.
  static constexpr std::int32_t kFloor = 64;

  CKEPeFileType() { SetTexts("PE file", ""); }

  static bool IsHead(const Sector& sector) {
    return static_cast<std::int8_t>(sector.U8(3)) <= 2 && static_cast<std::int8_t>(sector.U8(5)) <= 2;
  }

  bool ScanBlock(const Block& block, IRawHitSink* /*sink*/) {
    ForEachHead(*this, block, [&](const Sector& sector) {
      if (Examine(sector)) hits.push_back({{sector.Number(), fileSize}, typeCode});
    });
    return false;
  }

 private:
  /// Offsets from the signature of the NT headers.
  static constexpr std::size_t kMachineAt = 4;
  static constexpr std::size_t kSectionCountAt = 6;
  static constexpr std::size_t kCharacteristicsAt = 22;
  static constexpr std::size_t kFileAlignmentAt = 60;
  static constexpr std::size_t kImageSizeAt = 80;
  static constexpr std::size_t kHeaderSize = 264;

  /// Where the headers for 32-bit and for 64-bit machines differ.
  struct Layout {
    std::size_t certificateSizeAt;
    std::uint32_t sectionTableAt;
  };
  static constexpr std::uint16_t kMachineI386 = 0x014C;
  static constexpr Layout kLayout32{156, 248};
  static constexpr Layout kLayout64{172, 264};

  /// The beginning of the NT headers. What one sector doesn't hold reads 0.
  using Header = std::array<std::uint8_t, kHeaderSize>;
  static std::uint16_t U16(const Header& header, std::size_t offset) {
    return LoadLittle<std::uint16_t>(&header[offset]);
  }
  static std::uint32_t U32(const Header& header, std::size_t offset) {
    return LoadLittle<std::uint32_t>(&header[offset]);
  }

  /// \return Whether the stub at the sector leads to a module; then `fileSize` and `typeCode` tell of it.
  bool Examine(const Sector& sector) {
    if (!ClearWorkBuffer(static_cast<std::uint32_t>(sector.Size()))) return false;
    KFileSimulator file(sector.RawBlock(), sector.Number(), 0x10000);
    file.Read(workBuffer.get(), 64);
    const auto headerOffset = LoadLittle<std::uint32_t>(&workBuffer[0x3C]);
    file.SetPos(static_cast<std::uint64_t>(static_cast<std::int32_t>(headerOffset)));
    ReadSector(file);
    Header header{};
    std::copy_n(workBuffer.get(), std::min<std::size_t>(bufferSize_, header.size()), header.begin());

    if (U32(header, kFileAlignmentAt) == 0) return false;
    if (!BeginsWith(header, Bytes("PE\0\0"))) {
      if (!BeginsWith(header, Bytes("NE"))) return false;
      typeCode = ModuleCode::kFont;
      return true;
    }
    Classify(U16(header, kCharacteristicsAt));
    fileSize =
        std::min<std::uint64_t>(SizeOfParts(header, headerOffset, file), U32(header, kImageSizeAt)) + bufferSize_;
    return true;
  }

  /// Characteristics that say neither library nor executable leave the kind of the file before.
  void Classify(std::uint16_t characteristics) {
    const auto lowByte = static_cast<std::uint8_t>(characteristics);
    if ((characteristics & 0x2000) != 0) {
      typeCode = lowByte == 0x02   ? ModuleCode::kControl
                 : lowByte == 0x22 ? ModuleCode::kTypeLibrary
                                   : ModuleCode::kLibrary;
    } else if ((characteristics & 0x0002) != 0) {
      typeCode = ModuleCode::kExecutable;
    }
  }

  /// The sections, the headers from the NT headers on, and the certificate.
  std::uint64_t SizeOfParts(const Header& header, std::uint32_t headerOffset, KFileSimulator& file) {
    const Layout& layout = U16(header, kMachineAt) == kMachineI386 ? kLayout32 : kLayout64;
    const std::uint32_t alignment = U32(header, kFileAlignmentAt);
    std::uint32_t offset = layout.sectionTableAt;
    const std::uint32_t sections = SumOfSections(U16(header, kSectionCountAt), headerOffset, offset, file);
    if (offset % alignment != 0) offset += alignment - offset % alignment;
    return std::uint64_t{sections} + offset + U32(header, layout.certificateSizeAt);
  }

  /// Adds up the sections' sizes in the file. `offset` counts through the sector that is in the work buffer. Where that
  /// ends, the next one is read from `offset` behind the start of the NT headers, so a long table is read again and
  /// again from the same place, and once is enough.
  std::uint32_t SumOfSections(std::uint16_t count, std::uint32_t headerOffset, std::uint32_t& offset,
                              KFileSimulator& file) {
    constexpr std::uint32_t kSectionHeaderSize = 40;
    constexpr std::uint32_t kRawSizeAt = 16;
    const auto lastOffset = bufferSize_ - kSectionHeaderSize;
    std::uint32_t bufferPosition = headerOffset;
    std::uint32_t sum = 0;
    for (std::uint32_t i = 0; i < count; ++i) {
      if (offset > lastOffset) {
        const std::uint32_t position = headerOffset + offset;
        if (position != bufferPosition) {
          file.SetPos(position);
          ReadSector(file);
          bufferPosition = position;
        }
        offset = 0;
      }
      sum += LoadLittle<std::uint32_t>(&workBuffer[offset + kRawSizeAt]);
      offset += kSectionHeaderSize;
    }
    return sum;
  }

  /// \return Whether there is memory for a sector.
  bool ClearWorkBuffer(std::uint32_t sectorSize) {
    if (sectorSize != bufferSize_) {
      bufferSize_ = 0;
      workBuffer.reset(new (std::nothrow) std::uint8_t[sectorSize]);
      if (workBuffer == nullptr) return false;
      bufferSize_ = sectorSize;
    }
    std::fill_n(workBuffer.get(), bufferSize_, std::uint8_t{0});
    return true;
  }

  void ReadSector(KFileSimulator& file) { file.Read(workBuffer.get(), bufferSize_); }

  /// The size of the last PE file.
  std::uint64_t fileSize = 0;
  /// One sector, kept from head to head.
  std::unique_ptr<std::uint8_t[]> workBuffer;
  std::uint32_t bufferSize_ = 0;
  /// The kind of the last module; 0 before the first.
  std::uint32_t typeCode = 0;
};

#define MODULE_FACE(Class, kCode)                                              \
  class Class final : public Face<Class, CKEPeFileType, ModuleCode::kCode> {}; \
  DETECTOR(Class)

MODULE_FACE(CKEExeFileType, kExecutable);
MODULE_FACE(CKEDllFileType, kLibrary);
MODULE_FACE(CKEOcxFileType, kControl);
MODULE_FACE(CKTlbFileType, kTypeLibrary);
MODULE_FACE(CKFonFileType, kFont);

}  // namespace qzmtraw
