#include <gtest/gtest.h>

#include "host/base/Error.h"
#include "host/outputs/OutputOptions.h"

namespace qzmtraw::host {
namespace {

TEST(OutputOptionsTest, AnExtensionTellsTheFormat) {
  EXPECT_EQ(OutputTargetOf("a.txt").format, OutputFormat::kTable);
  EXPECT_EQ(OutputTargetOf("a.jsonl").format, OutputFormat::kJsonLines);
  EXPECT_EQ(OutputTargetOf("x.y/a.csv").format, OutputFormat::kCsv);
  EXPECT_EQ(OutputTargetOf("a.xml").format, OutputFormat::kDfxml);
  EXPECT_EQ(OutputTargetOf("a.dfxml").format, OutputFormat::kDfxml);
  EXPECT_EQ(OutputTargetOf("a.sqlite").format, OutputFormat::kSqlite);
  EXPECT_EQ(OutputTargetOf("a.db").format, OutputFormat::kSqlite);
  EXPECT_EQ(OutputTargetOf("x.y/a.csv").path, "x.y/a.csv");
}

TEST(OutputOptionsTest, AFormatMayStandInFront) {
  const OutputTarget target = OutputTargetOf("csv:a.jsonl");
  EXPECT_EQ(target.format, OutputFormat::kCsv);
  EXPECT_EQ(target.path, "a.jsonl");
  EXPECT_EQ(OutputTargetOf("sqlite:list").path, "list");
  EXPECT_EQ(OutputTargetOf("csv:table:x").path, "table:x");
  EXPECT_EQ(OutputTargetOf("c:a.csv").path, "c:a.csv") << "what is no format belongs to the name";
}

TEST(OutputOptionsTest, WithoutAFormatItIsRefused) {
  for (const char* text : {"", "a", "a.doc", "csv:", "none:a", ".csv", "a.csv/b"}) {
    EXPECT_THROW(OutputTargetOf(text), UsageError) << text;
  }
}

}  // namespace
}  // namespace qzmtraw::host
