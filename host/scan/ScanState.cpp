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

std::string DamageText(const std::string& path, const std::string& how) {
  return Quoted(path) + " is damaged: " + Printable(how) + ": begin anew, with another file";
}

/// What to say when the database can't be used.
std::string StateFailureText(const std::string& path, int result, const std::string& reason) {
  switch (result & kSqlitePrimaryCode) {
    case SQLITE_BUSY:
    case SQLITE_LOCKED:
      return Quoted(path) + " is in use by another run: wait until that has ended, or name another file";
    case SQLITE_CORRUPT:
    case SQLITE_NOTADB:
    case SQLITE_ERROR:
    case SQLITE_MISMATCH:
      return DamageText(path, reason);
    default:
      break;
  }
  const char* what = "write";
  if (result == SQLITE_IOERR_READ) what = "read";
  if ((result & kSqlitePrimaryCode) == SQLITE_CANTOPEN) what = "open";
  return std::string("cannot ") + what + " " + Quoted(path) + ": " + reason +
         ": name a file in a directory that can be written to and has room";
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
  database_->Run("COMMIT");
  addFind_ = std::make_unique<SqliteStatement>(
      *database_, "INSERT INTO find(block_sector, start_sector, size, row) VALUES(?, ?, ?, ?)");
  addUnreadable_ = std::make_unique<SqliteStatement>(*database_, "INSERT INTO unreadable VALUES(?, ?)");
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
  database_ = std::make_unique<SqliteDatabase>(
      path_, SqliteDatabase::Access::kOwn,
      [path = path_](int result, const std::string& reason) { return StateFailureText(path, result, reason); });
  database_->Run("BEGIN EXCLUSIVE");
}

/// Whether there is anything in it. A run that was killed in its first moments leaves nothing.
bool ScanState::IsBegun() const {
  SqliteStatement tables(*database_, "SELECT count(*) FROM sqlite_master");
  return tables.Step() && tables.Bits(0) != 0;
}

void ScanState::Create(const ScanSettings& settings) {
  database_->Run(("PRAGMA application_id = " + std::to_string(kStateApplication) +
                  "; PRAGMA user_version = " + std::to_string(kStateVersion))
                     .c_str());
  database_->Run(kCreateState);
  SqliteStatement insert(*database_, "INSERT INTO setting VALUES(?, ?)");
  for (const auto& [name, value] : settings) insert.SetText(name).SetText(value).Run();
}

void ScanState::Compare(const ScanSettings& settings) const {
  std::map<std::string, std::string> there;
  SqliteStatement all(*database_, "SELECT name, value FROM setting");
  while (all.Step()) there[all.Text(0).value_or("")] = all.Text(1).value_or("");
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
  SqliteStatement check(*database_, "PRAGMA quick_check(1)");
  const std::string found = check.Step() ? check.Text(0).value_or("") : "";
  if (found != "ok") FailAsDamaged(found);
  SqliteStatement progress(*database_, "SELECT sectors_done, seconds FROM progress");
  if (!progress.Step()) FailAsDamaged("it doesn't tell how far the scan came");
  sectorsDone_ = progress.Bits(0);
  seconds_ = progress.Real(1);
  if (!(seconds_ >= 0) || std::isinf(seconds_)) seconds_ = 0;
  SqliteStatement(*database_, "DELETE FROM find WHERE block_sector >= ?").SetBits(sectorsDone_).Run();
}

void ScanState::ReadFinds(const std::function<void(const ReportedFind&)>& take) const {
  SqliteStatement all(*database_, "SELECT start_sector, size, row, block_sector FROM find ORDER BY number");
  while (all.Step()) {
    const std::uint64_t row = all.Bits(2);
    if (row > std::numeric_limits<std::int32_t>::max()) FailAsDamaged("there is no file type " + std::to_string(row));
    take({{all.Bits(0), all.Bits(1), static_cast<std::int32_t>(row)}, all.Bits(3)});
  }
}

void ScanState::ReadUnreadable(const std::function<void(const SectorRange&)>& take) const {
  SqliteStatement all(*database_, "SELECT start_sector, sectors FROM unreadable");
  while (all.Step()) take({all.Bits(0), all.Bits(1)});
}

void ScanState::Add(const ReportedFind& find) {
  Begin();
  addFind_->SetBits(find.blockSector)
      .SetBits(find.startSector)
      .SetBits(find.size)
      .SetBits(static_cast<std::uint64_t>(find.row))
      .Run();
}

void ScanState::AddUnreadable(const SectorRange& sectors) {
  Begin();
  addUnreadable_->SetBits(sectors.first).SetBits(sectors.count).Run();
}

void ScanState::Commit(std::uint64_t sectorsDone, double seconds) {
  Begin();
  SqliteStatement(*database_, "UPDATE progress SET sectors_done = ?, seconds = ?")
      .SetBits(sectorsDone)
      .Set(seconds)
      .Run();
  database_->Run("COMMIT");
  sectorsDone_ = sectorsDone;
  seconds_ = seconds;
}

/// Begins a transaction, unless one is under way.
void ScanState::Begin() {
  if (!database_->IsInTransaction()) database_->Run("BEGIN");
}

void ScanState::FailAsDamaged(const std::string& how) const { throw Failure(DamageText(path_, how)); }

}  // namespace qzmtraw::host
