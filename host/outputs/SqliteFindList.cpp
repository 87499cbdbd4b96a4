#include <limits>

#include "host/base/Error.h"
#include "host/base/JsonLine.h"
#include "host/base/SqliteDatabase.h"
#include "host/base/Text.h"
#include "host/outputs/FindListFormat.h"
#include "host/outputs/SqliteSchema.h"

namespace qzmtraw::host {
namespace {

constexpr const char* kFinalFinds =
    "SELECT f.id, f.row, t.extension, f.start_sector, f.size, f.size_estimated, f.confidence, f.embedded_in_sector, "
    "f.embedded_in_row, f.verdict, f.content, f.notes, f.path, f.written, f.sha256, f.duplicate "
    "FROM finds f LEFT JOIN types t ON t.row = f.row ORDER BY f.id";

constexpr const char* kProvisionalFinds =
    "SELECT p.id, p.row, t.extension, p.start_sector, p.size, 0, NULL, NULL, NULL, NULL, NULL, NULL, NULL, NULL, NULL, "
    "0 FROM provisional_finds p LEFT JOIN types t ON t.row = p.row ORDER BY p.id";

/// A statement's row. Its columns hold what is asked for, or Failure is thrown.
class RowFields {
 public:
  RowFields(const SqliteStatement& statement, std::string where) : statement_(statement), where_(std::move(where)) {}

  [[nodiscard]] std::optional<std::uint64_t> NumberOrNone(int column) const {
    const std::optional<std::int64_t> number = statement_.Integer(column);
    if (!number) return std::nullopt;
    if (*number < 0) ListRules::Fail("a number is negative", where_);
    return static_cast<std::uint64_t>(*number);
  }

  [[nodiscard]] std::uint64_t Number(int column) const { return NumberOrNone(column).value_or(0); }

  /// A number of so many bits less one.
  template <class Integer>
  [[nodiscard]] Integer Small(int column) const {
    const std::uint64_t number = Number(column);
    if (number > static_cast<std::uint64_t>(std::numeric_limits<Integer>::max())) {
      ListRules::Fail("a number is too large", where_);
    }
    return static_cast<Integer>(number);
  }

  [[nodiscard]] std::string Text(int column) const { return statement_.Text(column).value_or(std::string()); }

  [[nodiscard]] std::vector<std::string> Texts(int column) const {
    std::vector<std::string> texts;
    const std::optional<std::string> text = statement_.Text(column);
    if (!text) return texts;
    const Json array = Json::parse(*text, nullptr, false);
    if (!array.is_array()) ListRules::Fail("the notes are none", where_);
    for (const Json& each : array) {
      if (!each.is_string()) ListRules::Fail("the notes are none", where_);
      texts.push_back(each.get<std::string>());
    }
    return texts;
  }

  [[nodiscard]] const std::string& Where() const { return where_; }

 private:
  const SqliteStatement& statement_;
  std::string where_;
};

ListedFind ListedFindIn(const RowFields& fields) {
  ListedFind listed;
  listed.find.row = fields.Small<std::int32_t>(1);
  listed.find.startSector = fields.Number(3);
  if (fields.Number(5) != 0) {
    listed.estimatedSize = fields.Number(4);
  } else {
    listed.find.size = fields.Number(4);
  }
  if (const std::string name = fields.Text(6); !name.empty()) {
    listed.confidence = ListRules::ConfidenceNamed(name, fields.Where());
  }
  if (fields.NumberOrNone(7)) {
    listed.embeddedIn = Find{.startSector = fields.Number(7), .row = fields.Small<std::int32_t>(8)};
  }
  if (const std::string name = fields.Text(9); !name.empty()) {
    listed.verdict = ListRules::VerdictNamed(name, fields.Where());
  }
  listed.content = fields.Text(10);
  listed.notes = fields.Texts(11);
  if (fields.NumberOrNone(13)) {
    RecoveredFile file;
    if (std::string path = fields.Text(12); !path.empty()) file.path = std::move(path);
    file.sha256 = fields.Text(14);
    file.isDuplicate = fields.Number(15) != 0;
    listed.recovered = file;
  }
  return listed;
}

class SqliteFindList final : public FindListReader::IFormat {
 public:
  SqliteFindList(const std::string& path, const TypeCatalogue& catalogue)
      : where_(Quoted(path)), database_(path, SqliteDatabase::Access::kRead), rules_(catalogue) {
    // All that is read is of one time, even while somebody goes on writing.
    database_.Run("PRAGMA cell_size_check = ON; BEGIN");
    CheckTables();
    SqliteStatement source(database_,
                           "SELECT s.path, s.size, s.sector_size, s.sha256, s.file_types, r.program, r.version, "
                           "r.compiler, r.command_line, r.host, r.user, r.uid, r.state, r.listed FROM source s, run r");
    if (!source.Step()) ListRules::Fail("it has no source", where_);
    ReadSource(RowFields(source, where_));
    if (source.Step()) ListRules::Fail("it has several sources", where_);
    finds_ = std::make_unique<SqliteStatement>(database_, isProvisional_ ? kProvisionalFinds : kFinalFinds);
  }

  [[nodiscard]] const SourceInfo& Source() const override { return rules_.Source(); }
  [[nodiscard]] const ListEnd& End() const override { return end_; }

  std::optional<ListedFind> Next() override {
    if (finds_ == nullptr) return std::nullopt;
    if (!finds_->Step()) {
      finds_ = nullptr;
      ReadSummary();
      return std::nullopt;
    }
    const RowFields fields(*finds_, where_ + ", find " + std::to_string(finds_->Integer(0).value_or(0)));
    ListedFind find = ListedFindIn(fields);
    rules_.Check(find, fields.Text(2), fields.Where());
    return find;
  }

  void ReadUnreadable(const std::function<void(const SectorRange&)>& take) override {
    SqliteStatement ranges(database_, "SELECT start_sector, sectors FROM unreadable_ranges ORDER BY start_sector");
    while (ranges.Step()) {
      const RowFields fields(ranges, where_);
      const SectorRange range{fields.Number(0), fields.Number(1)};
      rules_.Check(range, where_);
      take(range);
    }
  }

 private:
  /// The tables are those that this program makes, so that nothing but stored rows can come out of them.
  void CheckTables() {
    SqliteStatement application(database_,
                                "SELECT application_id, user_version FROM pragma_application_id, "
                                "pragma_user_version");
    const bool isOurs = application.Step() && application.Integer(0) == kSqliteApplication;
    if (!isOurs) ListRules::Fail("it is a database of another program", where_);
    if (application.Integer(1) != kSqliteSchemaVersion) {
      ListRules::Fail("its tables are of version " + std::to_string(application.Integer(1).value_or(0)), where_);
    }
    while (application.Step()) continue;
    SqliteStatement table(database_, "SELECT count(*) FROM sqlite_schema WHERE type = 'table' AND sql = ?");
    for (const char* text : kSqliteTables) {
      table.Set(std::string_view(text));
      const bool isThere = table.Step() && table.Integer(0) == 1;
      if (!isThere) ListRules::Fail("its tables are not those of such a list", where_);
      while (table.Step()) continue;
    }
  }

  void ReadSource(const RowFields& fields) {
    SourceInfo source;
    source.path = fields.Text(0);
    source.size = fields.Number(1);
    source.sectorSize = fields.Small<std::uint32_t>(2);
    source.sha256 = fields.Text(3);
    source.typeCount = fields.Number(4);
    source.run.program = fields.Text(5);
    source.run.version = fields.Text(6);
    source.run.compiler = fields.Text(7);
    source.run.commandLine = fields.Text(8);
    source.run.host = fields.Text(9);
    source.run.user = fields.Text(10);
    source.run.uid = fields.Number(11);
    rules_.SetSource(source, where_);
    const std::string state = fields.Text(12);
    if (state == "finished") end_.ending = ListEnding::kFinished;
    if (state == "interrupted") end_.ending = ListEnding::kInterrupted;
    if (state == "failed") end_.ending = ListEnding::kFailed;
    isProvisional_ = fields.Text(13) == "provisional";
  }

  void ReadSummary() {
    SqliteStatement summary(database_, "SELECT bytes, size_at_end, unreadable_sectors, error FROM summary");
    if (!summary.Step()) {
      end_.ending = ListEnding::kMissing;
      return;
    }
    const RowFields fields(summary, where_);
    end_.bytesScanned = fields.Number(0);
    end_.sizeAtEnd = fields.Number(1);
    end_.unreadableSectors = fields.Number(2);
    end_.error = fields.Text(3);
  }

  std::string where_;
  SqliteDatabase database_;
  ListRules rules_;
  ListEnd end_;
  bool isProvisional_ = false;
  /// None: there are no more.
  std::unique_ptr<SqliteStatement> finds_;
};

}  // namespace

std::unique_ptr<FindListReader::IFormat> OpenSqliteList(const std::string& path, const TypeCatalogue& catalogue) {
  return std::make_unique<SqliteFindList>(path, catalogue);
}

}  // namespace qzmtraw::host
