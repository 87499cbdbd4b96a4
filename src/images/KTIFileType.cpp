#include "frame/Search.h"
#include "frame/SharedClassifier.h"
#include "images/TiffDirectory.h"

namespace qzmtraw {

namespace {

/// The kinds of TIFF file.
enum TiffKind : std::uint32_t {
  kPlainTiff = 1,
  kNikon = 2,
  kPentax = 3,
  kKodak = 4,
  kSonySrf = 5,
  kSonyArw = 6,
  kCanon = 7,
  kDigitalNegative = 8,
  kMamiya = 9,
};

/// A word that makers leave near the beginning of their files.
struct MakersWord {
  TiffKind kind;
  std::string_view word;
};

using namespace std::string_view_literals;

/// The first one that is found counts.
constexpr MakersWord kMakersWords[] = {
    {kPentax, "PENTAX"},    {kNikon, "NIKON"},   {kKodak, ".DCR\0"sv},
    {kSonySrf, "SONY\0"sv}, {kSonyArw, "SONY "}, {kMamiya, "Mamiya-OP "},
};

/// \param beginning  The file's first 4096 bytes.
TiffKind KindOf(ByteView beginning, bool isDigitalNegative) {
  constexpr std::size_t kUnseen = 2;
  if (isDigitalNegative) return kDigitalNegative;
  if (BeginsWith(beginning.subspan(8), Bytes("CR\x02"))) return kCanon;
  for (const MakersWord& maker : kMakersWords) {
    if (Find(beginning.first(beginning.size() - kUnseen), AsBytes(maker.word))) return maker.kind;
  }
  return kPlainTiff;
}

constexpr std::uint32_t Reversed(std::uint32_t value) {
  return value >> 24 | (value >> 8 & 0xFF00) | (value << 8 & 0xFF0000) | value << 24;
}

}  // namespace

/// Reads the first directory of TIFF files (TIFF 6.0) and sorts them by their makers. Only plain files get a size: the
/// end of their one strip.
class KTIFileType final : public SharedClassifier<KTIFileType> {
 public:
  static constexpr auto kHead = At(0, "II*\0") || At(0, "MM\0*");
  static constexpr std::int32_t kFloor = 8;
  static constexpr std::uint64_t kMaxFileSize = 0x2000000;
  static constexpr std::uint64_t kFirstKey = 0;
  static constexpr KeyStored kKeyStored = KeyStored::kAfterScan;

  bool ScanBlock(const Block& block, IRawHitSink* /*sink*/) {
    ForEachHead(*this, block, [&](const Sector& sector) {
      KFileSimulator file(block.Raw(), sector.Number(), kMaxFileSize);
      bool dngSeen = false;
      if (!WalkFirstIfd(file, sector, dngSeen)) return;
      const TiffKind kind = ClassifyTiff(file, dngSeen);
      hits.push_back({{sector.Number(), kind == kPlainTiff ? EndOfStrip() : 0}, kind});
    });
    return false;
  }

 private:
  /// \return Whether the directory was read to its end. What was captured before stays.
  bool WalkFirstIfd(KFileSimulator& file, const Sector& sector, bool& dngSeen) {
    const std::endian order = sector.U8(0) == 'M' ? std::endian::big : std::endian::little;
    const auto firstIfdOffset = LoadIn<std::uint32_t>(order, sector.BytesAt(4, 4).data());
    return WalkTiffDirectory(file, order, firstIfdOffset, kMaxFileSize, [&](const TiffEntry& entry) {
      // Values of big-endian files are turned round, those that are in their order already as well as all others.
      const std::uint32_t value = order == std::endian::big ? Reversed(entry.value) : entry.value;
      if (entry.tag == kStripOffsets) stripOffset = value;
      if (entry.tag == kStripByteCounts) stripByteCount = value;
      if (entry.tag == kDngVersion) dngSeen = true;
      return true;
    });
  }

  static TiffKind ClassifyTiff(KFileSimulator& file, bool dngSeen) {
    std::array<std::uint8_t, 4096> beginning{};
    file.SetPos(0);
    file.Read(beginning.data(), beginning.size());
    return KindOf(beginning, dngSeen);
  }

  /// A signed number of 32 bits, cut to the largest size. A negative one isn't.
  std::uint64_t EndOfStrip() const {
    const auto end = static_cast<std::int32_t>(stripOffset + stripByteCount);
    return static_cast<std::uint64_t>(std::min(std::int64_t{end}, static_cast<std::int64_t>(kMaxFileSize)));
  }

  // Never cleared: a directory without them leaves those of the file before.
  std::uint32_t stripOffset = 0;
  std::uint32_t stripByteCount = 0;
};

#define TIFF_FACE(Class, kKind)                                \
  class Class final : public Face<Class, KTIFileType, kKind> { \
   public:                                                     \
    static constexpr SizeHints kHints{0xA00000, 0x2000000};    \
  };                                                           \
  DETECTOR(Class)

TIFF_FACE(KTifFileType, kPlainTiff);
TIFF_FACE(KNefFileType, kNikon);
TIFF_FACE(KPefFileType, kPentax);
TIFF_FACE(KDcrFileType, kKodak);
TIFF_FACE(KSr2FileType, kSonySrf);
TIFF_FACE(KArwFileType, kSonyArw);
TIFF_FACE(KCR2FileType, kCanon);
TIFF_FACE(KDngFileType, kDigitalNegative);
TIFF_FACE(KGMefFileType, kMamiya);

}  // namespace qzmtraw
