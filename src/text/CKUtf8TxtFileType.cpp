#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

#include "frame/SharedClassifier.h"
#include "text/KeywordRules.h"

namespace qzmtraw {
namespace {

/// The kinds of text with the byte order mark of UTF-8. There is none of code 3.
enum Utf8Kind : std::uint32_t {
  kNoUtf8Text = 0,
  kUtf8Text = 1,
  kCSharp = 2,
  kVisualBasic = 4,
  kAspNet = 5,
  kStudioSolution = 6,
};

using Whole = In<TextPart::kWhole>;

// clang-format off
constexpr KeywordRule kUtf8Rules[] = {
    {kNoUtf8Text,     Whole::Contains("<?xml")},
    {kNoUtf8Text,     Whole::HasAt(3, "<!DOCTYPE ")},
    {kCSharp,         Whole::HasBelow(200, "using System") && Whole::Contains("class ")},
    {kAspNet,         Whole::Contains("<%@LANGUAGE=")},
    {kAspNet,         Whole::Contains("<%@ Page")},
    {kAspNet,         Whole::Contains("<%@ Import Namespace")},
    {kAspNet,         Whole::Contains("<%@ OutputCache")},
    {kAspNet,         Whole::Contains("<%@ Register")},
    {kAspNet,         Whole::Contains("<%@ Implements Interface")},
    {kVisualBasic,    Whole::Contains("Private Sub")},
    {kVisualBasic,    Whole::Contains("Public Class")},
    {kVisualBasic,    Whole::Contains("Public Sub")},
    {kVisualBasic,    Whole::Contains("Private Class")},
    {kStudioSolution, Whole::HasAt(2, "Microsoft Visual Studio Solution File, Format Version")},
    {kUtf8Text,       {}},
};
// clang-format on
constexpr KeywordList kUtf8List{kUtf8Rules};

constexpr std::size_t kMarkSize = 3;

/// Sorts the texts of one block, which are asked for in the order in which they stand. A text reaches as far as the
/// next zero byte, over the marks of later sectors if need be, so that one stretch of bytes may be sorted many times:
/// what was searched once isn't searched again.
class TextsOfBlock {
 public:
  explicit TextsOfBlock(const Block& block) : bytes_(block.Data(), static_cast<std::size_t>(block.ByteCount())) {}

  /// The kind of the text that begins at an offset of the block.
  std::uint32_t KindAt(std::size_t begin) {
    if (begin > end_) {
      end_ = Find(bytes_, Bytes("\0"), begin).value_or(bytes_.size());
      foundCount_ = 0;
    }
    const TextParts parts{bytes_.first(end_).subspan(begin)};
    return *FirstCode(kUtf8List, [&](const KeywordTest& test) {
      return test.end == KeywordTest::kAnywhere ? FindFrom(begin, test.literal) : FindKeyword(test, parts);
    });
  }

 private:
  struct Found {
    const char* literal;
    std::size_t offset;  ///< The end of the block for a literal that doesn't come any more.
  };

  std::optional<std::size_t> FindFrom(std::size_t begin, std::string_view literal) {
    Found& known = FoundOf(literal);
    if (known.offset < begin) {
      known.offset = Find(bytes_.first(end_), AsBytes(literal), begin).value_or(bytes_.size());
    }
    if (known.offset == bytes_.size()) return std::nullopt;
    return known.offset - begin;
  }

  Found& FoundOf(std::string_view literal) {
    for (std::size_t i = 0; i < foundCount_; ++i) {
      if (found_.at(i).literal == literal.data()) return found_.at(i);
    }
    return found_.at(foundCount_++) = {literal.data(), 0};
  }

  ByteView bytes_;
  std::size_t end_ = 0;
  /// The last places found of the literals that may stand anywhere in a text.
  std::array<Found, std::size(kUtf8Rules)> found_{};
  std::size_t foundCount_ = 0;
};

}  // namespace

/// The classifier of text that begins with the byte order mark of UTF-8. A text goes on until a zero byte, however long
/// that takes. It is sorted by all its bytes as far as the block holds them. A start of 0 stands for no text, so one at
/// the device's first sector isn't seen.
class CKUtf8TxtFileType final : public SharedClassifier<CKUtf8TxtFileType> {
 public:
  static constexpr auto kHead = At(0, "\xEF\xBB\xBF");
  static constexpr std::int32_t kFloor = 51;
  static constexpr std::uint64_t kMinimum = 6;

  std::int32_t Reset() override {
    hits.clear();
    cacheKey = kFirstKey;
    fileOpen = 0;
    textKind = kNoUtf8Text;
    openRecord = {};
    return 1;
  }

  bool ScanBlock(const Block& block, IRawHitSink* /*sink*/) {
    TextsOfBlock texts(block);
    for (std::int32_t i = 0; i < block.SectorCount(); ++i) {
      if (fileOpen == 0) i = NextHead(*this, block, i);
      if (i == block.SectorCount()) break;
      const Sector sector = block[i];
      if (IsHeadAt(*this, sector)) {
        const std::size_t begin = static_cast<std::size_t>(i) * sector.Bytes().size() + kMarkSize;
        OpenText(sector.Number(), texts.KindAt(begin));
      }
      if (fileOpen != 0 && openRecord.hit.startSector != 0) CountBytes(sector);
    }
    return fileOpen != 0;
  }

 private:
  /// A head that is sorted into no kind leaves an open text alone. Any other takes its place, and gives it its own
  /// kind.
  void OpenText(std::uint64_t startSector, std::uint32_t kind) {
    textKind = kind;
    if (textKind == kNoUtf8Text) return;
    openRecord.code = textKind;
    if (openRecord.hit.size != 0) hits.push_back(openRecord);
    openRecord.hit = {startSector, 0};
    fileOpen = 1;
  }

  void CountBytes(const Sector& sector) {
    const ByteView bytes = sector.Bytes();
    const std::optional<std::size_t> zero = Find(bytes, Bytes("\0"));
    openRecord.hit.size += zero.value_or(bytes.size());
    if (!zero) return;
    fileOpen = 0;
    if (openRecord.hit.size >= kMinimum) hits.push_back(openRecord);
    openRecord.hit = {};
  }

  std::uint32_t fileOpen = 0;
  std::uint32_t textKind = kNoUtf8Text;
  /// The open text, with the kind that the last head gave.
  RawTypedHit openRecord{};
};

#define UTF8_FACE(Class, kKind)                                        \
  class Class final : public Face<Class, CKUtf8TxtFileType, kKind> {}; \
  DETECTOR(Class)

UTF8_FACE(CKNewUTF8FileType, kUtf8Text);
UTF8_FACE(CKCsharpFileType, kCSharp);
UTF8_FACE(CKVBFileType, kVisualBasic);
UTF8_FACE(CKAspxFileType, kAspNet);
UTF8_FACE(CKSlnFileType, kStudioSolution);

}  // namespace qzmtraw
