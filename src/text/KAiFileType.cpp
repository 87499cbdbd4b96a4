#include <memory>
#include <new>

#include "text/Markup.h"
#include "text/PdfFile.h"

namespace qzmtraw {

/// Illustrator files from version 9 on, which are PDF files that name their maker in the first three sectors.
class KAiFileType final : public PdfFile<KAiFileType> {
 public:
  static bool IsHead(const Sector& sector) {
    return HasVersion(sector) && (NamesMaker(sector.Bytes()) || NextSectorsNameMaker(sector));
  }

 private:
  static bool NamesMaker(ByteView text) { return Find(UpToZero(text), Bytes("Adobe Illustrator")).has_value(); }

  static bool NextSectorsNameMaker(const Sector& sector) {
    constexpr std::uint32_t kSectors = 2;
    IRawSectorReader* const reader = sector.RawBlock()->reader;
    if (reader == nullptr) return false;
    const std::size_t size = kSectors * sector.Bytes().size();
    const std::unique_ptr<std::uint8_t[]> buffer(new (std::nothrow) std::uint8_t[size]());
    if (buffer == nullptr) return false;
    if (reader->ReadSectors(sector.Number() + 1, buffer.get(), kSectors) != 0) return false;
    return NamesMaker({buffer.get(), size});
  }
};

DETECTOR(KAiFileType);

}  // namespace qzmtraw
