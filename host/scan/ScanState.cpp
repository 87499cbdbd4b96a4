#include "host/scan/ScanState.h"

#include <fcntl.h>
#include <sqlite3.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstring>
#include <limits>
#include <map>
#include <string_view>

#include "host/base/Error.h"
#include "host/base/FileDescriptor.h"
#include "host/base/Text.h"

namespace qzmtraw::host {
namespace {

/// Numbers that a database keeps for those who use it, where they stand in its head, and what ours are.
constexpr std::size_t kVersionOffset = 60;
constexpr std::size_t kApplicationOffset = 68;
constexpr std::uint32_t kStateApplication = 0x517A5331;
constexpr std::uint32_t kStateVersion = 1;

constexpr std::string_view kDatabaseMark("SQLite format 3\0", 16);
constexpr std::string_view kJournalMark("\xD9\xD5\x05\xF9\x20\xA1\x63\xD7", 8);

/// Messages show so much of a long value.
constexpr std::size_t kShownSetting = 60;

constexpr const char* kCreateState = R"(
  CREATE TABLE setting(name TEXT PRIMARY KEY, value TEXT NOT NULL) WITHOUT ROWID;
  CREATE TABLE progress(sectors_done INTEGER NOT NULL, seconds REAL NOT NULL);
  CREATE TABLE find(number INTEGER PRIMARY KEY, block_sector INTEGER NOT NULL, start_sector INTEGER NOT NULL,
                    size INTEGER NOT NULL, row INTEGER NOT NULL);
  CREATE TABLE unreadable(start_sector INTEGER NOT NULL, sectors INTEGER NOT NULL);
  INSERT INTO progress VALUES(0, 0);)";

std::uint32_t BigEndianAt(std::span<const std::uint8_t> bytes, std::size_t offset) {
  std::uint32_t number = 0;
  for (const std::uint8_t byte : bytes.subspan(offset, sizeof number)) number = number << 8U | byte;
  return number;
}

bool StartsWith(std::span<const std::uint8_t> bytes, std::string_view mark) {
  return bytes.size() >= mark.size() && std::memcmp(bytes.data(), mark.data(), mark.size()) == 0;
}

/// The first bytes of a file; none where there is no such file.
std::vector<std::uint8_t> StateHeadOf(const std::string& path) {
  // Asked before opening, because to open a named pipe would wait for its other end.
  struct stat status {};
  if (::stat(path.c_str(), &status) != 0) {
    if (errno == ENOENT) return {};
    throw Failure("cannot open " + Quoted(path) + ": " + ErrorText(errno));
  }
  if (!S_ISREG(status.st_mode)) throw UsageError("--resume: " + Quoted(path) + " is no file: name another");
  const FileDescriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
  if (!file.IsOpen()) throw Failure("cannot open " + Quoted(path) + ": " + ErrorText(errno));
  std::vector<std::uint8_t> head(kStateHeadSize);
  const ssize_t count = ::pread(file.Get(), head.data(), head.size(), 0);
  if (count < 0) throw Failure("cannot read " + Quoted(path) + ": " + ErrorText(errno));
  head.resize(static_cast<std::size_t>(count));
  return head;
}

std::string ShownSetting(const std::string& value) {
  return value.size() <= kShownSetting ? Printable(value) : Printable(value.substr(0, kShownSetting)) + "...";
}

}  // namespace

StateKind StateKindOf(std::span<const std::uint8_t> head) {
  if (head.empty()) return StateKind::kEmpty;
  if (head.size() < kStateHeadSize || !StartsWith(head, kDatabaseMark)) return StateKind::kForeign;
  if (BigEndianAt(head, kApplicationOffset) != kStateApplication) return StateKind::kForeign;
  return BigEndianAt(head, kVersionOffset) > kStateVersion ? StateKind::kNewer : StateKind::kState;
}

/// A statement with its values, which come in order.
class ScanState::Statement {
 public:
  Statement(const ScanState& state, const char* sql) : state_(state) {
    if (sqlite3_prepare_v2(state.database_.get(), sql, -1, &statement_, nullptr) != SQLITE_OK) state.Fail("read");
  }
  Statement(const Statement&) = delete;
  Statement& operator=(const Statement&) = delete;
  ~Statement() { sqlite3_finalize(statement_); }

  Statement& Bind(int number, std::uint64_t value) {
    sqlite3_bind_int64(statement_, number, static_cast<sqlite3_int64>(value));
    return *this;
  }
  Statement& Bind(int number, double value) {
    sqlite3_bind_double(statement_, number, value);
    return *this;
  }
  Statement& Bind(int number, const std::string& value) {
    sqlite3_bind_text(statement_, number, value.data(), static_cast<int>(value.size()), SQLITE_TRANSIENT);
    return *this;
  }

  /// \return False: there is no further row.
  bool NextRow(const char* what = "read") {
    const int result = sqlite3_step(statement_);
    if (result != SQLITE_ROW && result != SQLITE_DONE) state_.Fail(what);
    return result == SQLITE_ROW;
  }

  /// Does what needs no answer.
  void Write() {
    NextRow("write");
    sqlite3_reset(statement_);
  }

  [[nodiscard]] std::uint64_t Number(int column) const {
    if (sqlite3_column_type(statement_, column) != SQLITE_INTEGER) state_.FailAsDamaged("a number is none");
    return static_cast<std::uint64_t>(sqlite3_column_int64(statement_, column));
  }
  [[nodiscard]] double Real(int column) const { return sqlite3_column_double(statement_, column); }
  [[nodiscard]] std::string Text(int column) const {
    const auto* text = reinterpret_cast<const char*>(sqlite3_column_text(statement_, column));
    return text == nullptr ? std::string()
                           : std::string(text, static_cast<std::size_t>(sqlite3_column_bytes(statement_, column)));
  }

 private:
  const ScanState& state_;
  sqlite3_stmt* statement_ = nullptr;
};

void ScanState::Close::operator()(sqlite3* database) const { sqlite3_close(database); }

ScanState::ScanState(const std::string& path, const ScanSettings& settings) : path_(path) {
  const StateKind kind = StateKindOf(StateHeadOf(path));
  if (kind == StateKind::kForeign) {
    throw UsageError("--resume: " + Quoted(path) + " is not the state of a scan: name a file that isn't there yet");
  }
  if (kind == StateKind::kNewer) {
    throw UsageError("--resume: " + Quoted(path) +
                     " was written by a later version of this program: go on with that one");
  }
  Open(kind == StateKind::kEmpty);
  if (IsBegun()) {
    Compare(settings);
    Load();
  } else {
    Create(settings);
  }
  Run("COMMIT");
  addFind_ =
      std::make_unique<Statement>(*this, "INSERT INTO find(block_sector, start_sector, size, row) VALUES(?, ?, ?, ?)");
  addUnreadable_ = std::make_unique<Statement>(*this, "INSERT INTO unreadable VALUES(?, ?)");
}

ScanState::~ScanState() = default;

/// Opens the database, locks it for as long as it is open, and begins a transaction: a file is empty or a state, and
/// nothing in between, whenever the process ends.
void ScanState::Open(bool isNew) {
  const std::string journal = path_ + "-journal";
  if (isNew) {
    // The database takes it for its own and removes it.
    const std::vector<std::uint8_t> head = StateHeadOf(journal);
    const bool isOurs = StartsWith(head, kJournalMark) || std::ranges::count(head, 0) == std::ssize(head);
    if (!isOurs) throw UsageError("--resume: " + Quoted(journal) + " is in the way: name another file");
  }
  sqlite3* database = nullptr;
  const int result = sqlite3_open_v2(path_.c_str(), &database, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE, nullptr);
  database_.reset(database);
  if (result != SQLITE_OK) Fail("open");
  sqlite3_extended_result_codes(database, 0);
  Run("PRAGMA locking_mode=EXCLUSIVE");
  Run("PRAGMA trusted_schema=OFF");
  Run("BEGIN EXCLUSIVE");
}

/// Whether there is anything in it. A run that was killed in its first moments leaves nothing.
bool ScanState::IsBegun() const {
  Statement tables(*this, "SELECT count(*) FROM sqlite_master");
  tables.NextRow();
  return tables.Number(0) != 0;
}

void ScanState::Create(const ScanSettings& settings) {
  Run(("PRAGMA application_id=" + std::to_string(kStateApplication)).c_str());
  Run(("PRAGMA user_version=" + std::to_string(kStateVersion)).c_str());
  Run(kCreateState);
  for (const auto& [name, value] : settings) {
    Statement(*this, "INSERT INTO setting VALUES(?, ?)").Bind(1, name).Bind(2, value).Write();
  }
}

void ScanState::Compare(const ScanSettings& settings) const {
  std::map<std::string, std::string> there;
  Statement all(*this, "SELECT name, value FROM setting");
  while (all.NextRow()) there[all.Text(0)] = all.Text(1);
  std::string differences;
  const auto tell = [&differences](const std::string& name, const std::string& then, const std::string& now) {
    if (then == now || then == kUnknownSetting || now == kUnknownSetting) return;
    differences += "; " + Printable(name) + " was " + ShownSetting(then) + " and is " + ShownSetting(now);
  };
  for (const auto& [name, value] : settings) {
    const auto known = there.find(name);
    tell(name, known == there.end() ? "not known" : known->second, value);
    there.erase(name);
  }
  for (const auto& [name, value] : there) tell(name, value, "not known");
  if (differences.empty()) return;
  throw UsageError("--resume: " + Quoted(path_) + " belongs to another scan" + differences +
                   ": give what that scan was begun with, or name another file");
}

void ScanState::Load() {
  Statement check(*this, "PRAGMA quick_check(1)");
  if (!check.NextRow() || check.Text(0) != "ok") FailAsDamaged(check.Text(0));
  Statement progress(*this, "SELECT sectors_done, seconds FROM progress");
  if (!progress.NextRow()) FailAsDamaged("it doesn't tell how far the scan came");
  sectorsDone_ = progress.Number(0);
  seconds_ = progress.Real(1);
  if (!(seconds_ >= 0) || std::isinf(seconds_)) seconds_ = 0;
  Statement(*this, "DELETE FROM find WHERE block_sector >= ?").Bind(1, sectorsDone_).Write();
}

void ScanState::ReadFinds(const std::function<void(const ReportedFind&)>& take) const {
  Statement all(*this, "SELECT start_sector, size, row, block_sector FROM find ORDER BY number");
  while (all.NextRow()) {
    const std::uint64_t row = all.Number(2);
    if (row > std::numeric_limits<std::int32_t>::max()) FailAsDamaged("there is no file type " + std::to_string(row));
    take({{all.Number(0), all.Number(1), static_cast<std::int32_t>(row)}, all.Number(3)});
  }
}

void ScanState::ReadUnreadable(const std::function<void(const SectorRange&)>& take) const {
  Statement all(*this, "SELECT start_sector, sectors FROM unreadable");
  while (all.NextRow()) take({all.Number(0), all.Number(1)});
}

void ScanState::Add(const ReportedFind& find) {
  Begin();
  addFind_->Bind(1, find.blockSector)
      .Bind(2, find.startSector)
      .Bind(3, find.size)
      .Bind(4, static_cast<std::uint64_t>(find.row))
      .Write();
}

void ScanState::AddUnreadable(const SectorRange& sectors) {
  Begin();
  addUnreadable_->Bind(1, sectors.first).Bind(2, sectors.count).Write();
}

void ScanState::Commit(std::uint64_t sectorsDone, double seconds) {
  Begin();
  Statement(*this, "UPDATE progress SET sectors_done=?, seconds=?").Bind(1, sectorsDone).Bind(2, seconds).Write();
  Run("COMMIT");
  sectorsDone_ = sectorsDone;
  seconds_ = seconds;
}

/// Begins a transaction, unless one is under way.
void ScanState::Begin() {
  if (sqlite3_get_autocommit(database_.get()) != 0) Run("BEGIN");
}

void ScanState::Run(const char* sql) const {
  if (sqlite3_exec(database_.get(), sql, nullptr, nullptr, nullptr) != SQLITE_OK) Fail("write");
}

void ScanState::Fail(const char* what) const {
  const int code = sqlite3_errcode(database_.get());
  std::string reason = Printable(sqlite3_errmsg(database_.get()));
  const int error = sqlite3_system_errno(database_.get());
  if (error != 0 && code != SQLITE_FULL) reason += " (" + ErrorText(error) + ")";
  if (code == SQLITE_BUSY || code == SQLITE_LOCKED) {
    throw Failure(Quoted(path_) + " is in use by another run: wait until that has ended, or name another file");
  }
  if (code == SQLITE_CORRUPT || code == SQLITE_NOTADB || code == SQLITE_ERROR) FailAsDamaged(reason);
  throw Failure(std::string("cannot ") + what + " " + Quoted(path_) + ": " + reason +
                ": name a file in a directory that can be written to and has room");
}

void ScanState::FailAsDamaged(const std::string& how) const {
  throw Failure(Quoted(path_) + " is damaged: " + Printable(how) + ": begin anew, with another file");
}

}  // namespace qzmtraw::host
