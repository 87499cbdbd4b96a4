#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>

#include "host/outputs/CsvReport.h"
#include "tests/host/support/Records.h"

namespace qzmtraw::host {
namespace {

class CsvReportTest : public ::testing::Test {
 protected:
  std::string LineFor(const FindRecord& record) {
    std::ostringstream out;
    CsvReport(out).Add(record);
    return out.str();
  }

  TypeInfo ace = AceType();
};

TEST_F(CsvReportTest, TheFirstLineNamesTheColumns) {
  std::ostringstream out;
  CsvReport report(out);
  report.Begin(HostileSource());
  const std::string header = out.str();
  EXPECT_TRUE(header.starts_with("row,class,extension,category,description,start_sector,offset,size,"));
  EXPECT_TRUE(header.ends_with(",path,written,sha256,duplicate\r\n"));
  const std::string line = LineFor({{1, 9, 157}, &ace, {512, 9, false, false}});
  EXPECT_EQ(std::ranges::count(header, ','), std::ranges::count(line, ','));
  report.End({}, {});
  EXPECT_EQ(out.str(), header) << "nothing but finds";
}

TEST_F(CsvReportTest, AFindHasItsFacts) {
  ace.facts.className = "CKAAceFileType";
  EXPECT_EQ(LineFor({{1, 9, 157}, &ace, {512, 5, false, true}}),
            "157,CKAAceFileType,ace,archives,ACE Archive \xC2\xA8,1,512,9,false,,,true,start-only,,,not-looked,,,,,,"
            "false\r\n");
  FindRecord record = Recovered({{1, 0, 157}, &ace, {512, 700, true, false}}, "out/x.ace");
  record.confidence = Confidence::kDoubtful;
  record.verdict = Verdict::kContradicted;
  record.embeddedIn = Find{7, 8, 9};
  record.content = "text";
  record.notes = {"a", "b, c"};
  record.recovered->sha256 = "00ff";
  record.recovered->isDuplicate = true;
  EXPECT_EQ(LineFor(record),
            "157,CKAAceFileType,ace,archives,ACE Archive \xC2\xA8,1,512,700,true,256,1677721600,false,doubtful,7,9,"
            "contradicted,text,\"a; b, c\",out/x.ace,700,00ff,true\r\n");
}

TEST_F(CsvReportTest, HostileTextsStayInTheirFields) {
  FindRecord record{{1, 9, 157}, &ace, {512, 9, false, false}};
  const auto contentOf = [&](const std::string& content) {
    record.content = content;
    const std::string line = LineFor(record);
    const std::size_t start = line.find("not-looked,") + 11;
    EXPECT_TRUE(line.ends_with(",,,,,false\r\n")) << line;
    return line.substr(start, line.size() - start - 12);
  };
  EXPECT_EQ(contentOf("a\"b,c"), "\"a\"\"b,c\"");
  EXPECT_EQ(contentOf("a\r\n1,2\x1B[2J"), "\"a\\x0D\\x0A1,2\\x1B[2J\"");
  EXPECT_EQ(contentOf("=1+1"), "'=1+1");
  EXPECT_EQ(contentOf("@x"), "'@x");
  EXPECT_EQ(contentOf("-1"), "'-1");
  EXPECT_EQ(contentOf("+\",\""), "\"'+\"\",\"\"\"");
  EXPECT_EQ(contentOf("\xFF"), "\\xFF");
}

}  // namespace
}  // namespace qzmtraw::host
