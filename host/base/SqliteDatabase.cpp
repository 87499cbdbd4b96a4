#include "host/base/SqliteDatabase.h"

#include <sqlite3.h>

#include <algorithm>
#include <limits>
#include <utility>

#include "host/base/Error.h"
#include "host/base/Text.h"

namespace qzmtraw::host {
namespace {

/// How long somebody else may keep the database locked, in milliseconds.
constexpr int kLockPatience = 60000;
constexpr int kShortPatience = 1000;

/// No text in a list comes near to this, and nothing else either.
constexpr int kLongestText = 1 << 20;

int FlagsOf(SqliteDatabase::Access access) {
  switch (access) {
    case SqliteDatabase::Access::kRead:
      return SQLITE_OPEN_READONLY;
    case SqliteDatabase::Access::kWrite:
      return SQLITE_OPEN_READWRITE;
    case SqliteDatabase::Access::kOwn:
      return SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE;
  }
  return SQLITE_OPEN_READONLY;
}

}  // namespace

void SqliteDatabase::Closer::operator()(sqlite3* handle) const { ::sqlite3_close_v2(handle); }

SqliteDatabase::SqliteDatabase(const std::string& path, Access access, FailureText failureText)
    : path_(path), access_(access), failureText_(std::move(failureText)) {
  sqlite3* handle = nullptr;
  // Some names are no names of files to the library.
  const std::string file = path.starts_with('/') ? path : "./" + path;
  const int flags = FlagsOf(access) | SQLITE_OPEN_NOMUTEX | SQLITE_OPEN_EXRESCODE;
  const int result = ::sqlite3_open_v2(file.c_str(), &handle, flags, nullptr);
  handle_.reset(handle);
  if (result != SQLITE_OK) Fail(result);
  if (access == Access::kOwn) {
    Run("PRAGMA locking_mode = EXCLUSIVE");
  } else {
    ::sqlite3_busy_timeout(handle, kLockPatience);
  }
  if (access != Access::kWrite) ::sqlite3_db_config(handle, SQLITE_DBCONFIG_TRUSTED_SCHEMA, 0, nullptr);
  if (access == Access::kRead) {
    ::sqlite3_limit(handle, SQLITE_LIMIT_LENGTH, kLongestText);
    ::sqlite3_db_config(handle, SQLITE_DBCONFIG_DEFENSIVE, 1, nullptr);
  }
}

void SqliteDatabase::Run(const char* statements) {
  const int result = ::sqlite3_exec(handle_.get(), statements, nullptr, nullptr, nullptr);
  if (result != SQLITE_OK) Fail(result);
}

bool SqliteDatabase::TryToRun(const char* statements) {
  ::sqlite3_busy_timeout(handle_.get(), kShortPatience);
  const bool isDone = ::sqlite3_exec(handle_.get(), statements, nullptr, nullptr, nullptr) == SQLITE_OK;
  ::sqlite3_busy_timeout(handle_.get(), kLockPatience);
  return isDone;
}

bool SqliteDatabase::IsInTransaction() const { return ::sqlite3_get_autocommit(handle_.get()) == 0; }

void SqliteDatabase::Fail(int result) const {
  const bool isLast = handle_ != nullptr && ::sqlite3_extended_errcode(handle_.get()) == result;
  std::string reason = Printable(isLast ? ::sqlite3_errmsg(handle_.get()) : ::sqlite3_errstr(result));
  const bool isFull = (result & kSqlitePrimaryCode) == SQLITE_FULL;
  const int error = isLast && !isFull ? ::sqlite3_system_errno(handle_.get()) : 0;
  if (error != 0) reason += " (" + ErrorText(error) + ")";
  if (failureText_) throw Failure(failureText_(result, reason));
  std::string text = std::string("cannot ") + (access_ == Access::kRead ? "read" : "write") + " the database " +
                     Quoted(path_) + ": " + reason;
  if (isFull) text += ": run the command again with its output on a disk with room";
  throw Failure(text);
}

void SqliteStatement::Finisher::operator()(sqlite3_stmt* statement) const { ::sqlite3_finalize(statement); }

SqliteStatement::SqliteStatement(SqliteDatabase& database, const char* text) : database_(database) {
  sqlite3_stmt* statement = nullptr;
  Check(::sqlite3_prepare_v3(database.Handle(), text, -1, SQLITE_PREPARE_PERSISTENT, &statement, nullptr));
  statement_.reset(statement);
}

SqliteStatement& SqliteStatement::Set(std::uint64_t number) {
  constexpr std::uint64_t kMost = std::numeric_limits<std::int64_t>::max();
  Check(::sqlite3_bind_int64(statement_.get(), ++parameter_, static_cast<std::int64_t>(std::min(number, kMost))));
  return *this;
}

SqliteStatement& SqliteStatement::Set(const std::optional<std::uint64_t>& number) {
  if (number) return Set(*number);
  Check(::sqlite3_bind_null(statement_.get(), ++parameter_));
  return *this;
}

SqliteStatement& SqliteStatement::Set(double number) {
  Check(::sqlite3_bind_double(statement_.get(), ++parameter_, number));
  return *this;
}

SqliteStatement& SqliteStatement::Set(std::string_view text) {
  if (!text.empty()) return SetText(text);
  Check(::sqlite3_bind_null(statement_.get(), ++parameter_));
  return *this;
}

SqliteStatement& SqliteStatement::SetFlag(bool flag) { return Set(std::uint64_t{flag ? 1U : 0U}); }

SqliteStatement& SqliteStatement::SetText(std::string_view text) {
  // No bytes at no place would be NULL.
  const char* bytes = text.empty() ? "" : text.data();
  Check(::sqlite3_bind_text64(statement_.get(), ++parameter_, bytes, text.size(), SQLITE_TRANSIENT, SQLITE_UTF8));
  return *this;
}

SqliteStatement& SqliteStatement::SetBits(std::uint64_t number) {
  Check(::sqlite3_bind_int64(statement_.get(), ++parameter_, static_cast<std::int64_t>(number)));
  return *this;
}

void SqliteStatement::Run() {
  while (Step()) continue;
}

bool SqliteStatement::Step() {
  const int result = ::sqlite3_step(statement_.get());
  if (result == SQLITE_ROW) return true;
  parameter_ = 0;
  if (result != SQLITE_DONE) Check(result);
  ::sqlite3_reset(statement_.get());
  return false;
}

std::optional<std::int64_t> SqliteStatement::Integer(int column) const {
  const int type = ::sqlite3_column_type(statement_.get(), column);
  if (type == SQLITE_NULL) return std::nullopt;
  if (type != SQLITE_INTEGER) database_.Fail(SQLITE_MISMATCH);
  return ::sqlite3_column_int64(statement_.get(), column);
}

std::optional<std::string> SqliteStatement::Text(int column) const {
  const int type = ::sqlite3_column_type(statement_.get(), column);
  if (type == SQLITE_NULL) return std::nullopt;
  if (type != SQLITE_TEXT) database_.Fail(SQLITE_MISMATCH);
  const auto* text = reinterpret_cast<const char*>(::sqlite3_column_text(statement_.get(), column));
  if (text == nullptr) database_.Fail(SQLITE_NOMEM);
  return std::string(text, static_cast<std::size_t>(::sqlite3_column_bytes(statement_.get(), column)));
}

std::uint64_t SqliteStatement::Bits(int column) const {
  const std::optional<std::int64_t> number = Integer(column);
  if (!number) database_.Fail(SQLITE_MISMATCH);
  return static_cast<std::uint64_t>(*number);
}

double SqliteStatement::Real(int column) const {
  const int type = ::sqlite3_column_type(statement_.get(), column);
  if (type != SQLITE_FLOAT && type != SQLITE_INTEGER) database_.Fail(SQLITE_MISMATCH);
  return ::sqlite3_column_double(statement_.get(), column);
}

void SqliteStatement::Check(int result) const {
  if (result != SQLITE_OK) database_.Fail(result);
}

}  // namespace qzmtraw::host
