// How the names in a ZIP file tell its kind.

#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <map>
#include <random>
#include <set>

#include "tests/support/Rows.h"
#include "tests/support/ZipScanning.h"

namespace qzmtraw::test {
namespace {

constexpr std::uint64_t kFirst = Device::kFirstSector;
const std::string kHead = "PK\3\4";
const std::string kSignature = Literal("PK\5\6\0\0\0\0");

/// A file over four sectors with bytes in it; its end stands at the beginning of the last.
Device FileWith(std::uint64_t sector, std::size_t offset, const std::string& bytes) {
  Device device(5);
  return device.Put(kFirst, kHead).Put(sector, offset, bytes).Put(kFirst + 3, 7, kSignature);
}
constexpr std::uint64_t kFileSize = 3 * 512 + 29;

/// The code of a file that goes from the first sector to `size`.
std::uint32_t CodeOf(const Device& device, std::uint64_t size = kFileSize) {
  const ZipHits found = ScanZipAnyCut(device);
  EXPECT_EQ(found.size(), 1U);
  if (found.size() != 1) return ~std::uint32_t{0};
  EXPECT_EQ(found[0].startSector, kFirst);
  EXPECT_EQ(found[0].size, size);
  return found[0].code;
}

/// The code when the first `inFirst` bytes of the name end a sector and the others begin the next.
std::uint32_t CodeOfCutName(const std::string& name, std::size_t inFirst) {
  return CodeOf(FileWith(kFirst + 1, 512 - inFirst, name));
}

TEST(ZipNames, TellTheKindWhereverTheyStandInASector) {
  for (const ZipName& tested : ZipNames()) {
    for (std::size_t offset = 4; offset < 512 - tested.text.size(); ++offset) {
      const Device device = FileWith(kFirst, offset, tested.text);
      ASSERT_EQ(ZipDetectors().Scan(device), (ZipHits{{kFirst, kFileSize, tested.code}})) << tested.text << offset;
    }
    EXPECT_EQ(CodeOf(FileWith(kFirst + 2, 0, tested.text)), tested.code) << tested.text;
  }
}

TEST(ZipNames, AreTakenByteByByte) {
  for (const ZipName& tested : ZipNames()) {
    for (std::size_t i = 0; i < tested.text.size(); ++i) {
      std::string name = tested.text;
      name[i] = static_cast<char>(name[i] ^ 1);
      const std::uint32_t code = CodeOf(FileWith(kFirst + 1, 77, name));
      // What follows "mimetype" in the books' mark is a name by itself.
      EXPECT_EQ(code, tested.text == "mimetypeapplication/epub" && i < 8 ? 13U : 0U) << name;
    }
  }
}

TEST(ZipNames, DifferInSmallAndCapitalLetters) {
  for (const ZipName& tested : ZipNames()) {
    std::string name = tested.text;
    const auto first = static_cast<unsigned char>(name[0]);
    name[0] = static_cast<char>(std::isupper(first) != 0 ? std::tolower(first) : std::toupper(first));
    if (name == "Mimetypeapplication/epub") continue;
    EXPECT_EQ(CodeOf(FileWith(kFirst + 1, 77, name)), 0U) << name;
  }
}

TEST(ZipNames, WholeNameAtTheSectorsEndIsTakenAtTheNextOne) {
  for (const ZipName& tested : ZipNames()) {
    // It fits with nothing more, as does any other name of its length: the first in the group counts.
    const bool isAsLongAsAText = tested.text == "mimetypeapplication/vnd.oasis.opendocument.base";
    EXPECT_EQ(CodeOfCutName(tested.text, tested.text.size()), isAsLongAsAText ? 4U : tested.code) << tested.text;
  }
}

TEST(ZipNames, StrongNamesAreSeenWhereverASectorsEndCutsThem) {
  // How a name was cut is all that is kept of it. A name of the same group that is as long as the piece fits with
  // nothing more, and comes first if it stands in front in the group.
  const std::map<std::string, std::map<std::size_t, std::uint32_t>> taken = {
      {"AndroidManifest.xml", {{16, 13}}},
      {"mimetypeapplication/vnd.oasis.opendocument.spreadsheet", {{47, 4}}},
      {"mimetypeapplication/vnd.oasis.opendocument.presentation", {{47, 4}, {54, 5}}},
      {"mimetypeapplication/vnd.oasis.opendocument.graphics", {{36, 8}, {47, 4}}},
      {"mimetypeapplication/epub", {{20, 9}}},
      {"mimetypeapplication/vnd.adobe.xfl", {{20, 9}, {24, 13}}},
      {"mimetypeapplication/vnd.oasis.opendocument.base", {{20, 9}, {24, 13}, {33, 16}, {36, 8}}},
      // The first letter alone is taken for the beginning of the file's end.
      {"PxlPkg.plist", {{1, 0}, {10, 3}, {11, 3}}},
  };
  for (const ZipName& tested : ZipNames()) {
    if (tested.weak) continue;
    for (std::size_t inFirst = 1; inFirst < tested.text.size(); ++inFirst) {
      std::uint32_t expected = tested.code;
      if (const auto cuts = taken.find(tested.text); cuts != taken.end()) {
        if (const auto cut = cuts->second.find(inFirst); cut != cuts->second.end()) expected = cut->second;
      }
      EXPECT_EQ(CodeOfCutName(tested.text, inFirst), expected) << tested.text << " cut behind " << inFirst;
    }
  }
}

TEST(ZipNames, WeakNamesAreLostWhereTheirPieceEndsWithTheBeginningOfAnotherName) {
  const std::map<std::string, std::set<std::size_t>> lost = {
      {"docProps/thumbnail.jpeg", {7, 10, 13, 16, 17, 21}},
      {"ppt/slides/", {2, 3, 7, 8}},
      {"ppt/slideLayouts/", {2, 3, 7, 8, 11, 15}},
      {"ppt/slideMasters/", {2, 3, 7, 8, 10, 11, 13, 14}},
      {"ppt/media/", {2, 3, 5, 7, 8, 9}},
      {"ppt/presProps.xml", {2, 3, 5, 12, 15, 16}},
  };
  for (const ZipName& tested : ZipNames()) {
    if (!tested.weak) continue;
    for (std::size_t inFirst = 1; inFirst < tested.text.size(); ++inFirst) {
      EXPECT_EQ(CodeOfCutName(tested.text, inFirst), lost.at(tested.text).contains(inFirst) ? 0 : tested.code)
          << tested.text << " cut behind " << inFirst;
    }
  }
}

TEST(ZipNames, PieceOfOneNameMayBeCompletedByTheRestOfAnother) {
  // Sixteen bytes are the length of "application/epub", which then needs no rest.
  EXPECT_EQ(CodeOf(FileWith(kFirst + 1, 512 - 16, "application/vnd.")), 13U);
  EXPECT_EQ(CodeOf(FileWith(kFirst + 1, 512 - 15, "application/vnd")), 0U);
  // "word/s" goes on as "word/e" would.
  EXPECT_EQ(CodeOf(FileWith(kFirst + 1, 512 - 6, "word/sndnotes.xml")), 1U);
  EXPECT_EQ(CodeOf(FileWith(kFirst + 1, 512 - 6, "word/sndnotes.xmx")), 0U);
}

TEST(ZipNames, PieceThatDoesNotGoOnIsForgotten) {
  Device device = FileWith(kFirst, 512 - 8, "word/doc");
  device.Put(kFirst + 1, "x").Put(kFirst + 2, "ument.xml");
  EXPECT_EQ(CodeOf(device), 0U);
}

TEST(ZipNames, EndBehindANameInTheSameSectorIsMissedUnlessTheNameIsWeak) {
  for (const ZipName& tested : ZipNames()) {
    Device device(4);
    device.Put(kFirst, kHead).Put(kFirst + 1, 10, tested.text).Put(kFirst + 1, 300, kSignature);
    device.Put(kFirst + 3, 20, kSignature);
    EXPECT_EQ(CodeOf(device, tested.weak ? 512 + 322 : 1536 + 42), tested.code) << tested.text;
  }
}

TEST(ZipNames, EndInFrontOfANameIsFound) {
  Device device(4);
  device.Put(kFirst, kHead).Put(kFirst + 1, 10, kSignature).Put(kFirst + 1, 100, "word/document.xml");
  EXPECT_EQ(CodeOf(device, 544), 0U);
}

TEST(ZipNames, BeginningOfAnEndBehindANameIsMissedAsWell) {
  for (const bool settled : {false, true}) {
    Device device(5);
    device.Put(kFirst, kHead).Put(kFirst + 1, 509, kSignature).Put(kFirst + 4, 20, kSignature);
    if (settled) device.Put(kFirst + 1, 10, "word/document.xml");
    EXPECT_EQ(CodeOf(device, settled ? 2048 + 42 : 1021 + 22), settled ? 1U : 0U);
  }
}

TEST(ZipNames, EndThatBeginsWithAPieceOfANameIsFoundIfTheNameIsWeak) {
  // The last letter of the piece is the first of the signature.
  for (const std::string piece : {"PxlP", "docP"}) {
    Device device(5);
    device.Put(kFirst, kHead).Put(kFirst + 1, 508, piece + kSignature.substr(1)).Put(kFirst + 3, 7, kSignature);
    EXPECT_EQ(CodeOf(device, piece == "docP" ? 1023 + 22 : kFileSize), 0U) << piece;
  }
}

TEST(ZipNames, BeginningOfAnEndIsLookedForInFrontOfNames) {
  EXPECT_EQ(CodeOf(FileWith(kFirst + 1, 511, "PxlPkg.plist")), 0U);
  EXPECT_EQ(CodeOf(FileWith(kFirst + 1, 510, "PxlPkg.plist")), 11U);
}

TEST(ZipNames, StrongNameStandsAgainstALaterOne) {
  Device device = FileWith(kFirst + 1, 10, "word/document.xml");
  device.Put(kFirst + 1, 100, "xl/workbook.xml").Put(kFirst + 2, 100, "META-INF/MANIFEST.MF");
  EXPECT_EQ(CodeOf(device), 1U);
}

TEST(ZipNames, WeakNameIsReplacedByALaterOneInItsSectorOnly) {
  for (const char* weak : {"docProps/thumbnail.jpeg", "ppt/media/"}) {
    const std::uint32_t code = weak[0] == 'd' ? 12 : 3;
    EXPECT_EQ(CodeOf(FileWith(kFirst + 1, 10, weak).Put(kFirst + 1, 100, "word/document.xml")), 1U);
    EXPECT_EQ(CodeOf(FileWith(kFirst + 1, 10, weak).Put(kFirst + 2, 100, "word/document.xml")), code);
  }
  EXPECT_EQ(CodeOf(FileWith(kFirst + 1, 10, "docProps/thumbnail.jpeg").Put(kFirst + 1, 100, "ppt/slides/")), 3U);
  EXPECT_EQ(CodeOf(FileWith(kFirst + 1, 10, "ppt/slides/").Put(kFirst + 1, 100, "docProps/thumbnail.jpeg")), 12U);
}

TEST(ZipNames, PendingNameReplacesTheKindThatAWeakNameTold) {
  for (const char* weak : {"docProps/thumbnail.jpeg", "ppt/media/"}) {
    EXPECT_EQ(CodeOf(FileWith(kFirst + 1, 10, weak).Put(kFirst + 1, 504, "word/document.xml")), 1U) << weak;
  }
}

TEST(ZipNames, KindOfAPendingNameEndsTheWatchInItsSecondSector) {
  Device device = FileWith(kFirst + 1, 504, "word/document.xml");
  device.Put(kFirst + 2, 100, "xl/workbook.xml").Put(kFirst + 2, 200, kSignature);
  EXPECT_EQ(CodeOf(device, 1024 + 222), 1U);
}

TEST(ZipNames, NewHeadInheritsAPendingName) {
  Device device(4);
  device.Put(kFirst, kHead).Put(kFirst, 508, "PxlP").Put(kFirst + 1, kHead).Put(kFirst + 2, 50, kSignature);
  EXPECT_EQ(ScanZipAnyCut(device), (ZipHits{{kFirst + 1, 584, 0}}));
  // A whole name at the sector's end needs nothing more.
  device.Put(kFirst, 500, "PxlPkg.plist");
  EXPECT_EQ(ScanZipAnyCut(device), (ZipHits{{kFirst + 1, 584, 11}}));
}

TEST(ZipNames, NamesLongerThanTheSectorAreNotMetInIt) {
  // A piece is compared with one sector: it doesn't go on over a second end.
  ZipDetectors detectors;
  detectors.Scan(Device(1).Put(kFirst, kHead).Put(kFirst, 508, "word"));
  detectors.Scan(Device(4, 8, kFirst + 1).Put(kFirst + 1, "/document.xml"));
  EXPECT_EQ(detectors.Scan(Device(1, 512, kFirst + 5).Put(kFirst + 5, kSignature)),
            (ZipHits{{kFirst, 512 + 32 + 22, 0}}));
  // A sector that is as long as the name is too short for it as well, be the rest ever so short.
  for (const int sectorSize : {17, 18}) {
    ZipDetectors again;
    again.Scan(Device(1).Put(kFirst, kHead).Put(kFirst, 508, "word"));
    again.Scan(Device(1, sectorSize, kFirst + 1).Put(kFirst + 1, "/document.xml"));
    EXPECT_EQ(again.Scan(Device(1, 512, kFirst + 2).Put(kFirst + 2, kSignature)),
              (ZipHits{{kFirst, 512U + static_cast<unsigned>(sectorSize) + 22, sectorSize == 17 ? 0U : 1U}}));
  }
}

TEST(ZipNames, FirstMemberUnderContentTellsADrawing) {
  const std::string header = kHead + std::string(26, 'x');
  EXPECT_EQ(CodeOf(FileWith(kFirst, 0, header + "content/dataFileList.dat")), 20U);
  EXPECT_EQ(CodeOf(FileWith(kFirst, 0, header + "Content/dataFileList.dat")), 0U);
  EXPECT_EQ(CodeOf(FileWith(kFirst, 0, header + "content_dataFileList.dat")), 0U);
  EXPECT_EQ(CodeOf(FileWith(kFirst, 0, header + "xcontent/data")), 0U);
  // An empty folder of this name is followed at once by the next member.
  EXPECT_EQ(CodeOf(FileWith(kFirst, 0, header + "content/" + kHead)), 0U);
  EXPECT_EQ(CodeOf(FileWith(kFirst, 0, header + "content/PK\3\5")), 20U);
}

TEST(ZipNames, FolderContentCountsAtTheHeadThatStartsAFile) {
  const std::string drawing = kHead + std::string(26, 'x') + "content/data";
  // The member restarts a plain file, and is its first then.
  Device plain(4);
  plain.Put(kFirst, kHead).Put(kFirst + 1, drawing).Put(kFirst + 3, kSignature);
  EXPECT_EQ(ScanZipAnyCut(plain), (ZipHits{{kFirst + 1, 1024 + 22, 20}}));
  EXPECT_EQ(CodeOf(FileWith(kFirst, 50, "word/styles.xml").Put(kFirst + 1, drawing)), 1U);
}

TEST(ZipNames, DrawingIsNotSearchedForNames) {
  const std::string drawing = kHead + std::string(26, 'x') + "content/data";
  EXPECT_EQ(CodeOf(FileWith(kFirst, 0, drawing).Put(kFirst, 100, "word/styles.xml")), 20U);
  // The end behind a name in its first sector is found.
  EXPECT_EQ(CodeOf(FileWith(kFirst, 0, drawing + "word/styles.xml" + std::string(300, 'x') + kSignature),
                   drawing.size() + 15 + 300 + 22),
            20U);
}

TEST(ZipNames, FileWithoutANameIsPlain) { EXPECT_EQ(CodeOf(FileWith(kFirst, 30, "readme.txt")), 0U); }

TEST(ZipNames, KindsHaveTheGroupOfTheSearcher) {
  for (const std::string_view face : kZipFaces) EXPECT_EQ(RowOf(face).group, 'B') << face;
}

/// Blocks of sectors of many sizes, made of heads, ends, names and pieces of them, always the same for a seed.
std::vector<ZipBlock> BlocksOfPieces(std::uint32_t seed) {
  std::mt19937 random(seed);
  const auto below = [&](std::size_t end) { return random() % end; };
  const std::string letters = "AaDdIiMmPpRrTtWwXxK/";
  // A few names that come again and again, so that they meet one another.
  std::vector<std::string> favourites(5, kSignature);
  for (std::size_t i = 0; i < 4; ++i) favourites[i] = ZipNames()[below(ZipNames().size())].text;

  std::vector<ZipBlock> blocks;
  std::uint64_t startSector = kFirst;
  const std::size_t blockCount = 1 + below(8);
  while (blocks.size() < blockCount) {
    const bool mayHoldHeads = blocks.empty() || below(3) != 0;
    const std::size_t sectorSize = mayHoldHeads ? 51 + below(below(4) == 0 ? 500 : 40) : 1 + below(50);
    const std::size_t size = sectorSize * (1 + below(mayHoldHeads ? 12 : 40));
    std::string bytes = mayHoldHeads && below(2) == 0 ? kHead : "";
    while (bytes.size() < size) {
      const std::string& piece = favourites[below(favourites.size())];
      switch (below(8)) {
        case 0:
          bytes.resize((bytes.size() / sectorSize + 1) * sectorSize);
          if (below(3) == 0) bytes += below(4) == 0 ? kHead + std::string(26, 'x') + "content/" : kHead;
          break;
        case 1:
          bytes += piece;
          break;
        case 2:
          bytes += piece.substr(0, below(piece.size() + 1));
          break;
        case 3:
          bytes += piece.substr(below(piece.size()));
          break;
        case 4:
          bytes += letters[below(letters.size())];
          break;
        case 5: {  // A piece across the next sector's end.
          const std::size_t inFirst = 1 + below(piece.size());
          const std::size_t room = sectorSize - bytes.size() % sectorSize;
          if (room > inFirst) bytes += std::string(room - inFirst, '.');
          bytes += piece;
          break;
        }
        case 6:
          bytes += std::string(below(300), '.');
          break;
        default:
          bytes += std::string(below(9), '\0');
      }
    }
    bytes.resize(size);
    blocks.push_back({startSector, static_cast<int>(sectorSize), bytes});
    startSector += size / sectorSize;
  }
  return blocks;
}

TEST(ZipNames, AgreeWithTheRulesTakenByteByByte) {
  std::map<std::uint32_t, std::size_t> found;
  for (std::uint32_t seed = 0; seed < 20000; ++seed) {
    ZipDetectors detectors;
    LiteralZipSearcher rules;
    for (const ZipBlock& block : BlocksOfPieces(seed)) {
      const ZipHits expected = rules.Scan(block);
      ASSERT_EQ(detectors.Scan(block), expected) << "seed " << seed << ", block " << block.startSector;
      for (const ZipHit& hit : expected) ++found[hit.code];
    }
  }
  for (std::uint32_t code = 0; code < kZipFaces.size(); ++code) EXPECT_GT(found[code], 20U) << code;
}

TEST(ZipNames, AgreeWithTheRulesOnNoiseOfTheNamesLetters) {
  std::mt19937 random(1);
  const std::string letters = Literal("PK\5\6\0\0\0\0word/pptslidexmx/");
  std::size_t found = 0;
  for (int round = 0; round < 300; ++round) {
    ZipDetectors detectors;
    LiteralZipSearcher rules;
    constexpr std::size_t kSize = 4096;
    std::string bytes;
    while (bytes.size() < kSize) {
      if (bytes.size() % 512 == 0 && random() % 3 == 0) bytes += kHead;
      bytes += random() % 200 == 0 ? kSignature : std::string(1, letters[random() % letters.size()]);
    }
    bytes.resize(kSize);
    const ZipBlock block{kFirst, 512, bytes};
    const ZipHits expected = rules.Scan(block);
    ASSERT_EQ(detectors.Scan(block), expected) << round;
    found += expected.size();
  }
  EXPECT_GT(found, 100U);
}

}  // namespace
}  // namespace qzmtraw::test
