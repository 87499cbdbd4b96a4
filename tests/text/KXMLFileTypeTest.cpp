#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <optional>
#include <random>
#include <string>

#include "tests/support/Programs.h"
#include "tests/support/Scanning.h"

namespace qzmtraw::test {
namespace {

constexpr std::array kFaces = {"CKSubXmlFileType", "CKFb2FileType", "CKPpjFileType", "CKG3dxmlFileType",
                               "CKResxFileType"};
constexpr std::uint64_t kLimit = 0x1000000;
const std::string kDeclaration = "<?xml version=\"1.0\"?>";

/// A hit of the face of this code.
struct XmlHit {
  std::uint64_t startSector;
  std::uint64_t size;
  std::uint32_t code;
  bool operator==(const XmlHit&) const = default;
};
using XmlHits = std::vector<XmlHit>;
std::ostream& operator<<(std::ostream& out, const XmlHit& hit) {
  return out << "{sector " << hit.startSector << ", " << hit.size << " bytes, code " << hit.code << "}";
}

/// Sector numbers that no test has used: the classifier takes a block for read when the one before began at the same
/// sector.
std::uint64_t NewSector() {
  static std::uint64_t next = 5000;
  return next += 100000;
}

/// Text as UTF-16 with the least significant byte first.
std::string Wide(const std::string& text) {
  std::string wide;
  for (const char character : text) wide += {character, '\0'};
  return wide;
}
std::string WideFile(const std::string& text) { return "\xFF\xFE" + Wide(text); }

/// Feeds the blocks of a device to all faces in turn, as a host does.
XmlHits ScanOn(const Device& device, Cut cut = {}, Manner manner = Manner::kServes) {
  std::vector<Detector> faces;
  for (const char* face : kFaces) faces.push_back(CreateDetector(face));
  XmlHits hits;
  DeviceReader reader(device, manner);
  const int step = cut.blockSectors == 0 ? device.SectorCount() : cut.blockSectors;
  for (int first = 0; first < device.SectorCount(); first += step) {
    const int count = std::min(step, device.SectorCount() - first);
    const auto begin = device.Bytes().begin() + std::ptrdiff_t{first} * device.SectorSize();
    std::vector<std::uint8_t> memory(begin, begin + std::ptrdiff_t{count} * device.SectorSize());
    const RawSectorBlock block{device.FirstSector() + static_cast<std::uint64_t>(first), memory.data(), count,
                               device.SectorSize(), &reader};
    for (std::uint32_t code = 0; code < kFaces.size(); ++code) {
      RecordingSink sink;
      ScanBlock(*faces[code], block, sink);
      for (const Hit& hit : sink.Found()) hits.push_back({hit.startSector, hit.size, code});
    }
  }
  return hits;
}

/// Brings the classifier, which no one resets, into a known state: no open document, single bytes, kind 0, and a wide
/// closing tag of its own.
void Settle() {
  Device device(2, 4096, NewSector(), ' ');
  device.Put(device.FirstSector(), WideFile(kDeclaration + "<w>"));
  device.Put(device.FirstSector() + 1, kDeclaration + "<s></s>");
  ScanOn(device);
}

/// Scans a settled classifier, whole and in blocks of one to three sectors, which must all agree. Sector numbers in the
/// result count from the device's first.
template <class Put>
XmlHits ScanXml(int sectorCount, int sectorSize, Put put) {
  XmlHits whole;
  for (int blockSectors = 0; blockSectors <= 3; ++blockSectors) {
    Settle();
    Device device(sectorCount, sectorSize, NewSector(), 'x');
    put(device, device.FirstSector());
    XmlHits hits = ScanOn(device, {blockSectors});
    for (XmlHit& hit : hits) hit.startSector -= device.FirstSector();
    // Hits of one block come out by faces.
    std::sort(hits.begin(), hits.end(), [](const XmlHit& a, const XmlHit& b) { return a.startSector < b.startSector; });
    if (blockSectors == 0) whole = hits;
    EXPECT_EQ(hits, whole) << "in blocks of " << blockSectors << " sectors";
  }
  return whole;
}

XmlHits ScanFile(const std::string& file, int sectorCount = 40) {
  return ScanXml(sectorCount, 512, [&](Device& device, std::uint64_t first) { device.Put(first + 1, file); });
}

/// A document of `size` bytes with this root.
std::string Document(std::size_t size, const std::string& root = "doc") {
  const std::string start = kDeclaration + "<" + root + ">";
  const std::string end = "</" + root + ">";
  return start + std::string(size - start.size() - end.size(), 'y') + end;
}

TEST(KXMLFileType, DocumentThatClosesInItsHeadIsTwoBytesLonger) {
  EXPECT_EQ(ScanFile(Document(1000)), (XmlHits{{1, 1002, 0}}));
  EXPECT_EQ(ScanFile(Document(4000)), (XmlHits{{1, 4002, 0}}));
}

TEST(KXMLFileType, DocumentBelow256BytesIsDropped) {
  EXPECT_EQ(ScanFile(Document(200)), XmlHits{});
  EXPECT_EQ(ScanFile(Document(253)), XmlHits{});
  EXPECT_EQ(ScanFile(Document(254)), (XmlHits{{1, 256, 0}}));
}

TEST(KXMLFileType, DroppedDocumentIsClosed) {
  EXPECT_EQ(ScanFile(Document(200) + std::string(3000, 'y') + "</doc>   "), XmlHits{});
}

TEST(KXMLFileType, HeadBufferIsSearchedUpToOffset4095) {
  EXPECT_EQ(ScanFile(Document(4095)), (XmlHits{{1, 4097, 0}}));
  // One byte further on the tag is left to the search by sectors, which misses one that ends a sector.
  EXPECT_EQ(ScanFile(Document(4096) + std::string(100, 'y') + '\0'), (XmlHits{{1, 4196, 0}}));
  EXPECT_EQ(ScanFile(Document(4200)), (XmlHits{{1, 4200, 0}}));
}

TEST(KXMLFileType, DocumentThatClosesLaterEndsWithItsTag) {
  EXPECT_EQ(ScanFile(Document(5000)), (XmlHits{{1, 5000, 0}}));
  EXPECT_EQ(ScanFile(Document(16000)), (XmlHits{{1, 16000, 0}}));
}

TEST(KXMLFileType, DocumentEndsInFrontOfItsFirstZero) {
  EXPECT_EQ(ScanFile(kDeclaration + "<doc>" + std::string(6000, 'y') + '\0' + std::string(100, 'y') + "</doc>  "),
            (XmlHits{{1, kDeclaration.size() + 5 + 6000, 0}}));
  // Also in its first sector, and below the least size nothing is reported.
  EXPECT_EQ(ScanFile((kDeclaration + "<doc>").append(234 - 4, 'y') + '\0'), (XmlHits{{1, 256, 0}}));
  EXPECT_EQ(ScanFile((kDeclaration + "<doc>").append(233 - 4, 'y') + '\0'), XmlHits{});
}

TEST(KXMLFileType, ZeroInTheSectorsLastByteIsSeen) {
  for (const std::size_t size : {511U, 512U, 513U}) {
    std::string file = kDeclaration + "<doc>";
    file.append(size - file.size(), 'y');
    EXPECT_EQ(ScanFile(file + '\0'), (XmlHits{{1, size, 0}})) << size;
  }
}

TEST(KXMLFileType, TagThatEndsOrLeavesItsSectorIsNotSeen) {
  const auto fileEndingAt = [](std::size_t end) { return Document(end) + std::string(1000, 'y') + '\0'; };
  EXPECT_EQ(ScanFile(fileEndingAt(5 * 1024 - 1)), (XmlHits{{1, 5 * 1024 - 1, 0}}));
  for (std::size_t beyond = 0; beyond < 6; ++beyond) {
    EXPECT_EQ(ScanFile(fileEndingAt(5 * 1024 + beyond)), (XmlHits{{1, 6 * 1024 - 24 + beyond, 0}})) << beyond;
  }
  EXPECT_EQ(ScanFile(fileEndingAt(5 * 1024 + 6)), (XmlHits{{1, 5 * 1024 + 6, 0}}));
}

TEST(KXMLFileType, RootTellsTheKind) {
  const std::pair<const char*, std::uint32_t> roots[] = {{"FictionBook", 1}, {"PremiereData", 2}, {"Model_3dxml", 3},
                                                         {"root", 4},        {"fictionbook", 0},  {"Root", 0},
                                                         {"roots", 0},       {"roo", 0},          {"x:root", 0}};
  for (const auto& [root, code] : roots) {
    EXPECT_EQ(ScanFile(Document(1000, root)), (XmlHits{{1, 1002, code}})) << root;
    EXPECT_EQ(ScanFile(Document(6000, root)), (XmlHits{{1, 6000, code}})) << root;
  }
}

TEST(KXMLFileType, NameEndsWithABlankOrTheTag) {
  EXPECT_EQ(ScanFile(kDeclaration + "<root a=\"b\">" + std::string(500, 'y') + "</root>"),
            (XmlHits{{1, kDeclaration.size() + 519 + 2, 4}}));
}

TEST(KXMLFileType, LineEndOrTabInTheNameIsNoHead) {
  for (const char* name : {"ro\rot", "ro\not", "ro\tot", "ro<ot"}) {
    EXPECT_EQ(ScanFile(Document(1000, name)), XmlHits{}) << name;
  }
}

TEST(KXMLFileType, DeclarationIsTakenAtItsWord) {
  for (const char* declaration :
       {"<?xml version=\"1.1\"?>", "<?xml version='1.0'?>", "<?XML version=\"1.0\"?>", "<?xml  version=\"1.0\"?>"}) {
    EXPECT_EQ(ScanFile(declaration + Document(1000).substr(kDeclaration.size())), XmlHits{}) << declaration;
  }
}

TEST(KXMLFileType, WhiteSpaceMayStandInFrontOfTheDeclaration) {
  EXPECT_EQ(ScanFile(" \r\n\t" + Document(1000)), (XmlHits{{1, 1006, 0}}));
  EXPECT_EQ(ScanFile(std::string(100, '\n') + Document(1000)), (XmlHits{{1, 1102, 0}}));
  EXPECT_EQ(ScanFile(std::string(127, '\n') + Document(1000)), (XmlHits{{1, 1129, 0}}));
  EXPECT_EQ(ScanFile(std::string(128, '\n') + Document(1000)), XmlHits{});
  EXPECT_EQ(ScanFile(std::string(130, '\n') + Document(1000)), XmlHits{});
  EXPECT_EQ(ScanFile("\f" + Document(1000)), XmlHits{});
  EXPECT_EQ(ScanFile(" y" + Document(1000)), XmlHits{});
}

TEST(KXMLFileType, ByteOrderMarkOfUtf8IsSkipped) {
  EXPECT_EQ(ScanFile("\xEF\xBB\xBF" + Document(1000)), (XmlHits{{1, 1005, 0}}));
  EXPECT_EQ(ScanFile("\xEF\xBB\xBF" + std::string(124, ' ') + Document(1000)), (XmlHits{{1, 1129, 0}}));
  EXPECT_EQ(ScanFile("\xEF\xBB\xBF" + std::string(125, ' ') + Document(1000)), XmlHits{});
  EXPECT_EQ(ScanFile("\xEF\xBB" + Document(1000)), XmlHits{});
}

TEST(KXMLFileType, DeclarationEndsBelowOffset2048) {
  const auto file = [](std::size_t end) {
    const std::string start = "<?xml version=\"1.0\" ";
    return start + std::string(end - start.size(), 'e') + "><doc>" + std::string(500, 'y') + "</doc>";
  };
  EXPECT_EQ(ScanFile(file(2047)), (XmlHits{{1, 2048 + 511 + 2, 0}}));
  EXPECT_EQ(ScanFile(file(2048)), XmlHits{});
  EXPECT_EQ(ScanFile("<?xml version=\"1.0\" <?><doc>" + std::string(500, 'y') + "</doc>"), XmlHits{});
}

TEST(KXMLFileType, RootBeginsBelowOffset3072) {
  const auto file = [](std::size_t root) {
    return kDeclaration + std::string(root - kDeclaration.size(), ' ') + "<doc>" + std::string(500, 'y') + "</doc>";
  };
  EXPECT_EQ(ScanFile(file(3071)), (XmlHits{{1, 3071 + 511 + 2, 0}}));
  EXPECT_EQ(ScanFile(file(3072)), XmlHits{});
  EXPECT_EQ(ScanFile(kDeclaration + " > <doc>" + std::string(500, 'y') + "</doc>"), XmlHits{});
}

TEST(KXMLFileType, StartTagEndsBelowOffset4090) {
  const auto file = [](std::size_t end) {
    const std::string start = kDeclaration + "<doc ";
    return start + std::string(end - start.size(), 'a') + ">" + std::string(500, 'y') + "</doc>";
  };
  EXPECT_EQ(ScanFile(file(4089)), (XmlHits{{1, 4090 + 506, 0}}));
  EXPECT_EQ(ScanFile(file(4090)), XmlHits{});
  EXPECT_EQ(ScanFile(kDeclaration + "<doc a=\"<\">" + std::string(500, 'y') + "</doc>"), XmlHits{});
}

TEST(KXMLFileType, NameOf253BytesGetsNoEndOfTag) {
  // With 252 bytes the tag is whole. With 253 it is met without its ">", also in front of more of a name.
  const std::string name252(252, 'n');
  EXPECT_EQ(ScanFile(Document(2000, name252)), (XmlHits{{1, 2002, 0}}));
  const std::string name253(253, 'n');
  EXPECT_EQ(ScanFile(Document(2000, name253)), (XmlHits{{1, 2001, 0}}));
  const std::string name300(300, 'n');
  EXPECT_EQ(ScanFile(Document(2000, name300)), (XmlHits{{1, 2002 - 48, 0}}));
}

TEST(KXMLFileType, ZeroInTheNameIsAnOrdinaryByte) {
  EXPECT_EQ(ScanFile(Document(1000, Literal("do\0c"))), (XmlHits{{1, 1002, 0}}));
}

TEST(KXMLFileType, ZeroInTheNameEndsADocumentThatDoesNotCloseInItsHead) {
  const std::string root = Literal("do\0c");
  EXPECT_EQ(ScanFile(Document(5000, root) + "yyy"), XmlHits{});
  // Behind 256 bytes of white space it leaves a hit.
  const std::string start = kDeclaration + std::string(300, ' ');
  EXPECT_EQ(ScanFile(start + "<" + root + ">" + std::string(5000, 'y')), (XmlHits{{1, start.size() + 3, 0}}));
}

TEST(KXMLFileType, CommentIsTakenForTheRoot) {
  const std::string file =
      kDeclaration + "<!-- note --><doc>" + std::string(6000, 'y') + "</doc>" + std::string(99, ' ');
  EXPECT_EQ(ScanFile(file + '\0'), (XmlHits{{1, file.size(), 0}}));
}

TEST(KXMLFileType, NewHeadGivesItsKindToTheDocumentBefore) {
  const XmlHits hits = ScanXml(40, 512, [](Device& device, std::uint64_t first) {
    device.Put(first + 1, kDeclaration + "<FictionBook>" + std::string(4200, 'y'));
    device.Put(first + 20, Document(1000, "root"));
  });
  EXPECT_EQ(hits, (XmlHits{{1, 19 * 512, 4}, {20, 1002, 4}}));
}

TEST(KXMLFileType, HeadThatFailsAtItsStartTagStillGivesItsKind) {
  const XmlHits hits = ScanXml(40, 512, [](Device& device, std::uint64_t first) {
    device.Put(first + 1, kDeclaration + "<FictionBook>" + std::string(4200, 'y'));
    device.Put(first + 12, kDeclaration + "<root a=\"<\">");
    device.Put(first + 20, "   </FictionBook>");
  });
  EXPECT_EQ(hits, (XmlHits{{1, 19 * 512 + 17, 4}}));
}

TEST(KXMLFileType, HeadThatFailsBeforeItsNameLeavesTheKind) {
  const XmlHits hits = ScanXml(40, 512, [](Device& device, std::uint64_t first) {
    device.Put(first + 1, kDeclaration + "<FictionBook>" + std::string(4200, 'y'));
    device.Put(first + 12, kDeclaration + "<root\n>");
    device.Put(first + 20, "   </FictionBook>");
  });
  EXPECT_EQ(hits, (XmlHits{{1, 19 * 512 + 17, 1}}));
}

TEST(KXMLFileType, SmallDocumentBeforeANewHeadVanishes) {
  const XmlHits hits = ScanXml(160, 64, [](Device& device, std::uint64_t first) {
    device.Put(first, kDeclaration + "<doc>");
    device.Put(first + 3, kDeclaration + "<doc>");
    device.Put(first + 7, Document(300, "end"));
  });
  EXPECT_EQ(hits, (XmlHits{{3, 256, 0}, {7, 302, 0}}));
}

TEST(KXMLFileType, DocumentWithoutEndIsGivenUpAboveTheLimit) {
  for (const std::uint64_t sectors : {0U, 1U}) {
    Settle();
    constexpr int kSize = 32768;
    const std::uint64_t first = NewSector();
    ScanOn(Device(1, kSize, first, 'x').Put(first, kDeclaration + "<root>"));
    for (std::uint64_t i = 1; i < kLimit / kSize; ++i) {
      ASSERT_EQ(ScanOn(Device(1, kSize, first + i, 'x')), XmlHits{});
    }
    // The limit is reached and not exceeded.
    const std::uint64_t next = first + kLimit / kSize;
    if (sectors == 0) {
      EXPECT_EQ(ScanOn(Device(1, kSize, next, 'x').Put(next, Literal("\0"))), (XmlHits{{first, kLimit, 4}}));
    } else {
      EXPECT_EQ(ScanOn(Device(1, kSize, next, 'x').Put(next, 5, Literal("\0"))), (XmlHits{{first, kLimit, 4}}));
    }
    EXPECT_EQ(ScanOn(Device(1, kSize, next + 1, '\0')), XmlHits{});
  }
}

TEST(KXMLFileType, SectorAboveTheLimitEndsTheDocumentAtIt) {
  Settle();
  constexpr int kSize = 32768;
  const std::uint64_t first = NewSector();
  ScanOn(Device(1, kSize, first, 'x').Put(first, kDeclaration + "<root>"));
  for (std::uint64_t i = 1; i < kLimit / kSize; ++i) ScanOn(Device(1, kSize, first + i, 'x'));
  EXPECT_EQ(ScanOn(Device(1, kSize, first + kLimit / kSize, 'x')), (XmlHits{{first, kLimit, 4}}));
}

TEST(KXMLFileType, FacesDontPassALimitOn) {
  Settle();
  const std::uint64_t first = NewSector();
  const Detector face = CreateDetector("CKResxFileType");
  face->SetMaxFileSize(300);
  Device device(4, 512, first);
  device.Put(first, Document(1000, "root"));
  EXPECT_EQ(Scan(*face, device), (Hits{{first, 1002}}));
}

TEST(KXMLFileType, OpenDocumentSurvivesTheResetOfAllFaces) {
  Settle();
  const std::uint64_t first = NewSector();
  ScanOn(Device(9, 512, first, 'x').Put(first, kDeclaration + "<root>"));
  for (const char* face : kFaces) {
    const Detector detector = CreateDetector(face);
    EXPECT_EQ(detector->Reset(), 1);
    EXPECT_EQ(detector->ResetLight(), 1);
    EXPECT_EQ(detector->ResetFull(), 1);
  }
  EXPECT_EQ(ScanOn(Device(1, 512, first + 9, 'x').Put(first + 9, "</root>")), (XmlHits{{first, 9 * 512 + 7, 4}}));
}

TEST(KXMLFileType, DocumentOpenAtTheEndIsNotReported) { EXPECT_EQ(ScanFile(kDeclaration + "<doc>"), XmlHits{}); }

TEST(KXMLFileType, EmptyBlockStoresItsNumber) {
  Settle();
  const std::uint64_t first = NewSector();
  const Detector face = CreateDetector("CKResxFileType");
  RecordingSink sink;
  std::uint8_t byte = 0;
  const RawSectorBlock empty{first, &byte, 0, 512, nullptr};
  face->Scan(&empty, &sink);
  const Device device = Device(4, 512, first).Put(first, Document(1000, "root"));
  EXPECT_EQ(Scan(*face, device), Hits{});
  // Another block in between, and it is read.
  ScanOn(Device(1, 512, NewSector()));
  EXPECT_EQ(Scan(*face, device), (Hits{{first, 1002}}));
}

TEST(KXMLFileType, DocumentInUtf16IsNeverFound) {
  EXPECT_EQ(ScanFile(WideFile(Document(1000))), XmlHits{});
  EXPECT_EQ(ScanFile(WideFile(Document(1000)), 40), XmlHits{});
  EXPECT_EQ(ScanFile(WideFile(kDeclaration + "<root>") + std::string(9000, 'y') + Wide("</root>") + "yy"), XmlHits{});
}

/// Scans a document in single bytes with root "doc", open for 10 sectors, with `middle` in the sector at 10 and `later`
/// from 12 on.
XmlHits ScanAcross(const std::string& middle, const std::string& later, std::size_t offset = 0) {
  return ScanXml(40, 512, [&](Device& device, std::uint64_t first) {
    device.Put(first, kDeclaration + "<doc>");
    device.Put(first + 10, middle);
    device.Put(first + 12, offset, later);
  });
}

TEST(KXMLFileType, WideHeadTurnsTheSearchOfTheOpenDocumentWide) {
  const std::string wide = WideFile(kDeclaration + "<doc>");
  EXPECT_EQ(ScanAcross(wide, "</doc>"), XmlHits{});
  EXPECT_EQ(ScanAcross(wide, Wide("</doc>")), (XmlHits{{0, 12 * 512 + 12, 0}}));
  EXPECT_EQ(ScanAcross("yy", "</doc>"), (XmlHits{{0, 12 * 512 + 6, 0}}));
  EXPECT_EQ(ScanAcross("yy", Wide("</doc>")), (XmlHits{{0, 12 * 512 + 1, 0}}));
}

TEST(KXMLFileType, WideTagIsTheOneOfTheWideHead) {
  const std::string wide = WideFile(kDeclaration + "<other>");
  EXPECT_EQ(ScanAcross(wide, Wide("</doc>")), XmlHits{});
  EXPECT_EQ(ScanAcross(wide, Wide("</other>"), 3), (XmlHits{{0, 12 * 512 + 19, 0}}));
}

TEST(KXMLFileType, WideTagEndsInFrontOfTheSectorsLastByte) {
  const std::string wide = WideFile(kDeclaration + "<doc>");
  EXPECT_EQ(ScanAcross(wide, Wide("</doc>"), 512 - 13), (XmlHits{{0, 12 * 512 + 511, 0}}));
  EXPECT_EQ(ScanAcross(wide, Wide("</doc>"), 512 - 12), XmlHits{});
}

TEST(KXMLFileType, AnySectorWithTheMarkTurnsTheSearchWide) {
  // The tag is then the one before, with the length of the document's own: here "</w>" and two zero units.
  EXPECT_EQ(ScanAcross("\xFF\xFEyy", "</doc>"), XmlHits{});
  EXPECT_EQ(ScanAcross("\xFF\xFEyy", Wide("</w>")), XmlHits{});
  EXPECT_EQ(ScanAcross("\xFF\xFEyy", Wide("</w>") + std::string(4, '\0')), (XmlHits{{0, 12 * 512 + 12, 0}}));
}

TEST(KXMLFileType, WideSearchEndsWithTwoZeros) {
  EXPECT_EQ(ScanAcross("\xFF\xFEyy", Literal("y\0y\0y")), XmlHits{});
  for (const std::size_t offset : {0U, 1U, 2U, 99U, 510U}) {
    EXPECT_EQ(ScanAcross("\xFF\xFEyy", Literal("\0\0"), offset).size(), 1U);
  }
  EXPECT_EQ(ScanAcross("\xFF\xFEyy", Literal("\0\0"), 99), (XmlHits{{0, 12 * 512 + 99, 0}}));
  EXPECT_EQ(ScanAcross("\xFF\xFEyy", Literal("\0\0"), 510), (XmlHits{{0, 12 * 512 + 510, 0}}));
}

TEST(KXMLFileType, ZeroUnitMayEndInTheNextSectorOfTheBlock) {
  const auto scan = [](int blockSectors) {
    Settle();
    Device device(20, 512, NewSector(), 'x');
    device.Put(device.FirstSector(), kDeclaration + "<doc>").Put(device.FirstSector() + 3, "\xFF\xFE");
    device.Put(device.FirstSector() + 5, 511, Literal("\0\0"));
    const XmlHits hits = ScanOn(device, {blockSectors});
    return hits.empty() ? 0 : hits.front().size;
  };
  EXPECT_EQ(scan(0), 5 * 512 + 511U);
  EXPECT_EQ(scan(1), 0U);
}

TEST(KXMLFileType, WideTagOfMoreThan128UnitsIsNeverMet) {
  const auto scan = [](std::size_t nameLength) {
    const std::string name(nameLength, 'n');
    return ScanAcross(WideFile(kDeclaration + "<" + name + ">"), Wide("</" + name + ">"), 40);
  };
  EXPECT_EQ(scan(125), (XmlHits{{0, 12 * 512 + 40 + 256, 0}}));
  EXPECT_EQ(scan(126), XmlHits{});
  EXPECT_EQ(scan(200), XmlHits{});
}

TEST(KXMLFileType, LongWideTagReplacesTheOneBefore) {
  EXPECT_EQ(ScanAcross(WideFile(kDeclaration + "<" + std::string(140, 'n') + ">"), Wide("</w>") + std::string(4, '\0')),
            (XmlHits{{0, 12 * 512 + 7, 0}}));
}

TEST(KXMLFileType, WideHeadHasItsLimitsInUnits) {
  const auto isHead = [](const std::string& text) {
    // Only a head that is one brings its own tag.
    const XmlHits hits = ScanXml(60, 512, [&](Device& device, std::uint64_t first) {
      device.Put(first, kDeclaration + "<doc>");
      device.Put(first + 10, WideFile(text));
      device.Put(first + 50, Wide("</new>"));
    });
    return hits == XmlHits{{0, 50 * 512 + 12, 0}};
  };
  const auto fill = [](const std::string& start, std::size_t end, char filler) {
    return start + std::string(end - start.size(), filler);
  };
  const std::string longDeclaration = "<?xml version=\"1.0\" ";
  EXPECT_TRUE(isHead(kDeclaration + "<new>"));
  EXPECT_TRUE(isHead(std::string(127, ' ') + kDeclaration + "<new>"));
  EXPECT_FALSE(isHead(std::string(128, ' ') + kDeclaration + "<new>"));
  EXPECT_FALSE(isHead("y" + kDeclaration + "<new>"));
  EXPECT_FALSE(isHead("<?xml version=\"1.1\"?><new>"));
  EXPECT_TRUE(isHead(fill(longDeclaration, 2047, 'e') + "><new>"));
  EXPECT_FALSE(isHead(fill(longDeclaration, 2048, 'e') + "><new>"));
  EXPECT_TRUE(isHead(fill(kDeclaration, 3071, ' ') + "<new>"));
  EXPECT_FALSE(isHead(fill(kDeclaration, 3072, ' ') + "<new>"));
  EXPECT_TRUE(isHead(fill(kDeclaration + "<new ", 4089, 'a') + ">"));
  EXPECT_FALSE(isHead(fill(kDeclaration + "<new ", 4090, 'a') + ">"));
  EXPECT_FALSE(isHead(kDeclaration + "<new a=\"<\">"));
  EXPECT_FALSE(isHead(kDeclaration + "<new\t>"));
}

TEST(KXMLFileType, HeadInSingleBytesTurnsTheSearchBack) {
  const XmlHits hits = ScanXml(60, 512, [&](Device& device, std::uint64_t first) {
    device.Put(first, kDeclaration + "<doc>");
    device.Put(first + 10, WideFile(kDeclaration + "<doc>"));
    device.Put(first + 12, kDeclaration + "<end>");
    device.Put(first + 30, "</end>");
  });
  EXPECT_EQ(hits, (XmlHits{{0, 12 * 512, 0}, {12, 18 * 512 + 6, 0}}));
}

TEST(KXMLFileType, WideHeadLeavesTheKind) {
  EXPECT_EQ(ScanAcross(WideFile(kDeclaration + "<root>"), Wide("</root>")), (XmlHits{{0, 12 * 512 + 14, 0}}));
}

TEST(KXMLFileType, ReadsThatFailLeaveNoHead) {
  // Sectors of more than 32768 bytes can't be read: the head shows nothing but zeros.
  Settle();
  const std::uint64_t first = NewSector();
  Device device(3, 40000, first, 'x');
  device.Put(first, Document(1000));
  EXPECT_EQ(ScanOn(device), XmlHits{});
}

/// The rules step by step and byte by byte, with the state that the classifier carries.
class LiteralXml {
 public:
  /// The device in one block.
  XmlHits Scan(const Device& device) {
    hits_.clear();
    bytes_.assign(device.Bytes().begin(), device.Bytes().end());
    n_ = static_cast<std::size_t>(device.SectorSize());
    for (std::size_t i = 0; i < static_cast<std::size_t>(device.SectorCount()); ++i) {
      base_ = i * n_;
      std::uint64_t declaredSize = 0;
      bool isHead = false;
      if (At(0) == 0xFF && At(1) == 0xFE) {
        HeadTest(2, 2, declaredSize);
        declaredSize = 0;
      } else {
        isHead = HeadTest(1, 0, declaredSize);
      }
      if (isHead) {
        if (open_ && size_ >= 256) Record(std::min(size_, kLimit));
        start_ = device.FirstSector() + i;
        size_ = 0;
        open_ = true;
        if (declaredSize >= 256) Record(std::min(declaredSize, kLimit));
        if (declaredSize != 0) {
          open_ = false;
          size_ = 0;
          continue;
        }
      }
      if (!open_) continue;
      if (const auto end = End()) {
        size_ += *end;
        if (size_ >= 256) Record(std::min(size_, kLimit));
        size_ = 0;
        open_ = false;
      } else {
        size_ += n_;
      }
    }
    return hits_;
  }

 private:
  /// A byte of the block; -1 behind it.
  int At(std::size_t offset) const {
    return base_ + offset < bytes_.size() ? static_cast<unsigned char>(bytes_[base_ + offset]) : -1;
  }
  /// A unit of the sector; -1 where the block doesn't hold it.
  int UnitAt(std::size_t width, std::size_t origin, std::size_t unit) const {
    const std::size_t offset = origin + unit * width;
    if (width == 1) return At(offset);
    return At(offset) < 0 || At(offset + 1) < 0 ? -1 : At(offset) + 256 * At(offset + 1);
  }
  void Record(std::uint64_t size) { hits_.push_back({start_, size, kind_}); }

  bool HeadTest(std::size_t width, std::size_t origin, std::uint64_t& declaredSize) {
    std::size_t u = 0;
    if (width == 2) isWide_ = true;
    if (width == 1 && At(0) == 0xEF && At(1) == 0xBB && At(2) == 0xBF) u = 3;
    for (;; ++u) {
      if (u == 128) return false;
      const int unit = UnitAt(width, origin, u);
      if (unit == '<') break;
      if (unit != '\r' && unit != '\n' && unit != '\t' && unit != ' ') return false;
    }
    const std::string declaration = "<?xml version=\"1.0\"";
    for (std::size_t k = 0; k < 19; ++k) {
      if (UnitAt(width, origin, u + k) != declaration[k]) return false;
    }
    // Behind the device the reader gives zeros.
    const auto unitAt = [&](std::size_t k) { return std::max(0, UnitAt(width, origin, k)); };
    std::size_t p = u + 8;
    for (;; ++p) {
      if (p == 2048 || unitAt(p) == '<') return false;
      if (unitAt(p) == '>') break;
    }
    for (++p;; ++p) {
      if (p == 3072 || unitAt(p) == '>') return false;
      if (unitAt(p) == '<') break;
    }
    std::vector<int> tag{'<', '/'};
    for (std::size_t k = p + 1; k < p + 254; ++k) {
      const int unit = unitAt(k);
      if (unit == '<' || unit == '\r' || unit == '\n' || unit == '\t') return false;
      if (unit == ' ' || unit == '>') {
        tag.push_back('>');
        break;
      }
      tag.push_back(unit);
    }
    if (width == 1) {
      const std::string text(tag.begin(), tag.end());
      kind_ = text == "</FictionBook>" ? 1 : text == "</PremiereData>" ? 2 : text == "</Model_3dxml>" ? 3 : 0;
      if (text == "</root>") kind_ = 4;
    }
    for (p += 2;; ++p) {
      if (p == 4090 || unitAt(p) == '<') return false;
      if (unitAt(p) == '>') break;
    }
    tagLength_ = tag.size();
    if (width == 2) {
      wideTag_.assign(256, '\0');
      for (std::size_t k = 0; k < std::min<std::size_t>(128, tag.size()); ++k) {
        wideTag_[2 * k] = static_cast<char>(tag[k]);
        wideTag_[2 * k + 1] = static_cast<char>(tag[k] / 256);
      }
      return false;
    }
    isWide_ = false;
    tag_.assign(tag.begin(), tag.end());
    for (std::size_t f = p + 1; f < 4096 - tag.size(); ++f) {
      bool same = true;
      for (std::size_t k = 0; k < tag.size(); ++k) same = same && unitAt(f + k) == tag[k];
      if (same) {
        declaredSize = 4096 - 4094 + f + tag.size();
        break;
      }
    }
    return true;
  }

  std::optional<std::size_t> End() const {
    const std::size_t length = isWide_ ? 2 * tagLength_ : tagLength_;
    const std::string& tag = isWide_ ? wideTag_ : tag_;
    for (std::size_t i = 0; i < n_; ++i) {
      if (i + length < n_ && length <= 256 && bytes_.compare(base_ + i, length, tag, 0, length) == 0) return i + length;
      if (At(i) == 0 && (!isWide_ || At(i + 1) == 0)) return i;
    }
    return std::nullopt;
  }

  std::string bytes_;
  std::size_t n_ = 0;
  std::size_t base_ = 0;
  bool open_ = false;
  std::uint64_t start_ = 0;
  std::uint64_t size_ = 0;
  bool isWide_ = false;
  std::string tag_;
  std::string wideTag_;
  std::size_t tagLength_ = 0;
  std::uint32_t kind_ = 0;
  XmlHits hits_;
};

TEST(KXMLFileType, AgreesWithTheRulesTakenByteByByte) {
  const std::string heads[] = {
      kDeclaration + "<root>",
      kDeclaration + "<a>",
      kDeclaration + "<FictionBook x=\"1\">",
      kDeclaration + "<PremiereData a=\"<\">",
      "  \n" + kDeclaration + "<Model_3dxml>",
      "\xEF\xBB\xBF" + kDeclaration + "<a >",
      WideFile(kDeclaration + "<a>"),
      WideFile(kDeclaration + "<root>"),
      WideFile(kDeclaration + "<ro\n>"),
      "\xFF\xFE",
      kDeclaration + "<" + std::string(253, 'n') + ">",
      WideFile(kDeclaration + "<" + std::string(130, 'n') + ">"),
  };
  const std::string ends[] = {"</root>",
                              "</a>",
                              "</FictionBook>",
                              "</Model_3dxml>",
                              Wide("</a>"),
                              Wide("</root>"),
                              Literal("\0"),
                              Literal("\0\0"),
                              Wide("</a>") + std::string(6, '\0'),
                              "</ro",
                              "<"};
  Settle();
  LiteralXml rules;
  // The same as Settle for the rules, but for the numbers.
  Device settling(2, 4096, 0, ' ');
  settling.Put(0, WideFile(kDeclaration + "<w>")).Put(1, kDeclaration + "<s></s>");
  rules.Scan(settling);
  std::size_t found = 0;
  std::size_t foundOpen = 0;
  std::mt19937 random(7);
  std::uint64_t first = NewSector();
  for (int round = 0; round < 4000; ++round) {
    const std::size_t sectorSize = 1 + random() % 200;
    const std::size_t sectorCount = 1 + random() % 120;
    std::string bytes;
    while (bytes.size() < sectorSize * sectorCount) {
      switch (random() % 8) {
        case 0:
          bytes.resize((bytes.size() + sectorSize - 1) / sectorSize * sectorSize, 'x');
          bytes += heads[random() % std::size(heads)];
          break;
        case 1:
          bytes += ends[random() % std::size(ends)];
          break;
        case 2:
          bytes.resize(bytes.size() + random() % 6000, 'x');
          break;
        default:
          bytes.resize(bytes.size() + random() % 300, 'x');
      }
    }
    bytes.resize(sectorSize * sectorCount);
    Device device(static_cast<int>(sectorCount), static_cast<int>(sectorSize), first);
    device.Put(first, bytes);
    XmlHits expected = rules.Scan(device);
    std::stable_sort(expected.begin(), expected.end(),
                     [](const XmlHit& a, const XmlHit& b) { return a.code < b.code; });
    ASSERT_EQ(ScanOn(device), expected) << "round " << round;
    found += expected.size();
    for (const XmlHit& hit : expected) foundOpen += hit.startSector < first ? 1 : 0;
    first += 1000;
  }
  EXPECT_GT(found, 2000U);
  EXPECT_GT(foundOpen, 200U);
}

}  // namespace
}  // namespace qzmtraw::test
