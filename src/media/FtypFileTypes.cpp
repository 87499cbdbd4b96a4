#include <algorithm>

#include "frame/OpenFile.h"
#include "frame/StartOnly.h"
#include "media/Atoms.h"

namespace qzmtraw {

namespace {

/// ISO base media files (ISO/IEC 14496-12) that begin with a "ftyp" atom, told apart by its brand. Behind it up to
/// three atoms are counted, whatever follows. The first must be a known one. A file in which all three are known is
/// reported as it is; any other is cut to the limit, and has no size when it is too small.
///
/// `Self` states kHead and kKnownAtoms. Brands overlap: a file may be of several kinds.
template <class Self>
class FtypFile : public OpenFile<Self, StartOnly<Self>> {
 public:
  static constexpr std::int32_t kFloor = 512;
  static constexpr std::uint64_t kDefaultMaxFileSize = 0x7FFFFFFF;
  static constexpr std::int64_t kLeastKnownSize = 512;

  std::optional<std::uint64_t> SizeAt(const Sector& sector) {
    KFileSimulator file(sector.RawBlock(), sector.Number(), kDefaultMaxFileSize);
    std::uint64_t end = sector.BigU32(0);
    const AtomHeader first = ReadAt(file, end);
    if (!first.IsOneOf(Self::kKnownAtoms)) return std::nullopt;
    end += first.size;
    const AtomHeader second = ReadAt(file, end);
    if (second.IsOneOf(Self::kKnownAtoms)) {
      end += HasWideSize(second) ? LowHalfOfWideSize(file, end) : second.size;
      const AtomHeader third = ReadAt(file, end);
      if (third.IsOneOf(Self::kKnownAtoms)) return end + third.size;
    }
    if (static_cast<std::int64_t>(end) < kLeastKnownSize) return 0;
    return this->IsAboveLimit(end) ? this->maxFileSize : end;
  }

 private:
  static AtomHeader ReadAt(KFileSimulator& file, std::uint64_t position) {
    file.SetPos(position);
    return ReadAtomHeader(file);
  }

  static bool HasWideSize(const AtomHeader& atom) { return atom.name == NameOf("mdat") && atom.size < 8; }

  /// The size of 64 bits that stands behind the header at `position`. Its high half is not taken.
  static std::uint32_t LowHalfOfWideSize(KFileSimulator& file, std::uint64_t position) {
    constexpr std::uint64_t kAtomHeaderSize = 8;
    std::array<std::uint8_t, 8> wideSize{};
    file.SetPos(position + kAtomHeaderSize);
    file.Read(wideSize.data(), wideSize.size());
    return LoadBig<std::uint32_t>(wideSize.data() + 4);
  }
};

}  // namespace

/// MPEG-4 video, of the plain brand, Sony's or Flash's.
class KMP4FileType final : public FtypFile<KMP4FileType> {
 public:
  static constexpr auto kHead = At(4, "ftypisom") || At(4, "ftypMSNV") || At(4, "ftypf4v ");
  static constexpr std::array kKnownAtoms = {NameOf("moov"), NameOf("free"), NameOf("mdat"), NameOf("uuid"),
                                             NameOf("moof")};
};

/// Video of mobile phones (3GPP TS 26.244), of any release.
class K3GPFileType final : public FtypFile<K3GPFileType> {
 public:
  static constexpr auto kHead = At(4, "ftyp3gp");
  static constexpr std::array kKnownAtoms = {NameOf("moov"), NameOf("free"), NameOf("mdat"),
                                             NameOf("uuid"), NameOf("moof"), NameOf("wide")};
};

/// MPEG-4 audio. Files of its brands may hold video as well.
class KM4AFileType final : public FtypFile<KM4AFileType> {
 public:
  static constexpr auto kHead = At(4, "ftypM4A ") || At(4, "ftyp3gp6") || At(4, "ftypmp42");
  static constexpr std::array kKnownAtoms = {NameOf("moov"), NameOf("free"), NameOf("mdat"), NameOf("moof")};
};

DETECTOR(KMP4FileType);
DETECTOR(K3GPFileType);
DETECTOR(KM4AFileType);

}  // namespace qzmtraw
