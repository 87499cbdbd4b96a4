#include <gtest/gtest.h>

#include "host/base/Error.h"
#include "host/base/SqliteDatabase.h"
#include "host/outputs/FindList.h"
#include "host/outputs/SqliteReport.h"
#include "host/types/Registry.h"
#include "tests/host/support/Records.h"
#include "tests/host/support/Workspace.h"

namespace qzmtraw::host {
namespace {

class SqliteReportTest : public ::testing::Test {
 protected:
  SqliteReportTest() {
    WriteFile(path, {});
    report = MakeSqliteReport(path);
  }

  /// The first column of the rows that a query gives, with commas between them.
  std::string Query(const char* text) {
    SqliteDatabase database(path, SqliteDatabase::Access::kRead);
    SqliteStatement statement(database, text);
    std::string result;
    while (statement.Step()) result += (result.empty() ? "" : ",") + statement.Text(0).value_or("NULL");
    return result;
  }

  std::string ReadingError() {
    try {
      FindListReader reader(path, catalogue);
      while (reader.Next()) continue;
      reader.ReadUnreadable([](const SectorRange&) {});
    } catch (const Failure& failure) {
      return failure.what();
    }
    return {};
  }

  FindRecord AceAt(std::uint64_t sector, std::uint64_t size = 9) const {
    return {{sector, size, 157}, &catalogue.at(157), {sector * 512, size == 0 ? 700 : size, size == 0, false}};
  }

  Workspace workspace;
  std::string path = workspace / "list.sqlite";
  TypeCatalogue catalogue = ReadTypeCatalogue(OpenRegistry());
  std::unique_ptr<IReport> report;
};

bool Has(const std::string& text, const std::string& part) { return text.find(part) != std::string::npos; }

TEST_F(SqliteReportTest, EverythingComesBack) {
  SourceInfo source = HostileSource();
  source.sha256 = "ab12";
  source.run = {.program = "qzmtraw", .version = "1.2", .commandLine = "x y", .user = "me"};
  report->Begin(source);
  report->Add(AceAt(3));
  FindRecord record = Recovered(AceAt(5, 0), "out/x.ace");
  record.confidence = Confidence::kDoubtful;
  record.verdict = Verdict::kConfirmed;
  record.embeddedIn = Find{1, 0, 144};
  record.content = "text";
  record.notes = {"a", "b'); DROP TABLE finds; --"};
  record.recovered->sha256 = "00ff";
  record.recovered->isDuplicate = true;
  report->Add(record);
  report->Add(Recovered(AceAt(6, 0), std::nullopt));
  Summary summary;
  summary.findCount = 3;
  summary.findsByExtension = {{"ace", 3}};
  summary.bytesScanned = 1000;
  summary.sizeAtEnd = 999;
  SectorSet unreadable;
  unreadable.Add({7, 2});
  unreadable.Add({2047, 1});
  report->End(summary, unreadable);
  EXPECT_EQ(NamesIn(workspace.Path()), std::vector<std::string>{"list.sqlite"}) << "one file is everything";

  FindListReader reader(path, catalogue);
  EXPECT_EQ(reader.Source().path, "a\\x1B[2J\\xFF.img");
  EXPECT_EQ(reader.Source().size, 1048576U);
  EXPECT_EQ(reader.Source().sectorSize, 512U);
  EXPECT_EQ(reader.Source().sha256, "ab12");
  EXPECT_EQ(reader.Source().run.commandLine, "x y");
  EXPECT_EQ(reader.Next()->find, (Find{3, 9, 157}));
  const auto copy = reader.Next();
  ASSERT_TRUE(copy);
  EXPECT_EQ(copy->find, (Find{5, 0, 157}));
  EXPECT_EQ(copy->estimatedSize, 700U);
  EXPECT_EQ(copy->confidence, Confidence::kDoubtful);
  EXPECT_EQ(copy->verdict, Verdict::kConfirmed);
  EXPECT_EQ(copy->embeddedIn, (Find{1, 0, 144}));
  EXPECT_EQ(copy->content, "text");
  EXPECT_EQ(copy->notes, record.notes);
  EXPECT_EQ(copy->recovered->path, "out/x.ace");
  EXPECT_EQ(copy->recovered->sha256, "00ff");
  EXPECT_TRUE(copy->recovered->isDuplicate);
  const auto lost = reader.Next();
  ASSERT_TRUE(lost && lost->recovered);
  EXPECT_FALSE(lost->recovered->path);
  EXPECT_FALSE(reader.Next());
  EXPECT_EQ(reader.End().ending, ListEnding::kFinished);
  EXPECT_EQ(reader.End().bytesScanned, 1000U);
  EXPECT_EQ(reader.End().unreadableSectors, 3U);
  std::vector<SectorRange> ranges;
  reader.ReadUnreadable([&](const SectorRange& range) { ranges.push_back(range); });
  EXPECT_EQ(ranges, (std::vector<SectorRange>{{7, 2}, {2047, 1}}));
  EXPECT_EQ(Query("SELECT state || id || ' ' || size_min FROM list WHERE path IS NOT NULL"), "final2 256");
}

TEST_F(SqliteReportTest, ReadersSeeOneWholeListAtAnyTime) {
  report->Begin(HostileSource());
  EXPECT_EQ(Query("SELECT (SELECT state FROM run) || count(*) FROM list"), "running0");
  for (std::uint64_t sector = 0; sector < 10000; ++sector) report->AddProvisional(AceAt(sector % 2048));
  const char* const count = "SELECT min(state) || ' ' || count(*) FROM list";
  EXPECT_EQ(Query(count), "provisional 10000");
  report->AddProvisional(AceAt(1));
  EXPECT_EQ(Query(count), "provisional 10000") << "not committed yet";
  for (std::uint64_t sector = 0; sector < 10000; ++sector) report->Add(AceAt(sector % 2048));
  EXPECT_EQ(Query(count), "provisional 10001") << "the final ones aren't all there yet";
  {
    FindListReader reader(path, catalogue);
    std::size_t finds = 0;
    while (reader.Next()) ++finds;
    EXPECT_EQ(finds, 10001U);
    EXPECT_EQ(reader.End().ending, ListEnding::kMissing);
  }
  report->End({}, {});
  EXPECT_EQ(Query(count), "final 10000");
  EXPECT_EQ(Query("SELECT count(*) || '' FROM provisional_finds"), "0");
  EXPECT_EQ(Query("SELECT state FROM run"), "finished");
}

TEST_F(SqliteReportTest, AReaderDoesNotHoldTheWriterUp) {
  report->Begin(HostileSource());
  report->Add(AceAt(1));
  SqliteDatabase database(path, SqliteDatabase::Access::kRead);
  database.Run("BEGIN; SELECT * FROM list");
  for (std::uint64_t sector = 0; sector < 20000; ++sector) report->Add(AceAt(sector % 2048));
  Summary summary;
  summary.isInterrupted = true;
  report->End(summary, {});
  EXPECT_EQ(Query("SELECT run.state || ' ' || count(*) FROM run, list"), "interrupted 20001");
}

TEST_F(SqliteReportTest, HostileTextsStayTexts) {
  report->Begin(HostileSource());
  FindRecord record = Recovered(AceAt(1), "a'\"\x1B[2J\xFF\n\xEF\xBF\xBE");
  record.content = std::string("x\0y", 3);
  report->Add(record);
  report->End({}, {});
  EXPECT_EQ(Query("SELECT path FROM list"), "a'\"\\x1B[2J\\xFF\\x0A\\xEF\\xBF\\xBE");
  EXPECT_EQ(Query("SELECT content FROM list"), "x\\x00y");
}

TEST_F(SqliteReportTest, ForeignAndDamagedDatabasesAreRefused) {
  report->Begin(HostileSource());
  report->Add(AceAt(1));
  report->End({}, {});
  const Bytes good = ReadFile(path);
  EXPECT_EQ(ReadingError(), "");
  const auto errorAfter = [&](const char* statements) {
    std::filesystem::remove(path);
    WriteFile(path, good);
    SqliteDatabase(path, SqliteDatabase::Access::kWrite).Run(statements);
    return ReadingError();
  };
  EXPECT_TRUE(Has(errorAfter("PRAGMA application_id = 1"), "another program"));
  EXPECT_TRUE(Has(errorAfter("PRAGMA user_version = 2"), "tables are of version 2"));
  EXPECT_TRUE(Has(errorAfter("DROP TABLE summary"), "its tables are not those"));
  EXPECT_TRUE(Has(errorAfter("ALTER TABLE finds RENAME TO f; CREATE VIEW finds AS SELECT * FROM f"),
                  "its tables are not those"));
  EXPECT_TRUE(Has(errorAfter("DELETE FROM source"), "it has no source"));
  EXPECT_TRUE(Has(errorAfter("INSERT INTO source SELECT * FROM source"), "several sources"));
  EXPECT_TRUE(Has(errorAfter("UPDATE finds SET row = 320"), "row 320"));
  EXPECT_TRUE(Has(errorAfter("UPDATE finds SET row = 4294967453"), "too large"));
  EXPECT_TRUE(Has(errorAfter("UPDATE finds SET start_sector = 2048"), "find 1: sector 2048 lies behind"));
  EXPECT_TRUE(Has(errorAfter("UPDATE finds SET size = -1"), "a number is negative"));
  EXPECT_TRUE(Has(errorAfter("UPDATE finds SET size = 'x'"), "datatype mismatch"));
  EXPECT_TRUE(Has(errorAfter("UPDATE finds SET notes = '[1]'"), "the notes are none"));
  EXPECT_TRUE(Has(errorAfter("UPDATE types SET extension = '7z'"), "is '7z' there"));
  EXPECT_TRUE(Has(errorAfter("UPDATE source SET sector_size = 0"), "no sectors of such a size"));
  EXPECT_TRUE(Has(errorAfter("INSERT INTO unreadable_ranges VALUES(2047, 2)"), "could not be read"));
  EXPECT_TRUE(Has(errorAfter("UPDATE finds SET content = zeroblob(2000000)"), "cannot read the database"));

  Bytes damaged = good;
  std::fill(damaged.begin() + 4096, damaged.end(), std::uint8_t{0xA5});
  std::filesystem::remove(path);
  WriteFile(path, damaged);
  EXPECT_TRUE(Has(ReadingError(), "cannot read the database '" + path + "': "));
}

TEST_F(SqliteReportTest, WhatIsLeftOfAnotherDatabaseIsNotMixedIn) {
  for (const char* suffix : {"-wal", "-shm", "-journal"}) {
    WriteFile(workspace / "other.db", {});
    WriteFile(workspace / ("other.db" + std::string(suffix)), {});
    EXPECT_THROW(MakeSqliteReport(workspace / "other.db"), Failure);
    std::filesystem::remove(workspace / "other.db");
    std::filesystem::remove(workspace / ("other.db" + std::string(suffix)));
  }
}

/// So many finds as don't fit into the memory that the database is given, by far.
TEST_F(SqliteReportTest, ManyFindsComeBack) {
  constexpr std::uint64_t kCount = 300000;
  report->Begin(HostileSource());
  for (std::uint64_t i = 0; i < kCount; ++i) report->Add(AceAt(i % 2048));
  report->End({}, {});
  FindListReader reader(path, catalogue);
  std::uint64_t count = 0;
  while (const auto find = reader.Next()) ASSERT_EQ(find->find.startSector, count++ % 2048);
  EXPECT_EQ(count, kCount);
}

}  // namespace
}  // namespace qzmtraw::host
