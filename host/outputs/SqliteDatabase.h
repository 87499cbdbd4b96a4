#ifndef QZMTRAW_HOST_OUTPUTS_SQLITE_DATABASE_H
#define QZMTRAW_HOST_OUTPUTS_SQLITE_DATABASE_H

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

struct sqlite3;
struct sqlite3_stmt;

namespace qzmtraw::host {

/// An SQLite database in a file that is there already. All operations throw Failure with the file's name.
class SqliteDatabase {
 public:
  enum class Access { kRead, kWrite };

  SqliteDatabase(const std::string& path, Access access);

  /// Runs statements that give nothing.
  void Run(const char* statements);

  /// Runs statements that may as well fail, such as when others have the database open.
  /// \return Whether they were run.
  bool TryToRun(const char* statements);

  /// Throws Failure for what went wrong.
  /// \param result  What the library returned.
  [[noreturn]] void Fail(int result) const;

  /// For statements. Belongs to the database.
  [[nodiscard]] sqlite3* Handle() const { return handle_.get(); }

 private:
  struct Closer {
    void operator()(sqlite3* handle) const;
  };

  std::string path_;
  Access access_;
  std::unique_ptr<sqlite3, Closer> handle_;
};

/// A statement that is run many times.
class SqliteStatement {
 public:
  /// \param database  Must live as long as the statement.
  SqliteStatement(SqliteDatabase& database, const char* text);

  /// Each sets the next parameter, from the first one on behind Run or the last row of Step. What can't be stored as a
  /// number, from 2^63 on, is stored as the greatest one.
  /// @{
  SqliteStatement& Set(std::uint64_t number);
  SqliteStatement& Set(const std::optional<std::uint64_t>& number);
  SqliteStatement& Set(double number);
  /// Stored as NULL if empty.
  SqliteStatement& Set(std::string_view text);
  SqliteStatement& SetFlag(bool flag);
  /// @}

  /// Runs a statement that gives nothing.
  void Run();

  /// Goes to the next row.
  /// \return Whether there is one.
  bool Step();

  /// Each reads a column of the row. None: NULL. Throws Failure for one that holds something else.
  /// @{
  [[nodiscard]] std::optional<std::int64_t> Integer(int column) const;
  [[nodiscard]] std::optional<std::string> Text(int column) const;
  /// @}

 private:
  struct Finisher {
    void operator()(sqlite3_stmt* statement) const;
  };

  void Check(int result) const;

  SqliteDatabase& database_;
  std::unique_ptr<sqlite3_stmt, Finisher> statement_;
  int parameter_ = 0;
};

}  // namespace qzmtraw::host

#endif  // QZMTRAW_HOST_OUTPUTS_SQLITE_DATABASE_H
