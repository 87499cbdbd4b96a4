#include "host/outputs/SqliteReport.h"

#include <filesystem>

#include "host/base/Error.h"
#include "host/base/JsonLine.h"
#include "host/base/SqliteDatabase.h"
#include "host/base/Text.h"
#include "host/outputs/FindFields.h"
#include "host/outputs/SqliteSchema.h"

namespace qzmtraw::host {
namespace {

/// What is added reaches its readers after so long or after so many finds.
constexpr std::chrono::milliseconds kCommitInterval{500};
constexpr std::uint64_t kMostFindsAtOnce = 10000;

/// With a log of what was written, readers don't hold the writer up, nor it them.
constexpr const char* kSettings = "PRAGMA journal_mode = WAL; PRAGMA synchronous = NORMAL; PRAGMA cache_size = -2048;";

/// The index is made at the end, when nothing has to be moved for it.
constexpr const char* kIndex = "CREATE INDEX finds_by_place ON finds(start_sector, row)";

std::uint64_t RowOf(const FindRecord& record) { return static_cast<std::uint64_t>(record.find.row); }

/// The statements that fill the tables.
struct Statements {
  explicit Statements(SqliteDatabase& database)
      : find(database, "INSERT INTO finds VALUES(NULL,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?)"),
        provisional(database, "INSERT INTO provisional_finds VALUES(NULL,?,?,?,?,?)"),
        type(database, "INSERT OR IGNORE INTO types VALUES(?,?,?,?,?,?,?)") {}

  SqliteStatement find;
  SqliteStatement provisional;
  SqliteStatement type;
};

class SqliteReport final : public IReport {
 public:
  explicit SqliteReport(std::string path)
      : path_(std::move(path)), database_(std::make_unique<SqliteDatabase>(path_, SqliteDatabase::Access::kWrite)) {}

  void Begin(const SourceInfo& source) override {
    database_->Run(kSettings);
    StartTransaction();
    database_->Run(("PRAGMA application_id = " + std::to_string(kSqliteApplication) +
                    "; PRAGMA user_version = " + std::to_string(kSqliteSchemaVersion))
                       .c_str());
    for (const char* table : kSqliteTables) database_->Run(table);
    database_->Run(kSqliteView);
    const Provenance& run = source.run;
    SqliteStatement(*database_, "INSERT INTO run VALUES(?,?,?,?,?,?,?,?,?,?,NULL,'running','final')")
        .Set(run.program)
        .Set(run.version)
        .Set(run.compiler)
        .Set(Json(run.libraries).dump())
        .Set(run.commandLine)
        .Set(run.host)
        .Set(run.system.name + " " + run.system.release + " " + run.system.machine)
        .Set(run.user)
        .Set(run.uid)
        .Set(FormatUtc(source.started))
        .Run();
    SqliteStatement(*database_, "INSERT INTO source VALUES(?,?,?,?,?)")
        .Set(Printable(source.path))
        .Set(source.size)
        .Set(std::uint64_t{source.sectorSize})
        .Set(source.sha256)
        .Set(std::uint64_t{source.typeCount})
        .Run();
    statements_ = std::make_unique<Statements>(*database_);
    Commit();
  }

  [[nodiscard]] bool WantsProvisional() const override { return true; }

  void AddProvisional(const FindRecord& record) override {
    StartTransaction();
    if (!hasProvisional_) database_->Run("UPDATE run SET listed = 'provisional'");
    hasProvisional_ = true;
    AddType(*record.type);
    statements_->provisional.Set(RowOf(record))
        .Set(record.find.startSector)
        .Set(record.plan.offset)
        .Set(SizesOf(record).size)
        .SetFlag(record.plan.isTruncated)
        .Run();
    CountFind();
  }

  void Add(const FindRecord& record) override {
    StartTransaction();
    AddType(*record.type);
    const FindSizes sizes = SizesOf(record);
    const RecoveredFile file = record.recovered.value_or(RecoveredFile{});
    std::optional<std::uint64_t> aroundSector;
    std::optional<std::uint64_t> aroundRow;
    if (record.embeddedIn) {
      aroundSector = record.embeddedIn->startSector;
      aroundRow = static_cast<std::uint64_t>(record.embeddedIn->row);
    }
    statements_->find.Set(RowOf(record))
        .Set(record.find.startSector)
        .Set(record.plan.offset)
        .Set(sizes.size)
        .SetFlag(sizes.isEstimated)
        .SetFlag(record.plan.isTruncated)
        .Set(ConfidenceName(record.confidence))
        .Set(aroundSector)
        .Set(aroundRow)
        .Set(VerdictName(record.verdict))
        .Set(Printable(record.content))
        .Set(record.notes.empty() ? std::string() : NotesText(record.notes))
        .Set(Printable(file.path.value_or(std::string())))
        .Set(sizes.written)
        .Set(file.sha256)
        .SetFlag(file.isDuplicate)
        .Run();
    CountFind();
  }

  void Flush() override {
    if (isInTransaction_ && std::chrono::steady_clock::now() - transactionStart_ >= kCommitInterval) Commit();
  }

  void End(const Summary& summary, const SectorSet& unreadable) override {
    StartTransaction();
    database_->Run("DELETE FROM provisional_finds");
    AddUnreadable(unreadable);
    AddCounts(summary);
    SqliteStatement(*database_, "INSERT INTO summary VALUES(?,?,?,?,?,?,?)")
        .Set(summary.findCount)
        .Set(summary.bytesScanned)
        .Set(summary.seconds)
        .Set(summary.sizeAtEnd)
        .Set(summary.filesWritten)
        .Set(unreadable.Count())
        .Set(Printable(summary.error))
        .Run();
    SqliteStatement(*database_, "UPDATE run SET state = ?, listed = 'final', ended = ?")
        .Set(StateOf(summary))
        .Set(FormatUtc(summary.ended))
        .Run();
    Commit();
    database_->Run(kIndex);
    statements_ = nullptr;
    // So that one file is everything. Where somebody reads just now, the log stays beside it.
    database_->TryToRun("PRAGMA journal_mode = DELETE");
    database_ = nullptr;
  }

 private:
  static std::string_view StateOf(const Summary& summary) {
    if (!summary.error.empty()) return "failed";
    return summary.isInterrupted ? "interrupted" : "finished";
  }

  static std::string NotesText(const std::vector<std::string>& notes) {
    Json array = Json::array();
    for (const std::string& note : notes) array.push_back(Printable(note));
    return array.dump();
  }

  void StartTransaction() {
    if (isInTransaction_) return;
    database_->Run("BEGIN");
    isInTransaction_ = true;
    transactionStart_ = std::chrono::steady_clock::now();
    findsInTransaction_ = 0;
  }

  void Commit() {
    database_->Run("COMMIT");
    isInTransaction_ = false;
  }

  void CountFind() {
    if (++findsInTransaction_ == kMostFindsAtOnce) Commit();
  }

  void AddType(const TypeInfo& type) {
    const auto row = static_cast<std::size_t>(type.row);
    if (row >= isKnown_.size()) isKnown_.resize(row + 1);
    if (isKnown_[row]) return;
    const auto hint = [&](std::uint64_t SizeHints::*which) {
      const std::uint64_t size = type.hints ? *type.hints.*which : 0;
      return size == 0 ? std::nullopt : std::optional(size);
    };
    statements_->type.Set(std::uint64_t{row})
        .Set(Printable(type.facts.className))
        .Set(Printable(type.extension))
        .Set(CategoryName(type.category))
        .Set(Printable(type.description))
        .Set(hint(&SizeHints::least))
        .Set(hint(&SizeHints::greatest))
        .Run();
    isKnown_[row] = true;
  }

  void AddCounts(const Summary& summary) {
    SqliteStatement insert(*database_, "INSERT INTO finds_by_extension VALUES(?,?)");
    for (const auto& [extension, count] : summary.findsByExtension) insert.Set(Printable(extension)).Set(count).Run();
  }

  void AddUnreadable(const SectorSet& unreadable) {
    SqliteStatement insert(*database_, "INSERT INTO unreadable_ranges VALUES(?,?)");
    SectorSet::Cursor ranges(unreadable);
    while (const auto range = ranges.Next()) insert.Set(range->first).Set(range->count).Run();
  }

  std::string path_;
  std::unique_ptr<SqliteDatabase> database_;
  std::unique_ptr<Statements> statements_;
  /// By row: it has its line in the table of types.
  std::vector<bool> isKnown_;
  bool hasProvisional_ = false;
  bool isInTransaction_ = false;
  std::chrono::steady_clock::time_point transactionStart_;
  std::uint64_t findsInTransaction_ = 0;
};

}  // namespace

std::unique_ptr<IReport> MakeSqliteReport(const std::string& path) {
  for (const char* suffix : {"-wal", "-shm", "-journal"}) {
    if (std::filesystem::exists(std::filesystem::symlink_status(path + suffix))) {
      throw Failure("beside the output " + Quoted(path) + " there is " + Quoted(path + suffix) +
                    ", left of another database: give a new name");
    }
  }
  return std::make_unique<SqliteReport>(path);
}

}  // namespace qzmtraw::host
