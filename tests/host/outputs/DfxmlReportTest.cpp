#include <gtest/gtest.h>

#include <cstdlib>
#include <sstream>

#include "host/base/Error.h"
#include "host/outputs/DfxmlReport.h"
#include "tests/host/support/Records.h"
#include "tests/host/support/Workspace.h"

namespace qzmtraw::host {
namespace {

bool Has(const std::string& text, const std::string& part) { return text.find(part) != std::string::npos; }

class DfxmlReportTest : public ::testing::Test {
 protected:
  /// Whether a document keeps the schema.
  static bool IsValid(const std::string& document) {
    const Workspace workspace;
    WriteFile(workspace / "list.xml", BytesOf(document));
    const std::string command = "xmllint --noout --nonet --schema " QZMTRAW_TEST_DATA "/dfxml.xsd '" +
                                workspace / "list.xml" + "' >/dev/null 2>&1";
    return std::system(command.c_str()) == 0;
  }

  /// The whole document for some finds.
  static std::string DocumentFor(const SourceInfo& source, const std::vector<FindRecord>& records,
                                 const Summary& summary = {}, const SectorSet& unreadable = {}) {
    std::ostringstream out;
    const auto report = MakeDfxmlReport(out);
    report->Begin(source);
    for (const FindRecord& record : records) report->Add(record);
    report->End(summary, unreadable);
    return out.str();
  }

  TypeInfo ace = AceType();
};

TEST_F(DfxmlReportTest, AFindHasItsBytesAndItsFacts) {
  SourceInfo source = HostileSource();
  source.sha256 = "ab12";
  source.run = {.program = "qzmtraw",
                .version = "1.2",
                .compiler = "GCC",
                .libraries = {{"sqlite", "3"}},
                .commandLine = "qzmtraw scan 'a b'",
                .host = "h",
                .user = "me",
                .uid = 7};
  FindRecord copy = Recovered({{2, 0, 157}, &ace, {1024, 700, true, false}}, "out/x.ace");
  copy.recovered->sha256 = "00ff";
  copy.embeddedIn = Find{1, 0, 144};
  copy.notes = {"note"};
  const std::string document = DocumentFor(
      source, {{{1, 9, 157}, &ace, {512, 5, false, true}}, {{3, 0, 157}, &ace, {1536, 8, true, false}}, copy});
  EXPECT_TRUE(IsValid(document)) << document;
  EXPECT_TRUE(Has(document, "<sectorsize>512</sectorsize>"));
  EXPECT_TRUE(Has(document, "<program>qzmtraw</program>"));
  EXPECT_TRUE(Has(document, "<library name=\"sqlite\" version=\"3\"/>"));
  EXPECT_TRUE(Has(document, "<hashdigest type=\"sha256\">ab12</hashdigest>"));
  EXPECT_TRUE(Has(document,
                  "<filesize>9</filesize>\n  <byte_runs>\n   <byte_run file_offset=\"0\" img_offset=\"512\" "
                  "len=\"5\"/>\n  </byte_runs>\n  <q:find row=\"157\""))
      << document;
  EXPECT_TRUE(Has(document, "<byte_run file_offset=\"0\" img_offset=\"1536\"/>")) << "the size is unknown";
  EXPECT_TRUE(Has(document, "<filename>out/x.ace</filename>\n  <filesize>700</filesize>"));
  EXPECT_TRUE(Has(document, "<hashdigest type=\"sha256\">00ff</hashdigest>\n  <q:find "));
  EXPECT_TRUE(Has(document, "embedded_in_sector=\"1\" embedded_in_row=\"144\""));
  EXPECT_TRUE(Has(document, "<q:note>note</q:note>"));
}

TEST_F(DfxmlReportTest, TheEndTellsHowItWent) {
  Summary summary;
  summary.isInterrupted = true;
  summary.error = "reason";
  SectorSet unreadable;
  unreadable.Add({7, 2});
  const std::string document = DocumentFor(HostileSource(), {}, summary, unreadable);
  EXPECT_TRUE(IsValid(document)) << document;
  EXPECT_TRUE(Has(document, "interrupted=\"true\""));
  EXPECT_TRUE(Has(document, "<q:error>reason</q:error>"));
  EXPECT_TRUE(Has(document, "<q:unreadable start_sector=\"7\" sectors=\"2\"/>"));
}

TEST_F(DfxmlReportTest, HostileTextsStayTexts) {
  std::string every;
  for (int byte = 1; byte < 256; ++byte) every += static_cast<char>(byte);
  const std::string hostile = every + std::string(1, '\0') + "]]><!--&lt;<x/>\"'\xEF\xBF\xBE\xEF\xBF\xBF\xED\xA0\x80";
  SourceInfo source = HostileSource();
  source.path = hostile;
  ace.description = hostile;
  FindRecord record = Recovered({{1, 9, 157}, &ace, {512, 9, false, false}}, hostile);
  record.content = hostile;
  record.notes = {hostile};
  Summary summary;
  summary.error = hostile;
  const std::string document = DocumentFor(source, {record}, summary);
  EXPECT_TRUE(IsValid(document)) << document;
  EXPECT_FALSE(Has(document, "<x/>"));
}

TEST_F(DfxmlReportTest, TheSchemaIsKeptIndeed) {
  const std::string document = DocumentFor(HostileSource(), {{{1, 9, 157}, &ace, {512, 5, false, true}}});
  std::string wrong = document;
  wrong.replace(wrong.find("<byte_runs>"), 11, "<byte_rums>");
  EXPECT_FALSE(IsValid(wrong));
}

TEST_F(DfxmlReportTest, WhatTheStreamThrowsComesThrough) {
  class FullBuffer final : public std::streambuf {
    int_type overflow(int_type /*character*/) override { throw Failure("full"); }
  };
  FullBuffer buffer;
  std::ostream out(&buffer);
  out.exceptions(std::ios::badbit | std::ios::failbit);
  const auto report = MakeDfxmlReport(out);
  EXPECT_THROW(
      {
        report->Begin(HostileSource());
        report->Flush();
      },
      Failure);
}

}  // namespace
}  // namespace qzmtraw::host
