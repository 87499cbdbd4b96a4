#include <gtest/gtest.h>

#include <sstream>

#include "host/outputs/TableReport.h"
#include "tests/host/support/Records.h"

namespace qzmtraw::host {
namespace {

class TableReportTest : public ::testing::Test {
 protected:
  /// What is written for one find, header included.
  std::string TextFor(const FindRecord& record) {
    std::ostringstream out;
    TableReport(out).Add(record);
    return out.str();
  }

  std::string TextFor(const Summary& summary, const SectorSet& unreadable = {}) {
    std::ostringstream out;
    TableReport report(out);
    report.Begin(HostileSource());
    out.str("");
    report.End(summary, unreadable);
    return out.str();
  }

  /// Of a source that has the size it had.
  static Summary Unchanged() {
    Summary summary;
    summary.sizeAtEnd = HostileSource().size;
    return summary;
  }

  TypeInfo ace = AceType();
};

bool Has(const std::string& text, const std::string& part) { return text.find(part) != std::string::npos; }

TEST_F(TableReportTest, ThePathIsHarmless) {
  std::ostringstream out;
  TableReport(out).Begin(HostileSource());
  EXPECT_EQ(out.str(), "Source: a\\x1B[2J\\xFF.img, 1.0 MiB (1048576 bytes), sectors of 512 bytes\n");
}

TEST_F(TableReportTest, WhoListsIsTold) {
  std::ostringstream out;
  SourceInfo source = HostileSource();
  source.run = {
      .program = "qzmtraw", .version = "1.2", .commandLine = "qzmtraw scan x", .host = "machine", .user = "me"};
  TableReport(out).Begin(source);
  EXPECT_TRUE(
      out.str().ends_with("\nListed by qzmtraw 1.2 for me on machine since 1970-01-01T00:00:00Z: qzmtraw scan x\n"))
      << out.str();
}

TEST_F(TableReportTest, ColumnsAlign) {
  EXPECT_EQ(TextFor({{128, 1132, 157}, &ace, {65536, 1132, false, false}}),
            "\n"
            "      Sector            Offset  Size                            Confidence   Ext         Description\n"
            "         128             65536  1.1 KiB (1132)                  start-only   ace         ACE Archive "
            "\xC2\xA8\n");
}

TEST_F(TableReportTest, EmbeddedFindsAreIndentedAndNotesTold) {
  FindRecord record{{128, 90000, 157}, &ace, {65536, 1132, true, false}};
  record.confidence = Confidence::kDoubtful;
  record.embeddedIn = Find{100, 200000, 143};
  record.verdict = Verdict::kContradicted;
  record.content = "text/html";
  record.notes = {"clipped\x1B", "size estimated"};
  const std::string text = TextFor(record);
  EXPECT_TRUE(Has(text, "  up to 1.1 KiB (1132)            doubtful       ace       ACE Archive")) << text;
  EXPECT_TRUE(Has(text, "  (inside the find at 100) (clipped\\x1B) (looks like text/html)\n")) << text;
  record.recovered = RecoveredFile{.path = {}, .sha256 = {}};
  EXPECT_TRUE(Has(TextFor(record), "  not copied (inside the find at 100)"));
}

TEST_F(TableReportTest, AnUnknownSizeShowsItsRange) {
  const std::string text = TextFor({{1, 0, 157}, &ace, {512, 5120, true, false}});
  EXPECT_TRUE(Has(text, "unknown, 256 B to 1.6 GiB")) << text;
  EXPECT_FALSE(Has(text, "estimated")) << text;
}

TEST_F(TableReportTest, ARecoveredFileShowsItsPathAndEstimate) {
  const std::string text = TextFor(Recovered({{1, 0, 157}, &ace, {512, 5120, true, false}}, "out\n/x.ace"));
  EXPECT_TRUE(Has(text, "  out\\x0A/x.ace (estimated: 5.0 KiB (5120))\n")) << text;
  EXPECT_TRUE(Has(TextFor(Recovered({{1, 9, 157}, &ace, {512, 9, false, false}}, std::nullopt)), "  not written\n"));
}

TEST_F(TableReportTest, ATruncatedFileIsMarked) {
  EXPECT_TRUE(Has(TextFor({{1, 9, 157}, &ace, {512, 5, false, true}}), "(goes on beyond the end of the source)\n"));
}

TEST_F(TableReportTest, NothingFoundTellsThatItRan) {
  Summary summary = Unchanged();
  summary.bytesScanned = 1U << 20U;
  summary.seconds = 2;
  EXPECT_EQ(TextFor(summary),
            "Nothing found; scanned 1.0 MiB (1048576 of 1048576 bytes) for 320 file types in 2.0 s, 512.0 KiB/s.\n");
}

TEST_F(TableReportTest, TheSummaryCountsByType) {
  Summary summary;
  summary.findCount = 6;
  summary.findsByExtension = {{"ace", 1}, {"7z", 1}, {"doc", 4}};
  summary.filesWritten = 1;
  const std::string text = TextFor(summary);
  EXPECT_TRUE(text.starts_with("6 finds (4 doc, 1 7z, 1 ace), 1 file written; scanned 0 B")) << text;
}

TEST_F(TableReportTest, EveryRangeThatCouldNotBeReadIsListed) {
  SectorSet unreadable;
  for (std::uint64_t i = 0; i < 30; ++i) unreadable.Add({100 * i, i + 1});
  const std::string text = TextFor(Unchanged(), unreadable);
  EXPECT_TRUE(
      text.starts_with("\n"
                       "      Sector            Offset  Could not be read\n"
                       "           0                 0  1 sector\n"
                       "         100             51200  2 sectors\n"))
      << text;
  EXPECT_TRUE(Has(text, "        2900           1484800  30 sectors\n\nNothing found; ")) << text;
  EXPECT_TRUE(text.ends_with("; 465 sectors could not be read.\n")) << text;
}

TEST_F(TableReportTest, ASourceThatHasAnotherSizeIsTold) {
  Summary summary;
  summary.sizeAtEnd = 999;
  EXPECT_TRUE(TextFor(summary).ends_with("; the source now has 999 bytes.\n")) << TextFor(summary);
}

TEST_F(TableReportTest, AnEarlyEndIsTold) {
  Summary summary;
  summary.isInterrupted = true;
  EXPECT_TRUE(TextFor(summary).starts_with("Interrupted. Nothing found"));
  summary.error = "reason";
  EXPECT_TRUE(TextFor(summary).starts_with("Failed. Nothing found"));
}

}  // namespace
}  // namespace qzmtraw::host
