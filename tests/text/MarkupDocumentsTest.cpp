// Documents that programs wrote, each with the size that its detector gives it. tests/data/make_markup_documents.sh
// makes them.

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>

#include "tests/support/Scanning.h"

namespace qzmtraw::test {
namespace {

constexpr std::uint64_t kFirst = 70000;

std::string Read(const std::string& name) {
  std::ifstream file(std::filesystem::path(QZMTRAW_TEST_DATA) / "text" / name, std::ios::binary);
  if (!file) throw std::runtime_error("no file " + name);
  return {std::istreambuf_iterator<char>(file), {}};
}

/// A device of 200 sectors with the document from its third one on, and zeros everywhere else.
Device DeviceWith(const std::string& document, int sectorSize = 512) {
  return Device(200, sectorSize, kFirst, 0).Put(kFirst + 3, document);
}

TEST(MarkupDocuments, FlatTextDocumentEndsWithItsRoot) {
  const std::string document = Read("flat.xml");
  const std::string closingTag = "</office:document>";
  ASSERT_EQ(document.find(closingTag) + closingTag.size(), document.size());
  const Detector other = CreateDetector("CKResxFileType");
  const Detector detector = CreateDetector("CKSubXmlFileType");
  EXPECT_EQ(Scan(*detector, DeviceWith(document)), (Hits{{kFirst + 3, document.size()}}));
  EXPECT_EQ(Scan(*other, DeviceWith(document)), Hits{});
}

TEST(MarkupDocuments, WebPageOfWriterHasWholeSectors) {
  const std::string document = Read("writer.html");
  EXPECT_GT(document.find("</html>"), 4096U);
  EXPECT_EQ(ScanAnyCut("KHTMLFileType", DeviceWith(document)),
            (Hits{{kFirst + 3, (document.size() + 511) / 512 * 512}}));
}

TEST(MarkupDocuments, LinearizedPdfTellsItsSize) {
  const std::string document = Read("linearized.pdf");
  EXPECT_EQ(ScanAnyCut("KPdfFileType", DeviceWith(document)), (Hits{{kFirst + 3, document.size()}}));
  EXPECT_EQ(ScanAnyCut("KAiFileType", DeviceWith(document)), Hits{});
}

TEST(MarkupDocuments, PlainPdfEndsWithItsMark) {
  const std::string document = Read("plain.pdf");
  EXPECT_EQ(ScanAnyCut("KPdfFileType", DeviceWith(document, 4096)), (Hits{{kFirst + 3, document.size()}}));
  // In sectors of 512 bytes the mark stands in two of them, so that it isn't seen.
  ASSERT_EQ(document.find("%%EOF") % 512, 511U);
  EXPECT_EQ(ScanAnyCut("KPdfFileType", DeviceWith(document)), Hits{});
}

TEST(MarkupDocuments, PostScriptEndsWithTheZerosBehindIt) {
  const std::string document = Read("drawing.ps");
  EXPECT_EQ(ScanAnyCut("CKPsPostScriptFileType", DeviceWith(document)), (Hits{{kFirst + 3, document.size()}}));
}

TEST(MarkupDocuments, EpsWithAnotherPreviewRunsToTheNextHead) {
  const std::string document = Read("preview.eps");
  const std::uint64_t next = kFirst + 100;
  EXPECT_EQ(ScanAnyCut("CKGEpsFileType", DeviceWith(document).Put(next, document)), (Hits{{kFirst + 3, 97 * 512}}));
}

TEST(MarkupDocuments, RichTextEndsWithItsGroup) {
  const std::string document = Read("writer.rtf");
  EXPECT_EQ(ScanAnyCut("CKRTFFeileType", DeviceWith(document)), (Hits{{kFirst + 3, document.size()}}));
}

}  // namespace
}  // namespace qzmtraw::test
