#include <algorithm>
#include <array>
#include <iterator>

#include "frame/HeadTail.h"
#include "frame/SharedClassifier.h"
#include "text/Markup.h"

namespace qzmtraw {

namespace {

/// The end tag of a root element, in units of its document.
struct ClosingTag {
  std::array<std::uint16_t, 256> units{};
  std::uint32_t length = 0;

  void Append(std::uint16_t unit) { units[length++] = unit; }
};

/// Reads the name behind the "<" of the root's start tag. A name of 253 units gets no ">".
/// \return Whether the name is one.
bool ReadName(const DocumentHead& head, std::size_t unit, ClosingTag& tag) {
  constexpr std::size_t kLongestName = 253;
  tag.Append('<');
  tag.Append('/');
  for (const std::size_t end = unit + kLongestName; unit < end; ++unit) {
    const std::uint16_t value = head[unit];
    if (value == '<' || value == '\r' || value == '\n' || value == '\t') return false;
    if (value == ' ' || value == '>') {
      tag.Append('>');
      return true;
    }
    tag.Append(value);
  }
  return true;
}

/// Finds the root behind the declaration, which begins at the unit `declaration`, and the end tag that it will have.
/// \return The unit of the root's "<".
std::optional<std::size_t> ReadRoot(const DocumentHead& head, std::size_t declaration, ClosingTag& tag) {
  const std::optional<std::size_t> declarationEnd = head.Seek(declaration + 8, 2048, '>', '<');
  if (!declarationEnd) return std::nullopt;
  const std::optional<std::size_t> root = head.Seek(*declarationEnd + 1, 3072, '<', '>');
  return root && ReadName(head, *root + 1, tag) ? root : std::nullopt;
}

/// The unit of the ">" of a start tag.
std::optional<std::size_t> FindStartTagEnd(const DocumentHead& head, std::size_t root) {
  return head.Seek(root + 2, 4090, '>', '<');
}

constexpr auto kByteOrderMark = Bytes("\xEF\xBB\xBF");
constexpr auto kDeclaration = Bytes("<?xml version=\"1.0\"");
constexpr auto kWideDeclaration = Bytes("<\0?\0x\0m\0l\0 \0v\0e\0r\0s\0i\0o\0n\0=\0\"\0001\0.\0000\0\"\0");

constexpr auto kFictionBook = Bytes("</FictionBook>");
constexpr auto kPremiereData = Bytes("</PremiereData>");
constexpr auto k3dxml = Bytes("</Model_3dxml>");
constexpr auto kResx = Bytes("</root>");
/// The end tags of the kinds from 1 on.
constexpr ByteView kTagsOfKinds[] = {kFictionBook, kPremiereData, k3dxml, kResx};

}  // namespace

/// XML 1.0 documents (https://www.w3.org/TR/xml/), told apart by the name of the first tag behind the declaration. A
/// document ends with the end tag of that name or with its first zero byte. One object serves all faces and is never
/// reset: an open document goes on from scan to scan.
///
/// Documents in UTF-16 are not found. Their heads leave a trace in `isWide`, though: the document in single bytes that
/// is open is searched for the UTF-16 tag until another head in single bytes comes.
class KXMLFileType final : public HeadTail<KXMLFileType, SharedClassifier<KXMLFileType>> {
 public:
  static constexpr auto kHead = kMarkupMayBegin || At(0, "\xEF\xBB\xBF");
  static constexpr std::uint64_t kDefaultMaxFileSize = 0x1000000;

  KXMLFileType() { SetTexts("XML file", "xml"); }

  std::int32_t Reset() override {
    cacheKey = kFirstKey;
    return HeadTail::Reset();
  }

  bool IsHead(const Sector& sector) {
    declaredSize = 0;
    if (EncodingOf(sector) == Encoding::kBytes) return ReadHead(sector);
    ReadWideHead(sector);
    return false;
  }

  std::optional<std::int64_t> KnownSize(const Sector& /*sector*/) const {
    return declaredSize == 0 ? std::nullopt : std::optional(declaredSize);
  }

  std::optional<std::int64_t> EndIn(const Sector& sector) const {
    const std::size_t size = sector.Bytes().size();
    if (isWide == 0) {
      return FirstEnd(sector.Bytes(), ByteView(closingTag).first(closingTagLength), Find(sector.Bytes(), Bytes("\0")));
    }
    // A zero unit may begin with the sector's last byte. A tag that doesn't fit its field is never found.
    const std::optional<std::size_t> zero = Find(sector.BytesAt(0, size + 1), Bytes("\0\0"));
    const std::size_t tagSize = 2 * std::size_t{closingTagLength};
    return FirstEnd(sector.Bytes(), ByteView(closingTagWide).first(std::min(tagSize, closingTagWide.size())), zero,
                    tagSize <= closingTagWide.size());
  }

  /// Keeps a hit for the face of the kind that was met last. At the head of another document that is the kind of the
  /// other one.
  void Report(IRawHitSink* /*sink*/, std::uint64_t startSector, std::uint64_t size) {
    hits.push_back({{startSector, size}, xmlKind});
  }

 private:
  bool ReadHead(const Sector& sector) {
    const std::size_t textStart = sector.Has(0, kByteOrderMark) ? kByteOrderMark.Size() : 0;
    const std::optional<std::size_t> declaration = FindOpening(sector, Encoding::kBytes, textStart);
    if (!declaration || !sector.Has(static_cast<std::int64_t>(*declaration), kDeclaration)) return false;
    const DocumentHead head(sector, Encoding::kBytes, kDefaultMaxFileSize);
    ClosingTag tag;
    const std::optional<std::size_t> root = ReadRoot(head, *declaration, tag);
    if (!root) return false;
    std::array<std::uint8_t, 256> bytes{};
    std::transform(tag.units.begin(), tag.units.end(), bytes.begin(),
                   [](std::uint16_t unit) { return static_cast<std::uint8_t>(unit); });
    const ByteView tagBytes = ByteView(bytes).first(tag.length);
    // The kind is known, and stays, even if the head turns out to be none.
    xmlKind = KindOf(tagBytes);
    const std::optional<std::size_t> startTagEnd = FindStartTagEnd(head, *root);
    if (!startTagEnd) return false;

    isWide = 0;
    closingTag = bytes;
    closingTagLength = tag.length;
    const std::size_t searched = *startTagEnd + 1;
    // The whole tag ends below offset 4095 of the head.
    if (const auto found = Find(head.From(searched, std::max(searched, DocumentHead::kUnits - 1)), tagBytes)) {
      const std::uint64_t tagEnd = searched + *found + tag.length;
      declaredSize = static_cast<std::int64_t>(head.ReadEnd() - 4094 + tagEnd);
    }
    return true;
  }

  void ReadWideHead(const Sector& sector) {
    isWide = 1;
    const std::optional<std::size_t> declaration = FindOpening(sector, Encoding::kUtf16);
    if (!declaration) return;
    if (!sector.Has(static_cast<std::int64_t>(OffsetOf(*declaration, Encoding::kUtf16)), kWideDeclaration)) return;
    const DocumentHead head(sector, Encoding::kUtf16, kDefaultMaxFileSize);
    ClosingTag tag;
    const std::optional<std::size_t> root = ReadRoot(head, *declaration, tag);
    if (!root || !FindStartTagEnd(head, *root)) return;
    closingTagLength = tag.length;
    for (std::size_t i = 0; i < closingTagWide.size(); ++i) {
      closingTagWide[i] = static_cast<std::uint8_t>(tag.units[i / 2] >> 8 * (i % 2));
    }
  }

  static std::uint32_t KindOf(ByteView tag) {
    const auto* const found = std::find_if(std::begin(kTagsOfKinds), std::end(kTagsOfKinds), [&](ByteView known) {
      return std::equal(tag.begin(), tag.end(), known.begin(), known.end());
    });
    return found == std::end(kTagsOfKinds) ? 0 : static_cast<std::uint32_t>(found - std::begin(kTagsOfKinds)) + 1;
  }

  /// Behind the first tag that doesn't touch the sector's last byte, or in front of the zero at `zero` if that stands
  /// before the tag.
  static std::optional<std::int64_t> FirstEnd(ByteView sector, ByteView tag, std::optional<std::size_t> zero,
                                              bool tagCanBeFound = true) {
    const std::size_t searched = std::min(sector.size() - 1, zero.value_or(sector.size()) + tag.size());
    const std::optional<std::size_t> found = tagCanBeFound ? Find(sector.first(searched), tag) : std::nullopt;
    if (!found && !zero) return std::nullopt;
    return static_cast<std::int64_t>(found ? *found + tag.size() : *zero);
  }

  std::uint32_t isWide = 0;
  std::array<std::uint8_t, 256> closingTag{};
  std::array<std::uint8_t, 256> closingTagWide{};
  std::uint32_t closingTagLength = 0;
  std::uint32_t xmlKind = 0;
  /// What the head that was met last says about the document's size in bytes, two more than it has. 0 if the document
  /// is to be searched.
  std::int64_t declaredSize = 0;
};

/// Any other document.
class CKSubXmlFileType final : public Face<CKSubXmlFileType, KXMLFileType, 0> {};
/// FictionBook 2.
class CKFb2FileType final : public Face<CKFb2FileType, KXMLFileType, 1> {};
class CKPpjFileType final : public Face<CKPpjFileType, KXMLFileType, 2> {};
class CKG3dxmlFileType final : public Face<CKG3dxmlFileType, KXMLFileType, 3> {};
/// Any document whose root is called "root".
class CKResxFileType final : public Face<CKResxFileType, KXMLFileType, 4> {};

DETECTOR(CKSubXmlFileType);
DETECTOR(CKFb2FileType);
DETECTOR(CKPpjFileType);
DETECTOR(CKG3dxmlFileType);
DETECTOR(CKResxFileType);

}  // namespace qzmtraw
